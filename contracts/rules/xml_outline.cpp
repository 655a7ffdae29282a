#include "contracts/rules/xml_outline.h"

#include <QtCore/QXmlStreamReader>

#include <algorithm>
#include <cstring>

#include "contracts/services/xml_raw_part.h"

namespace {

bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

int behind_tag(const QByteArray& text, int from)
{
    for (int i = from + 1; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '>')
            return i + 1;
        if (c != '"' && c != '\'')
            continue;
        i = text.indexOf(c, i + 1);
        if (i < 0)
            break;
    }
    return text.size();
}

// The next tag at or behind `from`; the end of the text if there is none.
int next_tag(const QByteArray& text, int from)
{
    for (int place = text.indexOf('<', from); place >= 0; place = text.indexOf('<', from)) {
        from = behind_raw_part(text, place);
        if (from == place)
            return place;
    }
    return text.size();
}

XML_ELEMENT element_at(const QByteArray& text, int begin, int levels)
{
    XML_ELEMENT element;
    element.begin = begin;
    element.content = element.content_end = element.end = behind_tag(text, begin);
    element.name = xml_tag_name(text, element);
    element.name = element.name.mid(element.name.indexOf(':') + 1);
    if (text.at(element.content - 2) == '/')
        return element;
    int open = 0; // elements that are not outlined
    for (int place = next_tag(text, element.content); place < text.size(); place = next_tag(text, place)) {
        const bool is_end = text.mid(place + 1, 1) == "/";
        if (is_end && open == 0) {
            element.content_end = place;
            element.end = behind_tag(text, place);
            return element;
        }
        if (!is_end && levels > 0) {
            element.children.append(element_at(text, place, levels - 1));
            place = element.children.last().end;
            continue;
        }
        place = behind_tag(text, place);
        if (is_end)
            --open;
        else if (text.at(place - 2) != '/')
            ++open;
    }
    element.content_end = element.end = text.size();
    return element;
}

} // namespace

XML_ELEMENT xml_outline(const QByteArray& text, int levels)
{
    const int begin = next_tag(text, 0);
    return begin < text.size() ? element_at(text, begin, levels) : XML_ELEMENT();
}

QByteArray xml_tag_name(const QByteArray& text, const XML_ELEMENT& element)
{
    int end = element.begin + 1;
    while (end < element.content && !is_space(text.at(end)) && !std::strchr("/>", text.at(end)))
        ++end;
    return text.mid(element.begin + 1, end - element.begin - 1);
}

QString xml_attribute(const QByteArray& text, const XML_ELEMENT& element, const QByteArray& attribute)
{
    QXmlStreamReader tag(text.mid(element.begin, element.content - element.begin));
    tag.setNamespaceProcessing(false);
    tag.readNextStartElement();
    return tag.attributes().value(QLatin1String(attribute)).toString();
}

bool find_xml_attribute(const QByteArray& text, const XML_ELEMENT& element, const QByteArray& attribute,
                        int& begin, int& end)
{
    int place = element.begin + 1 + xml_tag_name(text, element).size();
    for (int equals = text.indexOf('=', place); equals >= 0 && equals < element.content;
         equals = text.indexOf('=', place)) {
        const QByteArray name = text.mid(place, equals - place).trimmed();
        begin = equals + 1;
        while (is_space(text.at(begin)))
            ++begin;
        end = text.indexOf(text.at(begin), begin + 1);
        ++begin;
        if (name == attribute)
            return true;
        place = end + 1;
    }
    return false;
}
