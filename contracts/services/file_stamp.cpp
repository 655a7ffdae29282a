#include "contracts/services/file_stamp.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>

FILE_STAMP stamp_of_file(const QString& path)
{
    const QFileInfo file(path);
    return file.exists() ? FILE_STAMP{file.lastModified().toMSecsSinceEpoch(), file.size()} : FILE_STAMP{};
}
