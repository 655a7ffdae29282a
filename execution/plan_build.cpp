#include "contracts/actions/processor_interface.h"
#include "execution/cycle_text.h"
#include "execution/order_by_level.h"
#include "execution/place_groups.h"
#include "execution/planned_actions.h"
#include "execution/raise_levels.h"
#include "session/build_session.h"
#include "session/run_report.h"

void BUILD_SESSION::plan_build()
{
    PLANNED_ACTIONS planned(actions);
    const FW::VECTOR<int> cycle = raise_levels(planned.graph);
    planned.store_levels();
    if (!cycle.empty())
        RUN_REPORT::remark(cycle_text(planned.in_order(cycle)));
    FW::VECTOR<int> levels = planned.graph.level;
    levels.resize(std::size_t(planned.graph.selected())); // the unselected ones are not sorted
    FW::VECTOR<int> order = order_by_level(levels);
    if (PROCESSOR_INTERFACE::s_next_action_group_id >= 2)
        place_groups(order, planned.graph, PROCESSOR_INTERFACE::s_next_action_group_id);
    selected_actions = planned.in_order(order);
}
