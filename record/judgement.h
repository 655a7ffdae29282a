#pragma once

#include <QtCore/QHash>
#include <QtCore/QVector>

#include "record/action_judge.h"

/// Which actions of a plan have to run for all targets to be what a full build would
/// make of them: those that are out of date by themselves, all that depend on one that
/// runs, and all that write a file together with one that runs. GUI thread.
class JUDGEMENT
{
public:
    /// `plan` is the whole plan, in order; `judge` was made for it. The record must
    /// outlive this object.
    JUDGEMENT(const QVector<ACTION_INTERFACE*>& plan, ACTION_JUDGE& judge);

    /// Of the action at this place of the plan.
    const VERDICT& at(int place) const { return m_verdicts.at(place); }
    bool must_run(int place) const { return at(place).reason != RUN_REASON::NONE; }

private:
    class SPREAD;

    QVector<VERDICT> m_verdicts; // by place in the plan
};

/// Why the action runs, or that it is up to date: what stands behind its name in an
/// explanation. Reads details from the record, so it is slow beside the judging.
QString explanation_text(ACTION_INTERFACE& action, const VERDICT& verdict, ACTION_JUDGE& judge);
