#include "packs/contents_table.h"

#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/paths/paths.h"

namespace {

const QString PACKS = QStringLiteral("packs");
const QString ASSETS = QStringLiteral("assets");
const QString TITLE = QStringLiteral("title");

// Null with `error` set when the table or one of the two fields is missing.
const KV_TABLE_DATA* read_table(const KV_XML_QUERY_INTERFACE& database, const QString& name, QString& error)
{
    const KV_TABLE_DATA* const table = database.get_table_data(error, name);
    if (!table)
        return nullptr;
    if (table->schema->key_index() < 0 || table->schema->field_index(TITLE) < 0) {
        error = QStringLiteral("The table \"%1\" needs a key and the field \"%2\".").arg(name, TITLE);
        return nullptr;
    }
    return table;
}

bool is_folder_name(const QString& name)
{
    return !name.contains('/') && !name.contains('\\') && !name.startsWith('.') &&
           name == lower_case_by_letter(name);
}

QString title_of(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record)
{
    return record.fields.at(table.schema->field_index(TITLE)).value;
}

} // namespace

QStringList described_packs(const KV_XML_QUERY_INTERFACE& database, QString& error)
{
    QStringList packs;
    const KV_TABLE_DATA* const table = read_table(database, PACKS, error);
    if (!table)
        return packs;
    const int key = table->schema->key_index();
    for (const KV_RECORD_DATA& record : table->records) {
        const QString& name = record.fields.at(key).value;
        if (!is_folder_name(name)) {
            error = QStringLiteral("The table \"%1\", line %2: \"%3\" is no name of a folder in lower case.")
                        .arg(PACKS)
                        .arg(record.line)
                        .arg(name);
            return {};
        }
        packs.append(name);
    }
    return packs;
}

QByteArray pack_contents(const KV_XML_QUERY_INTERFACE& database, const QString& pack,
                         const QStringList& members, QString& error)
{
    const KV_TABLE_DATA* const packs = read_table(database, PACKS, error);
    const KV_TABLE_DATA* const assets = packs ? read_table(database, ASSETS, error) : nullptr;
    const KV_RECORD_DATA* const described = assets ? packs->record_with_key(pack) : nullptr;
    if (!described)
        return {};
    QString text = title_of(*packs, *described) + QStringLiteral("\n\n");
    for (const QString& member : members) {
        const KV_RECORD_DATA* const asset = assets->record_with_key(member);
        text += asset ? QStringLiteral("%1\t%2\n").arg(member, title_of(*assets, *asset)) : member + '\n';
    }
    return text.toUtf8();
}
