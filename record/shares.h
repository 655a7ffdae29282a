#pragma once

#include <QtCore/QVector>

#include <functional>

class ACTION_INTERFACE;

/// Deals a plan out to several processes that know nothing of each other: gives for
/// each action of `plan` the share that it belongs to, 0 up to `shares` - 1.
///
/// Actions that depend on each other, directly or through actions that are not
/// planned, that share a group or write the same file are one piece. The pieces go,
/// the longest first, each to the share that has the least to do by then. So the
/// result depends on nothing but the plan and the durations, and each process that
/// is given the same gets the same.
///
/// `duration_of` gives what an action took the last time, in milliseconds, or a
/// negative number when that is not known: such an action counts as an average one.
/// GUI thread.
QVector<int> deal_out(const QVector<ACTION_INTERFACE*>& plan, int shares,
                      const std::function<qint64(ACTION_INTERFACE&)>& duration_of);
