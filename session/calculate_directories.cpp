#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "session/build_session.h"
#include "session/scan_roots.h"

namespace {

// One scan root for every physical root of the folder's tree.
void append_physical_folders(const QString& logical_folder, QVector<PHYSICAL_PATH>& directories)
{
    const int split = logical_folder.indexOf('>') + 1;
    const QString rest = logical_folder.mid(split);
    QVector<PHYSICAL_PATH> roots;
    PATHS::physical_paths(LOGICAL_PATH(logical_folder.left(split)), roots);
    for (const PHYSICAL_PATH& root : qAsConst(roots))
        directories.append(PHYSICAL_PATH(root + rest));
}

} // namespace

void BUILD_SESSION::calculate_directories()
{
    if (configuration->processors.isEmpty() || configuration->directories.contains(QStringLiteral("..."))) {
        directories = PATHS::all();
    } else {
        QVector<QString> folders;
        for (PROCESSOR_INTERFACE* processor : qAsConst(processors))
            folders += processor->scan_directories();
        folders += configuration->directories;
        for (const QString& folder : qAsConst(folders))
            append_physical_folders(folder, directories);
    }
    for (PHYSICAL_PATH& directory : directories)
        directory.remove_end_slashes();
    remove_nested_roots(directories);
    const QVector<PHYSICAL_PATH> data_roots = PATHS::all();
    for (const PHYSICAL_PATH& directory : qAsConst(directories))
        parent_directories.unite(ancestors_within(directory, data_roots));
}
