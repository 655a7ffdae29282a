#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/database/kv_records.h"
#include "contracts/services/file_stamp.h"

class PROGRESS_CALLBACK;

// Reads and writes schema files and table files. What is written reads back letter
// for letter. An error that is a result is empty on success; those of reading have
// file, line and column, and leave what they were to fill as it was. One thread at
// a time.

constexpr int KV_FORMAT_VERSION = 1; ///< of the database format that is read and written here

constexpr qint64 KV_MAX_SCHEMA_BYTES = qint64(64) << 20;
constexpr qint64 KV_MAX_TABLE_BYTES = qint64(1) << 30;

QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema);

/// Reads the text of one <query> as it could stand in a schema file, with or
/// without a name. The place in an error is that in the text.
QString read_query_definition(const QString& definition, KV_QUERY_SCHEMA& query);

/// Reads the records of `table`, which has its schema; a file that does not exist
/// leaves it without records. With `skip_unknown_fields`, fields that the schema does
/// not know are left out instead of being an error, and `has_left_out` tells whether
/// there were any.
QString read_database_table(const QString& path, bool skip_unknown_fields, KV_TABLE_DATA& table,
                            bool& has_left_out);

/// The text of a schema file.
QByteArray kv_schema_text(const KV_DATABASE_SCHEMA& schema);

/// Gives each record the line that it is written in.
void number_written_lines(KV_TABLE_DATA& table);

/// One file that is to be replaced, or removed when it has neither schema nor table.
struct KV_FILE_TO_WRITE
{
    QString path;
    FILE_STAMP stamp = {};                      ///< of the file that may be replaced or removed
    const KV_DATABASE_SCHEMA* schema = nullptr; ///< not owned
    KV_TABLE_DATA table = {}; ///< a copy that shares the records; without schema when unused

    bool is_removal() const { return !schema && !table.schema; }
};

/// Writes the content of a file to `path`, whole or not at all, with the permissions of
/// the file that it is for if there is one. The cause why it can't be written, or empty.
QString kv_write_file(const QString& path, const KV_FILE_TO_WRITE& file);

// Saves several files of one folder, all or none, whenever the process ends.
//
// The new files are written into the folder "unfinished_save.part". When all are
// whole it is renamed to "unfinished_save": from here on the new files count, and
// kv_file_to_read finds each there until it has taken its place. Whoever comes
// after a process that was ended in between only has to go on, or to read.
//
// "unfinished_save.lock" keeps other processes from saving at the same time.

/// Where the content of a file of a folder stands now: the file itself, unless a
/// save of the folder was cut off before the file took its place.
QString kv_file_to_read(const QString& path);

/// What it is now, by which a change by somebody else is noticed.
inline FILE_STAMP kv_file_stamp(const QString& path)
{
    return stamp_of_file(kv_file_to_read(path));
}

/// Why a save that was cut off can't be gone on with by itself: somebody changed
/// a file since. Writes nothing.
QString kv_unfinished_save_problem(const QString& folder);

/// Goes on with a save that was cut off, if there is one, and clears up. What hinders
/// it does not hinder reading: it is a warning.
void kv_finish_save(const QString& folder);

/// Replaces and removes `files`, which lie in `folder`: all of them, or none after
/// an error. It reads "file: cause", and when there are several files a second
/// line says that none was written. Read-only files are not replaced; of a link
/// the file that it leads to is.
QString kv_save_files(const QString& folder, const QVector<KV_FILE_TO_WRITE>& files,
                      PROGRESS_CALLBACK* progress);
