#include "execution/action_reason.h"

#include <QtCore/QStringList>

#include "contracts/actions/action_interface.h"

// A tool that fails tells what it does first, and what went wrong in the end; the
// section of an action that ran closes with a rule and the duration.
QString reason_of(const QString& output, int state)
{
    QStringList lines = output.split('\n', Qt::SkipEmptyParts);
    const int rule = lines.size() - 2;
    if (rule >= 0 && lines.at(rule).startsWith(QLatin1String("=====")) &&
        lines.last().startsWith(QLatin1String("Duration: ")))
        lines.erase(lines.begin() + rule, lines.end());
    while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    if (lines.isEmpty())
        return QString();
    switch (state) {
    case ACTION_DEPENDENCY_FAILED:
        return lines.join(' ');
    case ACTION_SUCCEEDED_WITH_WARNINGS:
        return lines.first().trimmed();
    default:
        return lines.last().trimmed();
    }
}
