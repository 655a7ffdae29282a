#include "contracts/services/xml_file_writer.h"

#include <QtCore/QSaveFile>

QString write_file_whole(const QString& path, const QByteArray& content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return QStringLiteral("%1: can't be written: %2").arg(path, file.errorString());
    return QString();
}
