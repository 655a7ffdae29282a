#include "contracts/rules/rule_file_format.h"

#include <QtCore/QMap>
#include <QtCore/QSet>

#include <algorithm>

#include "contracts/rules/rule_key.h"
#include "contracts/rules/rule_schema.h"
#include "contracts/services/xml_text.h"

namespace {

constexpr int VERSION = 1;

bool read_name(XML_FILE_READER& xml, QString& name)
{
    name = xml.attribute("name").trimmed();
    return !name.isEmpty() || xml.fail(QStringLiteral("<%1> needs a name").arg(xml.name().toString()));
}

bool read_inherit(XML_FILE_READER& xml, bool& inherit)
{
    if (!xml.has_attribute("inherit"))
        return true;
    const QString word = xml.attribute("inherit").trimmed();
    inherit = word == QLatin1String("true");
    return inherit || word == QLatin1String("false") ||
           xml.fail(QStringLiteral("inherit must be true or false, not \"%1\"").arg(word));
}

bool read_property(XML_FILE_READER& xml, CACHED_RULE& rule, QSet<QString>& known)
{
    QString name;
    if (!xml.allow_attributes({"name"}) || !read_name(xml, name))
        return false;
    const int count = known.size();
    known.insert(name_key(name));
    if (known.size() == count)
        return xml.fail(QStringLiteral("the property \"%1\" is set twice in one rule").arg(name));
    // In the schema's spelling, which is what whoever edits the rule asks for.
    const RULE_SCHEMA* const schema = RULE_SCHEMA::s_schemas.value(rule.name.toLower());
    const RULE_PROPERTY* const property = schema ? schema->property(name) : nullptr;
    const QString value = xml.text().trimmed();
    if (!value.isEmpty())
        rule.properties.insert(property ? property->name : name, value);
    return !xml.failed();
}

void read_files(XML_FILE_READER& xml, CACHED_RULE& rule, bool& is_known)
{
    if (is_known)
        xml.fail(QStringLiteral("<files> stands twice in one rule"));
    else if (xml.allow_attributes({}))
        rule.set_file_filters(xml.text());
    is_known = true;
}

bool read_rule(XML_FILE_READER& xml, CACHED_RULE& rule)
{
    if (!xml.allow_attributes({"name", "inherit"}) || !read_name(xml, rule.name) ||
        !read_inherit(xml, rule.inherit_properties))
        return false;
    bool has_files = false;
    QSet<QString> properties;
    while (xml.next_child()) {
        if (xml.name() == QLatin1String("property"))
            read_property(xml, rule, properties);
        else if (xml.name() == QLatin1String("files"))
            read_files(xml, rule, has_files);
        else
            xml.skip();
    }
    return !xml.failed();
}

QString why_not_writable(const CACHED_RULE& rule)
{
    const QString has_bad =
        QStringLiteral("the rule \"%1\" holds characters that can't stand in a rule file").arg(rule.name);
    if (first_not_for_xml(rule.name) >= 0 || first_not_for_xml(rule.get_file_filters()) >= 0)
        return has_bad;
    QSet<QString> names;
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        if (first_not_for_xml(property.key()) >= 0 || first_not_for_xml(property->toString()) >= 0)
            return has_bad + QStringLiteral(", in its property \"%1\"").arg(property.key());
        names.insert(name_key(property.key()));
    }
    return names.size() == rule.properties.size()
               ? QString()
               : QStringLiteral("the rule \"%1\" has a property twice").arg(rule.name);
}

} // namespace

bool read_rules(XML_FILE_READER& xml, QVector<CACHED_RULE>& rules)
{
    xml.allow_attributes({"version"});
    xml.check_version(VERSION);
    while (xml.next_child()) {
        if (xml.name() != QLatin1String("rule")) {
            xml.skip();
            continue;
        }
        if (rules.size() == MAX_RULES_PER_FILE)
            return xml.fail(QStringLiteral("more than %1 rules in one file").arg(MAX_RULES_PER_FILE));
        CACHED_RULE rule;
        if (read_rule(xml, rule))
            rules.append(rule);
    }
    return xml.finish();
}

QByteArray escaped_for_rule_file(const QString& text)
{
    QByteArray bytes = text.toHtmlEscaped().toUtf8();
    bytes.replace('\r', "&#13;"); // would be read as the end of a line
    return bytes;
}

QByteArray files_element(const QString& filters)
{
    return "<files>" + escaped_for_rule_file(filters) + "</files>";
}

QByteArray property_element(const QString& name, const QString& value)
{
    QByteArray in_quotes = escaped_for_rule_file(name.trimmed());
    in_quotes.replace('\n', "&#10;").replace('\t', "&#9;");
    return "<property name=\"" + in_quotes + "\">" + escaped_for_rule_file(value) + "</property>";
}

QByteArray rule_element(const CACHED_RULE& rule, const RULE_FILE_STYLE& style)
{
    QByteArray children;
    const auto add = [&](const QByteArray& child) {
        children += style.line_end + style.inner_indent + child;
    };
    const QString filters = rule.get_file_filters();
    if (!filters.isEmpty())
        add(files_element(filters));
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        const QString value = property.value().toString().trimmed();
        if (!value.isEmpty())
            add(property_element(property.key(), value));
    }
    const QByteArray tag = "<rule name=\"" + escaped_for_rule_file(rule.name.trimmed()) + "\" inherit=\"" +
                           (rule.inherit_properties ? "true" : "false");
    return children.isEmpty() ? tag + "\"/>"
                              : tag + "\">" + children + style.line_end + style.indent + "</rule>";
}

QByteArray empty_rule_file()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rules version=\"" + QByteArray::number(VERSION) +
           "\">\n</rules>\n";
}

QStringList meaning_of(const CACHED_RULE& rule)
{
    QMultiMap<QString, QString> values; // a name that stands there twice gives two
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        const QString value = property.value().toString().trimmed();
        if (!value.isEmpty())
            values.insert(name_key(property.key()), value);
    }
    return QStringList{name_key(rule.name), QString::number(rule.inherit_properties),
                       rule.get_file_filters()} +
           values.keys() + values.values();
}

QString why_not_readable(const QString& path, const QByteArray& text,
                         const QVector<const CACHED_RULE*>& rules)
{
    XML_FILE_READER xml(path);
    QVector<CACHED_RULE> read;
    const bool is_read = xml.open(text, RULE_FILE_ROOT) && read_rules(xml, read);
    const auto say_the_same = [](const CACHED_RULE* a, const CACHED_RULE& b) {
        return meaning_of(*a) == meaning_of(b);
    };
    if (is_read && std::equal(rules.begin(), rules.end(), read.begin(), read.end(), say_the_same))
        return QString();
    for (const CACHED_RULE* const rule : rules) {
        const QString cause = why_not_writable(*rule);
        if (!cause.isEmpty())
            return cause;
    }
    return QStringLiteral("with the changes it could not be read again: ") +
           (is_read ? QStringLiteral("it would say something else") : xml.error());
}
