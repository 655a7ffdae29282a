#include <QtCore/QFileInfo>

#include "contracts/paths/dir_iterator.h"
#include "session/build_session.h"
#include "session/run_report.h"
#include "session/scanned_folder.h"

void BUILD_SESSION::walk_local_files(const PHYSICAL_PATH& directory, QStringList& shadowing)
{
    SCANNED_FOLDER folder(file_map);
    QStringList folders_above;
    walk_local_folder(directory, folders_above, folder, shadowing);
}

void BUILD_SESSION::walk_local_folder(const QString& directory, QStringList& folders_above,
                                      SCANNED_FOLDER& folder, QStringList& shadowing)
{
    // A link may lead back to a folder that is being walked.
    const QString canonical = QFileInfo(directory).canonicalFilePath();
    if (canonical.isEmpty() || folders_above.contains(canonical))
        return;
    QStringList folders;
    for (DIR_ITERATOR entries(directory); entries.has_next;) {
        const QString name = entries.next();
        const QString path = directory + '/' + name;
        if (name == QLatin1String(".") || name == QLatin1String(".."))
            continue;
        if (name.contains(QChar::ReplacementCharacter) && !QFileInfo::exists(path))
            RUN_REPORT::remark(path + " is left out: its name is no UTF-8.");
        else if (entries.current.is_directory)
            folders.append(path);
        else if (const QFileInfo file(path); file.isFile()) // no pipe, no device, no link to nothing
            enter_scanned_file({path, entries.current.modified, file.size()}, folder, shadowing);
    }
    // Behind the files, so that no more than one folder is open at a time.
    folders_above.append(canonical);
    for (const QString& path : qAsConst(folders))
        walk_local_folder(path, folders_above, folder, shadowing);
    folders_above.removeLast();
}
