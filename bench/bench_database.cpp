// The database: reading a table against the plain XML reader of Qt, queries, and
// edits, which must not cost more in a large table than in a small one.

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QXmlStreamReader>

#include "bench/measure.h"
#include "contracts/database/kv_xml_query_interface.h"

namespace {

constexpr int FIELDS = 20;
constexpr int EDITS = 10000;
constexpr int ROUNDS = 1000; // of an edit and what follows it

const char* const TYPES[] = {"text", "integer", "real", "boolean"};

QByteArray value(int row, int field)
{
    if (field == 0)
        return "units/knight_" + QByteArray::number(row);
    switch (field % 4) {
    case 0:
        return "what is said of " + QByteArray::number(qint64(row) * 7919 * field % 100003);
    case 1:
        return QByteArray::number(row * field);
    case 2:
        return QByteArray::number(row * 0.25);
    default:
        return row % 3 ? "true" : "false";
    }
}

void write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        give_up(path + ": " + file.errorString());
}

// A table "items" of `records`, as a database of its own.
void make_database(const QString& folder, int records)
{
    QByteArray schema = "<database version=\"1\">\n<table name=\"items\">\n";
    for (int i = 0; i < FIELDS; ++i)
        schema += "<field name=\"field_" + QByteArray::number(i) + "\" type=\"" + TYPES[i % 4] +
                  (i == 0 ? "\" key=\"true\"/>\n" : "\"/>\n");
    QByteArray table = "<table name=\"items\">\n";
    for (int row = 0; row < records; ++row) {
        table += "<record";
        for (int i = 0; i < FIELDS; ++i)
            table += " field_" + QByteArray::number(i) + "=\"" + value(row, i) + '"';
        table += "/>\n";
    }
    write(folder + "/schema.xml", schema + "</table>\n</database>\n");
    write(folder + "/items.xml", table + "</table>\n");
}

int plain_read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        give_up(path + ": " + file.errorString());
    QXmlStreamReader xml(&file);
    int values = 0;
    while (!xml.atEnd())
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("record"))
            values += xml.attributes().size();
    return values;
}

void check(const QString& error)
{
    if (!error.isEmpty())
        give_up(error);
}

int own_read(KV_XML_QUERY_INTERFACE& database, const QString& folder)
{
    check(database.connect_without_merge(folder, true));
    QString error;
    const KV_TABLE_DATA* const items = database.get_table_data(error, "items");
    check(error);
    return items->records.size() * items->schema->fields.size();
}

qint64 query(const KV_XML_QUERY_INTERFACE& database)
{
    QString error;
    KV_QUERY_RESULTS results;
    database.get_query_data_from_simple_sql(error, results, "SELECT count(*) AS n FROM items", {});
    check(error);
    return results.value(0, "n").toLongLong();
}

// One command at a time, and after each a query that finds what it changed.
void edit_and_ask(KV_XML_QUERY_INTERFACE& database)
{
    QString error;
    KV_QUERY_RESULTS results;
    for (int row = 0; row < ROUNDS; ++row) {
        const QString key = value(row, 0), text = QString::number(row);
        KV_RECORD_DATA record = *database.get_table_data(error, "items")->record_with_key(key);
        record.fields[4].value = text;
        if (!database.apply_edit_commands(error, {{KV_EDIT_COMMAND::EDIT_RECORD, "items", key, record}}))
            give_up(error);
        database.get_query_data_from_simple_sql(error, results, "SELECT field_4 FROM items WHERE field_0 = ?",
                                                {key});
        if (results.value(0, "field_4") != text)
            give_up("an edit is not found: " + error);
    }
}

void edit(KV_XML_QUERY_INTERFACE& database)
{
    QString error;
    for (int row = 0; row < EDITS; ++row)
        if (!database.edit_field_data(error, "items", value(row, 0), "field_1", QString::number(row)))
            check(error);
}

} // namespace

void bench_database(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int records = options.quick ? 30000 : 100000;
    const QTemporaryDir large, small;
    make_database(large.path(), records);
    make_database(small.path(), EDITS);
    KV_XML_QUERY_INTERFACE database(nullptr, QString(), false, false);
    KV_XML_QUERY_INTERFACE little(nullptr, QString(), false, false);
    int values = 0;
    int plain_values = 0;
    qint64 found = 0;
    own_read(little, small.path());
    std::vector<CONTENDER> contenders{
        {"read", [&] { values = own_read(database, large.path()); }},
        {"QXmlStreamReader", [&] { plain_values = plain_read(large.filePath("items.xml")); }},
        {"query", [&] { found = query(database); }}, // connected anew by "read"
        {"edits", [&] { edit(database); }},
        {"edits of a small table", [&] { edit(little); }},
        {"edits and queries", [&] { edit_and_ask(database); }},
        {"edits and queries of a small table", [&] { edit_and_ask(little); }},
    };
    race(contenders, options.quick ? 3 : 5);
    if (values != records * FIELDS || plain_values != values || found != records)
        give_up(QString("read %1 and %2 values, found %3").arg(values).arg(plain_values).arg(found));

    const QString what = QString("%1 records of %2 fields").arg(records).arg(FIELDS);
    const CONTENDER& plain = contenders[1];
    figures.ratio("reading " + what, contenders[0].best, plain.name, plain.best, 3);
    figures.ratio("counting them by a query", contenders[2].best, plain.name, plain.best, 0.2);
    figures.ratio(QString("%1 edits in them").arg(EDITS), contenders[3].best, contenders[4].name,
                  contenders[4].best, 3);
    figures.ratio(QString("%1 edits, each followed by a query").arg(ROUNDS), contenders[5].best,
                  contenders[6].name, contenders[6].best, 3);
}
