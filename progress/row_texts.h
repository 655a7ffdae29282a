#pragma once

#include <QtCore/QString>

class ACTION_INTERFACE;
class BUILD_SESSION;

/// What rows of the progress window say beside their names. GUI thread, also while
/// the build thread writes the actions' fields.
namespace ROW_TEXTS {

/// An ACTION_STATE in a word or two, as in "done". Whatever else waits.
QString of_state(int state);

/// How many actions are in which state: "3 done, 1 failed, 20 waiting".
/// `by_state` has a number for each ACTION_STATE; what there is none of is left out.
QString of_counts(const int* by_state);

/// Whom an action waited for that did not run because a dependency failed: the
/// dependency, and where that did not run either, the action that failed at the
/// bottom of it. Empty for any other action.
QString of_wait(const ACTION_INTERFACE& action);

/// The action's output; empty while the build thread may add to it.
QString of_output(const ACTION_INTERFACE& action, const BUILD_SESSION& session);

} // namespace ROW_TEXTS
