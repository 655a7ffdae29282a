// The bulk scan against find, the walk of Qt and the bare walk.

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include "bench/bare_walk.h"
#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"
#include "contracts/paths/paths.h"
#include "contracts/services/directory_scanner.h"

namespace {

int scan(const QString& root, int threads)
{
    DIRECTORY_SCANNER scanner(threads);
    QVector<DIRECTORY_SCANNER::FILE_INFO> files;
    scanner.add_path(root);
    if (!scanner.get_files(root, files))
        give_up(scanner.get_error());
    return files.size();
}

void find(const QString& root)
{
    if (run_program({"find", root, "-type", "f", "-printf", "%p\\t%T@\\n"}, "/dev/null") != 0)
        give_up("find failed");
}

void scan_tree(const SYNTHETIC_TREE& tree, int rounds, FIGURES& figures)
{
    int count = 0;
    int plain_count = 0;
    std::size_t bare_count = 0;
    std::vector<CONTENDER> contenders{
        {"two threads", [&] { count = scan(tree.path, 2); }},
        {"four threads", [&] { count = scan(tree.path, 4); }},
        {"find", [&] { find(tree.path); }},
        {"QDirIterator", [&] { plain_count = plain_walk(tree.path); }},
        {"bare walk", [&] { bare_count = bare_walk(QFile::encodeName(tree.path)); }},
    };
    race(contenders, rounds);
    if (count < tree.files() || plain_count != count || bare_count != std::size_t(count))
        give_up(QString("the walks differ: %1, %2 and %3 files").arg(count).arg(plain_count).arg(bare_count));

    const QString what = QString("scan of %1 files").arg(tree.files());
    const COST own = contenders[0].best;
    figures.ratio(what, own, contenders[2].name, contenders[2].best, 0.70);
    figures.ratio(what, own, contenders[3].name, contenders[3].best, 0.25);
    figures.ratio(what, own, contenders[4].name, contenders[4].best, 1.25);
    figures.ratio(what + ", four threads", contenders[1].best, contenders[0].name, own, 0);
}

// Where actions are to write: the folders are read once, the plain way asks the disk
// for each file.
void find_targets(const SYNTHETIC_TREE& tree, int rounds, FIGURES& figures)
{
    use_tree(tree.path);
    QVector<LOGICAL_PATH> targets;
    for (int i = 0; i < tree.working_files; ++i)
        targets.append(working_file(SYNTHETIC_TREE::file_name(i)));
    qint64 letters = 0;
    int plainly_found = 0;
    std::vector<CONTENDER> contenders{
        {"target paths",
         [&] {
             PATHS::forget_folders();
             for (const LOGICAL_PATH& target : qAsConst(targets))
                 letters += static_cast<const QString&>(PATHS::target_path(target)).size();
         }},
        {"QFileInfo",
         [&] {
             for (const LOGICAL_PATH& target : qAsConst(targets))
                 plainly_found += QFileInfo::exists(PATHS::working_data() + target.midRef(9));
         }},
    };
    race(contenders, rounds);
    if (letters == 0 || plainly_found > (rounds + 1) * targets.size())
        give_up("the targets are not where they should be");
    figures.ratio(QString("places of %1 targets").arg(targets.size()), contenders[0].best, contenders[1].name,
                  contenders[1].best, 2.0);
}

} // namespace

void bench_scan(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const SYNTHETIC_TREE tree = SYNTHETIC_TREE::of_size(options.trees, 100000);
    scan_tree(tree, 5, figures);
    find_targets(tree, 5, figures);
    if (!options.quick)
        scan_tree(SYNTHETIC_TREE::of_size(options.trees, 1000000), 5, figures);
}
