#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/database/kv_files.h"

class PROGRESS_CALLBACK;

// Saves several files of one folder, all or none, whenever the process ends.
//
// The new files are written into the folder "unfinished_save.part". When all are
// whole it is renamed to "unfinished_save": from here on the new files count, and
// kv_file_to_read finds each there until it has taken its place. Whoever comes
// after a process that was ended in between only has to go on, or to read.
//
// "unfinished_save.lock" keeps other processes from saving at the same time.
// Errors are texts that are empty on success. One thread at a time.

/// What a file was when it was read or written last, so that a change by
/// somebody else is noticed.
struct KV_FILE_STAMP
{
    QDateTime time; ///< UTC; null when there is no file
    qint64 size = -1;

    /// Of the file that kv_file_to_read gives.
    static KV_FILE_STAMP of(const QString& path);
    bool operator==(const KV_FILE_STAMP& other) const { return time == other.time && size == other.size; }
};

/// One file that is to be replaced, or removed when its content is nothing.
struct KV_FILE_TO_WRITE
{
    QString path;
    KV_FILE_STAMP stamp; ///< of the file that may be replaced or removed
    KV_FILE_CONTENT content;
};

/// Where the content of a file of a folder stands now: the file itself, unless a
/// save of the folder was cut off before the file took its place.
QString kv_file_to_read(const QString& path);

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
