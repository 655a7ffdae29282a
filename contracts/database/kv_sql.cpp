#include "contracts/database/kv_sql.h"

#include <QtCore/QLocale>

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"

namespace {

constexpr int STEPS = 10000;                   // of SQLite's machine between two questions whether to go on
constexpr int MAX_PATTERN = 1000;              // of LIKE, whose cost grows with the square
constexpr int MAX_BYTES = 64 << 20;            // of one value
constexpr qint64 MAX_MEMORY = qint64(4) << 30; // bytes that SQLite may need
constexpr quint64 ROWS = 0xffffffff;           // where the row stands in an entry of an index

// The rows of a field by value: a hash in the upper 32 bits and the row in the
// lower ones, sorted.
struct INDEX
{
    qint64 revision = 0; // of the table
    QVector<quint64> entries;
};

struct TABLE : sqlite3_vtab
{
    KV_DATABASE& database;
    const QString name;
    const KV_LOADED_TABLE* loaded; // null before a statement uses it
    QHash<int, INDEX> indexes;     // by field

    const KV_FIELD_SCHEMA& field(int column) const { return loaded->data.schema->fields.at(column); }
};

// Walks over the rows from `place` to `end`, or over those of an index there.
struct CURSOR : sqlite3_vtab_cursor
{
    QVector<quint64> entries;
    int place;
    int end;

    TABLE& table() const { return *static_cast<TABLE*>(pVtab); }
    int row() const { return entries.isEmpty() ? place : int(entries.at(place) & ROWS); }
};

quint64 hash_of(const QString& value)
{
    return quint64(qHash(value)) << 32;
}

// As SQLite writes the value: it knows one way to write a number and no booleans.
QString plain(const QString& value, KV_FIELD_SCHEMA::TYPE type)
{
    if (type == KV_FIELD_SCHEMA::INTEGER)
        return QString::number(value.toLongLong());
    return type == KV_FIELD_SCHEMA::BOOLEAN ? QString(value == QLatin1String("true") ? '1' : '0') : value;
}

int connect_table(sqlite3* handle, void* data, int, const char* const* words, sqlite3_vtab** table,
                  char** error)
{
    auto& sql = *static_cast<KV_SQL*>(data);
    const QString name = QString::fromUtf8(words[0]);
    QStringList columns;
    for (const KV_FIELD_SCHEMA& field : sql.database.schema().table(name)->fields)
        columns.append('"' + field.name + "\" " + kv_type_names().value(field.type));
    sql.is_declaring = true;
    const int code =
        sqlite3_declare_vtab(handle, QString("CREATE TABLE x (" + columns.join(',') + ')').toUtf8());
    sql.is_declaring = false;
    if (code == SQLITE_OK)
        *table = new TABLE{{}, sql.database, name, nullptr, {}};
    else
        *error = sqlite3_mprintf("table \"%s\" can't be queried: %s", words[0], sqlite3_errmsg(handle));
    return code;
}

// A table or cursor of SQLite's, which is one of ours.
template <typename OURS, typename BASE>
int destroy(BASE* base)
{
    delete static_cast<OURS*>(base);
    return SQLITE_OK;
}

// The value that records are best asked for by, or -1: the key, or any other but a
// real. Letter case must count.
int best_constraint(const TABLE& table, sqlite3_index_info* info)
{
    int best = -1;
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& [column, op, is_usable, unused] = info->aConstraint[i];
        if (op == SQLITE_INDEX_CONSTRAINT_EQ && is_usable && column >= 0 &&
            table.field(column).type != KV_FIELD_SCHEMA::REAL &&
            !qstrcmp(sqlite3_vtab_collation(info, i), "BINARY") && (best < 0 || table.field(column).key))
            best = i;
    }
    return best;
}

// Called when a statement that uses the table is prepared: so it is loaded here.
int plan(sqlite3_vtab* vtab, sqlite3_index_info* info)
{
    TABLE& table = *static_cast<TABLE*>(vtab);
    QString error;
    table.loaded = table.database.load(error, table.name);
    if (!table.loaded) {
        table.zErrMsg = sqlite3_mprintf("%s", qUtf8Printable(error));
        return SQLITE_ERROR;
    }
    info->estimatedRows = table.loaded->data.records.size();
    const int best = best_constraint(table, info);
    if (best >= 0) {
        const int column = info->aConstraint[best].iColumn;
        info->aConstraintUsage[best].argvIndex = 1; // SQLite compares once more
        info->idxNum = column + 1;
        info->estimatedRows = table.field(column).key ? 1 : info->estimatedRows / 10 + 1;
    }
    info->estimatedCost = double(info->estimatedRows);
    return SQLITE_OK;
}

// Empty the first time after a change: looking at all records once costs less than
// sorting them.
const QVector<quint64>& index_of(TABLE& table, int column)
{
    INDEX& index = table.indexes[column];
    if (std::exchange(index.revision, table.loaded->revision) != table.loaded->revision)
        return index.entries = {};
    const QVector<KV_RECORD_DATA>& records = table.loaded->data.records;
    if (index.entries.isEmpty()) {
        for (int row = 0; row < records.size(); ++row) {
            const QString& value = records.at(row).fields.at(column).value;
            index.entries.append(hash_of(plain(value, table.field(column).type)) | quint64(row));
        }
        std::sort(index.entries.begin(), index.entries.end());
    }
    return index.entries;
}

// Leaves only rows that may have the value in the column. One of another type is
// compared in ways of its own, with any row.
void narrow(CURSOR& cursor, int column, sqlite3_value* value)
{
    const KV_FIELD_SCHEMA& field = cursor.table().field(column);
    const bool is_text = field.type == KV_FIELD_SCHEMA::TEXT;
    if (sqlite3_value_type(value) != (is_text ? SQLITE_TEXT : SQLITE_INTEGER))
        return;
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(value)));
    if (field.key && (is_text || cursor.table().loaded->has_plain_keys)) {
        const int row = cursor.table().loaded->data.rows_by_key.value(text, -1);
        cursor.place = qMax(row, 0);
        cursor.end = row + 1;
        return;
    }
    cursor.entries = index_of(cursor.table(), column);
    if (cursor.entries.isEmpty())
        return;
    const auto begin = cursor.entries.cbegin(), end = cursor.entries.cend();
    cursor.place = int(std::lower_bound(begin, end, hash_of(text)) - begin);
    cursor.end = int(std::upper_bound(begin, end, hash_of(text) | ROWS) - begin);
}

int filter(sqlite3_vtab_cursor* base, int column_and_1, const char*, int, sqlite3_value** values)
{
    CURSOR& cursor = *static_cast<CURSOR*>(base);
    cursor.entries.clear();
    cursor.place = 0;
    cursor.end = cursor.table().loaded->data.records.size();
    if (column_and_1 > 0)
        narrow(cursor, column_and_1 - 1, values[0]);
    return SQLITE_OK;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* result, int place)
{
    const CURSOR& cursor = *static_cast<CURSOR*>(base);
    const KV_FIELD_DATA& data = cursor.table().loaded->data.records.at(cursor.row()).fields.at(place);
    const KV_FIELD_SCHEMA::TYPE type = cursor.table().field(place).type;
    if (data.value.isEmpty())
        sqlite3_result_null(result);
    else if (type == KV_FIELD_SCHEMA::TEXT)
        sqlite3_result_text16(result, data.value.utf16(), data.value.size() * 2, SQLITE_STATIC);
    else if (type == KV_FIELD_SCHEMA::REAL)
        sqlite3_result_double(result, data.to_real());
    else
        sqlite3_result_int64(result,
                             type == KV_FIELD_SCHEMA::BOOLEAN ? data.to_boolean() : data.to_integer());
    return SQLITE_OK;
}

sqlite3_module module_of_tables()
{
    sqlite3_module module = {};
    module.xConnect = connect_table; // without xCreate a table is there under the name of its module
    module.xDisconnect = destroy<TABLE>;
    module.xBestIndex = plan;
    module.xOpen = [](sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
        *cursor = new CURSOR{};
        return SQLITE_OK;
    };
    module.xClose = destroy<CURSOR>;
    module.xFilter = filter;
    module.xNext = [](sqlite3_vtab_cursor* cursor) {
        ++static_cast<CURSOR*>(cursor)->place;
        return SQLITE_OK;
    };
    module.xEof = [](sqlite3_vtab_cursor* cursor) {
        return int(static_cast<CURSOR*>(cursor)->place >= static_cast<CURSOR*>(cursor)->end);
    };
    module.xColumn = column;
    module.xRowid = [](sqlite3_vtab_cursor* cursor, sqlite3_int64* number) {
        *number = static_cast<CURSOR*>(cursor)->row() + 1;
        return SQLITE_OK;
    };
    return module;
}

// What a statement may do.
int authorize(void* data, int action, const char* name, const char*, const char*, const char*)
{
    auto& sql = *static_cast<KV_SQL*>(data);
    const bool is_foreign = action == SQLITE_READ && !qstrnicmp(name, "sqlite_", 7);
    const bool only_reads = action == SQLITE_SELECT || action == SQLITE_READ || action == SQLITE_FUNCTION ||
                            action == SQLITE_RECURSIVE;
    if (!sql.is_declaring && is_foreign)
        return sql.refuse(kv_text("it can't use \"%1\"", QString::fromUtf8(name))), SQLITE_DENY;
    if (!sql.is_declaring && !only_reads)
        return sql.refuse("it can only read the tables of the database"), SQLITE_DENY;
    return SQLITE_OK;
}

int bind_value(sqlite3_stmt* statement, int place, const QVariant& value)
{
    static const QVector<int> s_integers{QMetaType::Bool, QMetaType::Int, QMetaType::UInt,
                                         QMetaType::LongLong, QMetaType::ULongLong};
    if (value.isNull())
        return sqlite3_bind_null(statement, place);
    if (s_integers.contains(value.userType()))
        return sqlite3_bind_int64(statement, place, value.toLongLong());
    if (value.userType() == QMetaType::Float || value.userType() == QMetaType::Double)
        return sqlite3_bind_double(statement, place, value.toDouble());
    const QByteArray text = value.toString().toUtf8();
    return sqlite3_bind_text(statement, place, text.constData(), text.size(), SQLITE_TRANSIENT);
}

// Its type is what a table declares, else that of the value at hand.
KV_FIELD_SCHEMA column_of(sqlite3_stmt* statement, int place)
{
    KV_FIELD_SCHEMA column;
    column.name = QString::fromUtf8(sqlite3_column_name(statement, place));
    const int declared =
        kv_type_names().indexOf(QString(sqlite3_column_decltype(statement, place)).toLower());
    if (declared >= 0)
        column.type = KV_FIELD_SCHEMA::TYPE(declared);
    else if (sqlite3_column_type(statement, place) == SQLITE_INTEGER)
        column.type = KV_FIELD_SCHEMA::INTEGER;
    else if (sqlite3_column_type(statement, place) == SQLITE_FLOAT)
        column.type = KV_FIELD_SCHEMA::REAL;
    return column;
}

QString value_of(sqlite3_stmt* statement, int place, KV_FIELD_SCHEMA::TYPE type)
{
    if (sqlite3_column_type(statement, place) == SQLITE_FLOAT)
        return QString::number(sqlite3_column_double(statement, place), 'g', QLocale::FloatingPointShortest);
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, place)),
                          sqlite3_column_bytes(statement, place));
    if (type != KV_FIELD_SCHEMA::BOOLEAN || text.isEmpty())
        return text;
    return text == QLatin1String("0") ? QStringLiteral("false") : QStringLiteral("true");
}

} // namespace

bool KV_SQL::open()
{
    static const sqlite3_module s_module = module_of_tables();
    const auto ask = [](void* connection) { return int(static_cast<KV_SQL*>(connection)->is_to_end()); };
    bool is_good =
        sqlite3_open_v2(":memory:", &m_handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) ==
            SQLITE_OK &&
        sqlite3_exec(m_handle, "PRAGMA temp_store = MEMORY", nullptr, nullptr, nullptr) == SQLITE_OK;
    for (const auto& table : database.schema().tables)
        is_good =
            is_good && sqlite3_create_module(m_handle, table->name.toUtf8(), &s_module, this) == SQLITE_OK;
    if (!is_good)
        return false;
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_limit(m_handle, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(m_handle, SQLITE_LIMIT_LENGTH, MAX_BYTES);
    sqlite3_limit(m_handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, MAX_PATTERN);
    sqlite3_set_authorizer(m_handle, authorize, this);
    sqlite3_progress_handler(m_handle, STEPS, ask, this);
    return true;
}

bool KV_SQL::refuse(const QString& cause)
{
    m_refusal = cause;
    return false;
}

bool KV_SQL::is_to_end()
{
    if (is_stopped && is_stopped())
        refuse("it was ended on the way, as the build is to stop");
    else if (m_deadline.hasExpired())
        refuse(kv_text("it takes longer than %1 second(s)", max_msecs / 1000));
    else if (sqlite3_memory_used() > MAX_MEMORY)
        refuse(kv_text("it needs more than %1 bytes of memory", MAX_MEMORY));
    return !m_refusal.isEmpty();
}

bool KV_SQL::prepare(const QString& sql, sqlite3_stmt*& statement)
{
    sqlite3_stmt* more = nullptr;
    const char* rest = nullptr;
    const QByteArray text = sql.toUtf8();
    m_refusal.clear();
    m_deadline = QDeadlineTimer(max_msecs);
    if (sqlite3_prepare_v2(m_handle, text, -1, &statement, &rest) != SQLITE_OK)
        return false;
    if (!statement || !sqlite3_stmt_readonly(statement) || sqlite3_column_count(statement) == 0)
        return refuse("it must be a SELECT");
    const bool is_alone = !sql.contains(QChar::Null) &&
                          sqlite3_prepare_v2(m_handle, rest, -1, &more, nullptr) == SQLITE_OK && !more;
    sqlite3_finalize(more);
    return is_alone || refuse("it must be one statement only");
}

bool KV_SQL::bind(sqlite3_stmt* statement, const QVariantList& values)
{
    const int count = sqlite3_bind_parameter_count(statement);
    if (count != values.size())
        return refuse(kv_text("it has %1 place(s) for values, not %2", count, values.size()));
    for (int i = 0; i < count; ++i)
        if (bind_value(statement, i + 1, values.at(i)) != SQLITE_OK)
            return false;
    return true;
}

bool KV_SQL::step(sqlite3_stmt* statement, KV_QUERY_RESULTS& results)
{
    int code = sqlite3_step(statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        return false;
    for (int i = 0; i < sqlite3_column_count(statement); ++i)
        results.columns.append(column_of(statement, i));
    for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
        const QString problem = kv_count_problem(results.records.size(), results.columns.size());
        if (!problem.isEmpty())
            return refuse(problem);
        KV_RECORD_DATA record;
        record.fields.reserve(results.columns.size());
        for (int i = 0; i < results.columns.size(); ++i)
            record.fields.append({value_of(statement, i, results.columns.at(i).type)});
        results.records.append(record);
    }
    return code == SQLITE_DONE;
}

QString KV_SQL::run(const QString& sql, const QVariantList& values, KV_QUERY_RESULTS& results)
{
    if (const QString problem = kv_query_text_problem(sql); !problem.isEmpty())
        return problem;
    KV_QUERY_RESULTS found;
    sqlite3_stmt* statement = nullptr;
    const bool is_open = m_handle || open();
    const bool is_done =
        is_open && prepare(sql, statement) && bind(statement, values) && step(statement, found);
    const QString cause = m_refusal.isEmpty() ? QString::fromUtf8(sqlite3_errmsg(m_handle)) : m_refusal;
    sqlite3_finalize(statement);
    if (!is_open)
        close();
    if (is_done)
        results = found;
    return is_done ? QString() : cause;
}

void KV_SQL::close()
{
    sqlite3_close(m_handle);
    m_handle = nullptr;
}
