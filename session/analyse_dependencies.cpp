#include "contracts/actions/action_interface.h"
#include "session/build_session.h"
#include "session/noted_questions.h"

void BUILD_SESSION::analyse_dependencies()
{
    for (auto place = file_map.begin(); place != file_map.end(); ++place) {
        const FILE_ENTRY& file = *place.value();
        for (ACTION_INTERFACE* provider : file.providers) {
            for (ACTION_INTERFACE* consumer : file.consumers)
                if (consumer != provider)
                    consumer->add_dependency(*provider, false);
            // The other writers of a file build on what its main provider wrote.
            if (file.main_provider && file.main_provider != provider)
                provider->add_dependency(*file.main_provider, false);
        }
    }
    NOTED_QUESTIONS noted;
    for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(actions)) {
        action->resolve_dependencies(file_map, rule_cache);
        keep_questions(noted, *action);
    }
}
