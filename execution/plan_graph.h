#pragma once

#include <cstddef>

#include "contracts/services/fw_memory.h"

/// Rows of integers of different length, one behind another in one array.
struct INTEGER_ROWS
{
    FW::VECTOR<int> items;
    FW::VECTOR<std::size_t> first{0}; ///< row r holds the items from first[r] up to first[r + 1]

    int rows() const { return int(first.size()) - 1; }
    const int* begin(int row) const { return items.data() + first[std::size_t(row)]; }
    const int* end(int row) const { return items.data() + first[std::size_t(row) + 1]; }
    int size(int row) const { return int(end(row) - begin(row)); }
    void end_row() { first.push_back(items.size()); }
};

/// The planner's view of the actions as plain numbers. The selected actions are
/// 0, 1, ... in the order of selection; numbers behind them are actions that
/// they depend on without being selected. Nothing here knows of threads or
/// windows.
struct PLAN_GRAPH
{
    /// For each selected action, all that it depends on, directly or not, without
    /// the action itself.
    INTEGER_ROWS closures;

    FW::VECTOR<int> level;        ///< by action, selected or not
    FW::VECTOR<int> closure_size; ///< by action, selected or not; 0 while a closure is not known
    FW::VECTOR<int> group;        ///< by selected action; 0 is no group

    int selected() const { return closures.rows(); }
};
