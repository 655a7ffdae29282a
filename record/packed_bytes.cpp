#include "record/packed_bytes.h"

namespace {

constexpr quint8 MORE = 0x80; // bytes of a count follow
constexpr int COUNT_BITS = 32;
constexpr int MOST_SHARED = 255; // so that a few bytes can't become a lot of text

// False, with no use for what was copied, where the text has other letters.
bool copy_ascii(const QChar* text, int size, char* copy)
{
    ushort all = 0;
    for (int i = 0; i < size; ++i) {
        const ushort letter = text[i].unicode();
        all |= letter;
        copy[i] = char(letter);
    }
    return all < 0x80;
}

} // namespace

void PACKER::count(quint32 value)
{
    for (; value >= MORE; value >>= 7)
        number(quint8(value | MORE));
    number(quint8(value));
}

void PACKER::text_part(const QChar* text, int size)
{
    const int start = m_size;
    count(quint32(size) * 2);
    if (copy_ascii(text, size, room(size)))
        return;
    m_size = start;
    count(quint32(size) * 2 + 1);
    qToLittleEndian<ushort>(text, size, room(size * 2));
}

void PACKER::text_after(const QString& former, const QString& text)
{
    const int most = std::min({former.size(), text.size(), MOST_SHARED});
    const QChar* const letters = text.constData();
    const int shared = int(std::mismatch(letters, letters + most, former.constData()).first - letters);
    number(quint8(shared));
    text_part(letters + shared, text.size() - shared);
}

bool UNPACKER::flag()
{
    const quint8 value = number<quint8>();
    if (value > 1)
        fail();
    return value == 1;
}

quint32 UNPACKER::count()
{
    quint64 value = 0;
    for (int shift = 0; shift < COUNT_BITS; shift += 7) {
        const quint8 part = number<quint8>();
        value |= quint64(part & (MORE - 1)) << shift;
        if (part < MORE && value >> COUNT_BITS == 0)
            return quint32(value);
    }
    fail();
    return 0;
}

int UNPACKER::list(int element_size)
{
    const quint32 value = count();
    return has(quint64(value) * quint64(element_size)) ? int(value) : 0;
}

QString UNPACKER::text()
{
    const quint32 value = count();
    const quint32 size = value / 2;
    const bool is_plain = value % 2 == 0;
    const quint64 bytes = is_plain ? size : quint64(size) * 2;
    if (!has(bytes) || size == 0)
        return QString();
    const char* const letters = m_place;
    m_place += bytes;
    if (is_plain)
        return QString::fromLatin1(letters, int(size));
    QString text(int(size), Qt::Uninitialized);
    qFromLittleEndian<ushort>(letters, int(size), text.data());
    return text;
}

QString UNPACKER::text_after(const QString& former)
{
    const int shared = number<quint8>();
    if (shared > former.size())
        fail();
    return former.left(shared) + text();
}
