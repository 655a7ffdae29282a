// What the plugins asked during start-up is kept with those whose work depends on it.

#include "contracts/actions/action_interface.h"
#include "session/build_session.h"
#include "session/noted_questions.h"

namespace {

ASKED_QUESTIONS& questions_of(ACTION_INTERFACE& action)
{
    std::unique_ptr<ASKED_QUESTIONS>& asked = notes_of(action).asked;
    if (!asked)
        asked = std::make_unique<ASKED_QUESTIONS>();
    return *asked;
}

} // namespace

void BUILD_SESSION::keep_questions(NOTED_QUESTIONS& noted, ACTION_INTERFACE& action)
{
    if (noted.is_empty())
        return;
    ASKED_QUESTIONS& asked = questions_of(action);
    asked.add(noted.take());
    asked.settle();
}

void BUILD_SESSION::keep_questions(NOTED_QUESTIONS& noted, PROCESSOR_INTERFACE& processor)
{
    if (!noted.is_empty())
        processor_questions[&processor].add(noted.take());
}

void BUILD_SESSION::deal_questions(PROCESSOR_INTERFACE& processor,
                                   const QVector<ACTION_INTERFACE*>& collected)
{
    const ASKED_QUESTIONS asked = processor_questions.take(&processor);
    if (asked.is_empty())
        return;
    ASKED_QUESTIONS common;
    common.tables = asked.tables;
    common.asset_graph = asked.asset_graph;
    for (const RULE_QUESTION& question : asked.rules) {
        const FILE_ENTRY* const file = file_lookup.value(question.path);
        if (!file) {
            common.add(question);
            continue;
        }
        for (const QVector<ACTION_INTERFACE*>* list : {&file->consumers, &file->providers})
            for (ACTION_INTERFACE* action : *list)
                if (action->processor == &processor)
                    questions_of(*action).add(question);
    }
    common.settle();
    if (!common.is_empty())
        processor_questions.insert(&processor, common);
    // An action that names another one as its maker still rests on what this one knew.
    for (ACTION_INTERFACE* action : collected)
        if (action->processor != &processor)
            questions_of(*action).add(asked);
}
