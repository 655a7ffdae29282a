#include "textures/tga_reader.h"

#include <QtCore/QtEndian>

#include "textures/picture_limits.h"

namespace {

const int HEADER_SIZE = 18;
const int LONGEST_PACKET = 128; // pixels

enum IMAGE_TYPE : int
{
    NO_IMAGE = 0,
    COLOUR_MAPPED = 1,
    TRUE_COLOUR = 2,
    GREY = 3,
    RLE_BIT = 8,
};

struct HEADER
{
    int id_length;
    int colour_map_type;
    int image_type;
    int colour_map_entries;
    int colour_map_bits;
    int width;
    int height;
    int bits;
    int descriptor;

    int pixel_bytes() const { return bits / 8; }
    qint64 pixels() const { return qint64(width) * height; }
    bool is_rle() const { return image_type & RLE_BIT; }
    bool has_alpha() const { return bits == 32 && (descriptor & 0x0f) != 0; }
    bool from_right() const { return descriptor & 0x10; }
    bool from_top() const { return descriptor & 0x20; }
    bool is_interleaved() const { return descriptor & 0xc0; }
};

HEADER parse_header(const uchar* at)
{
    HEADER header;
    header.id_length = at[0];
    header.colour_map_type = at[1];
    header.image_type = at[2];
    header.colour_map_entries = qFromLittleEndian<quint16>(at + 5);
    header.colour_map_bits = at[7];
    header.width = qFromLittleEndian<quint16>(at + 12);
    header.height = qFromLittleEndian<quint16>(at + 14);
    header.bits = at[16];
    header.descriptor = at[17];
    return header;
}

QString image_type_error(int type)
{
    switch (type) {
    case TRUE_COLOUR:
    case TRUE_COLOUR | RLE_BIT:
        return {};
    case NO_IMAGE:
        return QStringLiteral("the header says that there is no picture in it");
    case COLOUR_MAPPED:
    case COLOUR_MAPPED | RLE_BIT:
        return QStringLiteral("colour-mapped pictures can't be read; save it as true colour");
    case GREY:
    case GREY | RLE_BIT:
        return QStringLiteral("grey pictures can't be read; save it as true colour");
    default:
        return QStringLiteral("the header names the unknown picture type %1").arg(type);
    }
}

QString header_error(const HEADER& header)
{
    const QString type_error = image_type_error(header.image_type);
    if (!type_error.isEmpty())
        return type_error;
    if (header.bits != 24 && header.bits != 32)
        return QStringLiteral("a pixel has %1 bits; 24 or 32 can be read").arg(header.bits);
    if (header.colour_map_type > 1)
        return QStringLiteral("the header names the unknown colour map type %1").arg(header.colour_map_type);
    if (header.is_interleaved())
        return QStringLiteral("interleaved rows can't be read");
    return picture_size_error(header.width, header.height);
}

/// Walks over the pixel data; never past its end.
class PIXEL_STREAM
{
public:
    PIXEL_STREAM(const uchar* begin, const uchar* end, const HEADER& header)
        : m_at(begin), m_end(end), m_header(header)
    {
    }

    bool next(QRgb& pixel) { return m_header.is_rle() ? next_of_packet(pixel) : read_pixel(pixel); }

    bool is_inside_packet() const { return m_left > 0; }

private:
    bool read_pixel(QRgb& pixel)
    {
        if (m_end - m_at < m_header.pixel_bytes())
            return false;
        pixel = qRgba(m_at[2], m_at[1], m_at[0], m_header.has_alpha() ? m_at[3] : 255);
        m_at += m_header.pixel_bytes();
        return true;
    }

    bool next_of_packet(QRgb& pixel)
    {
        const bool starts_packet = m_left == 0;
        if (starts_packet) {
            if (m_at == m_end)
                return false;
            m_repeats = *m_at & 0x80;
            m_left = (*m_at & 0x7f) + 1;
            ++m_at;
        }
        if ((starts_packet || !m_repeats) && !read_pixel(m_pixel))
            return false;
        --m_left;
        pixel = m_pixel;
        return true;
    }

    const uchar* m_at;
    const uchar* const m_end;
    const HEADER& m_header;
    int m_left = 0; // pixels of the packet in hand
    bool m_repeats = false;
    QRgb m_pixel = 0;
};

// The fewest bytes that the picture's pixels can take up.
qint64 least_data(const HEADER& header)
{
    if (!header.is_rle())
        return header.pixels() * header.pixel_bytes();
    return (header.pixels() + LONGEST_PACKET - 1) / LONGEST_PACKET * (1 + header.pixel_bytes());
}

QImage decode(const HEADER& header, PIXEL_STREAM stream, QString& error)
{
    QImage image(header.width, header.height,
                 header.has_alpha() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (image.isNull()) {
        error = QStringLiteral("there is no memory for %1 x %2 pixels").arg(header.width).arg(header.height);
        return {};
    }
    for (int row = 0; row < header.height; ++row) {
        const int y = header.from_top() ? row : header.height - 1 - row;
        QRgb* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int column = 0; column < header.width; ++column)
            if (!stream.next(line[header.from_right() ? header.width - 1 - column : column])) {
                error = QStringLiteral("the file ends in row %1 of %2").arg(row + 1).arg(header.height);
                return {};
            }
    }
    if (stream.is_inside_packet()) {
        error = QStringLiteral("the last run of pixels reaches beyond the picture");
        return {};
    }
    return image;
}

} // namespace

QImage read_tga(const QByteArray& data, QString& error)
{
    if (data.size() < HEADER_SIZE) {
        error = QStringLiteral("the file has %1 bytes and its header alone needs %2")
                    .arg(data.size())
                    .arg(HEADER_SIZE);
        return {};
    }
    const uchar* const begin = reinterpret_cast<const uchar*>(data.constData());
    const HEADER header = parse_header(begin);
    error = header_error(header);
    if (!error.isEmpty())
        return {};
    const int colour_map =
        header.colour_map_type ? header.colour_map_entries * ((header.colour_map_bits + 7) / 8) : 0;
    const qint64 pixels_at = qint64(HEADER_SIZE) + header.id_length + colour_map;
    if (data.size() - pixels_at < least_data(header)) {
        error = QStringLiteral("the file is cut off: %1 x %2 pixels need at least %3 bytes, it has %4")
                    .arg(header.width)
                    .arg(header.height)
                    .arg(pixels_at + least_data(header))
                    .arg(data.size());
        return {};
    }
    return decode(header, PIXEL_STREAM(begin + pixels_at, begin + data.size(), header), error);
}
