#include "contracts/database/kv_files.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include "contracts/database/kv_schemas.h"
#include "contracts/services/xml_file_reader.h"

namespace {

// Gives equal short values of a field one text in memory: names of types,
// numbers and flags repeat over and over in a table. What it remembers is
// bounded, so a table of different values costs no more for it.
class SHARED_VALUES
{
public:
    explicit SHARED_VALUES(int fields) : m_seen(fields * PLACES) {}

    QString get(int field, const QStringRef& value)
    {
        if (value.size() > MAX_LENGTH)
            return value.toString();
        QString& seen = m_seen[field * PLACES + int(qHash(value) % PLACES)];
        if (seen != value)
            seen = value.toString();
        return seen;
    }

private:
    static constexpr int PLACES = 64; // for each field
    static constexpr int MAX_LENGTH = 32;

    QVector<QString> m_seen;
};

class TABLE_READER
{
public:
    TABLE_READER(const QString& path, const QSharedPointer<const KV_TABLE_SCHEMA>& schema,
                 bool skip_unknown_fields)
        : m_xml(path, KV_MAX_TABLE_BYTES),
          m_schema(*schema),
          m_skips_unknown(skip_unknown_fields),
          m_key(schema->key_index()),
          m_values(schema->fields.size()),
          m_given_in(schema->fields.size(), -1)
    {
        m_table.schema = schema;
        for (const KV_FIELD_SCHEMA& field : m_schema.fields) {
            m_places.insert(field.name, m_places.size());
            m_defaults.append({field.default_value});
        }
    }

    QString read(KV_TABLE_DATA& table, bool& has_left_out)
    {
        if (m_xml.open("table") && m_xml.allow_attributes({"name"}) && check_name())
            while (m_xml.next_child("table", {"record"}))
                read_record();
        has_left_out = m_has_left_out;
        if (!m_xml.finish())
            return m_xml.error();
        m_table.records.squeeze();
        table = m_table;
        return QString();
    }

private:
    bool check_name()
    {
        const QString name = m_xml.attribute("name");
        return name == m_schema.name ||
               m_xml.fail(kv_text("this must be table \"%1\", not \"%2\"", m_schema.name, name));
    }

    void read_record()
    {
        KV_RECORD_DATA record{m_defaults, m_xml.line()};
        const QXmlStreamAttributes attributes = m_xml.attributes();
        for (const QXmlStreamAttribute& attribute : attributes)
            if (is_known(attribute.qualifiedName()))
                set(record, attribute.value());
        while (m_xml.next_child())
            read_long_value(record);
        if (const QString problem = kv_count_problem(m_table.records.size(), m_schema.fields.size());
            !problem.isEmpty())
            m_xml.fail(problem);
        if (!m_xml.failed() && add_key(record))
            m_table.records.append(record);
    }

    // A value of several lines stands in an element of its own.
    void read_long_value(KV_RECORD_DATA& record)
    {
        if (!is_known(m_xml.name())) {
            m_xml.skip();
            return;
        }
        const QString value = m_xml.text();
        if (!m_xml.failed())
            set(record, QStringRef(&value));
    }

    // Finds the field and keeps its place for `set`. Most records give their
    // fields in the order of the schema.
    bool is_known(const QStringRef& name)
    {
        const int next = m_field + 1 < m_schema.fields.size() ? m_field + 1 : 0;
        m_field = m_schema.fields.at(next).name == name ? next : m_places.value(name.toString(), -1);
        m_has_left_out |= m_field < 0;
        if (m_field < 0 && !m_skips_unknown)
            m_xml.fail(kv_no_field_text(m_schema.name, name.toString()));
        return m_field >= 0;
    }

    void set(KV_RECORD_DATA& record, const QStringRef& value)
    {
        const KV_FIELD_SCHEMA& field = m_schema.fields.at(m_field);
        const int row = m_table.records.size();
        if (m_given_in.at(m_field) == row)
            m_xml.fail(kv_text("the record gives field \"%1\" twice", field.name));
        else if (!kv_value_has_type(value, field.type))
            m_xml.fail(kv_type_problem(field, value));
        m_given_in[m_field] = row;
        record.fields[m_field].value = m_values.get(m_field, value);
    }

    bool add_key(const KV_RECORD_DATA& record)
    {
        if (m_key < 0)
            return true;
        const QString& key = record.fields.at(m_key).value;
        if (key.isEmpty())
            return m_xml.fail(kv_value_problem(m_schema.fields.at(m_key), key));
        int& row = m_table.rows_by_key[key];
        // New places hold 0, and so does the place of the first record.
        if (!m_table.records.isEmpty() && m_table.records.at(row).fields.at(m_key).value == key)
            return m_xml.fail(kv_text("key \"%1\" is already that of the record in line %2",
                                      key.left(KV_QUOTED_LENGTH), m_table.records.at(row).line));
        row = m_table.records.size();
        return true;
    }

    XML_FILE_READER m_xml;
    const KV_TABLE_SCHEMA& m_schema;
    const bool m_skips_unknown;
    const int m_key; // place of the key field, or -1
    SHARED_VALUES m_values;
    QVector<int> m_given_in; // for each field the last row that gave it
    QHash<QString, int> m_places;
    QVector<KV_FIELD_DATA> m_defaults;
    bool m_has_left_out = false;
    int m_field = -1; // where the field found last stands
    KV_TABLE_DATA m_table;
};

// A name in other letter case would be found on some systems only.
QString misspelt_file(const QString& path)
{
    const QFileInfo info(path);
    const QStringList names = info.dir().entryList(QDir::Files);
    for (const QString& name : names)
        if (name.compare(info.fileName(), Qt::CaseInsensitive) == 0)
            return kv_text("%1: the file of this table must be called \"%2\"", info.dir().filePath(name),
                           info.fileName());
    return QString();
}

} // namespace

QString read_database_table(const QString& path, bool skip_unknown_fields, KV_TABLE_DATA& table,
                            bool& has_left_out)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return misspelt_file(path);
    return TABLE_READER(path, table.schema, skip_unknown_fields).read(table, has_left_out);
}
