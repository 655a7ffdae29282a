#pragma once

#include <QtCore/QTemporaryDir>

#include <functional>

#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/database/progress_callback.h"
#include "tests/support/files.h"
#include "tests/support/noted.h"
#include "tests/support/transcript.h"

/// A database folder of its own with a service over it, and a small language
/// for what can be done with the two, so that a test can be a text. The words of
/// a command are separated by spaces, the values of a record by "|", and "\n",
/// "\r", "\t", "\s", "\e" and "\h" (half a character) stand for characters in them and
/// "\300x" for as many of them. Most commands are the
/// names of the operations, with their arguments; the others are
///
///     write FILE TEXT      delete FILE      file FILE    files    touch FILE HOUR
///     link FILE LINK       protect FILE     rights FILE
///     stock                the tables of the folder "stock", connected
///     connect, connect all, connect FOLDER, connect_mode MODE, read_only
///     hold T, held         the table as a pointer shows it; is_held T
///     show, show T         records, each behind its line
///     show_schema          as a file would have it; makes the file "shown"
///     any_dependents, dependents    of a value of a field
///     changes              what differs from the disk
///     add T VALUES         edit T KEY VALUES   remove T KEY   set T KEY FIELD VALUE
///     all COMMAND & COMMAND     apply_edit_commands
///     fields T A*,B:real,C=5>T.A  edit_table, or add_table for a new one; "*" is the
///                                 key, a default and a lookup
///     tables T T           change_schema: these tables stay, in this order
///     ask SQL, ask SQL <- VALUES, query NAME, query_text XML, filter T FILTER
///     noted COMMAND        what of the command counts for an action
///     digest T             a letter for the table's digest, the same for the same
///     progress             the steps that were told since this was asked last
class DATABASE_SESSION : public PROGRESS_CALLBACK, public KV_XML_QUERY_INTERFACE, public TRANSCRIPT
{
public:
    explicit DATABASE_SESSION(bool skip_unknown_fields = false)
        : KV_XML_QUERY_INTERFACE(this, QStringLiteral("ws"), skip_unknown_fields, false)
    {
    }

    QString step;                 ///< the end of a step's text; empty for none
    std::function<void()> action; ///< what happens when that step begins

    QString path(const QString& file = {}) const { return m_folder.filePath(file); }
    void write(const QString& file, const QByteArray& bytes) const { FILES::write(path(file), bytes); }

    /// What the command answers, its lines with "\n" between them: "error: TEXT"
    /// for an error. The folder's path is left out.
    QString run(const QString& command);
    QString run(const QStringList& commands); ///< one answer after the other

    QString carry_out(const QString& command) override { return run(command); }

private:
    void progress(const QString& text, int done, int total) override;
    QString answer(QString& error, const QStringList& words, const QString& rest);
    QString ask(QString& error, const QStringList& words, const QString& rest);
    bool set_fields(QString& error, const QString& table, const QString& fields);
    bool keep_tables(QString& error, const QStringList& names);
    QString changes(QString& error);
    void copy_stock() const;

    QTemporaryDir m_folder;
    QStringList m_steps;
    LETTERS m_digests;
    const KV_TABLE_DATA* m_held = nullptr;
};

/// A record of these values, which "|" separates.
KV_RECORD_DATA record_of(const QString& values);

/// One line a record: its values, behind its line in the file unless that is 0.
QStringList lines_of(const QVector<KV_RECORD_DATA>& records);

/// All tables as "show" has them, and the error; "" between the tables.
QString content_of(const KV_XML_QUERY_INTERFACE& database);

/// The same of what anybody finds who reads the folder.
QString content_on_disk(const QString& folder);
