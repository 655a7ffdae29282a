#include "contracts/actions/processor_interface.h"

KV_XML_QUERY_INTERFACE* PROCESSOR_INTERFACE::s_database = nullptr;
QTSHARED::ASSET_GRAPH* PROCESSOR_INTERFACE::s_asset_graph = nullptr;
int PROCESSOR_INTERFACE::s_next_action_group_id = 1;

PROCESSOR_INTERFACE::PROCESSOR_INTERFACE()
{
    reset(); // a watch runs from its construction; this one counts actions only
}

PROCESSOR_INTERFACE::~PROCESSOR_INTERFACE() = default;

QVector<QString> PROCESSOR_INTERFACE::scan_directories()
{
    return {};
}

QVector<VIRTUAL_FILE> PROCESSOR_INTERFACE::collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&,
                                                                 RULE_CACHE&)
{
    return {};
}

int PROCESSOR_INTERFACE::new_action_group()
{
    return s_next_action_group_id++;
}

void PROCESSOR_INTERFACE::reset()
{
    stopwatch = Tallyline::StopWatch(Tallyline::StopWatch::STOPPED);
    finished_actions = 0;
}
