// Whole processes with nothing to do, from exec to exit: the program by its record against
// ninja over the same files and edges. What reasons and reports cost besides.

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"

namespace {

const char* const SILENT = "<configuration><silent>true</silent><no_progress_dialog>true</no_progress_dialog>"
                           "<load_asset_graph>false</load_asset_graph>%1</configuration>";
const char* const CHOOSES_NOTHING =
    "<selected_providers><pattern>no such file</pattern></selected_providers>";

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        give_up(path + ": " + file.errorString());
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void copy_to(const QString& folder, const QString& file)
{
    const QString copy = folder + '/' + file.section('/', -1);
    QFile::remove(copy);
    if (!QFile::copy(file, copy))
        give_up("could not copy " + file);
}

// The tree with a tool folder in it, and what ninja needs to do the same.
class PEERS
{
public:
    explicit PEERS(const SYNTHETIC_TREE& tree) : m_tree(tree), m_tool(tree.path + "/tool")
    {
        const QString built = QStringLiteral(GOX_TOOL_DIR "/");
        QDir().mkpath(m_tool + "/GOX");
        QDir().mkpath(tree.path + "/raw_data/db");
        copy_to(m_tool, built + "gox." GOX_BUILD_TAG ".bin");
        copy_to(m_tool, built + "libgox_contracts.so");
        copy_to(m_tool, built + "plugins/GOX_bench." GOX_BUILD_TAG ".dll");
        write(m_tool + "/GOX/all_configuration.xml", QString(SILENT).arg("").toUtf8());
        write(m_tool + "/GOX/none_configuration.xml", QString(SILENT).arg(CHOOSES_NOTHING).toUtf8());
        QFile::remove(m_tool + "/gox_build_record.sqlite");
        write_ninja_file();
    }

    /// The output of the program.
    QByteArray run(const QStringList& options) const
    {
        const QString output = m_tree.path + "/gox_output.txt";
        QDir::setCurrent(m_tool);
        const QStringList command{m_tool + "/gox." GOX_BUILD_TAG ".bin", "--dont_stop_on_error"};
        if (run_program(command + options, output) != 0)
            give_up("the program failed, see " + output);
        return read(output);
    }

    void run_ninja() const
    {
        const QString output = m_tree.path + "/ninja_output.txt";
        if (run_program({"ninja", "-C", m_tree.path}, output) != 0 || !read(output).contains("no work to do"))
            give_up("ninja finds work, see " + output);
    }

    /// So that ninja knows of a build that has run all edges.
    void let_ninja_build() const
    {
        if (run_program({"ninja", "-C", m_tree.path, "-t", "restat"}, "/dev/null") != 0 ||
            run_program({"ninja", "-C", m_tree.path}, m_tree.path + "/ninja_output.txt") != 0)
            give_up("ninja failed");
    }

    /// Gives all raw files another time.
    void touch_inputs() const
    {
        for (int i = 0; i < m_tree.raw_files; ++i) {
            const QByteArray path =
                QFile::encodeName(m_tree.path + "/raw_data/" + SYNTHETIC_TREE::file_name(i));
            if (utimensat(AT_FDCWD, path.constData(), nullptr, 0) != 0)
                give_up(path + ": " + qt_error_string());
        }
    }

private:
    // The edges of the plugin: actions in the order of the file map.
    void write_ninja_file() const
    {
        QVector<QPair<LOGICAL_PATH, QByteArray>> files;
        for (int i = 0; i < m_tree.working_files; ++i)
            files.append({working_file(SYNTHETIC_TREE::file_name(i)), SYNTHETIC_TREE::file_name(i).toUtf8()});
        std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        QByteArray text = "rule make\n  command = touch $out\n";
        for (int i = 0; i < files.size(); ++i) {
            const bool is_chained = i % 2 == 1;
            text += "build working_data/" + files.at(i).second + ": make raw_data/" + files.at(i).second +
                    (is_chained ? " working_data/" + files.at(i / 2).second
                                : " raw_data/" + files.at((i + files.size() / 2) % files.size()).second) +
                    '\n';
        }
        write(m_tree.path + "/build.ninja", text);
    }

    const SYNTHETIC_TREE& m_tree;
    const QString m_tool;
};

QStringList all(const QStringList& more)
{
    return QStringList{"--configuration=all"} + more;
}

} // namespace

void bench_incremental(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int actions = options.quick ? 20000 : 100000;
    const SYNTHETIC_TREE tree(options.trees, actions, 0, actions);
    const PEERS peers(tree);
    use_tree(tree.path);
    peers.let_ninja_build();
    peers.run(all({}));
    const QString report = tree.path + "/report.json";
    std::vector<CONTENDER> contenders{
        {"gox, nothing to do",
         [&] {
             if (!peers.run(all({"--only_out_of_date"})).contains("Everything is up to date"))
                 give_up("the program finds work");
         }},
        {"ninja, nothing to do", [&] { peers.run_ninja(); }},
        {"gox, nothing chosen", [&] { peers.run({"--configuration=none"}); }},
        {"gox, with a report",
         [&] {
             peers.run(all({"--only_out_of_date", "--report=" + report}));
         }},
    };
    race(contenders, 5);
    const COST& idle = contenders[0].best;
    figures.ratio(QString("%1 actions up to date, exec to exit").arg(actions), idle, "ninja",
                  contenders[1].best, 1);
    const COST judging{idle.time - contenders[2].best.time, idle.processor - contenders[2].best.processor};
    figures.ratio("reading the record and judging", judging, "start-up", contenders[2].best, 0.25);
    figures.value("report of them", contenders[3].best.time - idle.time, "s", 1);
    peers.touch_inputs();
    std::vector<CONTENDER> reasons{
        {"gox, with reasons", [&] { peers.run(all({"--dry_run"})); }},
    };
    race(reasons, 3);
    figures.value("reasons of as many changed ones", reasons[0].best.time - idle.time, "s", 1);
}
