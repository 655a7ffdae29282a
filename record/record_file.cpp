#include "record/record_file.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr int APPLICATION = 0x474F5842; // "GOXB"
constexpr int VERSION = 2;

// As SQLite keeps them, so that they can be compared.
const char* const TABLES[] = {
    "CREATE TABLE seal (id INTEGER PRIMARY KEY, entries INTEGER, sum INTEGER)",
    "CREATE TABLE entries (block INTEGER PRIMARY KEY, packed BLOB)",
    "CREATE TABLE details (slot INTEGER PRIMARY KEY, name TEXT, checksum INTEGER, packed BLOB)",
    "CREATE TABLE surroundings (id INTEGER PRIMARY KEY, packed BLOB)",
    "CREATE TABLE libraries (id INTEGER PRIMARY KEY, packed BLOB)",
};

const char* const SETTINGS = "PRAGMA page_size = 16384;" // of a new one: fewer calls of the system
                             "PRAGMA trusted_schema = OFF;"
                             "PRAGMA cache_spill = OFF;"   // others may read until the commit
                             "PRAGMA cache_size = -32768;" // for all pages of a transaction
                             "PRAGMA synchronous = NORMAL;";

// Bytes of SQLite's header that tell how changes are written; 2 stands for a log beside
// the file, which a shared disk can't have.
constexpr int WRITE_VERSION = 18;
constexpr int READ_VERSION = 19;
constexpr char WITH_LOG = 2;

const char* const SIDE_FILES[] = {"-journal", "-wal", "-shm"};

RECORD_FAULT::KIND kind_of(int code)
{
    switch (code) {
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:
    case SQLITE_FORMAT:
    case SQLITE_MISMATCH:
    case SQLITE_NOTADB:
    case SQLITE_TOOBIG:
        return RECORD_FAULT::DAMAGED;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return RECORD_FAULT::LOCKED;
    default:
        return RECORD_FAULT::FAILED;
    }
}

bool is_empty_or_gone(const QString& path)
{
    const QFileInfo file(path);
    return !file.exists() || file.size() == 0;
}

} // namespace

RECORD_STATEMENT::RECORD_STATEMENT(RECORD_FILE& file, const char* sql) : m_file(&file)
{
    if (file.fault())
        return;
    sqlite3_stmt* statement = nullptr;
    file.note_fault(sqlite3_prepare_v2(file.m_database, sql, -1, &statement, nullptr));
    m_statement.reset(statement);
}

void RECORD_STATEMENT::bind(int place, qint64 value)
{
    m_file->note_fault(sqlite3_bind_int64(m_statement.get(), place, value));
}

void RECORD_STATEMENT::bind(int place, const char* bytes, int size)
{
    m_file->note_fault(sqlite3_bind_blob(m_statement.get(), place, bytes, size, SQLITE_STATIC));
}

void RECORD_STATEMENT::bind_text(int place, const char* utf8, int size)
{
    m_file->note_fault(sqlite3_bind_text(m_statement.get(), place, utf8, size, SQLITE_STATIC));
}

bool RECORD_STATEMENT::step()
{
    if (m_file->fault())
        return false;
    const int code = sqlite3_step(m_statement.get());
    m_file->note_fault(code);
    if (code != SQLITE_ROW)
        reset();
    return code == SQLITE_ROW;
}

void RECORD_STATEMENT::reset()
{
    sqlite3_reset(m_statement.get());
}

QByteArray RECORD_STATEMENT::copy(int column) const
{
    const char* const data = bytes(column);
    return QByteArray(data, size(column));
}

int RECORD_FILE::s_lock_patience = 2000;

bool RECORD_FILE::open(const QString& path, ACCESS access)
{
    close();
    m_fault = {};
    if (!is_of_right_kind(path))
        return false;
    QString place = path;
    int flags = access == WRITE ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READWRITE;
    if (access == LOOK && !is_empty_or_gone(path + QLatin1String(SIDE_FILES[0])))
        place = copy_to_look_at(path);
    else if (access == LOOK)
        flags = SQLITE_OPEN_READONLY;
    if (m_fault)
        return false;
    const int code =
        sqlite3_open_v2(place.toUtf8().constData(), &m_database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code != SQLITE_OK) {
        note_fault(code);
        return false;
    }
    sqlite3_busy_timeout(m_database, s_lock_patience);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return run(SETTINGS);
}

void RECORD_FILE::close()
{
    sqlite3_close_v2(m_database);
    m_database = nullptr;
    m_copy.reset();
}

// A pipe would wait for somebody to write to it, and a log beside the file would be
// created by looking at it.
bool RECORD_FILE::is_of_right_kind(const QString& path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        fail(QStringLiteral("it is no file"), RECORD_FAULT::FAILED);
        return false;
    }
    QFile file(path);
    if (!info.exists() || !file.open(QIODevice::ReadOnly))
        return true; // SQLite tells why
    const QByteArray header = file.read(READ_VERSION + 1);
    if (header.size() > READ_VERSION &&
        (header.at(WRITE_VERSION) == WITH_LOG || header.at(READ_VERSION) == WITH_LOG))
        fail(QStringLiteral("another program made it keep a log beside it"));
    return !m_fault;
}

QString RECORD_FILE::copy_to_look_at(const QString& path)
{
    m_copy = std::make_unique<QTemporaryDir>();
    const QString copy = m_copy->filePath(QFileInfo(path).fileName());
    const QString journal = QLatin1String(SIDE_FILES[0]);
    if (!m_copy->isValid() || !QFile::copy(path, copy) || !QFile::copy(path + journal, copy + journal))
        fail("a copy of it can't be made in " + m_copy->path(), RECORD_FAULT::FAILED);
    return copy;
}

bool RECORD_FILE::check(bool& is_empty)
{
    const qint64 application = number("PRAGMA application_id");
    const qint64 version = number("PRAGMA user_version");
    QByteArrayList tables;
    RECORD_STATEMENT statement(*this, "SELECT sql FROM sqlite_master ORDER BY rowid");
    while (statement.step() && tables.size() <= int(std::size(TABLES)))
        tables.append(statement.copy(0));
    if (m_fault)
        return false;
    is_empty = application == 0 && version == 0 && tables.isEmpty();
    if (is_empty)
        return true;
    if (application != APPLICATION)
        fail(QStringLiteral("it is no build record"));
    else if (version != VERSION)
        fail(QStringLiteral("it has version %1, this program reads version %2").arg(version).arg(VERSION));
    else if (!std::equal(tables.begin(), tables.end(), std::begin(TABLES), std::end(TABLES)))
        fail(QStringLiteral("its tables are not those of a build record"));
    return !m_fault;
}

bool RECORD_FILE::create_tables()
{
    for (const char* const table : TABLES)
        run(table);
    run(QByteArray("PRAGMA application_id = " + QByteArray::number(APPLICATION)).constData());
    return run(QByteArray("PRAGMA user_version = " + QByteArray::number(VERSION)).constData());
}

bool RECORD_FILE::run(const char* sql)
{
    if (!m_fault)
        note_fault(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr));
    return !m_fault;
}

void RECORD_FILE::roll_back()
{
    sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr); // fails where it was rolled back already
    m_fault = {};
}

qint64 RECORD_FILE::number(const char* sql)
{
    RECORD_STATEMENT statement(*this, sql);
    return statement.step() ? statement.number(0) : 0;
}

void RECORD_FILE::fail(const QString& cause, RECORD_FAULT::KIND kind)
{
    if (!m_fault)
        m_fault = {kind, cause};
}

void RECORD_FILE::note_fault(int code)
{
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE)
        return;
    QString cause = QString::fromUtf8(m_database ? sqlite3_errmsg(m_database) : sqlite3_errstr(code));
    const int system = m_database ? sqlite3_system_errno(m_database) : 0;
    const bool comes_from_system = code == SQLITE_IOERR || code == SQLITE_CANTOPEN;
    if (comes_from_system && system != 0)
        cause += ": " + without_full_stop(qt_error_string(system));
    fail(cause, kind_of(code));
}

QString without_full_stop(const QString& cause)
{
    return cause.endsWith('.') ? cause.chopped(1) : cause;
}

bool remove_record(const QString& path)
{
    QFile record(path);
    if (record.exists() && !record.remove() && !record.resize(0))
        return false;
    for (const char* const side : SIDE_FILES)
        QFile::remove(path + QLatin1String(side));
    return true;
}
