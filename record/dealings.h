#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

// What a shard keeps for dealing the work out: how long its actions took. It lies beside
// the shard's record, under the same name with ".dealings" behind it, and in a file of
// its own: it has to stay as it is while a sharded build goes on, whatever becomes of the
// record, since every process of that build has to deal in the same way.

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

/// The durations of a shard's actions when it finished its share.
struct DEALING
{
    qint64 generation = 0; ///< counts the sharded builds
    QVector<ACTION_DURATION> durations;

    bool operator==(const DEALING& other) const
    {
        return generation == other.generation && durations == other.durations;
    }
};

constexpr int DEALINGS_KEPT = 2;

/// Those of the record `record_name`, such as "gox_build_record.2-of-4.sqlite", by rising
/// generation. None when there is no such file, nor when it is damaged: that can't be
/// told from a file that was never there by whoever comes later. `error` is empty on
/// success; when the file could not be read for another cause it says file and cause, and
/// what the other processes read can't be known. Any thread.
QVector<DEALING> read_dealings(const QString& folder, const QString& record_name, QString& error);

/// Adds one, or takes the place of that of its generation, and drops all but the last
/// DEALINGS_KEPT. The file is written whole or not at all. Empty on success, else file and
/// cause. Any thread.
QString add_dealing(const QString& folder, const QString& record_name, const DEALING& dealing);

/// The bytes of such a file, and back; false when they are none.
QByteArray pack_dealings(const QVector<DEALING>& dealings);
bool unpack_dealings(const QByteArray& bytes, QVector<DEALING>& dealings);
