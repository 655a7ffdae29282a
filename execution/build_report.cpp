#include "execution/build_report.h"

#include "contracts/actions/action_interface.h"

QString state_word(const REPORTED_ACTION& action)
{
    if (action.is_up_to_date)
        return QStringLiteral("up_to_date");
    switch (action.state) {
    case ACTION_NOT_RUN:
        return QStringLiteral("not_run");
    case ACTION_SUCCEEDED:
        return QStringLiteral("succeeded");
    case ACTION_SUCCEEDED_WITH_WARNINGS:
        return QStringLiteral("succeeded_with_warnings");
    case ACTION_FAILED:
        return QStringLiteral("failed");
    case ACTION_DEPENDENCY_FAILED:
        return QStringLiteral("dependency_failed");
    case ACTION_FAILED_ALONE:
        return QStringLiteral("failed_alone");
    default:
        return QStringLiteral("unknown");
    }
}
