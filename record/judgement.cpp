#include "record/judgement.h"

#include "contracts/actions/action_interface.h"
#include "session/file_entry.h"

// Carries "must run" on from the actions that are out of date by themselves.
class JUDGEMENT::SPREAD
{
public:
    SPREAD(const QVector<ACTION_INTERFACE*>& plan, QVector<VERDICT>& verdicts) : m_verdicts(verdicts)
    {
        m_places.reserve(plan.size());
        for (int place = 0; place < plan.size(); ++place)
            m_places.insert(plan.at(place), place);
        for (ACTION_INTERFACE* action : plan)
            note_dependencies(action);
    }

    void run(const QVector<ACTION_INTERFACE*>& plan)
    {
        for (int place = 0; place < plan.size(); ++place)
            if (m_verdicts.at(place).reason != RUN_REASON::NONE)
                m_waiting.append(STEP{plan.at(place), plan.at(place)});
        while (!m_waiting.isEmpty()) {
            const STEP step = m_waiting.takeLast();
            for (ACTION_INTERFACE* dependent : m_dependents.value(step.action))
                reach(dependent, step.cause, RUN_REASON::DEPENDENCY_RUNS);
            if (m_places.contains(step.action))
                for (auto target = step.action->target_files.cbegin();
                     target != step.action->target_files.cend(); ++target)
                    for (ACTION_INTERFACE* other : qAsConst(target.key()->providers))
                        if (m_places.contains(other))
                            reach(other, step.action, RUN_REASON::WRITES_WITH_ANOTHER);
        }
    }

private:
    struct STEP
    {
        ACTION_INTERFACE* action;
        ACTION_INTERFACE* cause; // an action that runs: itself, or the one below that it passes on
    };

    // Of an action and of all that it leads to and is not planned: those pass on.
    void note_dependencies(ACTION_INTERFACE* first)
    {
        QVector<ACTION_INTERFACE*> waiting{first};
        while (!waiting.isEmpty()) {
            ACTION_INTERFACE* const action = waiting.takeLast();
            for (ACTION_INTERFACE* dependency : qAsConst(action->dependencies)) {
                m_dependents[dependency].append(action);
                if (!m_places.contains(dependency) && !m_passed.contains(dependency)) {
                    m_passed.insert(dependency, false);
                    waiting.append(dependency);
                }
            }
        }
    }

    void reach(ACTION_INTERFACE* action, ACTION_INTERFACE* cause, RUN_REASON reason)
    {
        const int place = m_places.value(action, -1);
        if (place < 0) {
            bool& is_passed = m_passed[action];
            if (!is_passed)
                m_waiting.append(STEP{action, cause});
            is_passed = true;
            return;
        }
        VERDICT& verdict = m_verdicts[place];
        if (verdict.reason != RUN_REASON::NONE)
            return;
        verdict.reason = reason;
        verdict.other = cause;
        m_waiting.append(STEP{action, action});
    }

    QVector<VERDICT>& m_verdicts;
    QHash<ACTION_INTERFACE*, int> m_places;
    QHash<ACTION_INTERFACE*, QVector<ACTION_INTERFACE*>> m_dependents;
    QHash<ACTION_INTERFACE*, bool> m_passed; // not planned; true once something below runs
    QVector<STEP> m_waiting;
};

JUDGEMENT::JUDGEMENT(const QVector<ACTION_INTERFACE*>& plan, ACTION_JUDGE& judge)
{
    m_verdicts.reserve(plan.size());
    int running = 0;
    for (ACTION_INTERFACE* action : plan) {
        m_verdicts.append(judge.judge(*action));
        running += m_verdicts.last().reason != RUN_REASON::NONE;
    }
    if (running > 0 && running < plan.size())
        SPREAD(plan, m_verdicts).run(plan);
}
