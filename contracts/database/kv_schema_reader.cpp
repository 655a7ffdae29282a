#include "contracts/database/kv_files.h"

#include <QtCore/QStringList>

#include "contracts/database/kv_schemas.h"
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
            while (m_xml.next_child("database", {"table", "query"}))
                m_xml.name() == QLatin1String("table") ? read_table() : read_query();
        if (!m_xml.finish())
            return m_xml.error();
        int part = 0;
        const QString problem = kv_schema_problem(m_schema, part);
        if (!problem.isEmpty())
            return (m_table_places + m_query_places).at(part) + ": " + problem;
        m_schema.version = KV_FORMAT_VERSION;
        schema = m_schema;
        return QString();
    }

private:
    void read_table()
    {
        if (!m_xml.allow_attributes({"name", "description"}))
            return;
        const auto table = QSharedPointer<KV_TABLE_SCHEMA>::create();
        table->name = m_xml.attribute("name");
        table->description = m_xml.attribute("description");
        m_table_places.append(m_xml.place());
        while (m_xml.next_child("table", {"field"}))
            read_field(*table);
        m_schema.tables.append(table);
    }

    void read_query()
    {
        KV_QUERY_SCHEMA query;
        if (!read_definition(m_xml, query))
            return;
        m_query_places.append(m_xml.place());
        m_schema.queries.append(query);
    }

    void read_field(KV_TABLE_SCHEMA& table)
    {
        KV_FIELD_SCHEMA field;
        if (!m_xml.allow_attributes({"name", "type", "key", "default", "description", "lookup"}) ||
            !read_type(field) || !read_key(field) || !read_lookup(field))
            return;
        field.name = m_xml.attribute("name");
        field.default_value = m_xml.attribute("default");
        field.description = m_xml.attribute("description");
        table.fields.append(field);
        m_table_places.append(m_xml.place());
        m_xml.next_child("field", {});
    }

    bool read_type(KV_FIELD_SCHEMA& field)
    {
        const QString name = m_xml.has_attribute("type") ? m_xml.attribute("type") : kv_type_names().first();
        const int type = kv_type_names().indexOf(name);
        field.type = KV_FIELD_SCHEMA::TYPE(qMax(type, 0));
        return type >= 0 || m_xml.fail(kv_text(
                                "the type of field \"%1\" must be text, integer, real or boolean, "
                                "not \"%2\"",
                                m_xml.attribute("name").left(KV_QUOTED_LENGTH), name.left(KV_QUOTED_LENGTH)));
    }

    bool read_key(KV_FIELD_SCHEMA& field)
    {
        const QString word = m_xml.attribute("key");
        field.key = word == QLatin1String("true");
        return field.key || word == QLatin1String("false") || !m_xml.has_attribute("key") ||
               m_xml.fail(kv_text("\"key\" must be true or false, not \"%1\"", word.left(KV_QUOTED_LENGTH)));
    }

    bool read_lookup(KV_FIELD_SCHEMA& field)
    {
        const QString target = m_xml.attribute("lookup");
        const QString problem = m_xml.has_attribute("lookup") ? kv_lookup_form_problem(target) : QString();
        field.lookup_table = target.section('.', 0, 0);
        field.lookup_field = target.section('.', 1);
        return problem.isEmpty() || m_xml.fail(problem);
    }

    XML_FILE_READER m_xml;
    KV_DATABASE_SCHEMA m_schema;
    QStringList m_table_places; // of each table, in front of those of its fields
    QStringList m_query_places;
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
