#include "record/shard_durations.h"

#include <algorithm>
#include <limits>

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

SHARD_DURATIONS::SHARD_DURATIONS(const RECORD_CONTENT& record, int shards) : m_record(record)
{
    QVector<QVector<DEALING>> dealings;
    qint64 common = std::numeric_limits<qint64>::max();
    for (int number = 1; number <= shards; ++number) {
        dealings.append(record.dealings_of(record_name({number, shards})));
        common = std::min(common, dealings.last().isEmpty() ? 0 : dealings.last().last().generation);
    }
    m_generation = common;
    const bool all_have_it = common > 0 && std::all_of(dealings.cbegin(), dealings.cend(), [&](const auto& kept) {
                                 return find(kept, common) != nullptr;
                             });
    if (!all_have_it) {
        for (const BUILD_ENTRY& entry : record.entries_of(record_name({})))
            if (!entry.is_gone)
                m_durations.insert(entry.key, entry.duration);
        return;
    }
    for (const QVector<DEALING>& kept : qAsConst(dealings))
        for (const ACTION_DURATION& action : find(kept, common)->durations)
            m_durations.insert(action.key, action.duration);
}

qint64 SHARD_DURATIONS::next_generation(const QString& own_record) const
{
    const QVector<DEALING> kept = m_record.dealings_of(own_record);
    const qint64 next = m_generation + 1;
    return kept.isEmpty() || kept.last().generation < next ? next : 0;
}
