#include "contracts/actions/action_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/rules/file_filter_list.h"
#include "session/build_session.h"

namespace {

// The filters look at logical paths, the sets hold physical ones in lower case.
struct CHOICE
{
    explicit CHOICE(const CONFIGURATION& configuration)
        : providers(configuration.selected_providers), consumers(configuration.selected_consumers)
    {
    }

    void collect_paths(const BUILD_SESSION::FILE_MAP& files)
    {
        for (auto place = files.begin(); place != files.end(); ++place) {
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
        if (!consumers.empty())
            for (const FILE_ENTRY* file : action.input_files)
                if (is_input_wanted(file))
                    return true;
        if (!providers.empty())
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
    const bool wants_everything = choice.providers.empty() && choice.consumers.empty();
    const bool takes_away = choice.providers.subtractive() && choice.consumers.subtractive();
    if (!wants_everything)
        choice.collect_paths(file_map);
    for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(actions)) {
        if (action->selection_count > 0)
            continue; // held by the pass before, or carried along by another action
        if (wants_everything || (takes_away ? choice.wants_all_of(*action) : choice.wants_any_of(*action))) {
            QSet<ACTION_INTERFACE*> touched;
            action->select(touched);
        }
    }
}
