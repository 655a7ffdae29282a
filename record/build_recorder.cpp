#include "record/build_recorder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
#include "record/action_judge.h"
#include "record/present_surroundings.h"
#include "record/record_reader.h"
#include "record/record_writer.h"
#include "record/rule_answers.h"
#include "session/build_session.h"
#include "session/file_entry.h"

BUILD_RECORDER* BUILD_RECORDER::s_current = nullptr;

// What the jobs of all builds of the process share. For the thread of the writer.
struct JOB_SERVICES
{
    explicit JOB_SERVICES(const RULE_CACHE& rule_cache) : rules(rule_cache) {}

    const RULE_CACHE& rules;
    const TREE_PLACES places;

    // Times and sizes of the files that actions have written, as they were right after
    // that: the scan does not know them.
    QHash<QString, FILE_STAMP> written;
};

namespace {

// Longer than the steps in which any system counts the times of files, but for disks
// that keep whole seconds.
const qint64 TIME_STEP = 16; // milliseconds
const qint64 COARSE_STEP = 2000;

// As exactly as the disk has it, which no file of a fine disk is by chance.
bool has_whole_seconds(const QString& path)
{
    using namespace std::chrono;
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path.toStdU16String(), error);
    return error || time.time_since_epoch() % seconds(1) == nanoseconds(0);
}

// What was written right before somebody looked may have changed once more under the
// same time.
FILE_STAMP stamp_seen(const QString& path, const FILE_STAMP& stamp, qint64 seen)
{
    const bool may_be_coarse = stamp.time % 1000 == 0 && stamp.time > seen - COARSE_STEP;
    const qint64 step = may_be_coarse && has_whole_seconds(path) ? COARSE_STEP : TIME_STEP;
    return stamp.time > seen - step ? stamp_of_uncertain() : stamp;
}

// What the writer makes an entry of. It shares the texts with the session.
class ACTION_JOB : public RECORD_JOB
{
public:
    struct FILE
    {
        PHYSICAL_PATH path;
        PHYSICAL_PATH given_path; ///< of a target, as the action named it
        FILE_STAMP stamp;         ///< of an input ahead of the action, unless this build wrote it
        bool is_overwritten;      ///< a later action writes the target too
        bool adds_to_own;         ///< the target may have held the action's part already
    };

    explicit ACTION_JOB(std::shared_ptr<JOB_SERVICES> services) : m_services(std::move(services)) {}

    void complete(RECORDED_ACTION& result) override
    {
        result.entry = entry;
        result.surroundings = surroundings;
        BUILD_ENTRY_DETAILS& details = result.details;
        details.name = name;
        details.stamp = stamp;
        details.warning = warning;
        for (const RULE_QUESTION& question : qAsConst(questions))
            details.answers.append(answer_now(m_services->rules, question));
        STATE_DIGEST state;
        state.start(stamp);
        for (const FILE& input : qAsConst(inputs)) {
            details.inputs.append(recorded(input.path, stamp_met(input)));
            state.add_input(details.inputs.last().place, details.inputs.last().stamp);
        }
        for (const FILE& target : qAsConst(targets)) {
            details.targets.append(recorded(target.given_path, stamp_left(target)));
            state.add_target(details.targets.last().place, details.targets.last().stamp);
        }
        result.entry.state = state.result();
    }

    BUILD_ENTRY entry;
    SURROUNDINGS surroundings;
    QString name;
    qint64 stamp = 0;
    QString warning;
    QVector<FILE> inputs;
    QVector<FILE> targets;
    QVector<RULE_QUESTION> questions;
    qint64 end = 0; ///< of the action, by the clock

private:
    RECORDED_FILE recorded(const PHYSICAL_PATH& path, const FILE_STAMP& stamp_of_path) const
    {
        return {PATHS::logical_path(path), m_services->places.place(path).toString(), stamp_of_path};
    }

    FILE_STAMP stamp_met(const FILE& input) const
    {
        return m_services->written.value(input.path, input.stamp);
    }

    // What somebody wrote after the action, while the writer was busy with others, is
    // not what the action left, nor what others have read.
    FILE_STAMP stamp_left(const FILE& target) const
    {
        FILE_STAMP left = stamp_of_file(target.path);
        const bool was_late = QDateTime::currentMSecsSinceEpoch() - end > TIME_STEP;
        if (was_late && left.time > end + TIME_STEP)
            left = stamp_of_uncertain();
        m_services->written.insert(target.path, left);
        if (target.is_overwritten)
            return stamp_of_overwritten();
        return target.adds_to_own ? stamp_of_uncertain() : left;
    }

    const std::shared_ptr<JOB_SERVICES> m_services;
};

// An action that has no good end, or that the record can't tell from another one. What
// it has written counts for those that read it.
class END_OF_ENTRY_JOB : public RECORD_JOB
{
public:
    END_OF_ENTRY_JOB(ACTION_INTERFACE& action, std::shared_ptr<JOB_SERVICES> services)
        : m_key(has_double(action) ? 0 : notes_of(action).key), m_services(std::move(services))
    {
        for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
            m_targets.append(target.key()->physical);
    }

    void complete(RECORDED_ACTION& result) override
    {
        for (const PHYSICAL_PATH& target : qAsConst(m_targets))
            m_services->written.insert(target, stamp_of_file(target));
        result.entry.key = m_key;
        result.entry.is_gone = true;
    }

private:
    const quint64 m_key;
    const std::shared_ptr<JOB_SERVICES> m_services;
    QVector<PHYSICAL_PATH> m_targets;
};

bool is_written_in_this_build(const FILE_ENTRY& file)
{
    return std::any_of(file.providers.cbegin(), file.providers.cend(),
                       [](ACTION_INTERFACE* provider) { return notes_of(*provider).has_run; });
}

// An action that this one depends on, directly or through actions that are not
// planned, or that writes one of its files.
bool has_something_run(ACTION_INTERFACE& action)
{
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
        for (ACTION_INTERFACE* other : qAsConst(target.key()->providers))
            if (other != &action && notes_of(*other).has_run)
                return true;
    QSet<ACTION_INTERFACE*> seen{&action};
    QVector<ACTION_INTERFACE*> waiting{&action};
    while (!waiting.isEmpty())
        for (ACTION_INTERFACE* dependency : qAsConst(waiting.takeLast()->dependencies)) {
            if (notes_of(*dependency).has_run)
                return true;
            if (dependency->selection_count < 1 && !seen.contains(dependency)) {
                seen.insert(dependency);
                waiting.append(dependency);
            }
        }
    return false;
}

// Whether nobody has begun the file anew in this build before the action added its part.
bool adds_to_own(const FILE_ENTRY& file, const ACTION_INTERFACE& action)
{
    if (file.providers.size() < 2 || file.main_provider == &action)
        return false;
    if (file.main_provider)
        return !notes_of(*file.main_provider).has_run;
    return !std::all_of(file.providers.cbegin(), file.providers.cend(), [&](ACTION_INTERFACE* other) {
        return other == &action || notes_of(*other).has_run;
    });
}

// Those that come later may add to what this one leaves, so that it has to begin anew
// whenever one of them runs.
bool is_written_later(const ACTION_INTERFACE& action, SHARED_TARGETS& shared)
{
    const QList<FILE_ENTRY*> targets = action.target_files.keys();
    return std::any_of(targets.cbegin(), targets.cend(),
                       [&](const FILE_ENTRY* target) { return shared.is_written_later(*target, action); });
}

} // namespace

BUILD_RECORDER::BUILD_RECORDER(const BUILD_SESSION& session, const SHARD& shard)
    : m_session(session), m_shard(shard), m_services(std::make_shared<JOB_SERVICES>(session.rule_cache))
{
}

BUILD_RECORDER::~BUILD_RECORDER() = default;

void BUILD_RECORDER::start(const QVector<ACTION_INTERFACE*>& plan,
                           std::shared_ptr<const RECORD_CONTENT> content)
{
    m_plan = plan;
    m_content = std::move(content);
    m_shared = std::make_unique<SHARED_TARGETS>(m_plan);
    m_present = std::make_unique<PRESENT_SURROUNDINGS>(m_session, m_content ? m_content->libraries()
                                                                            : QVector<KNOWN_FILE>());
    for (const PROCESSOR_INTERFACE* processor : m_session.processors)
        m_present->library_of(*processor);
    m_writer = std::make_unique<RECORD_WRITER>(QCoreApplication::applicationDirPath(), record_name(m_shard),
                                               m_content, m_present->libraries());
    s_current = this;
    ACTION_INTERFACE::s_is_up_to_date = &BUILD_RECORDER::answer_action;
}

void BUILD_RECORDER::begin(ACTION_INTERFACE& action)
{
    m_asked = ASKED_QUESTIONS();
    if (notes_of(action).asked)
        m_asked.add(*notes_of(action).asked);
    const auto of_processor = m_session.processor_questions.constFind(action.processor);
    if (of_processor != m_session.processor_questions.cend())
        m_asked.add(*of_processor);
    m_met.clear();
    for (const FILE_ENTRY* input : qAsConst(action.input_files))
        m_met.append(stamp_met(*input));
    QUESTION_LOG::listen(&m_asked);
}

// An input ahead of its action, which reads what is there by then: a change that comes
// later is one for the next build. The disk is asked only for what the scan did not find.
FILE_STAMP BUILD_RECORDER::stamp_met(const FILE_ENTRY& input) const
{
    if (ACTION_FILES::is_known(input))
        return input.virtual_file
                   ? ACTION_FILES::known(input)
                   : stamp_seen(input.physical, ACTION_FILES::known(input), m_session.scan_began);
    if (is_written_in_this_build(input))
        return FILE_STAMP(); // the writer knows it
    return stamp_seen(input.physical, stamp_of_file(input.physical), QDateTime::currentMSecsSinceEpoch());
}

void BUILD_RECORDER::end(ACTION_INTERFACE& action, int duration, const QString& warning, bool was_stopped)
{
    QUESTION_LOG::listen(nullptr);
    ACTION_NOTES& notes = notes_of(action);
    const bool ended_well =
        action.state == ACTION_SUCCEEDED || action.state == ACTION_SUCCEEDED_WITH_WARNINGS;
    const bool kept_its_targets = notes.keeps_entry && action.state == ACTION_SUCCEEDED && !was_stopped;
    notes.has_run = !kept_its_targets;
    if (notes.key == 0 || kept_its_targets)
        return;
    if (ended_well && !was_stopped && !has_double(action))
        put_entry(action, duration, warning);
    else
        m_writer->put(std::make_unique<END_OF_ENTRY_JOB>(action, m_services));
}

void BUILD_RECORDER::put_entry(ACTION_INTERFACE& action, int duration, const QString& warning)
{
    auto job = std::make_unique<ACTION_JOB>(m_services);
    job->entry.key = notes_of(action).key;
    job->entry.duration = duration;
    job->entry.had_warnings = action.state == ACTION_SUCCEEDED_WITH_WARNINGS;
    if (!m_asked.rules.isEmpty())
        job->entry.rules = m_present->rules();
    job->questions = m_asked.rules;
    job->surroundings = m_present->of(*action.processor, m_asked);
    job->name = action.processor->name() + " / " + action.display_text(true);
    job->stamp = notes_of(action).stamp;
    job->warning = warning;
    job->end = QDateTime::currentMSecsSinceEpoch();
    for (int place = 0; place < action.input_files.size() && place < m_met.size(); ++place)
        if (!is_added_to(*action.input_files.at(place), action))
            job->inputs.append({action.input_files.at(place)->physical, {}, m_met.at(place), false, false});
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
        job->targets.append({target.key()->physical, target.value(), FILE_STAMP(),
                             m_shared->is_written_later(*target.key(), action),
                             adds_to_own(*target.key(), action)});
    m_writer->put(std::move(job));
}

QString BUILD_RECORDER::finish()
{
    ACTION_INTERFACE::s_is_up_to_date = nullptr;
    s_current = nullptr;
    QUESTION_LOG::listen(nullptr);
    const QString error = m_writer->finish();
    m_writer.reset();
    m_judge.reset();
    m_present.reset();
    m_shared.reset();
    m_content.reset(); // it is no longer what the files hold
    return error;
}

bool BUILD_RECORDER::answer_action(ACTION_INTERFACE& action)
{
    if (!s_current)
        return false;
    const std::lock_guard<std::mutex> lock(s_current->m_judging);
    return s_current->is_up_to_date(action);
}

bool BUILD_RECORDER::is_up_to_date(ACTION_INTERFACE& action)
{
    if (has_something_run(action) || is_written_later(action, *m_shared))
        return false;
    if (!m_judge)
        m_judge =
            std::make_unique<ACTION_JUDGE>(m_session, content(), *m_present, m_plan, ACTION_FILES::ON_DISK);
    return m_judge->judge(action).reason == RUN_REASON::NONE;
}

const RECORD_CONTENT& BUILD_RECORDER::content()
{
    if (!m_content)
        m_content = read_records(QCoreApplication::applicationDirPath(), record_name(m_shard),
                                 RECORD_ACCESS::READ_AND_WRITE);
    return *m_content;
}
