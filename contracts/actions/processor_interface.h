#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/actions/virtual_file.h"
#include "contracts/export.h"
#include "contracts/paths/logical_path.h"
#include "contracts/services/stop_watch.h"
#include "session/lockable_map.h"

class ACTION_INTERFACE;
class BUILD_SESSION;
class KV_XML_QUERY_INTERFACE;
class RULE_CACHE;
struct FILE_ENTRY;

namespace QTSHARED {
class ASSET_GRAPH;
}

/// Knows one kind of data and creates the actions for it.
///
/// A plugin makes its processors with `new`; the program owns them from then
/// on, deletes at once those that the configuration does not name and never the
/// others. Everything here is called on the GUI thread during start-up, in the
/// order of the declarations; a processor meets the file map while it is still
/// being built and must not keep its iterators.
class GOX_CONTRACTS_EXPORT PROCESSOR_INTERFACE
{
public:
    PROCESSOR_INTERFACE();

    /// Time spent in the processor's actions; kept by the build thread.
    Tallyline::StopWatch stopwatch;

    /// Number of the processor's actions that went through execution; kept by
    /// the build thread, 0 again after `reset`.
    int finished_actions = 0;

    virtual ~PROCESSOR_INTERFACE();

    /// The processor's name, as configurations list it and logs show it.
    virtual QString name() = 0;

    /// Processors with a lower number come first, and see none of the targets
    /// of the later ones while they collect.
    virtual int order_number() = 0;

    /// Logical folders, such as "<raw>/textures", to be scanned when the
    /// configuration names this processor. None by default.
    virtual QVector<QString> scan_directories();

    /// Files that will exist without lying on disk now. None by default.
    virtual QVector<VIRTUAL_FILE> collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                        RULE_CACHE& rules);

    /// The processor's actions, made with `new`; the caller owns them from here
    /// on. The targets of earlier processors already stand in `files`.
    virtual QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                       RULE_CACHE& rules) = 0;

protected:
    /// A new number for ACTION_INTERFACE::group_id: actions that share one run
    /// back to back where dependencies allow it. 1 and up.
    static int new_action_group();

    static KV_XML_QUERY_INTERFACE* s_database;   ///< the connected database; not owned
    static QTSHARED::ASSET_GRAPH* s_asset_graph; ///< not owned; null before actions are collected

private:
    friend class BUILD_SESSION;
    Q_DISABLE_COPY(PROCESSOR_INTERFACE)

    void reset(); // ready for another build of the same session

    static int s_next_action_group_id; // the next free group number
};
