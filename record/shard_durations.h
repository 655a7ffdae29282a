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
/// of them starts and whatever the others have written by then: as the last undivided run
/// has left it. Shards change nothing of it, since none of them can tell whether the others
/// have started yet.
class SHARD_DURATIONS
{
public:
    explicit SHARD_DURATIONS(const RECORD_CONTENT& record);

    /// Not empty: what the other shards see can't be known, so that nothing can be dealt
    /// out. File and cause.
    const QString& error() const { return m_error; }

    /// Milliseconds; -1 when it is not known.
    qint64 of(quint64 key) const { return key ? m_durations.value(key, -1) : -1; }

private:
    QString m_error;
    QHash<quint64, qint64> m_durations;
};

/// For the end of an undivided run: shards are dealt out by what the records of all know
/// by now. Does nothing where no shard has ever run, since the record of undivided runs
/// tells it then. Empty on success; otherwise what to tell. GUI thread.
QString keep_shard_durations();
