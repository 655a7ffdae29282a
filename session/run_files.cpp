#include "session/run_files.h"

#include <atomic>

namespace {

std::atomic<bool> s_are_written{true};
int s_shard = 0;
int s_shards = 0;

} // namespace

void RUN_FILES::set_share(int shard, int shards)
{
    s_shard = shard;
    s_shards = shards;
}

void RUN_FILES::write_none()
{
    s_are_written = false;
}

bool RUN_FILES::are_written()
{
    return s_are_written;
}

QString RUN_FILES::name(const QString& usual_name)
{
    return name_for_share(usual_name, s_shard, s_shards);
}

QString RUN_FILES::name_for_share(const QString& usual_name, int shard, int shards)
{
    if (shards == 0)
        return usual_name;
    const int dot = usual_name.lastIndexOf('.');
    const bool has_ending = dot > usual_name.lastIndexOf('/') + 1;
    QString name = usual_name;
    return name.insert(has_ending ? dot : usual_name.size(),
                       QStringLiteral(".%1-of-%2").arg(shard).arg(shards));
}
