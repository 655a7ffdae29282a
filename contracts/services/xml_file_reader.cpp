#include "contracts/services/xml_file_reader.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

constexpr int QUOTED_LENGTH = 60;

// Text from a broken file may be long and of many lines.
QString quoted(const QString& text)
{
    const QString line = text.simplified();
    return '"' + (line.size() <= QUOTED_LENGTH ? line : line.left(QUOTED_LENGTH) + "...") + '"';
}

// The path may hold what looks like a place marker.
QString place_of(const QString& path, const XML_SOURCE::PLACE& place)
{
    return QStringLiteral("%1:%2:%3").arg(path, QString::number(place.line), QString::number(place.column));
}

// Encodings in which markup is spelled by the bytes that it is looked for with.
bool is_plain_encoding(const QStringRef& encoding)
{
    return encoding.isEmpty() || encoding.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) == 0 ||
           encoding.compare(QLatin1String("us-ascii"), Qt::CaseInsensitive) == 0;
}

} // namespace

XML_FILE_READER::XML_FILE_READER(const QString& path, qint64 max_bytes, int max_nesting)
    : m_path(path), m_max_bytes(max_bytes), m_max_nesting(max_nesting)
{
}

XML_FILE_READER::~XML_FILE_READER() = default;

bool XML_FILE_READER::open(const char* root, QByteArray* copy)
{
    // A pipe or device would hold up the reading for ever.
    const QFileInfo info(m_path);
    if (info.exists() && !info.isFile())
        return cannot_open(QStringLiteral("it is not a file"));
    auto file = std::make_unique<QFile>(m_path);
    if (!file->open(QIODevice::ReadOnly))
        return cannot_open(file->errorString());
    if (file->size() > m_max_bytes)
        return cannot_open(QStringLiteral("it is larger than %1 bytes").arg(m_max_bytes));
    return start(std::move(file), root, copy);
}

bool XML_FILE_READER::open(const QByteArray& content, const char* root)
{
    auto bytes = std::make_unique<QBuffer>();
    bytes->setData(content);
    bytes->open(QIODevice::ReadOnly);
    return start(std::move(bytes), root, nullptr);
}

bool XML_FILE_READER::cannot_open(const QString& cause)
{
    m_error = QStringLiteral("%1: can't be opened: %2").arg(m_path, cause);
    return false;
}

bool XML_FILE_READER::start(std::unique_ptr<QIODevice> bytes, const char* root, QByteArray* copy)
{
    m_source = std::make_unique<XML_SOURCE>(std::move(bytes),
                                            XML_SOURCE::LIMITS{m_max_bytes, MAX_PIECE, MAX_ATTRIBUTES}, copy);
    m_xml.setDevice(m_source.get());
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

QXmlStreamReader::TokenType XML_FILE_READER::step()
{
    if (failed())
        return QXmlStreamReader::Invalid;
    const QXmlStreamReader::TokenType token = m_xml.readNext();
    if (has_come_to_problem(token))
        fail_at(m_source->problem(), m_source->problem_place());
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
    m_source->begin_piece();
    return failed() ? QXmlStreamReader::Invalid : token;
}

// Whether there is something wrong in the bytes, and the parser took all in front of it.
bool XML_FILE_READER::has_come_to_problem(QXmlStreamReader::TokenType token) const
{
    return !m_source->problem().isEmpty() && (token == QXmlStreamReader::EndDocument ||
                                              m_xml.error() == QXmlStreamReader::PrematureEndOfDocumentError);
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

bool XML_FILE_READER::next_child(const char* parent, std::initializer_list<const char*> allowed)
{
    const auto is_called = [this](const char* element) { return name() == QLatin1String(element); };
    if (!next_child())
        return false;
    return std::any_of(allowed.begin(), allowed.end(), is_called) ||
           fail(QStringLiteral("<%1> can't hold <%2>").arg(QLatin1String(parent), name().toString()));
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
    return place_of(m_path, here());
}

XML_SOURCE::PLACE XML_FILE_READER::here() const
{
    return {m_xml.lineNumber(), m_xml.columnNumber() + 1};
}

bool XML_FILE_READER::fail(const QString& cause)
{
    return fail_at(cause, here());
}

bool XML_FILE_READER::fail_at(const QString& cause, const XML_SOURCE::PLACE& place)
{
    if (!failed())
        m_error = place_of(m_path, place) + ": " + cause;
    return false;
}
