#pragma once

#include <QtCore/QHash>
#include <QtCore/QPair>
#include <QtCore/QStringList>

#include <optional>

#include "record/action_state.h"

class ACTION_INTERFACE;
class BUILD_SESSION;
class PRESENT_SURROUNDINGS;
class PROCESSOR_INTERFACE;
class RECORD_CONTENT;

/// Why an action has to run.
enum class RUN_REASON : quint8
{
    NONE, ///< it is up to date
    NO_TARGETS,
    IS_DECIDED, ///< it has errors, or a state, before it could run
    HAS_DOUBLE, ///< the record can't tell it from another one
    NEVER_BUILT,
    FAILED_SINCE,  ///< or was stopped
    FILES_CHANGED, ///< inputs, targets or the stamp
    RULES_CHANGED,
    SURROUNDINGS_CHANGED,
    DEPENDENCY_RAN_SINCE,
    DEPENDENCY_RUNS,
    WRITES_WITH_ANOTHER, ///< that runs
};

struct VERDICT
{
    RUN_REASON reason = RUN_REASON::NEVER_BUILT;
    ACTION_INTERFACE* other = nullptr;  ///< whom the reason is about
    const BUILD_ENTRY* entry = nullptr; ///< what the record tells of the action; null for nothing
};

/// Holds what the record tells of an action against what there is now. What other
/// actions do in the build at hand is not looked at. All that comes in must outlive this
/// object. GUI thread, or the build thread while a build runs; one at a time.
class ACTION_JUDGE
{
public:
    /// `plan` is the whole plan, in order.
    ACTION_JUDGE(const BUILD_SESSION& session, const RECORD_CONTENT& record, PRESENT_SURROUNDINGS& present,
                 const QVector<ACTION_INTERFACE*>& plan, ACTION_FILES::SOURCE source);

    VERDICT judge(ACTION_INTERFACE& action);

    /// What more the record has of the entry; nothing when it has it no longer or can't be
    /// read, which is told in `problems` then.
    std::optional<BUILD_ENTRY_DETAILS> details_of(const BUILD_ENTRY& entry);

    const QStringList& problems() const { return m_problems; }
    const RECORD_CONTENT& record() const { return m_record; }
    PRESENT_SURROUNDINGS& present() { return m_present; }
    ACTION_FILES& files() { return m_files; }
    const BUILD_SESSION& session() const { return m_session; }

private:
    RUN_REASON reason_of(ACTION_INTERFACE& action, const BUILD_ENTRY& entry);
    DIGEST state_of(ACTION_INTERFACE& action);
    bool rules_hold(const BUILD_ENTRY& entry);
    bool surroundings_hold(const BUILD_ENTRY& entry, const PROCESSOR_INTERFACE& processor);
    ACTION_INTERFACE* dependency_that_ran_since(const ACTION_INTERFACE& action,
                                                const BUILD_ENTRY& entry) const;

    const BUILD_SESSION& m_session;
    const RECORD_CONTENT& m_record;
    PRESENT_SURROUNDINGS& m_present;
    ACTION_FILES m_files;
    STATE_DIGEST m_state;
    QStringList m_problems;
    const bool m_remembers; // what holds for many actions stays as it is
    QHash<QPair<const PROCESSOR_INTERFACE*, quint32>, bool> m_surroundings;
};
