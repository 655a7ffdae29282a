#pragma once

#include <QtCore/QVector>

/// The planner's procedure as it is told, step by step, with all its quadratic
/// walks: the measure for the quick one.
struct PLAIN_ACTION
{
    int number = 0;
    int selection_count = 0;
    int order_level = 0;
    int group_id = 0;
    QVector<PLAIN_ACTION*> dependencies;
    QVector<PLAIN_ACTION*> all_dependencies;
};

/// The numbers of the selected actions in the order of the plan. Fills closures
/// and levels in the actions, and keeps what is there from an earlier pass.
/// Empty where the procedure has no end.
QVector<int> plain_plan(const QVector<PLAIN_ACTION*>& actions, int next_group);
