#include "textures/texture_file.h"

#include <QtCore/QtEndian>

namespace {

const int HEADER_SIZE = 32;
const quint16 VERSION = 1;

void put_pixel(QRgb pixel, TEXTURE_FORMAT format, char* out)
{
    switch (format) {
    case TEXTURE_FORMAT::RGBA8:
        out[0] = char(qRed(pixel));
        out[1] = char(qGreen(pixel));
        out[2] = char(qBlue(pixel));
        out[3] = char(qAlpha(pixel));
        break;
    case TEXTURE_FORMAT::RGB565:
        qToLittleEndian(quint16((qRed(pixel) >> 3) << 11 | (qGreen(pixel) >> 2) << 5 | qBlue(pixel) >> 3),
                        out);
        break;
    case TEXTURE_FORMAT::GREY8:
        *out = char(qGray(pixel));
        break;
    }
}

} // namespace

int bytes_of_pixel(TEXTURE_FORMAT format)
{
    switch (format) {
    case TEXTURE_FORMAT::RGB565:
        return 2;
    case TEXTURE_FORMAT::GREY8:
        return 1;
    case TEXTURE_FORMAT::RGBA8:
        break;
    }
    return 4;
}

TEXTURE_FILE::TEXTURE_FILE(const QString& path, TEXTURE_FORMAT format) : m_file(path), m_format(format) {}

bool TEXTURE_FILE::open(const QVector<QSize>& levels)
{
    quint64 bytes = 0;
    for (const QSize& level : levels)
        bytes += quint64(level.width()) * quint64(level.height()) * quint64(bytes_of_pixel(m_format));
    char header[HEADER_SIZE] = {'G', 'T', 'E', 'X'};
    qToLittleEndian(VERSION, header + 4);
    qToLittleEndian(quint16(m_format), header + 6);
    qToLittleEndian(quint32(levels.first().width()), header + 8);
    qToLittleEndian(quint32(levels.first().height()), header + 12);
    qToLittleEndian(quint32(levels.size()), header + 16);
    qToLittleEndian(bytes, header + 24);
    return m_file.write(header, HEADER_SIZE) == HEADER_SIZE;
}

bool TEXTURE_FILE::write_row(const QImage& image, int row)
{
    const int step = bytes_of_pixel(m_format);
    m_row.resize(image.width() * step);
    const QRgb* const pixels = reinterpret_cast<const QRgb*>(image.constScanLine(row));
    for (int x = 0; x < image.width(); ++x)
        put_pixel(pixels[x], m_format, m_row.data() + x * step);
    return m_file.write(m_row) == m_row.size();
}

bool TEXTURE_FILE::commit()
{
    return m_file.commit().isEmpty();
}
