#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

/// An element by the bytes that it takes in its text, so that a change can
/// leave everything round it as it stands.
struct XML_ELEMENT
{
    QByteArray name;     ///< without a namespace prefix
    int begin = 0;       ///< at the "<" of the start tag
    int content = 0;     ///< behind the ">" of the start tag
    int content_end = 0; ///< at the "</" of the end tag
    int end = 0;         ///< behind the element; equals `content` for one without an end tag, as in "<a/>"
    QVector<XML_ELEMENT> children;

    bool is_one_tag() const { return end == content; }
};

/// The outermost element of a text that XML_FILE_READER has read without an
/// error, with as many levels of elements in it. Any thread.
XML_ELEMENT xml_outline(const QByteArray& text, int levels);

/// The start tag's name as it stands, prefix included.
QByteArray xml_tag_name(const QByteArray& text, const XML_ELEMENT& element);

/// The value of an attribute of the element, entities resolved; empty when it
/// has none.
QString xml_attribute(const QByteArray& text, const XML_ELEMENT& element, const QByteArray& attribute);

/// Where the value of the attribute stands, without its quotes. False when the
/// element has none.
bool find_xml_attribute(const QByteArray& text, const XML_ELEMENT& element, const QByteArray& attribute,
                        int& begin, int& end);
