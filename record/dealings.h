#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

// What shards are dealt out by: how long actions took. It lies beside the record of the
// undivided run, "gox_build_record.sqlite.dealings", and in a file of its own: it has to
// stay as it is while a sharded build goes on, whatever its processes record, since every
// one of them has to deal in the same way. So only undivided runs write it.

/// How long an action took.
struct ACTION_DURATION
{
    quint64 key = 0;
    qint32 duration = 0; ///< ms

    bool operator==(const ACTION_DURATION& other) const
    {
        return key == other.key && duration == other.duration;
    }
};

Q_DECLARE_TYPEINFO(ACTION_DURATION, Q_PRIMITIVE_TYPE);

/// The folder's, as they were written last. None when there is no such file, nor when it
/// is damaged: that is the same for all. `error` gets file and cause when it could not be
/// read now, and may well be for others. Any thread.
QVector<ACTION_DURATION> read_dealings(const QString& folder, QString& error);

/// Replaces the file as a whole. Empty on success; otherwise file and cause. Any thread.
QString write_dealings(const QString& folder, const QVector<ACTION_DURATION>& durations);

// The bytes of the file; unpacking gives false for bytes that mean nothing.
QByteArray pack_dealings(const QVector<ACTION_DURATION>& durations);
bool unpack_dealings(const QByteArray& bytes, QVector<ACTION_DURATION>& durations);
