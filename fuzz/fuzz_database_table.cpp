#include <QtCore/QDir>

#include "contracts/database/kv_xml_query_interface.h"
#include "fuzz/fuzz_target.h"

static const char* const SCHEMA = R"(<database version="1"><table name="packs">
<field name="name" key="true"/><field name="size" type="integer" default="1"/>
<field name="ratio" type="real"/><field name="raw" type="boolean" default="false"/>
<field name="region" lookup="packs.name"/></table></database>)";

// A zero, which no XML holds, ends a schema ahead of the table; without one the
// schema is the one above.
void take_input(const QByteArray& input)
{
    const int zero = input.indexOf('\0');
    QDir().mkpath(scratch_path(QStringLiteral("db")));
    scratch_file(QStringLiteral("db/schema.xml"), zero < 0 ? QByteArray(SCHEMA) : input.left(zero));
    scratch_file(QStringLiteral("db/packs.xml"), input.mid(zero + 1));
    KV_XML_QUERY_INTERFACE database(nullptr, QString(), false, true);
    if (!database.connect_without_merge(scratch_path(QStringLiteral("db")), true).isEmpty())
        return;
    QString error;
    for (const QString& table : database.get_table_names(error)) {
        const KV_TABLE_DATA* const data = database.get_table_data(error, table);
        require(data && error.isEmpty(), QStringLiteral("a table that was read is not there: ") + error);
        for (const KV_RECORD_DATA& record : data->records)
            require(record.fields.size() == data->schema->fields.size(),
                    QStringLiteral("a record with other fields than its table"));
        KV_QUERY_RESULTS found;
        database.get_query_data_from_simple_sql(
            error, found, QStringLiteral("SELECT count(*) AS n FROM \"%1\"").arg(table), {});
        // Fields that differ in letter case only can't be queried, nor tables with a
        // name that SQLite keeps for itself.
        require(error.contains(QLatin1String("duplicate column name")) ||
                    error.contains(QLatin1String("it can't use")) ||
                    found.value(0, "n") == QString::number(data->records.size()),
                QStringLiteral("a query does not find all records: ") + error);
    }
}
