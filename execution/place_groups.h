#pragma once

#include "contracts/services/fw_memory.h"
#include "execution/plan_graph.h"

/// Moves the members of each group next to each other in `order`, the selected
/// actions of `graph` in the order of their levels, where dependencies allow it.
///
/// The groups from 1 up to but not including `next_group` are treated one after
/// another. First each member moves forward to the member before it, then back
/// to the member behind it, one place at a time: it halts where the action ahead
/// that it would pass has a lower level and is one of its dependencies (moving
/// back: has a higher level and depends on it). A later group may split an
/// earlier one again.
void place_groups(FW::VECTOR<int>& order, const PLAN_GRAPH& graph, int next_group);
