#include "record/shard_durations.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

#include "record/dealings.h"
#include "record/record_reader.h"

QString record_name(const SHARD& shard)
{
    const QString of_shard =
        shard.is_whole() ? QString() : QStringLiteral(".%1-of-%2").arg(shard.number).arg(shard.count);
    return "gox_build_record" + of_shard + ".sqlite";
}

SHARD_DURATIONS::SHARD_DURATIONS(const RECORD_CONTENT& record)
{
    const QVector<ACTION_DURATION> kept = read_dealings(QCoreApplication::applicationDirPath(), m_error);
    for (const ACTION_DURATION& action : kept)
        m_durations.insert(action.key, action.duration);
    if (!m_error.isEmpty() || !kept.isEmpty())
        return;
    if (record.has_passing_problem())
        m_error = record.problems().first();
    for (const BUILD_ENTRY& entry : record.entries_of(record_name({})))
        if (!entry.is_gone)
            m_durations.insert(entry.key, entry.duration);
}

QString keep_shard_durations()
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QStringList of_shards{QStringLiteral("gox_build_record.*-of-*.sqlite")};
    if (QDir(folder).entryList(of_shards, QDir::Files).isEmpty())
        return QString();
    const auto record = read_records(folder, record_name({}), RECORD_ACCESS::READ_ONLY);
    const QVector<ACTION_DURATION> durations = record->durations();
    if (!record->problems().isEmpty() || durations.isEmpty())
        return QString();
    const QString error = write_dealings(folder, durations);
    return error.isEmpty() ? error : error + ", so shards are dealt out as before";
}
