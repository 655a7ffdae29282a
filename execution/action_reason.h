#pragma once

#include <QtCore/QString>

/// The line of an action's output that says why it ended in this ACTION_STATE:
/// the last one that is not empty, with warnings the first one, and the whole on one
/// line where a dependency failed. The closing lines of the log do not count. Empty
/// when there is nothing.
QString reason_of(const QString& output, int state);
