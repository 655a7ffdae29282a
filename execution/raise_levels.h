#pragma once

#include "execution/plan_graph.h"

/// Raises the level of each selected action until it is at least one above that
/// of everything it depends on. Levels start as they come in and never fall;
/// those of actions that are not selected stay.
///
/// Where actions depend on each other, the result is that of sweeps over the
/// actions in order, and over the closure of each in order: a raise that follows
/// a cycle does not count as a change, the last raise of a sweep decides, and the
/// sweeps end with the first that ends without a change. Levels may then be lower
/// than the rule asks.
///
/// Such sweeps may have no end: in a cycle every sweep raises every action, and
/// an ordinary raise behind that, of an action above the cycle, counts each time.
/// Then the levels are those of a single sweep over the actions from where they
/// started, dependencies first and those that depend on each other in order of
/// selection: each action is above all that it depends on and that does not
/// depend on it.
///
/// Gives the actions of one cycle, each depending on the next and the last one on
/// the first; nothing when there is no cycle among the selected actions.
FW::VECTOR<int> raise_levels(PLAN_GRAPH& graph);
