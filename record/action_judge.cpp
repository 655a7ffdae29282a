#include "record/action_judge.h"

#include <algorithm>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "record/present_surroundings.h"
#include "record/record_reader.h"
#include "record/rule_answers.h"
#include "session/build_session.h"
#include "session/file_entry.h"

namespace {

// It fails without being executed, whatever was built before, or is what it was made as.
bool is_decided(const ACTION_INTERFACE& action)
{
    return !action.preset_errors.isEmpty() || action.state > ACTION_RUNNING;
}

} // namespace

ACTION_JUDGE::ACTION_JUDGE(const BUILD_SESSION& session, const RECORD_CONTENT& record,
                           PRESENT_SURROUNDINGS& present, const QVector<ACTION_INTERFACE*>& plan,
                           ACTION_FILES::SOURCE source)
    : m_session(session),
      m_record(record),
      m_present(present),
      m_files(plan, source),
      m_remembers(source == ACTION_FILES::SCANNED)
{
}

VERDICT ACTION_JUDGE::judge(ACTION_INTERFACE& action)
{
    const quint64 key = notes_of(action).key;
    if (key == 0)
        return {RUN_REASON::NO_TARGETS, nullptr, nullptr};
    if (is_decided(action))
        return {RUN_REASON::IS_DECIDED, nullptr, nullptr};
    if (has_double(action))
        return {RUN_REASON::HAS_DOUBLE, nullptr, nullptr};
    const BUILD_ENTRY* const entry = m_record.find(key);
    if (!entry)
        return {RUN_REASON::NEVER_BUILT, nullptr, nullptr};
    const RUN_REASON reason = reason_of(action, *entry);
    if (reason != RUN_REASON::NONE)
        return {reason, nullptr, entry};
    ACTION_INTERFACE* const dependency = dependency_that_ran_since(action, *entry);
    return {dependency ? RUN_REASON::DEPENDENCY_RAN_SINCE : RUN_REASON::NONE, dependency, entry};
}

RUN_REASON ACTION_JUDGE::reason_of(ACTION_INTERFACE& action, const BUILD_ENTRY& entry)
{
    if (entry.is_gone)
        return RUN_REASON::FAILED_SINCE;
    if (state_of(action) != entry.state)
        return RUN_REASON::FILES_CHANGED;
    if (!surroundings_hold(entry, *action.processor))
        return RUN_REASON::SURROUNDINGS_CHANGED;
    return rules_hold(entry) ? RUN_REASON::NONE : RUN_REASON::RULES_CHANGED;
}

DIGEST ACTION_JUDGE::state_of(ACTION_INTERFACE& action)
{
    m_state.start(notes_of(action).stamp);
    for (const FILE_ENTRY* input : qAsConst(action.input_files))
        if (!is_added_to(*input, action))
            m_state.add_input(m_files.places.place(input->physical), m_files.input(*input));
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
        m_state.add_target(m_files.places.place(target.value()),
                           m_files.target(action, *target.key(), target.value()));
    return m_state.result();
}

// All rules at once, as long as none of them has changed; only then each question.
bool ACTION_JUDGE::rules_hold(const BUILD_ENTRY& entry)
{
    if (entry.rules.is_null() || entry.rules == m_present.rules())
        return true;
    const std::optional<BUILD_ENTRY_DETAILS> details = details_of(entry);
    return details && std::all_of(details->answers.cbegin(), details->answers.cend(),
                                  [&](const RECORDED_ANSWER& former) {
                                      return former == answer_now(m_session.rule_cache, former);
                                  });
}

std::optional<BUILD_ENTRY_DETAILS> ACTION_JUDGE::details_of(const BUILD_ENTRY& entry)
{
    QString problem;
    const std::optional<BUILD_ENTRY_DETAILS> details = m_record.details_of(entry, problem);
    if (!problem.isEmpty())
        m_problems.append(problem);
    return details;
}

bool ACTION_JUDGE::surroundings_hold(const BUILD_ENTRY& entry, const PROCESSOR_INTERFACE& processor)
{
    const SURROUNDINGS& former = m_record.surroundings_of(entry);
    if (!m_remembers)
        return m_present.hold(former, processor);
    const auto place = qMakePair(&processor, entry.surroundings);
    const auto known = m_surroundings.constFind(place);
    return known != m_surroundings.cend() ? *known
                                          : *m_surroundings.insert(place, m_present.hold(former, processor));
}

// It may have been built without this action, by another choice.
ACTION_INTERFACE* ACTION_JUDGE::dependency_that_ran_since(const ACTION_INTERFACE& action,
                                                          const BUILD_ENTRY& entry) const
{
    for (ACTION_INTERFACE* dependency : action.dependencies) {
        const quint64 key = notes_of(*dependency).key;
        const BUILD_ENTRY* const its_entry = key ? m_record.find(key) : nullptr;
        if (its_entry && its_entry->ended > entry.ended)
            return dependency;
    }
    return nullptr;
}
