#include "record/shard_durations.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

#include "record/dealings.h"
#include "record/record_reader.h"

namespace {

const DEALING* find(const QVector<DEALING>& dealings, qint64 generation)
{
    for (const DEALING& dealing : dealings)
        if (dealing.generation == generation)
            return &dealing;
    return nullptr;
}

} // namespace

QString record_name(const SHARD& shard)
{
    const QString of_shard =
        shard.is_whole() ? QString() : QStringLiteral(".%1-of-%2").arg(shard.number).arg(shard.count);
    return "gox_build_record" + of_shard + ".sqlite";
}

SHARD_DURATIONS::SHARD_DURATIONS(const RECORD_CONTENT& record, int shards)
{
    const QString folder = QCoreApplication::applicationDirPath();
    QVector<QVector<DEALING>> dealings;
    for (int number = 1; number <= shards && m_error.isEmpty(); ++number) {
        dealings.append(read_dealings(folder, record_name({number, shards}), m_error));
        m_latest.append(dealings.last().isEmpty() ? 0 : dealings.last().last().generation);
    }
    if (record.has_passing_problem())
        m_error = record.problems().first();
    if (!m_error.isEmpty())
        return;
    m_generation = *std::min_element(m_latest.cbegin(), m_latest.cend());
    if (std::all_of(dealings.cbegin(), dealings.cend(),
                    [&](const QVector<DEALING>& kept) { return find(kept, m_generation) != nullptr; })) {
        for (const QVector<DEALING>& kept : qAsConst(dealings))
            for (const ACTION_DURATION& action : find(kept, m_generation)->durations)
                m_durations.insert(action.key, action.duration);
        return;
    }
    for (const BUILD_ENTRY& entry : record.entries_of(record_name({})))
        if (!entry.is_gone)
            m_durations.insert(entry.key, entry.duration);
}

qint64 SHARD_DURATIONS::next_generation(const SHARD& own) const
{
    const qint64 next = m_generation + 1;
    return m_error.isEmpty() && m_latest.at(own.number - 1) < next ? next : 0;
}
