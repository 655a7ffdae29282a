#pragma once

#include "execution/plan_graph.h"

/// Raises the level of each selected action until it is at least one above that
/// of everything it depends on. Levels start as they come in and never fall;
/// those of actions that are not selected stay.
///
/// Where actions depend on each other, the result is that of sweeps over the
/// actions in order, and over the dependencies of each in order: a raise that
/// follows a cycle does not count as a change, the last raise of a sweep decides,
/// and the sweeps end with the first that ends without a change. Levels may then
/// be lower than the rule asks. An ordinary raise that follows a cycle's in each
/// sweep would go on without end: the sweeps stop when none but such is left.
void raise_levels(PLAN_GRAPH& graph);
