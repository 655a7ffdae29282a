#include "contracts/actions/processor_interface.h"
#include "execution/order_by_level.h"
#include "execution/place_groups.h"
#include "execution/planned_actions.h"
#include "execution/raise_levels.h"
#include "session/build_session.h"

void BUILD_SESSION::plan_build()
{
    PLANNED_ACTIONS planned(actions);
    raise_levels(planned.graph);
    planned.store_levels();
    FW::VECTOR<int> levels = planned.graph.level;
    levels.resize(std::size_t(planned.graph.selected())); // the unselected ones are not sorted
    FW::VECTOR<int> order = order_by_level(levels);
    if (PROCESSOR_INTERFACE::s_next_action_group_id >= 2)
        place_groups(order, planned.graph, PROCESSOR_INTERFACE::s_next_action_group_id);
    selected_actions = planned.in_order(order);
}
