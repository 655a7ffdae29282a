#include "contracts/rules/rule_schema.h"

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
    for (const RULE_PROPERTY& property : properties) {
        const QString key = property.name.toLower();
        if (!schema->properties.contains(key))
            schema->properties.insert(key, property);
    }
    return schema;
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
