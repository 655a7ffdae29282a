#include <algorithm>
#include <limits>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/letter_case.h"
#include "contracts/paths/paths.h"
#include "contracts/services/digest.h"
#include "contracts/services/progress_widget.h"
#include "session/build_session.h"
#include "session/noted_questions.h"
#include "session/run_report.h"

namespace {

// A time in milliseconds since 1970; older than any other where there is none, also
// than those before 1970.
constexpr qint64 NEVER = std::numeric_limits<qint64>::min();

qint64 moment(const QDateTime& time)
{
    return time.isNull() ? NEVER : time.toMSecsSinceEpoch();
}

// When a file was written, in both views.
struct FILE_TIMES
{
    explicit FILE_TIMES(const FILE_ENTRY& file)
    {
        const bool has_local = file.local_state != FILE_STATE_NO_CHANGE;
        local = moment(file.have_time);
        if (has_local)
            local = std::max(local, moment(file.local_time));
        latest = has_local ? local : moment(file.head_time);
    }

    qint64 local;
    qint64 latest;
};

} // namespace

// What one action reads and writes, and what the times of these files say.
// "Latest" is the view by latest revisions, the other one by local dates.
// One record serves all actions, so that its memory is asked for once.
struct BUILD_SESSION::ACTION_FILES
{
    void start_action()
    {
        inputs.resize(0); // unlike clear, these keep their memory
        targets.resize(0);
        direct_inputs.resize(0);
        sources.resize(0);
        direct_targets.resize(0);
        stamp = QDateTime();
        newest_source = newest_source_latest = NEVER;
        oldest_target = oldest_target_latest = QDateTime::currentMSecsSinceEpoch();
        stale = false;
        stale_latest = false;
    }

    QVector<LOGICAL_PATH> inputs;
    QVector<ACTION_TARGET> targets;
    QDateTime stamp;
    QVector<FILE_ENTRY*> direct_inputs;
    QVector<FILE_ENTRY*> sources; // the real files behind the inputs; repeats change nothing
    QVector<FILE_ENTRY*> direct_targets;
    qint64 newest_source = NEVER;
    qint64 newest_source_latest = NEVER;
    qint64 oldest_target = NEVER;
    qint64 oldest_target_latest = NEVER;
    bool stale = false;
    bool stale_latest = false;

    // The same for all actions of a processor, which come in a row.
    quint64 hash_of(PROCESSOR_INTERFACE* processor)
    {
        if (m_hashed != processor) {
            m_hashed = processor;
            m_hash = hash_64(processor->name());
        }
        return m_hash;
    }

private:
    PROCESSOR_INTERFACE* m_hashed = nullptr;
    quint64 m_hash = 0;
};

// What a run without retail output has deleted of one processor's actions.
struct BUILD_SESSION::DROPPED_ACTIONS
{
    // Its partners in pulling are told later, all at once: each of many that one
    // action pulls would search that one's list.
    void drop(ACTION_INTERFACE* action)
    {
        actions.insert(action);
        for (const QVector<ACTION_INTERFACE*>* list : {&action->pulls, &action->pulled_by})
            for (ACTION_INTERFACE* partner : *list)
                partners.insert(partner);
        action->pulls.clear();
        action->pulled_by.clear();
        delete action;
    }

    void remove_from(QVector<ACTION_INTERFACE*>& list) const
    {
        const auto is_dropped = [&](ACTION_INTERFACE* action) { return actions.contains(action); };
        if (std::any_of(list.cbegin(), list.cend(), is_dropped))
            list.erase(std::remove_if(list.begin(), list.end(), is_dropped), list.end());
    }

    QSet<ACTION_INTERFACE*> actions;
    QSet<ACTION_INTERFACE*> partners; // dropped ones among them
};

namespace {

// Hands `take` each real file behind `entry`, at least once. `seen_through` holds
// the intermediate files that have been dealt with: they can form a circle.
template <typename TAKE>
void collect_sources(FILE_ENTRY* entry, QSet<FILE_ENTRY*>& seen_through, TAKE take)
{
    QVector<FILE_ENTRY*> waiting;
    const auto come_to = [&](FILE_ENTRY* file) {
        if (!file->intermediate || file->providers.isEmpty()) {
            take(file);
        } else if (!seen_through.contains(file)) {
            seen_through.insert(file);
            waiting.append(file);
        }
    };
    come_to(entry);
    while (!waiting.isEmpty())
        for (const ACTION_INTERFACE* provider : qAsConst(waiting.takeLast()->providers))
            for (FILE_ENTRY* input : provider->input_files)
                come_to(input);
}

// Most files have one reader and one writer. A vector that grows by itself takes room
// for five at once, which over all files is a good part of the memory of a start-up.
void append_tightly(QVector<ACTION_INTERFACE*>& users, ACTION_INTERFACE* action)
{
    if (users.isEmpty())
        users.reserve(1);
    users.append(action);
}

// What is built would replace data that was shipped.
void report_targets_in_companions(PROCESSOR_INTERFACE& processor, const QVector<ACTION_INTERFACE*>& actions)
{
    int count = 0;
    QString first;
    for (const ACTION_INTERFACE* action : actions)
        for (const PHYSICAL_PATH& target : action->target_files)
            if (PATHS::is_in_companion(target) && ++count == 1)
                first = target;
    if (count > 0)
        RUN_REPORT::remark(
            QStringLiteral("The processor %1 writes over older data: %2 of its targets lie in "
                           "a companion root, such as %3. It should ask for PATHS::target_path.")
                .arg(processor.name(), QString::number(count), first));
}

} // namespace

void BUILD_SESSION::find_sources(FILE_ENTRY* entry, QSet<FILE_ENTRY*>& sources)
{
    QSet<FILE_ENTRY*> seen_through;
    collect_sources(entry, seen_through, [&](FILE_ENTRY* source) { sources.insert(source); });
}

void BUILD_SESSION::collect_actions(PROGRESS_WIDGET& splash, Tallyline::StopWatch& collection_watch,
                                    Tallyline::StopWatch& files_watch)
{
    PROCESSOR_INTERFACE::s_asset_graph = asset_graph;
    int number = 0;
    for (PROCESSOR_INTERFACE* processor : QVector<PROCESSOR_INTERFACE*>(processors)) {
        ++number;
        collection_watch.Start();
        const QString text =
            QStringLiteral("Collecting actions and affected files...\n%1/%2 %3")
                .arg(QString::number(number), QString::number(processors.size()), processor->name());
        splash.set_progress(text);
        splash.repaint();
        RUN_REPORT::step(text);
        QVector<ACTION_INTERFACE*> collected;
        {
            NOTED_QUESTIONS noted;
            collected = processor->collect_actions(file_map, rule_cache);
            keep_questions(noted, *processor);
        }
        if (const int missing = collected.removeAll(nullptr))
            RUN_REPORT::remark(
                QStringLiteral("The processor \"%1\" gave %2 action(s) that are null, which are "
                               "passed over.")
                    .arg(processor->name(), QString::number(missing)));
        for (ACTION_INTERFACE* action : qAsConst(collected))
            if (!action->processor)
                action->processor = processor;
        collection_watch.Stop();
        files_watch.Start();
        collect_affected_files(collected);
        deal_questions(*processor, collected);
        files_watch.Stop();
        report_targets_in_companions(*processor, collected);
        actions += collected;
    }
}

void BUILD_SESSION::collect_affected_files(QVector<ACTION_INTERFACE*>& collected)
{
    const QString retail = PATHS::retail_build() + "/";
    QVector<ACTION_INTERFACE*> kept;
    kept.reserve(collected.size());
    DROPPED_ACTIONS dropped;
    ACTION_FILES files;
    NOTED_QUESTIONS noted;
    for (ACTION_INTERFACE* action : qAsConst(collected)) {
        if (dropped.actions.contains(action))
            continue; // handed out twice
        files.start_action();
        action->collect_files(files.inputs, files.targets, files.stamp, file_map, rule_cache);
        keep_questions(noted, *action);
        if (!configuration->retail && writes_retail(files, retail)) {
            dropped.drop(action);
            continue;
        }
        kept.append(action);
        link_inputs(*action, files);
        link_targets(*action, files);

        files.newest_source = std::max(files.newest_source, moment(files.stamp));
        files.newest_source_latest = std::max(files.newest_source_latest, moment(files.stamp));
        const bool stale =
            files.stale || files.oldest_target < files.newest_source || files.newest_source == NEVER;
        const bool stale_latest = files.stale_latest ||
                                  files.oldest_target_latest < files.newest_source_latest ||
                                  files.newest_source_latest == NEVER;
        for (FILE_ENTRY* input : qAsConst(files.direct_inputs)) {
            input->out_of_date_source |= stale;
            input->out_of_date_source_latest |= stale_latest;
        }
        for (FILE_ENTRY* target : qAsConst(files.direct_targets)) {
            target->out_of_date_target |= stale;
            target->out_of_date_target_latest |= stale_latest;
        }
    }
    collected = kept;
    forget(dropped, collected);
}

// Actions that were made together can know each other already, and those of
// earlier processors theirs: nothing may lead to one that is gone, since planning
// writes to all that it reaches. Before the next processor makes actions, as these
// can get the same addresses.
void BUILD_SESSION::forget(const DROPPED_ACTIONS& dropped, const QVector<ACTION_INTERFACE*>& collected)
{
    if (dropped.actions.isEmpty())
        return;
    for (ACTION_INTERFACE* action : qAsConst(dropped.partners))
        if (!dropped.actions.contains(action)) {
            dropped.remove_from(action->pulls);
            dropped.remove_from(action->pulled_by);
        }
    const QVector<ACTION_INTERFACE*> left = actions + collected;
    for (ACTION_INTERFACE* action : left) {
        for (ACTION_INTERFACE* dependency : qAsConst(action->dependencies))
            if (dropped.actions.contains(dependency))
                action->m_dependency_set.remove(dependency);
        dropped.remove_from(action->dependencies);
        dropped.remove_from(action->all_dependencies);
    }
}

// Inputs are logical paths, so in practice the targets decide.
bool BUILD_SESSION::writes_retail(const ACTION_FILES& files, const QString& retail)
{
    for (const LOGICAL_PATH& input : files.inputs)
        if (begins_with_folder(input, retail))
            return true;
    for (const ACTION_TARGET& target : files.targets)
        if (begins_with_folder(target.physical_path, retail))
            return true;
    return false;
}

void BUILD_SESSION::link_inputs(ACTION_INTERFACE& action, ACTION_FILES& files)
{
    QSet<FILE_ENTRY*> seen_through;
    action.input_files.reserve(action.input_files.size() + files.inputs.size());
    for (const LOGICAL_PATH& input : qAsConst(files.inputs)) {
        FILE_ENTRY* const entry = file_lookup.value(input);
        if (!entry)
            continue;
        files.direct_inputs.append(entry);
        action.input_files.append(entry);
        append_tightly(entry->consumers, &action);
        collect_sources(entry, seen_through, [&](FILE_ENTRY* source) { files.sources.append(source); });
    }
    for (const FILE_ENTRY* source : qAsConst(files.sources)) {
        const FILE_TIMES times(*source);
        files.newest_source = std::max(files.newest_source, times.local);
        files.newest_source_latest = std::max(files.newest_source_latest, times.latest);
        files.stale |= source->out_of_date_target;
        files.stale_latest |= source->out_of_date_target_latest;
    }
}

void BUILD_SESSION::link_targets(ACTION_INTERFACE& action, ACTION_FILES& files)
{
    ACTION_NOTES& notes = action.m_notes;
    quint64 names = 0; // a sum, in which the order does not show
    for (const ACTION_TARGET& target : qAsConst(files.targets)) {
        names += hash_64(target.logical_path);
        FILE_ENTRY* const entry = target_entry(target);
        files.direct_targets.append(entry);
        if (!target.secondary)
            entry->main_provider = &action;
        action.target_files.insert(entry, target.physical_path);
        append_tightly(entry->providers, &action);
        entry->intermediate = target.intermediate;

        const FILE_TIMES times(*entry);
        files.oldest_target = std::min(files.oldest_target, times.local);
        files.oldest_target_latest = std::min(files.oldest_target_latest, times.latest);
    }
    if (!files.targets.isEmpty())
        notes.key = std::max<quint64>(1, hash_64(&names, sizeof names, files.hash_of(action.processor)));
    if (!files.stamp.isNull())
        notes.stamp = files.stamp.toMSecsSinceEpoch();
}

FILE_ENTRY* BUILD_SESSION::target_entry(const ACTION_TARGET& target)
{
    if (FILE_ENTRY* const known = file_lookup.value(target.logical_path))
        return known;
    FILE_ENTRY* const entry = new FILE_ENTRY;
    entry->physical = normalise_path_case(target.physical_path);
    entry->local_state = FILE_STATE_NO_PERFORCE;
    entry->p4_state = FILE_STATE_NO_PERFORCE;
    put_file(target.logical_path, entry);
    m_spellings.file_added(entry->physical, target.logical_path);
    rule_cache.add_new_file_to_cache(target.logical_path);
    return entry;
}
