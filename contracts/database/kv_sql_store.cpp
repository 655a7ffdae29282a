#include "contracts/database/kv_sql_store.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlField>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

#include <atomic>

#include "contracts/database/kv_schema_rules.h"

namespace {

// Texts that are unlike all given before: connections are known by their names
// in the whole process.
QString next_name()
{
    static std::atomic<int> s_last{0};
    return QStringLiteral("gox_database_%1").arg(++s_last);
}

QString quoted(const QString& name)
{
    return '"' + name + '"'; // names hold letters, digits and _ only
}

QString text_of(const QSqlError& error)
{
    const QString cause = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    // SQLite's own words say nothing where the driver found the fault.
    return cause == QLatin1String("not an error") ? error.driverText() : cause;
}

const char* column_type(KV_FIELD_SCHEMA::TYPE type)
{
    switch (type) {
    case KV_FIELD_SCHEMA::INTEGER:
        return "INTEGER";
    case KV_FIELD_SCHEMA::REAL:
        return "REAL";
    case KV_FIELD_SCHEMA::BOOLEAN:
        return "BOOLEAN";
    default:
        return "TEXT";
    }
}

QVariant column_value(const KV_FIELD_DATA& data, KV_FIELD_SCHEMA::TYPE type)
{
    if (data.value.isEmpty())
        return QVariant();
    switch (type) {
    case KV_FIELD_SCHEMA::INTEGER:
        return data.to_integer();
    case KV_FIELD_SCHEMA::REAL:
        return data.to_real();
    case KV_FIELD_SCHEMA::BOOLEAN:
        return data.to_boolean();
    default:
        return data.value;
    }
}

KV_FIELD_SCHEMA::TYPE field_type(QVariant::Type type)
{
    switch (type) {
    case QVariant::Bool:
        return KV_FIELD_SCHEMA::BOOLEAN;
    case QVariant::Int:
    case QVariant::LongLong:
        return KV_FIELD_SCHEMA::INTEGER;
    case QVariant::Double:
        return KV_FIELD_SCHEMA::REAL;
    default:
        return KV_FIELD_SCHEMA::TEXT;
    }
}

QString field_value(const QVariant& value, KV_FIELD_SCHEMA::TYPE type)
{
    if (value.isNull())
        return QString();
    if (type == KV_FIELD_SCHEMA::BOOLEAN)
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return value.type() == QVariant::Double
               ? QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest)
               : value.toString();
}

QString create_table(const KV_TABLE_SCHEMA& schema)
{
    QStringList columns;
    for (const KV_FIELD_SCHEMA& field : schema.fields)
        columns.append(quoted(field.name) + ' ' + column_type(field.type));
    return QStringLiteral("CREATE TABLE %1 (%2)")
        .arg(quoted(schema.name), columns.join(QStringLiteral(", ")));
}

bool insert_records(QSqlQuery& query, const KV_TABLE_DATA& table)
{
    QStringList places;
    for (int i = 0; i < table.schema->fields.size(); ++i)
        places.append(QStringLiteral("?"));
    if (!query.prepare(QStringLiteral("INSERT INTO %1 VALUES (%2)")
                           .arg(quoted(table.schema->name), places.join(QStringLiteral(", ")))))
        return false;
    for (const KV_RECORD_DATA& record : table.records) {
        for (int i = 0; i < places.size(); ++i)
            query.bindValue(i, column_value(record.fields.at(i), table.schema->fields.at(i).type));
        if (!query.exec())
            return false;
    }
    return true;
}

bool write_table(QSqlQuery& query, const KV_TABLE_DATA& table)
{
    const QString& name = table.schema->name;
    if (!query.exec(create_table(*table.schema)) || !insert_records(query, table))
        return false;
    const int key = table.schema->key_index();
    return key < 0 || query.exec(QStringLiteral("CREATE INDEX %1 ON %2 (%3)")
                                     .arg(quoted(name + " key"), quoted(name),
                                          quoted(table.schema->fields.at(key).name)));
}

QString read_results(QSqlQuery& query, KV_QUERY_RESULTS& results)
{
    const QSqlRecord columns = query.record();
    for (int i = 0; i < columns.count(); ++i) {
        KV_FIELD_SCHEMA column;
        column.name = columns.fieldName(i);
        column.type = field_type(columns.field(i).type());
        results.columns.append(column);
    }
    while (query.next()) {
        const QString problem = kv_count_problem(results.records.size(), columns.count());
        if (!problem.isEmpty())
            return problem;
        KV_RECORD_DATA record;
        record.fields.reserve(columns.count());
        for (int i = 0; i < columns.count(); ++i)
            record.fields.append({field_value(query.value(i), results.columns.at(i).type)});
        results.records.append(record);
    }
    return query.lastError().isValid() ? text_of(query.lastError()) : QString();
}

} // namespace

KV_SQL_STORE::KV_SQL_STORE() : m_name(next_name()) {}

KV_SQL_STORE::~KV_SQL_STORE()
{
    close_connections(true);
}

void KV_SQL_STORE::close_connections(bool all)
{
    for (int i = m_connections.size(); i-- > 0;)
        if (all || !m_connections.at(i).thread) {
            QSqlDatabase::removeDatabase(m_connections.at(i).name);
            m_connections.remove(i);
        }
}

// The connection of this thread. The newest is opened before those of threads
// that are gone are closed, as the last one takes the copies with it.
bool KV_SQL_STORE::open(QSqlDatabase& connection, QString& error)
{
    for (const CONNECTION& known : qAsConst(m_connections))
        if (known.thread == QThread::currentThread())
            connection = QSqlDatabase::database(known.name, false);
    const bool is_open = connection.isOpen() || open_new(connection, error);
    close_connections(false);
    return is_open;
}

bool KV_SQL_STORE::open_new(QSqlDatabase& connection, QString& error)
{
    if (!QCoreApplication::instance() || !QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE"))) {
        error = QStringLiteral("Qt's driver for SQLite, which queries need, is not installed");
        return false;
    }
    const QString name = next_name();
    connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    connection.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_ENABLE_SHARED_CACHE"));
    connection.setDatabaseName(QStringLiteral("file:%1?mode=memory&cache=shared").arg(m_name));
    m_connections.append({QThread::currentThread(), name});
    if (connection.open())
        return true;
    error = text_of(connection.lastError());
    connection = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
    m_connections.removeLast();
    return false;
}

QString KV_SQL_STORE::fill(const KV_TABLE_DATA& table, qint64 revision)
{
    const QString& name = table.schema->name;
    if (m_revisions.value(name.toLower()) == revision)
        return QString();
    QSqlDatabase connection;
    QString error;
    if (!open(connection, error))
        return error;
    // Gone whatever happens: an old copy would answer who asks for the table later.
    drop(name);
    QSqlQuery query(connection);
    const bool is_writable =
        query.exec(QStringLiteral("PRAGMA query_only = OFF")) && connection.transaction();
    if (is_writable && write_table(query, table) && connection.commit()) {
        m_revisions.insert(name.toLower(), revision);
        return QString();
    }
    error = text_of(query.lastError().isValid() ? query.lastError() : connection.lastError());
    query.finish();
    connection.rollback();
    return QStringLiteral("table \"%1\" can't be queried: %2").arg(name, error);
}

void KV_SQL_STORE::drop(const QString& table)
{
    QSqlDatabase connection;
    QString error;
    if (m_revisions.remove(table.toLower()) == 0 || !open(connection, error))
        return;
    QSqlQuery query(connection);
    query.exec(QStringLiteral("PRAGMA query_only = OFF"));
    query.exec(QStringLiteral("DROP TABLE IF EXISTS %1").arg(quoted(table)));
}

QString KV_SQL_STORE::run(const QString& sql, const QVariantList& values, KV_QUERY_RESULTS& results)
{
    QSqlDatabase connection;
    QString error;
    if (!open(connection, error))
        return error;
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("PRAGMA query_only = ON")) || !query.prepare(sql))
        return text_of(query.lastError());
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        return text_of(query.lastError());
    KV_QUERY_RESULTS found;
    error = read_results(query, found);
    if (error.isEmpty())
        results = found;
    return error;
}
