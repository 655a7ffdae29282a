#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QtEndian>

#include "contracts/services/digest.h"

// How values become bytes. A number takes its size, in little-endian order. A count
// takes 7 bits a byte, the lowest first, the highest bit of all bytes but the last is
// set. A text is twice its length in UTF-16 units, as a count, and its ASCII letters;
// where it has others, that count and 1, and its UTF-16 units. So every text comes back
// as it was. A text behind another one is the number of letters that both begin with, 255
// at most, as one byte, and the rest as a text.

/// Packs values behind one another.
class PACKER
{
public:
    PACKER() : m_bytes(512, Qt::Uninitialized) {}

    template <typename T>
    void number(T value)
    {
        qToLittleEndian(value, room(int(sizeof value)));
    }
    void flag(bool value) { number(quint8(value)); }
    void digest(const DIGEST& digest)
    {
        number(digest.high);
        number(digest.low);
    }
    void count(quint32 value);
    void text(const QString& text) { text_part(text.constData(), text.size()); }
    void text_part(const QChar* text, int size);
    /// A text that may begin as `former` does.
    void text_after(const QString& former, const QString& text);

    QByteArray packed() const { return m_bytes.left(m_size); }

private:
    char* room(int size)
    {
        const int place = m_size;
        m_size += size;
        if (m_size > m_bytes.size())
            m_bytes.resize(2 * m_size);
        return m_bytes.data() + place;
    }

    QByteArray m_bytes; // more than are filled
    int m_size = 0;
};

/// Takes such bytes apart and trusts none of them. From the first thing that is wrong
/// on everything is 0 or empty, so that loops end by themselves.
class UNPACKER
{
public:
    /// The bytes must outlive it.
    UNPACKER(const char* bytes, int size) : m_place(bytes), m_end(bytes + size) {}

    template <typename T>
    T number()
    {
        if (!has(sizeof(T)))
            return 0;
        const T value = qFromLittleEndian<T>(m_place);
        m_place += sizeof(T);
        return value;
    }
    bool flag();
    DIGEST digest()
    {
        const quint64 high = number<quint64>();
        return {high, number<quint64>()};
    }
    quint32 count();
    /// The number of elements that take at least so many bytes each.
    int list(int element_size);
    QString text();
    QString text_after(const QString& former);

    void fail()
    {
        m_is_good = false;
        m_place = m_end;
    }
    bool is_good() const { return m_is_good; }
    /// Whether nothing was wrong and nothing is left.
    bool is_done() const { return m_is_good && m_place == m_end; }

private:
    bool has(quint64 size)
    {
        if (quint64(m_end - m_place) < size)
            fail();
        return m_is_good;
    }

    const char* m_place;
    const char* const m_end;
    bool m_is_good = true;
};
