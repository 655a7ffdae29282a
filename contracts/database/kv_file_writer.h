#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

#include "contracts/database/kv_records.h"

class PROGRESS_CALLBACK;
class QIODevice;

// Writes what kv_schema_reader.h and kv_table_reader.h read, and gives back what
// they would read letter for letter. Whether the device took it, the device
// tells. One thread at a time.
void write_database_schema(QIODevice& device, const KV_DATABASE_SCHEMA& schema);
void write_database_table(QIODevice& device, const KV_TABLE_DATA& table);

/// Gives each record the line that write_database_table puts it in.
void number_written_lines(KV_TABLE_DATA& table);

/// What a file was when it was read or written last, so that a change by
/// somebody else is noticed.
struct KV_FILE_STAMP
{
    QDateTime time; ///< UTC; null when there is no file
    qint64 size = -1;

    static KV_FILE_STAMP of(const QString& path);
    bool operator==(const KV_FILE_STAMP& other) const { return time == other.time && size == other.size; }
};

/// One file that is to be replaced.
struct KV_FILE_TO_WRITE
{
    QString path;
    KV_FILE_STAMP stamp; ///< of the file that may be replaced
    std::function<void(QIODevice&)> write;
    qint64 max_bytes; ///< more could not be read again
};

constexpr int KV_FILES_AT_ONCE = 200; ///< each is open until it takes its place

/// Replaces files, each whole or not at all. All are written beside the old
/// ones first, up to KV_FILES_AT_ONCE at a time, and take their places only
/// when that went well, so a full disk changes nothing. The positions in
/// `files` of those that were replaced are appended to `written`. The result is
/// empty on success, otherwise "file: cause" and, when there are several files,
/// a second line that says which were written and which were not.
QString write_database_files(const QVector<KV_FILE_TO_WRITE>& files, PROGRESS_CALLBACK* progress,
                             QVector<int>& written);
