#include "contracts/services/streamed_xml_file.h"

#include <cstring>

STREAMED_XML_FILE::STREAMED_XML_FILE(const QString& path, qint64 max_piece, int max_attributes)
    : QFile(path), m_max_piece(max_piece), m_max_attributes(max_attributes)
{
}

qint64 STREAMED_XML_FILE::readData(char* data, qint64 size)
{
    if (m_problem.isEmpty() && m_piece >= m_max_piece)
        m_problem = QStringLiteral("a tag or text of more than %1 bytes").arg(m_max_piece);
    if (!m_problem.isEmpty())
        return -1;
    const qint64 count = QFile::readData(data, size);
    if (count <= 0)
        return count;
    m_piece += count;
    return watch(data, valid_bytes(data, count));
}

// How many of the bytes can be UTF-8.
qint64 STREAMED_XML_FILE::valid_bytes(const char* data, qint64 size)
{
    for (qint64 i = 0; i < size; ++i) {
        const uchar c = uchar(data[i]);
        if (m_following == 0 && c < 0x80)
            continue;
        const bool is_start = c >= 0xc2 && c <= 0xf4;
        const bool is_continued = (c & 0xc0) == 0x80;
        if (m_following > 0 ? !is_continued : !is_start) {
            m_problem = QStringLiteral("the bytes here are not UTF-8");
            return i;
        }
        m_following = m_following > 0 ? m_following - 1 : c < 0xe0 ? 1 : c < 0xf0 ? 2 : 3;
    }
    return size;
}

// How many of the bytes can be given out.
qint64 STREAMED_XML_FILE::watch(const char* data, qint64 size)
{
    for (qint64 i = 0; i < size; ++i) {
        if (m_state == TEXT || m_state == VALUE) {
            const void* const stop =
                std::memchr(data + i, m_state == TEXT ? '<' : m_quote, std::size_t(size - i));
            if (!stop)
                return size;
            i = static_cast<const char*>(stop) - data;
            m_state = m_state == TEXT ? OPENING : TAG;
            m_opening.clear();
        } else if (m_state == OPENING) {
            watch_opening(data[i]);
        } else if (m_state == TAG) {
            watch_tag(data[i]);
        } else {
            watch_raw(data[i]);
        }
        if (m_values > m_max_attributes) {
            m_problem = QStringLiteral("more than %1 attributes in one element").arg(m_max_attributes);
            return i;
        }
    }
    return size;
}

void STREAMED_XML_FILE::watch_opening(char c)
{
    constexpr const char* RAW_PARTS[][2] = {{"!--", "-->"}, {"![CDATA[", "]]>"}, {"?", "?>"}};
    m_opening.append(c);
    for (const auto& part : RAW_PARTS) {
        if (m_opening == part[0]) {
            m_state = RAW;
            m_end = part[1];
            m_end_matched = 0;
            return;
        }
        if (std::strncmp(part[0], m_opening.constData(), std::size_t(m_opening.size())) == 0)
            return;
    }
    m_state = TAG;
    m_values = 0;
    watch_tag(c);
}

void STREAMED_XML_FILE::watch_tag(char c)
{
    if (c == '>') {
        m_state = TEXT;
    } else if (c == '<') {
        m_state = OPENING; // broken; the parser says so
        m_opening.clear();
    } else if (c == '"' || c == '\'') {
        m_state = VALUE;
        m_quote = c;
        ++m_values;
    }
}

void STREAMED_XML_FILE::watch_raw(char c)
{
    // All ends begin with equal characters and a different last one, so one more
    // of the first in place of the last changes nothing.
    if (c == m_end[m_end_matched])
        ++m_end_matched;
    else if (c != m_end[0])
        m_end_matched = 0;
    if (!m_end[m_end_matched])
        m_state = TEXT;
}
