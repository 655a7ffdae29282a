#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVector>

class ACTION_INTERFACE;

/// An action that the choice asks for and that is left out, as its targets are good.
struct UP_TO_DATE_ACTION
{
    ACTION_INTERFACE* action;
    bool had_warnings; ///< the last time that it ran
    QString warning;   ///< the last line that it had to say then
};

/// What is known of the actions of a plan before they run. As it comes nothing is
/// known, and all of them run.
struct PLAN_JUDGEMENT
{
    QVector<UP_TO_DATE_ACTION> up_to_date;                ///< no longer in the plan, in its order
    QHash<const ACTION_INTERFACE*, QString> explanations; ///< why an action runs or does not
};
