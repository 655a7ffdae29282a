#include "contracts/rules/rule_file_edit.h"

#include <QtCore/QMap>

#include "contracts/rules/rule_file_format.h"
#include "contracts/rules/rule_key.h"
#include "contracts/rules/text_edits.h"
#include "contracts/rules/xml_outline.h"
#include "contracts/services/xml_raw_part.h"

namespace {

constexpr int LEVELS = 2; // rules, and what they hold

QString kind_of(const RULE_IN_FILE& entry)
{
    return name_key(entry.rule->name);
}

// The comments in the content of an element, which stay when its text changes.
QByteArray comments_in(const QByteArray& content)
{
    QByteArray comments;
    for (int place = content.indexOf('<'); place >= 0; place = content.indexOf('<', place + 1)) {
        const int end = behind_raw_part(content, place);
        if (content.mid(place, 4) == "<!--")
            comments += content.mid(place, end - place);
        place = qMax(place, end - 1);
    }
    return comments;
}

class RULE_FILE_EDITOR
{
public:
    RULE_FILE_EDITOR(const QByteArray& text, const QVector<CACHED_RULE>& old_rules);

    bool fits() const { return m_elements.size() == m_old_rules.size(); }
    QByteArray edit(QVector<RULE_IN_FILE>& rules);

private:
    void read_style();
    void arrange(const QVector<RULE_IN_FILE>& rules);
    void arrange_kind(const RULE_IN_FILE* begin, const RULE_IN_FILE* end);
    void insert_behind(int place);
    void change(const XML_ELEMENT& element, const CACHED_RULE& old_rule, const CACHED_RULE& rule);
    void change_inherit(const XML_ELEMENT& element, bool inherit);
    bool change_value(const XML_ELEMENT* element, const QString& old_value, const QString& value);
    void insert_values(const XML_ELEMENT& element, const QVector<QByteArray>& values);
    void insert_children(const XML_ELEMENT& parent, int place, const QVector<QByteArray>& children,
                         const QByteArray& indent, const QByteArray& end_indent);

    const QByteArray m_text;
    const QVector<CACHED_RULE>& m_old_rules;
    TEXT_EDITS m_edits;
    XML_ELEMENT m_root;
    QVector<XML_ELEMENT> m_elements; // of the rules
    RULE_FILE_STYLE m_style;
    QVector<const CACHED_RULE*> m_staying;        // by old place; null for one that goes
    QMap<int, QVector<RULE_IN_FILE>> m_following; // what is written anew, by the old place in front of it
};

RULE_FILE_EDITOR::RULE_FILE_EDITOR(const QByteArray& text, const QVector<CACHED_RULE>& old_rules)
    : m_text(text),
      m_old_rules(old_rules),
      m_edits(text),
      m_root(xml_outline(text, LEVELS)),
      m_staying(old_rules.size(), nullptr)
{
    for (const XML_ELEMENT& child : qAsConst(m_root.children))
        if (child.name == "rule")
            m_elements.append(child);
    read_style();
}

void RULE_FILE_EDITOR::read_style()
{
    if (m_text.contains("\r\n"))
        m_style.line_end = "\r\n";
    const QByteArray indent =
        m_elements.isEmpty() ? QByteArray() : indent_before(m_text, m_elements[0].begin);
    if (!indent.isEmpty()) {
        m_style.indent = indent;
        m_style.inner_indent = indent + indent;
    }
}

// Rules that come in the order of the file stay where they are; any other goes
// behind the one in front of it in `rules`.
void RULE_FILE_EDITOR::arrange_kind(const RULE_IN_FILE* begin, const RULE_IN_FILE* end)
{
    int last = NO_PLACE;
    QVector<RULE_IN_FILE> waiting; // in front of the first that stays
    for (const RULE_IN_FILE* entry = begin; entry != end; ++entry) {
        if (entry->place > last) {
            if (!waiting.isEmpty())
                m_following[entry->place - 1] += waiting;
            waiting.clear();
            last = entry->place;
            m_staying[last] = entry->rule;
        } else if (last != NO_PLACE) {
            m_following[last].append(*entry);
        } else {
            waiting.append(*entry);
        }
    }
    if (!waiting.isEmpty())
        m_following[m_elements.size() - 1] += waiting;
}

void RULE_FILE_EDITOR::arrange(const QVector<RULE_IN_FILE>& rules)
{
    const RULE_IN_FILE* begin = rules.cbegin();
    for (const RULE_IN_FILE* entry = begin; entry != rules.cend(); ++entry) {
        if (kind_of(*entry) == kind_of(*begin))
            continue;
        arrange_kind(begin, entry);
        begin = entry;
    }
    arrange_kind(begin, rules.cend());
}

QByteArray RULE_FILE_EDITOR::edit(QVector<RULE_IN_FILE>& rules)
{
    arrange(rules);
    rules.clear();
    for (int place = NO_PLACE; place < m_elements.size(); ++place) {
        const CACHED_RULE* const staying = place == NO_PLACE ? nullptr : m_staying.at(place);
        if (staying) {
            rules.append({staying, place});
            if (meaning_of(m_old_rules.at(place)) != meaning_of(*staying))
                change(m_elements.at(place), m_old_rules.at(place), *staying);
        } else if (place != NO_PLACE) {
            m_edits.remove_with_indent(m_elements.at(place).begin, m_elements.at(place).end);
        }
        rules += m_following.value(place);
        insert_behind(place);
    }
    return m_edits.result();
}

void RULE_FILE_EDITOR::insert_behind(int place)
{
    const QVector<RULE_IN_FILE> rules = m_following.value(place);
    if (rules.isEmpty())
        return;
    QVector<QByteArray> texts;
    for (const RULE_IN_FILE& entry : rules)
        texts.append(rule_element(*entry.rule, m_style));
    insert_children(m_root, place == NO_PLACE ? m_root.content : m_elements.at(place).end, texts,
                    m_style.indent, QByteArray());
}

// `place` is behind the child that they follow, or at the parent's content.
void RULE_FILE_EDITOR::insert_children(const XML_ELEMENT& parent, int place,
                                       const QVector<QByteArray>& children, const QByteArray& indent,
                                       const QByteArray& end_indent)
{
    QByteArray text;
    for (const QByteArray& child : children)
        text += m_style.line_end + indent + child;
    if (parent.is_one_tag()) {
        const QByteArray end_tag = "</" + xml_tag_name(m_text, parent) + '>';
        m_edits.replace(parent.content - 2, parent.content,
                        '>' + text + m_style.line_end + end_indent + end_tag);
        return;
    }
    place = end_of_line_or(m_text, place);
    if (!is_line_end(m_text, place))
        text += m_style.line_end + end_indent;
    m_edits.insert(place, text);
}

void RULE_FILE_EDITOR::change(const XML_ELEMENT& element, const CACHED_RULE& old_rule,
                              const CACHED_RULE& rule)
{
    if (old_rule.inherit_properties != rule.inherit_properties)
        change_inherit(element, rule.inherit_properties);

    const XML_ELEMENT* files = nullptr;
    QMap<QString, const XML_ELEMENT*> properties; // by name_key
    for (const XML_ELEMENT& child : element.children) {
        if (child.name == "files")
            files = &child;
        else if (child.name == "property")
            properties.insert(name_key(xml_attribute(m_text, child, "name")), &child);
    }
    QMap<QString, QString> old_values; // the same
    for (auto old = old_rule.properties.cbegin(); old != old_rule.properties.cend(); ++old)
        old_values.insert(name_key(old.key()), old->toString());

    QVector<QByteArray> added;
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        const QString key = name_key(property.key());
        const QString value = property->toString().trimmed();
        if (!change_value(properties.value(key), old_values.take(key), value))
            added.append(property_element(property.key(), value));
    }
    for (auto lost = old_values.cbegin(); lost != old_values.cend(); ++lost)
        change_value(properties.value(lost.key()), *lost, QString());
    if (!change_value(files, old_rule.get_file_filters(), rule.get_file_filters()))
        added.prepend(files_element(rule.get_file_filters()));
    if (!added.isEmpty())
        insert_values(element, added);
}

void RULE_FILE_EDITOR::insert_values(const XML_ELEMENT& element, const QVector<QByteArray>& values)
{
    QByteArray indent = indent_before(m_text, element.begin);
    if (indent.isNull())
        indent = m_style.indent;
    QByteArray inner_indent;
    if (!element.children.isEmpty())
        inner_indent = indent_before(m_text, element.children.first().begin);
    if (inner_indent.isEmpty())
        inner_indent = indent + m_style.indent;
    const int behind = element.children.isEmpty() ? element.content : element.children.last().end;
    insert_children(element, behind, values, inner_indent, indent);
}

void RULE_FILE_EDITOR::change_inherit(const XML_ELEMENT& element, bool inherit)
{
    int begin = 0;
    int end = 0;
    if (find_xml_attribute(m_text, element, "inherit", begin, end))
        m_edits.replace(begin, end, inherit ? "true" : "false");
    else if (inherit) // behind the last value
        m_edits.insert(1 + qMax(m_text.lastIndexOf('"', element.content - 1),
                                m_text.lastIndexOf('\'', element.content - 1)),
                       " inherit=\"true\"");
}

// False when there is a value and no element yet to hold it.
bool RULE_FILE_EDITOR::change_value(const XML_ELEMENT* element, const QString& old_value,
                                    const QString& value)
{
    if (value == old_value)
        return true;
    if (!element)
        return value.isEmpty();
    if (value.isEmpty())
        m_edits.remove_with_indent(element->begin, element->end);
    else if (element->is_one_tag())
        m_edits.replace(element->content - 2, element->content,
                        '>' + escaped_for_rule_file(value) + "</" + xml_tag_name(m_text, *element) + '>');
    else
        m_edits.replace(
            element->content, element->content_end,
            escaped_for_rule_file(value) +
                comments_in(m_text.mid(element->content, element->content_end - element->content)));
    return true;
}

} // namespace

QByteArray edited_rule_file(const QByteArray& text, const QVector<CACHED_RULE>& old_rules,
                            QVector<RULE_IN_FILE>& rules)
{
    RULE_FILE_EDITOR editor(text, old_rules);
    return editor.fits() ? editor.edit(rules) : QByteArray();
}
