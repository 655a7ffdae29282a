#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/paths/logical_path.h"
#include "session/lockable_map.h"

struct FILE_ENTRY;

namespace QTSHARED {
class ASSET_GRAPH;
}

/// The files of a run as processors get them.
using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;

/// The name of a pack's table of contents, which lies in the pack's folder.
extern const QString CONTENTS_NAME;

/// The folders right below "<working>/" that have files in them, sorted.
QStringList top_folders(const FILE_MAP& files);

/// The files of the top folder `pack`.
QVector<LOGICAL_PATH> own_files(const QString& pack, const FILE_MAP& files);

/// The files of other folders that `own` need according to the graph, directly
/// or not. Assets go by their path below the working data; those that are no
/// files are passed over.
QVector<LOGICAL_PATH> used_files(const QVector<LOGICAL_PATH>& own, const FILE_MAP& files,
                                 const QTSHARED::ASSET_GRAPH& graph);

/// The name of a file in its pack, which is that of its asset as well.
QString asset_name(const LOGICAL_PATH& path);
