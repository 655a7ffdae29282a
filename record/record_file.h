#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <memory>

#include <sqlite3.h>

/// Why a record can't be used.
struct RECORD_FAULT
{
    enum KIND
    {
        NONE,
        DAMAGED, ///< it is no sound record of this version: a new one may take its place
        LOCKED,  ///< somebody else reads or writes it for longer than one wants to wait
        FAILED,  ///< it can't be got at: no permission, a full disk
    };

    KIND kind = NONE;
    QString cause = {}; ///< without the file's name

    explicit operator bool() const { return kind != NONE; }
};

class RECORD_FILE;

/// A statement over a record; its faults are those of the record. Results are trusted as
/// little as the file is.
class RECORD_STATEMENT
{
public:
    RECORD_STATEMENT() = default;
    RECORD_STATEMENT(RECORD_FILE& file, const char* sql);

    /// Places count from 1. Bytes and text must outlive the next step.
    void bind(int place, qint64 value);
    void bind(int place, const char* bytes, int size);
    void bind_text(int place, const char* utf8, int size);

    /// To the next row; false at the end and after a fault. At the end the statement can
    /// be bound and stepped anew.
    bool step();
    void reset(); ///< ends the walk over the rows

    bool is_there() const { return m_statement != nullptr; }

    /// Of the row, columns count from 0.
    qint64 number(int column) const { return sqlite3_column_int64(m_statement.get(), column); }
    int size(int column) const { return sqlite3_column_bytes(m_statement.get(), column); }
    const char* bytes(int column) const ///< null when there are none; only until the next step
    {
        return static_cast<const char*>(sqlite3_column_blob(m_statement.get(), column));
    }
    QByteArray copy(int column) const;

private:
    struct FINALIZE
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    RECORD_FILE* m_file = nullptr;
    std::unique_ptr<sqlite3_stmt, FINALIZE> m_statement;
};

/// One record on the disk, opened through SQLite. One thread at a time. The first fault
/// is kept, and nothing is done after it.
class RECORD_FILE
{
public:
    enum ACCESS
    {
        WRITE, ///< creates it
        READ,  ///< takes back what a killed writer left half done
        LOOK,  ///< leaves the folder as it is: what was left half done is taken back in a copy
    };

    /// How long others may hold it before that counts as a fault, in milliseconds. Tests
    /// have less patience.
    static int s_lock_patience;

    RECORD_FILE() = default;
    ~RECORD_FILE() { close(); }

    /// Anew, without a fault. False on a fault.
    bool open(const QString& path, ACCESS access);
    void close();

    /// Inside a transaction: whether it has what a record of this version has, or nothing
    /// at all, which `is_empty` tells then.
    bool check(bool& is_empty);
    bool create_tables(); ///< in a file that is empty

    bool run(const char* sql);
    void roll_back(); ///< ends a transaction and forgets the fault
    /// The first number of the first row; 0 when there is none.
    qint64 number(const char* sql);

    void fail(const QString& cause, RECORD_FAULT::KIND kind = RECORD_FAULT::DAMAGED);
    const RECORD_FAULT& fault() const { return m_fault; }

private:
    friend class RECORD_STATEMENT;
    Q_DISABLE_COPY(RECORD_FILE)

    bool is_of_right_kind(const QString& path);
    QString copy_to_look_at(const QString& path);
    void note_fault(int code);

    sqlite3* m_database = nullptr;
    RECORD_FAULT m_fault;
    std::unique_ptr<QTemporaryDir> m_copy; // what LOOK works on, where something was left half done
};

/// The words of the system for an error, so that a sentence can go on behind them:
/// Windows ends them with a full stop.
QString without_full_stop(const QString& cause);

/// Removes a record with what belongs to it, or at least empties it. False when neither
/// could be done.
bool remove_record(const QString& path);
