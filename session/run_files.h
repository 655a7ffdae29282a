#pragma once

#include <QtCore/QString>

/// How the files are called that a run writes of its own accord (logs, lock, record,
/// report, call stack), and whether it writes any. Set once, before the first of them is
/// opened; read by any thread then.
namespace RUN_FILES {

/// The run has share `shard` of `shards`, and its files are named so. 0 and 0: the
/// run is not divided.
void set_share(int shard, int shards);

/// From here on the run leaves no file behind but its report.
void write_none();
bool are_written();

/// "gox.log", or "gox.1-of-4.log" for a share: the last dot of the name, if it has
/// one, begins the ending. A path keeps its folder.
QString name(const QString& usual_name);

/// The same for any share; without one, where `shards` is 0, it is the usual name.
QString name_for_share(const QString& usual_name, int shard, int shards);

} // namespace RUN_FILES
