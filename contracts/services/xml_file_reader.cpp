#include "contracts/services/xml_file_reader.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextCodec>

#include <algorithm>

#include "contracts/services/streamed_xml_file.h"
#include "contracts/services/xml_raw_part.h"

namespace {

constexpr int QUOTED_LENGTH = 60;

// Text from a broken file may be long and of many lines.
QString quoted(const QString& text)
{
    const QString line = text.simplified();
    return '"' + (line.size() <= QUOTED_LENGTH ? line : line.left(QUOTED_LENGTH) + "...") + '"';
}

// The path may hold what looks like a place marker.
QString place_of(const QString& path, qint64 line, qint64 column)
{
    return QStringLiteral("%1:%2:%3").arg(path, QString::number(line), QString::number(column));
}

bool is_wide(const QByteArray& content)
{
    return content.left(4).contains('\0') || content.startsWith("\xff\xfe") || content.startsWith("\xfe\xff");
}

// The first line with bytes that are not UTF-8, 0 for none. The parser decodes
// far ahead of the place that it tells.
int line_of_wrong_bytes(const QByteArray& content)
{
    QTextCodec* const utf8 = QTextCodec::codecForName("UTF-8");
    int line = 1;
    for (int start = 0; start < content.size(); ++line) {
        const int break_place = content.indexOf('\n', start);
        const int end = break_place < 0 ? content.size() : break_place + 1;
        QTextCodec::ConverterState state;
        utf8->toUnicode(content.constData() + start, end - start, &state);
        if (state.invalidChars > 0 || state.remainingChars > 0)
            return line;
        start = end;
    }
    return 0;
}

// Encodings in which markup is spelled by the bytes that it is looked for with.
bool is_plain_encoding(const QStringRef& encoding)
{
    return encoding.isEmpty() || encoding.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) == 0 ||
           encoding.compare(QLatin1String("us-ascii"), Qt::CaseInsensitive) == 0;
}

// Quoted values in the tag that starts at `from`, which moves behind the tag.
int count_values(const QByteArray& content, int& from)
{
    int count = 0;
    while (++from < content.size()) {
        const char c = content.at(from);
        if (c == '>' || c == '<')
            break;
        if (c != '"' && c != '\'')
            continue;
        ++count;
        from = content.indexOf(c, from + 1);
        if (from < 0)
            from = content.size();
    }
    return count;
}

} // namespace

XML_FILE_READER::XML_FILE_READER(const QString& path, qint64 max_bytes, int max_nesting)
    : m_path(path), m_max_bytes(max_bytes), m_max_nesting(max_nesting)
{
}

XML_FILE_READER::~XML_FILE_READER() = default;

bool XML_FILE_READER::open(const char* root)
{
    return read_content() && start(root);
}

bool XML_FILE_READER::open_streamed(const char* root)
{
    if (!cause_of_no_file().isEmpty())
        return cannot_open(cause_of_no_file());
    m_stream = std::make_unique<STREAMED_XML_FILE>(m_path, MAX_PIECE, MAX_ATTRIBUTES);
    if (!m_stream->open(QIODevice::ReadOnly))
        return cannot_open(m_stream->errorString());
    if (m_stream->size() > m_max_bytes)
        return too_large();
    if (m_stream->size() == 0)
        return fail(QStringLiteral("the file is empty"));
    if (is_wide(m_stream->peek(4)))
        return fail(QStringLiteral("the file must be in UTF-8"));
    m_xml.setDevice(m_stream.get());
    return enter_root(root);
}

bool XML_FILE_READER::open(const QByteArray& content, const char* root)
{
    m_content = content;
    if (content.size() > m_max_bytes)
        return fail(QStringLiteral("the file is larger than %1 bytes").arg(m_max_bytes));
    return start(root);
}

bool XML_FILE_READER::cannot_open(const QString& cause)
{
    m_error = QStringLiteral("%1: can't be opened: %2").arg(m_path, cause);
    return false;
}

bool XML_FILE_READER::too_large()
{
    return cannot_open(QStringLiteral("it is larger than %1 bytes").arg(m_max_bytes));
}

QString XML_FILE_READER::cause_of_no_file() const
{
    // A pipe or device would hold up the reading for ever.
    const QFileInfo info(m_path);
    return info.exists() && !info.isFile() ? QStringLiteral("it is not a file") : QString();
}

bool XML_FILE_READER::read_content()
{
    if (!cause_of_no_file().isEmpty())
        return cannot_open(cause_of_no_file());
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return cannot_open(file.errorString());
    const qint64 size = file.size();
    if (size > m_max_bytes)
        return too_large();
    m_content = file.read(size + 1); // as much is allocated, whatever is there
    if (file.error() != QFile::NoError)
        return cannot_open(file.errorString());
    return m_content.size() > size ? cannot_open(QStringLiteral("it grew while it was read")) : true;
}

bool XML_FILE_READER::start(const char* root)
{
    if (m_content.isEmpty())
        return fail(QStringLiteral("the file is empty"));
    if (!check_bytes())
        return false;
    m_xml.addData(m_content);
    return enter_root(root);
}

bool XML_FILE_READER::enter_root(const char* root)
{
    while (!failed()) {
        if (step() != QXmlStreamReader::StartElement)
            continue;
        if (name() != QLatin1String(root))
            return fail(QStringLiteral("the outermost element must be <%1>, not <%2>")
                            .arg(QLatin1String(root), name().toString()));
        return true;
    }
    return false;
}

// What QXmlStreamReader does with the attributes of an element grows with the
// square of their number, so it must not see too many of them; and what can't be
// searched as bytes can't be judged before.
bool XML_FILE_READER::check_bytes()
{
    if (is_wide(m_content))
        return fail(QStringLiteral("the file must be in UTF-8"));
    if (const int line = line_of_wrong_bytes(m_content))
        return fail_at(QStringLiteral("the line holds bytes that are not UTF-8"), line, 1);
    int place = m_content.indexOf('<');
    while (place >= 0 && place < m_content.size()) {
        const int tag = place;
        place = behind_raw_part(m_content, tag);
        if (place == tag && count_values(m_content, place) > MAX_ATTRIBUTES) {
            const QByteArray before = m_content.left(tag);
            return fail_at(QStringLiteral("more than %1 attributes in one element").arg(MAX_ATTRIBUTES),
                           before.count('\n') + 1, tag - before.lastIndexOf('\n'));
        }
        place = m_content.indexOf('<', place);
    }
    return true;
}

QXmlStreamReader::TokenType XML_FILE_READER::step()
{
    if (failed())
        return QXmlStreamReader::Invalid;
    const QXmlStreamReader::TokenType token = m_xml.readNext();
    if (m_xml.hasError() && m_stream && !m_stream->problem().isEmpty())
        fail(m_stream->problem());
    else if (m_xml.hasError() && m_stream && m_stream->error() != QFile::NoError)
        fail(m_stream->errorString());
    else if (m_xml.hasError())
        fail(m_xml.errorString());
    else if (token == QXmlStreamReader::StartDocument && !is_plain_encoding(m_xml.documentEncoding()))
        fail(QStringLiteral("the file must be in UTF-8, not in %1").arg(m_xml.documentEncoding().toString()));
    else if (token == QXmlStreamReader::DTD)
        fail(QStringLiteral("a document type declaration is not allowed"));
    else if (token == QXmlStreamReader::EndElement)
        --m_depth;
    else if (token == QXmlStreamReader::StartElement && ++m_depth > m_max_nesting)
        fail(QStringLiteral("more than %1 elements within each other").arg(m_max_nesting));
    if (m_stream)
        m_stream->begin_piece();
    return failed() ? QXmlStreamReader::Invalid : token;
}

bool XML_FILE_READER::next_child()
{
    while (!failed()) {
        switch (step()) {
        case QXmlStreamReader::StartElement:
            return true;
        case QXmlStreamReader::EndElement:
        case QXmlStreamReader::EndDocument:
            return false;
        case QXmlStreamReader::Characters:
            if (!m_xml.isWhitespace())
                return fail(QStringLiteral("the text %1 stands between elements")
                                .arg(quoted(m_xml.text().toString())));
            break;
        default:
            break; // comments and processing instructions say nothing
        }
    }
    return false;
}

bool XML_FILE_READER::has_attribute(const char* attribute) const
{
    return m_xml.attributes().hasAttribute(QLatin1String(attribute));
}

QString XML_FILE_READER::attribute(const char* attribute) const
{
    return m_xml.attributes().value(QLatin1String(attribute)).toString();
}

bool XML_FILE_READER::allow_attributes(std::initializer_list<const char*> allowed)
{
    const QXmlStreamAttributes attributes = m_xml.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        const bool is_ours = attribute.namespaceUri().isEmpty();
        const auto is_called = [&](const char* known) { return attribute.name() == QLatin1String(known); };
        if (is_ours && std::none_of(allowed.begin(), allowed.end(), is_called))
            return fail(QStringLiteral("<%1> has no attribute %2")
                            .arg(name().toString(), quoted(attribute.name().toString())));
    }
    return !failed();
}

bool XML_FILE_READER::check_version(int newest)
{
    if (failed() || !has_attribute("version"))
        return !failed();
    bool is_number = false;
    const int version = attribute("version").trimmed().toInt(&is_number);
    if (!is_number || version < 1 || version > newest)
        return fail(QStringLiteral("version %1 is not known, %2 is the newest that can be read")
                        .arg(quoted(attribute("version")), QString::number(newest)));
    return true;
}

QString XML_FILE_READER::text()
{
    const QString element = name().toString();
    QString result;
    while (!failed()) {
        const QXmlStreamReader::TokenType token = step();
        if (token == QXmlStreamReader::EndElement)
            return result;
        if (token == QXmlStreamReader::Characters)
            result += m_xml.text();
        if (result.size() > MAX_PIECE)
            fail(QStringLiteral("a text of more than %1 characters").arg(MAX_PIECE));
        else if (token == QXmlStreamReader::StartElement)
            fail(QStringLiteral("<%1> can hold text only, not <%2>").arg(element, name().toString()));
    }
    return QString();
}

bool XML_FILE_READER::boolean(bool& out)
{
    const QString element = name().toString();
    const QString word = text().trimmed();
    if (failed())
        return false;
    if (word != QLatin1String("true") && word != QLatin1String("false"))
        return fail(QStringLiteral("<%1> must be true or false, not %2").arg(element, quoted(word)));
    out = word == QLatin1String("true");
    return true;
}

void XML_FILE_READER::skip()
{
    const int outside = m_depth - 1;
    while (!failed() && m_depth > outside)
        step();
}

bool XML_FILE_READER::finish()
{
    while (!failed() && !m_xml.atEnd())
        step();
    return !failed();
}

QString XML_FILE_READER::place() const
{
    return place_of(m_path, m_xml.lineNumber(), m_xml.columnNumber() + 1);
}

bool XML_FILE_READER::fail(const QString& cause)
{
    return fail_at(cause, m_xml.lineNumber(), m_xml.columnNumber() + 1);
}

bool XML_FILE_READER::fail_at(const QString& cause, qint64 line, qint64 column)
{
    if (!failed())
        m_error = place_of(m_path, line, column) + ": " + cause;
    return false;
}
