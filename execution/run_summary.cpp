#include "execution/run_summary.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "session/run_report.h"

namespace {

struct STATE_WORDS
{
    int state;
    const char* words;
};

const STATE_WORDS ALL_STATES[] = {
    {ACTION_SUCCEEDED, "succeeded"},
    {ACTION_SUCCEEDED_WITH_WARNINGS, "with warnings"},
    {ACTION_FAILED, "failed"},
    {ACTION_FAILED_ALONE, "failed (others went on)"},
    {ACTION_DEPENDENCY_FAILED, "not run because a dependency failed"},
    {ACTION_NOT_RUN, "not run"},
};

QString words_of(int state)
{
    for (const STATE_WORDS& known : ALL_STATES)
        if (known.state == state)
            return QLatin1String(known.words);
    return QStringLiteral("in unknown state %1").arg(state);
}

// The first line that says something.
QString reason_of(const ACTION_INTERFACE& action)
{
    const QStringList lines = action.output.split('\n', Qt::SkipEmptyParts);
    const bool has_reason = !lines.isEmpty() && !lines.first().startsWith(QLatin1String("=====")) &&
                            !lines.first().startsWith(QLatin1String("Duration: "));
    if (!has_reason)
        return QString();
    return ": " + (action.state == ACTION_DEPENDENCY_FAILED ? lines.join(' ') : lines.first());
}

} // namespace

void report_action(ACTION_INTERFACE& action)
{
    if (RUN_REPORT::is_on() && action.state != ACTION_SUCCEEDED)
        RUN_REPORT::line(words_of(action.state) + ": " + action.processor->name() + " / " +
                         action.display_text(true) + reason_of(action));
}

void report_summary(const QVector<ACTION_INTERFACE*>& actions, qint64 milliseconds)
{
    if (!RUN_REPORT::is_on())
        return;
    QMap<int, int> counts;
    for (const ACTION_INTERFACE* action : actions)
        ++counts[action->state];
    RUN_REPORT::line(
        QStringLiteral("%1 action(s) in %2 s:").arg(actions.size()).arg(milliseconds / 1000.0, 0, 'f', 1));
    for (const STATE_WORDS& known : ALL_STATES)
        if (const int count = counts.take(known.state))
            RUN_REPORT::line(QStringLiteral("  %1 %2").arg(count).arg(QLatin1String(known.words)));
    for (auto other = counts.cbegin(); other != counts.cend(); ++other)
        RUN_REPORT::line(QStringLiteral("  %1 %2").arg(other.value()).arg(words_of(other.key())));
    if (const int remarks = RUN_REPORT::remarks())
        RUN_REPORT::line(QStringLiteral("  started with %1 remark%2, see above")
                             .arg(remarks)
                             .arg(remarks == 1 ? QString() : QStringLiteral("s")));
    RUN_REPORT::line("Logs: " + QCoreApplication::applicationDirPath() +
                     "/gox.log, gox_warnings.log, gox_error.log");
}
