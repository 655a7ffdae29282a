#include "contracts/services/file_replacement.h"

#include <QtCore/QFile>
#include <QtCore/QIODevice>

#ifdef Q_OS_WIN
#include "contracts/services/windows_files.h"
#endif

namespace {

constexpr int MAX_LINKS = 40;

} // namespace

QString behind_links(const QString& path)
{
    QFileInfo info(path);
    for (int i = 0; i < MAX_LINKS && info.isSymbolicLink(); ++i)
        info.setFile(info.symLinkTarget());
    return info.filePath();
}

QString why_not_writable(const QFileInfo& file)
{
    constexpr auto ANYBODY = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    if (!(file.permissions() & ANYBODY))
        return QStringLiteral("it is read-only");
    return file.isWritable() ? QString() : QStringLiteral("it belongs to somebody else");
}

QString why_not_replaceable(const QString& place)
{
    const QFileInfo file(place);
    if (file.isSymbolicLink())
        return QStringLiteral("it is a link that leads back to itself");
    if (!file.exists())
        return QString();
    if (!file.isFile())
        return file.isDir() ? QStringLiteral("it is a folder") : QStringLiteral("it is no ordinary file");
    return why_not_writable(file);
}

bool takes_new_files(const QString& folder)
{
#ifdef Q_OS_WIN
    return WINDOWS_FILES::may_add_files(folder);
#else
    return QFileInfo(folder).isWritable();
#endif
}

bool write_all(QIODevice& file, const char* data, qint64 size)
{
    bool was_refused = false;
    while (size > 0) {
        const qint64 count = file.write(data, size);
        if (count <= 0 && was_refused)
            return false;
        was_refused = count <= 0;
        if (count > 0) {
            data += count;
            size -= count;
        }
    }
    return true;
}
