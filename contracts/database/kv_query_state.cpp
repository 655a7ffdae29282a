#include "contracts/database/kv_query_state.h"

#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/kv_sql_text.h"

namespace {

constexpr int QUOTED_QUERY_LENGTH = 200;

QString quoted_query(const QString& sql)
{
    const QString line = sql.simplified();
    return line.size() <= QUOTED_QUERY_LENGTH ? line : line.left(QUOTED_QUERY_LENGTH) + "...";
}

} // namespace

bool KV_XML_QUERY_INTERFACE::STATE::report(QString& error, const QString& text)
{
    error = text;
    if (!text.isEmpty())
        last_error = text;
    return text.isEmpty();
}

QString KV_XML_QUERY_INTERFACE::STATE::report(const QString& text)
{
    QString error;
    report(error, text);
    return error;
}

bool KV_XML_QUERY_INTERFACE::STATE::can_read(QString& error)
{
    return report(error, database.is_connected() ? QString() : QStringLiteral("no database is connected"));
}

bool KV_XML_QUERY_INTERFACE::STATE::can_read(QString& error, const QString& table)
{
    return can_read(error) &&
           (database.schema().table_index(table) >= 0 || report(error, database.no_table(table)));
}

bool KV_XML_QUERY_INTERFACE::STATE::can_read(QString& error, const QString& table, const QString& field)
{
    return can_read(error, table) &&
           (database.schema().table(table)->field_index(field) >= 0 ||
            report(
                error,
                QStringLiteral("table \"%1\" has no field \"%2\"").arg(table, field.left(KV_QUOTED_LENGTH))));
}

bool KV_XML_QUERY_INTERFACE::STATE::can_change(QString& error, const char* operation)
{
    return is_read_only ? report(error, QStringLiteral("the database is open for reading only: %1 is refused")
                                            .arg(QLatin1String(operation)))
                        : can_read(error);
}

QString KV_XML_QUERY_INTERFACE::STATE::absent(const char* operation, const char* service)
{
    return report(QStringLiteral("%1 is not available: this program has no %2 for the database")
                      .arg(QLatin1String(operation), QLatin1String(service)));
}

void KV_XML_QUERY_INTERFACE::STATE::run_query(QString& error, KV_QUERY_RESULTS& results, const QString& sql,
                                              const QVariantList& values)
{
    results = KV_QUERY_RESULTS();
    if (!can_read(error))
        return;
    const QString cause = fill_and_run(results, sql, values);
    report(error, cause.isEmpty() ? cause : QStringLiteral("query \"%1\": %2").arg(quoted_query(sql), cause));
}

QString KV_XML_QUERY_INTERFACE::STATE::fill_and_run(KV_QUERY_RESULTS& results, const QString& sql,
                                                    const QVariantList& values)
{
    QSet<QString> words;
    QString error = kv_query_text_problem(sql, words);
    if (!error.isEmpty())
        return error;
    if (!queries)
        queries.emplace();
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : database.schema().tables) {
        if (!words.remove(table->name.toLower()))
            continue;
        const KV_LOADED_TABLE* const loaded = database.load(table->name, error);
        if (!loaded)
            return error;
        error = queries->fill(loaded->data, loaded->revision);
        if (!error.isEmpty())
            return error;
    }
    // Copies of tables that the schema no longer has.
    for (const QString& word : qAsConst(words))
        queries->drop(word);
    return queries->run(sql, values, results);
}
