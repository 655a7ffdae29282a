#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <future>
#include <memory>

#include "record/plan_judgement.h"
#include "record/shard_durations.h"

class ACTION_INTERFACE;
class BUILD_SESSION;
class RECORD_CONTENT;

/// What a silent run makes of its plan: its own share of it, only what is out of date,
/// and why each action runs. GUI thread.
class INCREMENTAL_PLAN
{
public:
    INCREMENTAL_PLAN() = default;
    ~INCREMENTAL_PLAN();

    bool only_out_of_date = false; ///< leave out what holds
    bool explains = false;         ///< work out the explanations of `judgement`
    bool writes = true;            ///< false: nothing may be written, not even beside a record
    SHARD shard;

    /// Begins to read the records on a thread of its own, when anything of the above needs
    /// them.
    void begin_reading();

    /// Reduces the session's `selected_actions`, which plan_build has just made. Empty on
    /// success; otherwise why nothing may be built.
    QString apply(BUILD_SESSION& session);

    /// Texts for the console: what was not as it should be, so that more is built.
    QStringList problems;

    PLAN_JUDGEMENT judgement;
    QVector<ACTION_INTERFACE*> whole;             ///< the own share, with what is left out of it
    std::shared_ptr<const RECORD_CONTENT> record; ///< once it was read, else null

private:
    Q_DISABLE_COPY(INCREMENTAL_PLAN)

    bool is_judging() const { return only_out_of_date || explains; }
    QString take_own_share(BUILD_SESSION& session);
    void judge(BUILD_SESSION& session);

    std::future<std::shared_ptr<const RECORD_CONTENT>> m_reading;
};
