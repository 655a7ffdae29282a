#include <QtCore/QFileInfo>

#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "session/build_session.h"
#include "session/noted_questions.h"
#include "session/run_report.h"
#include "session/scan_roots.h"

namespace {

// One scan root for every physical root of the folder's tree, and for every spelling
// that the folder has there. When none of them is there, a text that says so.
QString append_physical_folders(const QString& logical_folder, QVector<PHYSICAL_PATH>& directories)
{
    const int split = logical_folder.indexOf('>') + 1;
    QString rest = logical_folder.mid(split);
    while (rest.endsWith('/'))
        rest.chop(1);
    QVector<PHYSICAL_PATH> roots;
    PATHS::physical_paths(LOGICAL_PATH(logical_folder.left(split)), roots);
    bool is_there = false;
    for (const PHYSICAL_PATH& root : qAsConst(roots))
        for (const PHYSICAL_PATH& place : PATHS::places_below(root, rest)) {
            directories.append(place);
            is_there = is_there || QFileInfo::exists(place);
        }
    if (is_there)
        return QString();
    return logical_folder + (roots.isEmpty() ? QStringLiteral(" begins with no data root")
                                             : " does not exist: there is no " + directories.last());
}

// A misspelt name would pass for an empty folder.
void report_missing(const QString& missing, const QString& asked_by)
{
    if (!missing.isEmpty())
        RUN_REPORT::remark("A folder that " + asked_by + " wants scanned: " + missing);
}

} // namespace

void BUILD_SESSION::calculate_directories()
{
    if (configuration->processors.isEmpty() || configuration->directories.contains(QStringLiteral("..."))) {
        directories = PATHS::all();
    } else {
        NOTED_QUESTIONS noted;
        for (PROCESSOR_INTERFACE* processor : QVector<PROCESSOR_INTERFACE*>(processors)) {
            const QVector<QString> folders = processor->scan_directories();
            keep_questions(noted, *processor);
            for (const QString& folder : folders) {
                const QString missing = append_physical_folders(folder, directories);
                if (folder.startsWith(QLatin1String("<raw>"))) // those of targets come with the first build
                    report_missing(missing, "the processor " + processor->name());
            }
        }
        for (const QString& folder : configuration->directories)
            report_missing(append_physical_folders(folder, directories), QStringLiteral("the configuration"));
    }
    for (PHYSICAL_PATH& directory : directories)
        directory.remove_end_slashes();
    remove_nested_roots(directories);
    const QVector<PHYSICAL_PATH> data_roots = PATHS::all();
    for (const PHYSICAL_PATH& directory : qAsConst(directories))
        parent_directories.unite(ancestors_within(directory, data_roots));
}
