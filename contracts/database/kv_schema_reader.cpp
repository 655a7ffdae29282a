#include "contracts/database/kv_schema_reader.h"

#include <QtCore/QSet>

#include <algorithm>
#include <cmath>

#include "contracts/services/xml_file_reader.h"

namespace {

constexpr KV_FIELD_SCHEMA::TYPE TYPES[] = {KV_FIELD_SCHEMA::TEXT, KV_FIELD_SCHEMA::INTEGER,
                                           KV_FIELD_SCHEMA::REAL, KV_FIELD_SCHEMA::BOOLEAN};

// Names become names of files and of XML attributes.
bool is_name(const QString& text)
{
    const auto is_letter = [](QChar c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    const auto is_letter_or_digit = [&](QChar c) { return is_letter(c) || (c >= '0' && c <= '9'); };
    return !text.isEmpty() && text.size() <= KV_MAX_NAME_LENGTH && is_letter(text.at(0)) &&
           std::all_of(text.begin(), text.end(), is_letter_or_digit);
}

class SCHEMA_READER
{
public:
    explicit SCHEMA_READER(const QString& path) : m_xml(path) {}

    QString read(KV_DATABASE_SCHEMA& schema)
    {
        if (m_xml.open("database") && m_xml.check_version(KV_FORMAT_VERSION) &&
            m_xml.allow_attributes({"version"}))
            while (m_xml.next_child())
                read_table();
        if (m_xml.finish() && check_lookups()) {
            m_schema.version = KV_FORMAT_VERSION;
            schema = m_schema;
        }
        return m_xml.failed() ? m_xml.error() : m_lookup_error;
    }

private:
    struct PENDING_LOOKUP
    {
        QString table, field;
        QString place;
    };

    void read_table()
    {
        if (m_xml.name() != QLatin1String("table")) {
            m_xml.fail(QStringLiteral("<database> can't hold <%1>").arg(m_xml.name().toString()));
            return;
        }
        if (!m_xml.allow_attributes({"name", "description"}))
            return;
        const auto table = QSharedPointer<KV_TABLE_SCHEMA>::create();
        table->name = m_xml.attribute("name");
        table->description = m_xml.attribute("description");
        if (!check_table_name(table->name))
            return;
        while (m_xml.next_child())
            read_field(*table);
        if (!m_xml.failed() && table->fields.isEmpty())
            m_xml.fail(QStringLiteral("table \"%1\" has no field").arg(table->name));
        m_schema.tables.append(table);
    }

    bool check_table_name(const QString& name)
    {
        if (!is_name(name))
            return m_xml.fail(not_a_name("table", name));
        if (name.compare(QLatin1String("schema"), Qt::CaseInsensitive) == 0)
            return m_xml.fail(
                QStringLiteral("no table can be called \"%1\": its file would be the schema's").arg(name));
        // Files of names that differ in letter case only can't lie side by side
        // on every system.
        if (m_table_names.contains(name.toLower()))
            return m_xml.fail(QStringLiteral("there are two tables called \"%1\"").arg(name));
        if (m_schema.tables.size() == KV_MAX_TABLES)
            return m_xml.fail(QStringLiteral("more than %1 tables").arg(KV_MAX_TABLES));
        m_table_names.insert(name.toLower());
        return true;
    }

    void read_field(KV_TABLE_SCHEMA& table)
    {
        if (m_xml.name() != QLatin1String("field")) {
            m_xml.fail(QStringLiteral("<table> can't hold <%1>").arg(m_xml.name().toString()));
            return;
        }
        KV_FIELD_SCHEMA field;
        if (!m_xml.allow_attributes({"name", "type", "key", "default", "description", "lookup"}) ||
            !read_name(table, field) || !read_type(field) || !read_key(table, field) ||
            !read_default(field) || !read_lookup(field))
            return;
        field.description = m_xml.attribute("description");
        table.fields.append(field);
        if (m_xml.next_child())
            m_xml.fail(QStringLiteral("<field> can't hold <%1>").arg(m_xml.name().toString()));
    }

    bool read_name(const KV_TABLE_SCHEMA& table, KV_FIELD_SCHEMA& field)
    {
        field.name = m_xml.attribute("name");
        if (!is_name(field.name))
            return m_xml.fail(not_a_name("field", field.name));
        if (table.field_index(field.name) >= 0)
            return m_xml.fail(
                QStringLiteral("table \"%1\" has two fields called \"%2\"").arg(table.name, field.name));
        if (table.fields.size() == KV_MAX_FIELDS)
            return m_xml.fail(
                QStringLiteral("table \"%1\" has more than %2 fields").arg(table.name).arg(KV_MAX_FIELDS));
        return true;
    }

    bool read_type(KV_FIELD_SCHEMA& field)
    {
        const QString name = m_xml.has_attribute("type") ? m_xml.attribute("type") : QStringLiteral("text");
        for (const KV_FIELD_SCHEMA::TYPE type : TYPES) {
            if (kv_type_name(type) != name)
                continue;
            field.type = type;
            return true;
        }
        return m_xml.fail(QStringLiteral("the type of field \"%1\" must be text, integer, real or boolean, "
                                         "not \"%2\"")
                              .arg(field.name, name));
    }

    bool read_key(const KV_TABLE_SCHEMA& table, KV_FIELD_SCHEMA& field)
    {
        if (!m_xml.has_attribute("key"))
            return true;
        const QString word = m_xml.attribute("key");
        field.key = word == QLatin1String("true");
        if (!field.key && word != QLatin1String("false"))
            return m_xml.fail(QStringLiteral("\"key\" must be true or false, not \"%1\"").arg(word));
        if (field.key && table.key_index() >= 0)
            return m_xml.fail(QStringLiteral("table \"%1\" has two key fields, \"%2\" and \"%3\"")
                                  .arg(table.name, table.fields.at(table.key_index()).name, field.name));
        return true;
    }

    bool read_default(KV_FIELD_SCHEMA& field)
    {
        field.default_value = m_xml.attribute("default");
        if (field.key && !field.default_value.isEmpty())
            return m_xml.fail(QStringLiteral("key field \"%1\" can't have a default").arg(field.name));
        if (!kv_value_has_type(QStringRef(&field.default_value), field.type))
            return m_xml.fail(QStringLiteral("default \"%1\" of field \"%2\" is not of type %3")
                                  .arg(field.default_value, field.name, kv_type_name(field.type)));
        return true;
    }

    bool read_lookup(KV_FIELD_SCHEMA& field)
    {
        if (!m_xml.has_attribute("lookup"))
            return true;
        const QString target = m_xml.attribute("lookup");
        field.lookup_table = target.section('.', 0, 0);
        field.lookup_field = target.section('.', 1);
        if (!is_name(field.lookup_table) || !is_name(field.lookup_field))
            return m_xml.fail(QStringLiteral("\"lookup\" must be table.field, not \"%1\"").arg(target));
        m_lookups.append({field.lookup_table, field.lookup_field, m_xml.place()});
        return true;
    }

    // A lookup may name a table that follows later.
    bool check_lookups()
    {
        QHash<QString, const KV_TABLE_SCHEMA*> tables;
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables))
            tables.insert(table->name, table.data());
        for (const PENDING_LOOKUP& lookup : qAsConst(m_lookups)) {
            const KV_TABLE_SCHEMA* const table = tables.value(lookup.table);
            if (table && table->field_index(lookup.field) >= 0)
                continue;
            m_lookup_error = QStringLiteral("%1: there is no field \"%2.%3\" to look up")
                                 .arg(lookup.place, lookup.table, lookup.field);
            return false;
        }
        return true;
    }

    static QString not_a_name(const char* what, const QString& text)
    {
        if (text.isEmpty())
            return QStringLiteral("a %1 must have a name").arg(QLatin1String(what));
        return QStringLiteral("\"%1\" can't be the name of a %2: letters from a to z, digits and _ can, at "
                              "most %3, the first no digit")
            .arg(text.left(KV_MAX_NAME_LENGTH), QLatin1String(what))
            .arg(KV_MAX_NAME_LENGTH);
    }

    XML_FILE_READER m_xml;
    KV_DATABASE_SCHEMA m_schema;
    QSet<QString> m_table_names; // in lower case
    QVector<PENDING_LOOKUP> m_lookups;
    QString m_lookup_error;
};

} // namespace

QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema)
{
    return SCHEMA_READER(path).read(schema);
}

bool kv_value_has_type(const QStringRef& value, KV_FIELD_SCHEMA::TYPE type)
{
    if (type == KV_FIELD_SCHEMA::TEXT || value.isEmpty())
        return true;
    bool is_number = false;
    switch (type) {
    case KV_FIELD_SCHEMA::INTEGER:
        value.toLongLong(&is_number);
        return is_number;
    case KV_FIELD_SCHEMA::REAL:
        return std::isfinite(value.toDouble(&is_number)) && is_number;
    default:
        return value == QLatin1String("true") || value == QLatin1String("false");
    }
}

QString kv_type_name(KV_FIELD_SCHEMA::TYPE type)
{
    switch (type) {
    case KV_FIELD_SCHEMA::INTEGER:
        return QStringLiteral("integer");
    case KV_FIELD_SCHEMA::REAL:
        return QStringLiteral("real");
    case KV_FIELD_SCHEMA::BOOLEAN:
        return QStringLiteral("boolean");
    default:
        return QStringLiteral("text");
    }
}
