#include "progress/row_texts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include "contracts/actions/action_interface.h"
#include "session/build_session.h"
#include "session/start_up_hooks.h"

namespace {

const char CONTEXT[] = "BUILD_PROGRESS_DIALOG";

struct STATE_WORDS
{
    int state;
    const char* of_one;
    const char* of_many;
};

// In the order in which they are counted up.
const STATE_WORDS WORDS[] = {
    {ACTION_SUCCEEDED, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "done"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 done")},
    {ACTION_SUCCEEDED_WITH_WARNINGS, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "done, with warnings"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 with warnings")},
    {ACTION_FAILED, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "failed"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 failed")},
    {ACTION_DEPENDENCY_FAILED, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "not run"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 not run")},
    {ACTION_RUNNING, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "running"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 running")},
    {ACTION_NOT_RUN, QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "waiting"),
     QT_TRANSLATE_NOOP("BUILD_PROGRESS_DIALOG", "%1 waiting")},
};

QString translated(const char* text)
{
    return QCoreApplication::translate(CONTEXT, text);
}

// The dependencies that keep an action from running: the first that failed itself,
// else the first that did not run; null for none.
const ACTION_INTERFACE* obstacle_of(const ACTION_INTERFACE& action)
{
    const ACTION_INTERFACE* not_run = nullptr;
    for (const ACTION_INTERFACE* const dependency : action.dependencies) {
        if (dependency->state == ACTION_FAILED)
            return dependency;
        if (dependency->state == ACTION_DEPENDENCY_FAILED && !not_run)
            not_run = dependency;
    }
    return not_run;
}

QString name_of(const ACTION_INTERFACE& action)
{
    return const_cast<ACTION_INTERFACE&>(action).display_text(true);
}

} // namespace

QString ROW_TEXTS::of_state(int state)
{
    if (state == ACTION_FAILED_ALONE)
        state = ACTION_FAILED;
    for (const STATE_WORDS& words : WORDS)
        if (words.state == state)
            return translated(words.of_one);
    return of_state(ACTION_NOT_RUN);
}

QString ROW_TEXTS::of_counts(const int* by_state)
{
    QStringList parts;
    for (const STATE_WORDS& words : WORDS) {
        const int count =
            by_state[words.state] + (words.state == ACTION_FAILED ? by_state[ACTION_FAILED_ALONE] : 0);
        if (count > 0)
            parts.append(translated(words.of_many).arg(count));
    }
    return parts.join(QStringLiteral(", "));
}

QString ROW_TEXTS::of_wait(const ACTION_INTERFACE& action)
{
    const ACTION_INTERFACE* const first =
        action.state == ACTION_DEPENDENCY_FAILED ? obstacle_of(action) : nullptr;
    if (!first)
        return QString();
    QSet<const ACTION_INTERFACE*> met;
    const ACTION_INTERFACE* last = first;
    while (last->state == ACTION_DEPENDENCY_FAILED && obstacle_of(*last) && !met.contains(last)) {
        met.insert(last);
        last = obstacle_of(*last);
    }
    if (last == first)
        return translated("Did not run: it waited for %1, which failed.").arg(name_of(*first));
    return translated("Did not run: it waited for %1, which did not run because %2 failed.")
        .arg(name_of(*first), name_of(*last));
}

// The build thread adds to the output of the action in hand, and still does so for
// a moment when its state tells that it has ended.
QString ROW_TEXTS::of_output(const ACTION_INTERFACE& action, const BUILD_SESSION& session)
{
    const bool is_growing =
        action.state == ACTION_RUNNING || (current_action == &action && session.isRunning());
    return is_growing ? QString() : action.output;
}
