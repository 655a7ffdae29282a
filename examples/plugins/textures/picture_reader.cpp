#include "textures/picture_reader.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtGui/QImageReader>

#include "textures/picture_limits.h"
#include "textures/tga_reader.h"

namespace {

QImage read_png(QByteArray& data, QString& error)
{
    QBuffer buffer(&data);
    QImageReader reader(&buffer, "png");
    const QSize size = reader.size();
    if (!size.isValid()) {
        error = QStringLiteral("it is no PNG picture, or its beginning is damaged");
        return {};
    }
    error = picture_size_error(size.width(), size.height());
    if (!error.isEmpty())
        return {};
    const QImage image = reader.read();
    if (image.isNull()) {
        error = QStringLiteral("its pixels can't be read (%1); the file is probably cut off or damaged")
                    .arg(reader.errorString());
        return {};
    }
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

QByteArray read_bounded(const QString& path, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("it can't be opened: %1").arg(file.errorString());
        return {};
    }
    if (file.size() > MAX_PICTURE_FILE) {
        error = QStringLiteral("it has more than %1 bytes").arg(MAX_PICTURE_FILE);
        return {};
    }
    const QByteArray data = file.read(file.size());
    if (file.error() != QFileDevice::NoError)
        error = QStringLiteral("it can't be read: %1").arg(file.errorString());
    else if (data.isEmpty())
        error = QStringLiteral("it is empty");
    return data;
}

} // namespace

QImage read_picture(const QString& path, QString& error)
{
    QString reason;
    QByteArray data = read_bounded(path, reason);
    QImage image;
    if (reason.isEmpty())
        image = path.endsWith(QLatin1String(".tga"), Qt::CaseInsensitive) ? read_tga(data, reason)
                                                                          : read_png(data, reason);
    if (image.isNull()) {
        if (reason.isEmpty())
            reason = QStringLiteral("there is no memory for its pixels");
        error = QStringLiteral("%1: %2").arg(path, reason);
    }
    return image;
}
