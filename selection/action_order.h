#pragma once

#include <QtCore/QList>
#include <QtCore/QVector>

class ACTION_INTERFACE;

/// These actions, each once, in the order in which `all` has them; behind them those
/// that it lacks, in any order. Sorts addresses, as a set of a million of them takes
/// longer than the window that shows them.
QList<ACTION_INTERFACE*> in_order_of(const QVector<ACTION_INTERFACE*>& all,
                                     QVector<ACTION_INTERFACE*> actions);
