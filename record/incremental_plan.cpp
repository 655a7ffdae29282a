#include "record/incremental_plan.h"

#include <QtCore/QCoreApplication>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "record/judgement.h"
#include "record/present_surroundings.h"
#include "record/record_reader.h"
#include "record/shares.h"
#include "session/build_session.h"

INCREMENTAL_PLAN::~INCREMENTAL_PLAN() = default;

void INCREMENTAL_PLAN::begin_reading()
{
    if (!is_judging() && shard.is_whole())
        return;
    const RECORD_ACCESS access = writes ? RECORD_ACCESS::READ_AND_WRITE : RECORD_ACCESS::READ_ONLY;
    m_reading = std::async(std::launch::async, read_records, QCoreApplication::applicationDirPath(),
                           record_name(shard), access);
}

QString INCREMENTAL_PLAN::apply(BUILD_SESSION& session)
{
    judgement = PLAN_JUDGEMENT();
    problems.clear();
    if (m_reading.valid())
        record = m_reading.get();
    if (record && !shard.is_whole()) {
        const QString error = take_own_share(session);
        if (!error.isEmpty())
            return error;
    }
    whole = session.selected_actions;
    if (record)
        problems = record->problems();
    if (record && is_judging())
        judge(session);
    return QString();
}

QString INCREMENTAL_PLAN::take_own_share(BUILD_SESSION& session)
{
    const SHARD_DURATIONS durations(*record);
    if (!durations.error().isEmpty())
        return "The plan can't be dealt out: " + durations.error();
    const QVector<ACTION_INTERFACE*> plan = session.selected_actions;
    const QVector<int> shares = deal_out(
        plan, shard.count, [&](ACTION_INTERFACE& action) { return durations.of(notes_of(action).key); });
    session.selected_actions.clear();
    for (int place = 0; place < plan.size(); ++place)
        if (shares.at(place) == shard.number - 1)
            session.selected_actions.append(plan.at(place));
    return QString();
}

void INCREMENTAL_PLAN::judge(BUILD_SESSION& session)
{
    PRESENT_SURROUNDINGS present(session, record->libraries());
    ACTION_JUDGE judge(session, *record, present, whole, ACTION_FILES::SCANNED);
    const MANY_DETAILS many_details(*record);
    const JUDGEMENT verdicts(whole, judge);
    QVector<ACTION_INTERFACE*> running;
    for (int place = 0; place < whole.size(); ++place) {
        ACTION_INTERFACE* const action = whole.at(place);
        const VERDICT& verdict = verdicts.at(place);
        if (explains)
            judgement.explanations.insert(action, explanation_text(*action, verdict, judge));
        if (verdicts.must_run(place) || !only_out_of_date) {
            running.append(action);
            continue;
        }
        const bool had_warnings = verdict.entry->had_warnings;
        const std::optional<BUILD_ENTRY_DETAILS> details =
            had_warnings ? judge.details_of(*verdict.entry) : std::nullopt;
        judgement.up_to_date.append({action, had_warnings, details ? details->warning : QString()});
    }
    session.selected_actions = running;
    problems += judge.problems();
}
