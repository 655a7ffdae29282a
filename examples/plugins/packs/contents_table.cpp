#include "packs/contents_table.h"

#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/paths/paths.h"

namespace {

const QString TITLE = QStringLiteral("title");

bool is_folder_name(const QString& name)
{
    return !name.contains('/') && !name.contains('\\') && !name.startsWith('.') &&
           name == lower_case_by_letter(name);
}

} // namespace

QStringList described_packs(const KV_XML_QUERY_INTERFACE& database, QString& error)
{
    QStringList packs;
    KV_QUERY_RESULTS found;
    database.get_query_data(error, found, QStringLiteral("described_packs"));
    const int column = found.column_index(QStringLiteral("name"));
    if (error.isEmpty() && column < 0)
        error = QStringLiteral("The query \"described_packs\" has no column \"name\".");
    if (!error.isEmpty())
        return packs;
    for (const KV_RECORD_DATA& record : qAsConst(found.records)) {
        const QString& name = record.fields.at(column).value;
        if (!is_folder_name(name)) {
            error =
                QStringLiteral("The table \"packs\": \"%1\" is no name of a folder in lower case.").arg(name);
            return {};
        }
        packs.append(name);
    }
    return packs;
}

QByteArray pack_contents(const KV_XML_QUERY_INTERFACE& database, const QString& pack,
                         const QStringList& members, QString& error)
{
    KV_QUERY_RESULTS described;
    database.get_query_data_from_simple_sql(error, described,
                                            QStringLiteral("SELECT title FROM packs WHERE name = ?"), {pack});
    if (described.records.isEmpty())
        return {};
    QString text = described.value(0, TITLE) + QStringLiteral("\n\n");
    for (const QString& member : members) {
        KV_QUERY_RESULTS asset;
        database.get_query_data_from_simple_sql(
            error, asset, QStringLiteral("SELECT title FROM assets WHERE path = ?"), {member});
        if (!error.isEmpty())
            return {};
        text += asset.records.isEmpty() ? member + '\n'
                                        : QStringLiteral("%1\t%2\n").arg(member, asset.value(0, TITLE));
    }
    return text.toUtf8();
}
