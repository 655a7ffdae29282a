#include "contracts/actions/action_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/rules/file_filter_list.h"
#include "session/build_session.h"
#include "session/run_report.h"

namespace {

using USERS = QVector<ACTION_INTERFACE*> FILE_ENTRY::*; // the actions that a list asks a file for

// An entry of a list by itself, until it has been seen to have an effect.
struct LONE_ENTRY
{
    LONE_ENTRY(const QString& entry, const char* list_name, USERS users_of_file)
        : text(entry.trimmed()),
          list(list_name),
          users(users_of_file),
          takes_away(text.startsWith('-')),
          pattern(lower_case_by_letter(FILE_FILTER_LIST({entry}).text().mid(takes_away ? 1 : 0)))
    {
    }

    // What takes away may well meet files that no action touches.
    bool has_effect(const LOGICAL_PATH& path, const FILE_ENTRY& file)
    {
        if (!pattern.matches(path))
            return false;
        has_file = true;
        return takes_away || !(file.*users).isEmpty();
    }

    QString remark() const
    {
        const QString entry = QStringLiteral("The entry \"%1\" of <%2> ").arg(text, list);
        const char* const use = users == &FILE_ENTRY::providers ? "writes" : "reads";
        if (has_file)
            return entry +
                   QStringLiteral("matches files, but no action %1 any of them.").arg(QLatin1String(use));
        return entry + (takes_away ? "matches no file, so it takes nothing away." : "matches no file.");
    }

    QString text;
    QLatin1String list;
    USERS users;
    bool takes_away;
    FILE_PATTERN pattern;
    bool has_file = false;
};

// Entries without an effect, as misspelt ones are.
class IDLE_ENTRIES
{
public:
    explicit IDLE_ENTRIES(const CONFIGURATION& configuration)
    {
        for (const QString& entry : configuration.selected_providers)
            m_entries.append(LONE_ENTRY(entry, "selected_providers", &FILE_ENTRY::providers));
        for (const QString& entry : configuration.selected_consumers)
            m_entries.append(LONE_ENTRY(entry, "selected_consumers", &FILE_ENTRY::consumers));
    }

    void drop_those_of(const LOGICAL_PATH& path, const FILE_ENTRY& file)
    {
        for (int i = m_entries.size() - 1; i >= 0; --i)
            if (m_entries[i].has_effect(path, file))
                m_entries.remove(i);
    }

    void report() const
    {
        for (const LONE_ENTRY& entry : m_entries)
            RUN_REPORT::remark(entry.remark());
    }

private:
    QVector<LONE_ENTRY> m_entries;
};

// The filters look at logical paths, the sets hold physical ones in lower case.
struct CHOICE
{
    explicit CHOICE(const CONFIGURATION& configuration)
        : providers(configuration.selected_providers), consumers(configuration.selected_consumers)
    {
    }

    void collect_paths(const BUILD_SESSION::FILE_MAP& files, IDLE_ENTRIES& idle)
    {
        for (auto place = files.begin(); place != files.end(); ++place) {
            idle.drop_those_of(place.key(), *place.value());
            const bool provides = providers.matching(place.key());
            const bool consumes = consumers.matching(place.key());
            if (!provides && !consumes)
                continue;
            const PHYSICAL_PATH path(place.value()->physical.toLower());
            if (provides)
                provider_paths.insert(path);
            if (consumes)
                consumer_paths.insert(path);
        }
    }

    bool is_input_wanted(const FILE_ENTRY* file) const
    {
        return consumer_paths.contains(PHYSICAL_PATH(file->physical.toLower()));
    }

    bool is_target_wanted(const PHYSICAL_PATH& path) const
    {
        return provider_paths.contains(PHYSICAL_PATH(path.toLower()));
    }

    // For lists that take files away.
    bool wants_all_of(const ACTION_INTERFACE& action) const
    {
        for (const FILE_ENTRY* file : action.input_files)
            if (!is_input_wanted(file))
                return false;
        for (const PHYSICAL_PATH& path : action.target_files)
            if (!is_target_wanted(path))
                return false;
        return true;
    }

    // For lists that name what is wanted.
    bool wants_any_of(const ACTION_INTERFACE& action) const
    {
        if (!consumers.empty() && !consumer_paths.isEmpty())
            for (const FILE_ENTRY* file : action.input_files)
                if (is_input_wanted(file))
                    return true;
        if (!providers.empty() && !provider_paths.isEmpty())
            for (const PHYSICAL_PATH& path : action.target_files)
                if (is_target_wanted(path))
                    return true;
        return false;
    }

    FILE_FILTER_LIST providers;
    FILE_FILTER_LIST consumers;
    QSet<PHYSICAL_PATH> provider_paths;
    QSet<PHYSICAL_PATH> consumer_paths;
};

} // namespace

void BUILD_SESSION::select_from_configuration()
{
    CHOICE choice(*configuration);
    IDLE_ENTRIES idle(*configuration);
    const bool wants_everything = choice.providers.empty() && choice.consumers.empty();
    const bool takes_away = choice.providers.subtractive() && choice.consumers.subtractive();
    if (!wants_everything)
        choice.collect_paths(file_map, idle);
    idle.report();
    for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(actions)) {
        if (action->selection_count > 0)
            continue; // held by the pass before, or carried along by another action
        if (wants_everything || (takes_away ? choice.wants_all_of(*action) : choice.wants_any_of(*action))) {
            QSet<ACTION_INTERFACE*> touched;
            action->select(touched);
        }
    }
}
