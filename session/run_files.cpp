#include "session/run_files.h"

#include <atomic>

namespace {

std::atomic<bool> s_are_written{true};
QString s_share; // ".1-of-4"

} // namespace

void RUN_FILES::set_share(int shard, int shards)
{
    s_share = shards > 0 ? QStringLiteral(".%1-of-%2").arg(shard).arg(shards) : QString();
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
    const int dot = usual_name.lastIndexOf('.');
    const bool has_ending = dot > usual_name.lastIndexOf('/') + 1;
    QString name = usual_name;
    return name.insert(has_ending ? dot : usual_name.size(), s_share);
}
