#include "contracts/services/xml_source.h"

namespace {

const QLatin1String NOT_UTF8("the bytes here are not UTF-8");

constexpr quint64 packed(const char* text)
{
    quint64 result = 0;
    for (; *text; ++text)
        result = result << 8 | uchar(*text);
    return result;
}

constexpr bool ends_with(quint64 bytes, quint64 end)
{
    quint64 mask = 0xff;
    while (mask < end)
        mask = mask << 8 | 0xff;
    return (bytes & mask) == end;
}

struct RAW_PART
{
    quint64 begin;
    quint64 end;
};

// What is no markup inside, whatever it looks like.
constexpr RAW_PART RAW_PARTS[] = {
    {packed("<?"), packed("?>")}, {packed("<!--"), packed("-->")}, {packed("![CDATA["), packed("]]>")}};

bool is_wide(const QByteArray& start)
{
    return start.contains('\0') || start.startsWith("\xff\xfe") || start.startsWith("\xfe\xff");
}

} // namespace

XML_SOURCE::XML_SOURCE(std::unique_ptr<QIODevice> bytes, const LIMITS& limits, QByteArray* copy)
    : m_bytes(std::move(bytes)), m_limits(limits), m_copy(copy)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    if (is_wide(m_bytes->peek(4)))
        fail(QStringLiteral("the file must be in UTF-8"), m_place);
}

qint64 XML_SOURCE::readData(char* data, qint64 size)
{
    if (m_piece >= m_limits.piece)
        fail(QStringLiteral("a tag or text of more than %1 bytes").arg(m_limits.piece), m_place);
    if (m_total > m_limits.bytes)
        fail(QStringLiteral("the file is larger than %1 bytes").arg(m_limits.bytes), m_place);
    if (!m_problem.isEmpty())
        return -1;
    const qint64 count = m_bytes->read(data, size);
    if (count <= 0)
        judge_end(count);
    qint64 given = 0;
    for (; given < count; ++given) {
        watch(data[given]);
        if (!m_problem.isEmpty())
            break;
    }
    m_total += given;
    m_piece += given;
    if (m_copy)
        m_copy->append(data, int(given));
    return given;
}

void XML_SOURCE::fail(const QString& problem, const PLACE& place)
{
    if (!m_problem.isEmpty())
        return;
    m_problem = problem;
    m_problem_place = place;
}

void XML_SOURCE::judge_end(qint64 count)
{
    if (count < 0)
        fail(m_bytes->errorString(), m_place);
    else if (m_total == 0)
        fail(QStringLiteral("the file is empty"), m_place);
    else if (m_following > 0)
        fail(QString(NOT_UTF8), m_place);
}

// Whether this byte can stand behind those before it.
bool XML_SOURCE::is_utf8(uchar byte)
{
    if (m_following > 0) {
        const bool is_next = byte >= m_least_next && byte <= m_greatest_next;
        --m_following;
        m_least_next = 0x80;
        m_greatest_next = 0xbf;
        return is_next;
    }
    if (byte < 0x80)
        return true;
    m_following = byte < 0xe0 ? 1 : byte < 0xf0 ? 2 : 3;
    m_least_next = byte == 0xe0 ? 0xa0 : byte == 0xf0 ? 0x90 : 0x80;    // less has a shorter form
    m_greatest_next = byte == 0xed ? 0x9f : byte == 0xf4 ? 0x8f : 0xbf; // more is no character
    return byte >= 0xc2 && byte <= 0xf4;
}

void XML_SOURCE::watch(char c)
{
    if (!is_utf8(uchar(c)))
        return fail(QString(NOT_UTF8), m_place);
    if (m_state == TAG || (m_state == TEXT && c == '<')) {
        watch_tag(c);
    } else if (m_state == VALUE && c == m_quote) {
        m_state = TAG;
    } else if (m_state == RAW) {
        m_latest = m_latest << 8 | uchar(c);
        if (ends_with(m_latest, m_raw_end))
            m_state = TEXT;
    }
    if (m_following == 0)
        m_place = c == '\n' ? PLACE{m_place.line + 1, 1} : PLACE{m_place.line, m_place.column + 1};
}

void XML_SOURCE::watch_tag(char c)
{
    m_latest = m_latest << 8 | uchar(c);
    if (c == '<') { // within a tag it is broken; the parser says so
        m_state = TAG;
        m_tag = m_place;
        m_values = 0;
    } else if (c == '>') {
        m_state = TEXT;
    } else if (c == '"' || c == '\'') {
        m_state = VALUE;
        m_quote = c;
        if (++m_values > m_limits.attributes)
            fail(QStringLiteral("more than %1 attributes in one element").arg(m_limits.attributes), m_tag);
    }
    for (const RAW_PART& part : RAW_PARTS)
        if (ends_with(m_latest, part.begin)) {
            m_state = RAW;
            m_raw_end = part.end;
            m_latest = 0; // the end has no byte of the beginning
        }
}
