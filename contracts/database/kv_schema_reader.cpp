#include "contracts/database/kv_schema_reader.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include "contracts/database/kv_schema_rules.h"
#include "contracts/services/xml_file_reader.h"

namespace {

// The element <query> that the walk has entered.
bool read_definition(XML_FILE_READER& xml, KV_QUERY_SCHEMA& query)
{
    if (!xml.allow_attributes({"name", "description"}))
        return false;
    query.name = xml.attribute("name");
    query.description = xml.attribute("description");
    query.sql = xml.text();
    return !xml.failed();
}

class SCHEMA_READER
{
public:
    explicit SCHEMA_READER(const QString& path) : m_xml(path, KV_MAX_SCHEMA_BYTES) {}

    QString read(KV_DATABASE_SCHEMA& schema)
    {
        if (m_xml.open("database") && m_xml.check_version(KV_FORMAT_VERSION) &&
            m_xml.allow_attributes({"version"}))
            while (m_xml.next_child())
                read_child();
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

    void read_child()
    {
        if (m_xml.name() == QLatin1String("table"))
            read_table();
        else if (m_xml.name() == QLatin1String("query"))
            read_query();
        else
            m_xml.fail(QStringLiteral("<database> can't hold <%1>").arg(m_xml.name().toString()));
    }

    void read_table()
    {
        if (!m_xml.allow_attributes({"name", "description"}))
            return;
        const auto table = QSharedPointer<KV_TABLE_SCHEMA>::create();
        table->name = m_xml.attribute("name");
        table->description = m_xml.attribute("description");
        if (!accept(kv_table_name_problem(m_table_names, table->name)))
            return;
        m_table_names.insert(table->name.toLower());
        while (m_xml.next_child())
            read_field(*table);
        if (!m_xml.failed() && table->fields.isEmpty())
            m_xml.fail(QStringLiteral("table \"%1\" has no field").arg(table->name));
        m_schema.tables.append(table);
    }

    void read_query()
    {
        KV_QUERY_SCHEMA query;
        if (!read_definition(m_xml, query))
            return;
        const QString problem = kv_query_problem(m_query_names, query);
        if (!accept(problem.isEmpty() || query.name.isEmpty()
                        ? problem
                        : QStringLiteral("query \"%1\": %2").arg(query.name.left(KV_QUOTED_LENGTH), problem)))
            return;
        m_query_names.insert(query.name);
        m_schema.queries.append(query);
    }

    // An empty text is no problem.
    bool accept(const QString& problem) { return problem.isEmpty() || m_xml.fail(problem); }

    void read_field(KV_TABLE_SCHEMA& table)
    {
        if (m_xml.name() != QLatin1String("field")) {
            m_xml.fail(QStringLiteral("<table> can't hold <%1>").arg(m_xml.name().toString()));
            return;
        }
        KV_FIELD_SCHEMA field;
        if (!m_xml.allow_attributes({"name", "type", "key", "default", "description", "lookup"}) ||
            !read_type(field) || !read_key(field))
            return;
        field.name = m_xml.attribute("name");
        field.default_value = m_xml.attribute("default");
        field.description = m_xml.attribute("description");
        if (!accept(kv_field_problem(table, field)) || !read_lookup(field))
            return;
        table.fields.append(field);
        if (m_xml.next_child())
            m_xml.fail(QStringLiteral("<field> can't hold <%1>").arg(m_xml.name().toString()));
    }

    bool read_type(KV_FIELD_SCHEMA& field)
    {
        const QString name = m_xml.has_attribute("type") ? m_xml.attribute("type") : QStringLiteral("text");
        for (const KV_FIELD_SCHEMA::TYPE type : KV_TYPES) {
            if (kv_type_name(type) != name)
                continue;
            field.type = type;
            return true;
        }
        return m_xml.fail(
            QStringLiteral("the type of field \"%1\" must be text, integer, real or boolean, "
                           "not \"%2\"")
                .arg(m_xml.attribute("name").left(KV_QUOTED_LENGTH), name.left(KV_QUOTED_LENGTH)));
    }

    bool read_key(KV_FIELD_SCHEMA& field)
    {
        if (!m_xml.has_attribute("key"))
            return true;
        const QString word = m_xml.attribute("key");
        field.key = word == QLatin1String("true");
        return field.key || word == QLatin1String("false") ||
               m_xml.fail(QStringLiteral("\"key\" must be true or false, not \"%1\"")
                              .arg(word.left(KV_QUOTED_LENGTH)));
    }

    bool read_lookup(KV_FIELD_SCHEMA& field)
    {
        if (!m_xml.has_attribute("lookup"))
            return true;
        const QString target = m_xml.attribute("lookup");
        if (!accept(kv_lookup_form_problem(target)))
            return false;
        field.lookup_table = target.section('.', 0, 0);
        field.lookup_field = target.section('.', 1);
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

    XML_FILE_READER m_xml;
    KV_DATABASE_SCHEMA m_schema;
    QSet<QString> m_table_names; // in lower case
    QSet<QString> m_query_names;
    QVector<PENDING_LOOKUP> m_lookups;
    QString m_lookup_error;
};

} // namespace

QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema)
{
    return SCHEMA_READER(path).read(schema);
}

QString read_query_definition(const QString& definition, KV_QUERY_SCHEMA& query)
{
    XML_FILE_READER xml(QStringLiteral("query"));
    KV_QUERY_SCHEMA found;
    if (xml.open(definition.toUtf8(), "query") && read_definition(xml, found) && xml.finish())
        query = found;
    return xml.error();
}
