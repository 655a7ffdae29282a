#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "record/build_entry.h"

class RECORD_CONTENT;

/// One of several processes that share a build, and know nothing of each other.
struct SHARD
{
    int number = 0; ///< from 1 on; 0: the process builds everything
    int count = 0;

    bool is_whole() const { return number == 0; }
};

/// "gox_build_record.sqlite", of a shard "gox_build_record.2-of-4.sqlite".
QString record_name(const SHARD& shard);

/// How long actions took the last time, as all shards of one build see it, whenever each
/// of them starts and whatever the others have written by then.
///
/// Each shard keeps the durations of its last finished builds, which have numbers. A
/// number counts once all shards have it, and the last of them gets it when it ends:
/// until then all use the one before. Where there is no such number, as before the first
/// build in shards is done, the record of an undivided build says it.
class SHARD_DURATIONS
{
public:
    SHARD_DURATIONS(const RECORD_CONTENT& record, int shards);

    /// Not empty: what the other shards see can't be known, so that nothing can be dealt
    /// out. File and cause.
    const QString& error() const { return m_error; }

    /// Milliseconds; -1 when it is not known.
    qint64 of(quint64 key) const { return key ? m_durations.value(key, -1) : -1; }

    /// What to keep of a shard's build that has ended well; 0 where that number is
    /// kept already, as when a build server starts the shard again.
    qint64 next_generation(const SHARD& own) const;

private:
    QString m_error;
    QVector<qint64> m_latest; // by shard: the last number that it has
    qint64 m_generation = 0;  // the one in use
    QHash<quint64, qint64> m_durations;
};
