#include "contracts/rules/rule_file_format.h"

#include <QtCore/QSet>
#include <QtCore/QXmlStreamWriter>

#include "contracts/rules/rule_schema.h"

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
    known.insert(name.toLower());
    if (known.size() == count)
        return xml.fail(QStringLiteral("the property \"%1\" is set twice in one rule").arg(name));
    // In the schema's spelling, which is what whoever edits the rule asks for.
    if (const RULE_SCHEMA* const schema = RULE_SCHEMA::s_schemas.value(rule.name.toLower())) {
        const auto property = schema->properties.constFind(name.toLower());
        if (property != schema->properties.constEnd())
            name = property->name;
    }
    const QString value = xml.text().trimmed();
    if (!value.isEmpty())
        rule.properties.insert(name, value);
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

void write_rule(QXmlStreamWriter& xml, const CACHED_RULE& rule)
{
    xml.writeStartElement(QStringLiteral("rule"));
    xml.writeAttribute(QStringLiteral("name"), rule.name.trimmed());
    xml.writeAttribute(QStringLiteral("inherit"), rule.inherit_properties ? "true" : "false");
    const QString filters = rule.get_file_filters();
    if (!filters.isEmpty())
        xml.writeTextElement(QStringLiteral("files"), filters);
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        const QString value = property.value().toString().trimmed();
        if (value.isEmpty())
            continue;
        xml.writeStartElement(QStringLiteral("property"));
        xml.writeAttribute(QStringLiteral("name"), property.key().trimmed());
        xml.writeCharacters(value);
        xml.writeEndElement();
    }
    xml.writeEndElement();
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

QByteArray rule_file_text(const QVector<const CACHED_RULE*>& rules)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(RULE_FILE_ROOT);
    xml.writeAttribute(QStringLiteral("version"), QString::number(VERSION));
    for (const CACHED_RULE* const rule : rules)
        write_rule(xml, *rule);
    xml.writeEndElement();
    xml.writeEndDocument();
    return xml.hasError() ? QByteArray() : text;
}
