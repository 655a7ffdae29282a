#include "contracts/rules/rule_schema.h"

#include <algorithm>

#include "contracts/rules/rule_key.h"

QMap<QString, RULE_SCHEMA*> RULE_SCHEMA::s_schemas;

RULE_SCHEMA::RULE_SCHEMA(QObject* parent) : QObject(parent) {}

RULE_SCHEMA* RULE_SCHEMA::register_schema(const QString& name, const QString& description,
                                          const QVector<RULE_PROPERTY>& properties)
{
    RULE_SCHEMA*& schema = s_schemas[name.toLower()];
    if (!schema) {
        schema = new RULE_SCHEMA;
        schema->name = name;
        schema->description = description;
    }
    for (const RULE_PROPERTY& property : properties)
        if (!schema->property(property.name))
            schema->properties.insert(name_key(property.name), property);
    return schema;
}

const RULE_PROPERTY* RULE_SCHEMA::property(const QString& name) const
{
    const QString key = name_key(name);
    const auto found = std::find_if(properties.cbegin(), properties.cend(),
                                    [&](const RULE_PROPERTY& known) { return name_key(known.name) == key; });
    return found == properties.cend() ? nullptr : &*found;
}

void RULE_SCHEMA::add()
{
    emit add(name);
}

void RULE_SCHEMA::add_above()
{
    emit add_above(name);
}

void RULE_SCHEMA::add_below()
{
    emit add_below(name);
}
