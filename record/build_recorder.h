#pragma once

#include <QtCore/QString>

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <memory>
#include <mutex>

#include "contracts/services/question_log.h"
#include "record/shard_durations.h"

class ACTION_INTERFACE;
class ACTION_JUDGE;
class BUILD_SESSION;
class PRESENT_SURROUNDINGS;
class RECORD_CONTENT;
class RECORD_WRITER;
class SHARED_TARGETS;
struct FILE_ENTRY;
struct JOB_SERVICES;

/// Keeps the build record up to date while a build runs, and answers actions that ask
/// whether they are. One for the process; each build begins with `start` and ends with
/// `finish`. What it is told on the build thread it hands on to the thread of the
/// writer at once.
class BUILD_RECORDER
{
public:
    /// The process writes the record of its shard. The session must outlive this object.
    BUILD_RECORDER(const BUILD_SESSION& session, const SHARD& shard);
    ~BUILD_RECORDER();

    /// `plan` is the whole plan, with what was left out of it as up to date. `content` is
    /// what was read of the records, null where nobody needed it. GUI thread, ahead of the
    /// build.
    void start(const QVector<ACTION_INTERFACE*>& plan, std::shared_ptr<const RECORD_CONTENT> content);

    /// Whether a build is between `start` and `finish`.
    bool is_on() const { return m_writer != nullptr; }

    /// From here on questions to the services are those of this action, which is not
    /// running yet. Build thread, as `end`.
    void begin(ACTION_INTERFACE& action);

    /// The action has ended, with its state. `duration` in milliseconds; `warning` is the
    /// last line that it had to say; `was_stopped`: the build was asked to end meanwhile.
    void end(ACTION_INTERFACE& action, int duration, const QString& warning, bool was_stopped);

    /// Waits until all is written. Empty when all is well, else what to tell. GUI thread,
    /// after the build.
    QString finish();

private:
    Q_DISABLE_COPY(BUILD_RECORDER)

    static bool answer_action(ACTION_INTERFACE& action);
    bool is_up_to_date(ACTION_INTERFACE& action);
    FILE_STAMP stamp_met(const FILE_ENTRY& input) const;
    const RECORD_CONTENT& content();
    void put_entry(ACTION_INTERFACE& action, int duration, const QString& warning);

    const BUILD_SESSION& m_session;
    const SHARD m_shard;
    std::shared_ptr<const RECORD_CONTENT> m_content;
    QVector<ACTION_INTERFACE*> m_plan;
    const std::shared_ptr<JOB_SERVICES> m_services;
    std::unique_ptr<PRESENT_SURROUNDINGS> m_present;
    std::unique_ptr<SHARED_TARGETS> m_shared;
    std::unique_ptr<ACTION_JUDGE> m_judge; // once an action has asked
    std::mutex m_judging;                  // an action may ask from a thread of its own
    std::unique_ptr<RECORD_WRITER> m_writer;
    ASKED_QUESTIONS m_asked;
    QVector<FILE_STAMP> m_met; // of the inputs of the action at hand, ahead of it

    static BUILD_RECORDER* s_current;
};
