// The planner against the plain procedure, and the pieces that it is made of.

#include <QtTest/QtTest>

#include <numeric>
#include <random>

#include "execution/duration_text.h"
#include "execution/sequence.h"
#include "tests/execution/plain_plan.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"

namespace {

using RANDOM = std::mt19937;

int below(RANDOM& random, int end)
{
    return int(random() % unsigned(end));
}

int s_next_group = 1; // the program never takes a number back

struct SHAPE // of random actions, as shapes.cases tells
{
    explicit SHAPE(QString text)
    {
        QTextStream(&text) >> rounds >> size >> edges_per_ten >> percent_backward >> groups >>
            highest_level >> knot >> grows;
    }
    int rounds, size, edges_per_ten, percent_backward, groups, highest_level, knot, grows;
};

class RANDOM_ACTIONS
{
public:
    RANDOM_ACTIONS(RANDOM& random, const SHAPE& shape) : m_random(random), m_shape(shape), m_order(shape.size)
    {
        std::iota(m_order.begin(), m_order.end(), 0);
        if (shape.knot > 0) // which stands anywhere in the order
            std::shuffle(m_order.begin(), m_order.end(), random);
        for (int i = 0; i < shape.size; ++i) {
            all.append(new STEP_ACTION);
            all[i]->processor = &m_processor;
            all[i]->group_id =
                below(random, 2) * below(random, shape.groups + 2); // one number is out of range
            all[i]->order_level = below(random, shape.highest_level + 1);
        }
        for (int i = 0; i < shape.knot; ++i)
            depend(m_order[i], m_order[(i + 1) % shape.knot]);
        for (int edge = 0; edge < shape.size * shape.edges_per_ten / 10; ++edge)
            add_edge();
    }
    ~RANDOM_ACTIONS() { qDeleteAll(all); }

    void choose(int of_four)
    {
        for (ACTION_INTERFACE* action : qAsConst(all))
            action->selection_count = below(m_random, 4) < of_four;
    }

    // Where there are no cycles, one also forgets what it depends on, but not what that led to.
    void grow()
    {
        for (int i = 0; m_shape.grows && i < 3; ++i)
            add_edge();
        if (m_shape.grows && m_shape.percent_backward == 0)
            all[below(m_random, m_shape.size)]->dependencies.clear();
    }

    QVector<int> numbers(const QVector<ACTION_INTERFACE*>& actions) const
    {
        QVector<int> result;
        for (ACTION_INTERFACE* action : actions)
            result.append(all.indexOf(action));
        return result;
    }

    // All that the links lead to from there.
    QSet<ACTION_INTERFACE*> reached_from(int action) const
    {
        QVector<ACTION_INTERFACE*> reached = all[action]->dependencies;
        for (int i = 0; i < reached.size(); ++i)
            for (ACTION_INTERFACE* dependency : qAsConst(reached[i]->dependencies))
                if (!reached.contains(dependency))
                    reached.append(dependency);
        reached.removeAll(all[action]);
        return {reached.begin(), reached.end()};
    }

    QVector<ACTION_INTERFACE*> all;

private:
    void depend(int action, int dependency) { all[action]->add_dependency(*all[dependency], false); }

    void add_edge()
    {
        const int a = below(m_random, m_shape.size), b = below(m_random, m_shape.size);
        const bool backward = below(m_random, 100) < m_shape.percent_backward;
        depend(m_order[backward ? qMin(a, b) : qMax(a, b)], m_order[backward ? qMax(a, b) : qMin(a, b)]);
    }

    RANDOM& m_random;
    const SHAPE m_shape;
    QVector<int> m_order;
    STEP_PROCESSOR m_processor;
};

// The actions for the plain procedure, with the levels from before; with the closures
// that the planner has found, as their order is free but decides the levels of actions
// that depend on each other.
QVector<int> expected_plan(const RANDOM_ACTIONS& actions, QVector<int>& levels)
{
    QVector<PLAIN_ACTION> copies(levels.size());
    QVector<PLAIN_ACTION*> plain;
    for (int i = 0; i < copies.size(); ++i) {
        const ACTION_INTERFACE& action = *actions.all[i];
        copies[i] = {i, action.selection_count, levels[i], action.group_id, {}, {}};
        for (const int dependency : actions.numbers(action.all_dependencies))
            copies[i].all_dependencies.append(&copies[dependency]);
        plain.append(&copies[i]);
    }
    const QVector<int> plan = plain_plan(plain, s_next_group);
    for (int i = 0; i < copies.size(); ++i)
        levels[i] = copies[i].order_level;
    return plan;
}

// An action's place is above all that it depends on and that does not depend on it.
bool keeps_rule(const RANDOM_ACTIONS& actions)
{
    for (int i = 0; i < actions.all.size(); ++i)
        for (const int d : actions.numbers(actions.all[i]->all_dependencies))
            if (actions.all[i]->selection_count &&
                actions.all[i]->order_level <= actions.all[d]->order_level &&
                !actions.all[d]->all_dependencies.contains(actions.all[i]) &&
                !actions.reached_from(d).contains(actions.all[i]))
                return false;
    return true;
}

} // namespace

class TST_PLANNING : public QObject
{
    Q_OBJECT

private slots:
    void plan_equals_plain_procedure_data() { add_cases("execution/shapes.cases", {"shape"}); }
    void plan_equals_plain_procedure()
    {
        const SHAPE shape(current_case()["shape"]);
        while (s_next_group <= shape.groups)
            s_next_group = STEP_PROCESSOR::new_action_group() + 1;
        STEP_SCENE scene;
        RANDOM random(20);
        int compared = 0;
        for (int round = 0; round < shape.rounds; ++round) {
            RANDOM_ACTIONS actions(random, shape);
            scene.session->actions = actions.all;
            // Three passes: levels and closures of the earlier ones stay.
            for (int pass = 0; pass < 3; ++pass, actions.grow()) {
                actions.choose(pass == 0 ? 3 : 2);
                QVector<int> levels;
                QVector<QVector<ACTION_INTERFACE*>> closures;
                for (const ACTION_INTERFACE* action : qAsConst(actions.all)) {
                    levels.append(action->order_level);
                    closures.append(action->all_dependencies);
                }
                const int highest = *std::max_element(levels.begin(), levels.end());
                scene.session->plan_build();
                const QVector<int> plan = actions.numbers(scene.session->selected_actions);
                const QVector<int> expected = expected_plan(actions, levels);
                for (int i = 0; i < shape.size; ++i) {
                    const ACTION_INTERFACE& action = *actions.all[i];
                    if (!closures[i].isEmpty() || !action.selection_count)
                        QCOMPARE(action.all_dependencies, closures[i]);
                    else
                        QCOMPARE(QSet<ACTION_INTERFACE*>(action.all_dependencies.begin(),
                                                         action.all_dependencies.end()),
                                 actions.reached_from(i));
                    if (!expected.isEmpty())
                        QCOMPARE(action.order_level, levels[i]);
                    QVERIFY(!expected.isEmpty() || action.order_level <= highest + shape.size);
                }
                if (expected.isEmpty() && !plan.isEmpty()) // without an end
                    QVERIFY(keeps_rule(actions));
                else
                    QCOMPARE(plan, expected);
                compared += !expected.isEmpty();
            }
        }
        QVERIFY2(compared > shape.rounds, qPrintable(QString::number(compared)));
    }

    void sequence_stands_many_moves_to_one_place()
    {
        FW::VECTOR<int> expected(3000);
        std::iota(expected.begin(), expected.end(), 0);
        SEQUENCE sequence(expected);
        RANDOM random(3);
        for (int move = 0; move < 6000; ++move) {
            const int element = 1 + below(random, 2999);
            const int other = move % 3 == 0 ? sequence.END : move % 7 == 0 ? below(random, element) : 0;
            expected.erase(std::find(expected.begin(), expected.end(), element));
            const auto place = std::find(expected.begin(), expected.end(), other);
            expected.insert(other == sequence.END ? expected.begin() : place + 1, element);
            sequence.move_behind(element, other);
        }
        QCOMPARE(sequence.to_vector(), expected);
        QVERIFY(std::is_sorted(expected.begin(), expected.end(),
                               [&](int a, int b) { return sequence.comes_before(a, b); }));
    }

    void durations()
    {
        QStringList texts;
        for (const int milliseconds : {0, 999, 1000, 59999, 60000, 3599999, 3600000, 39780000})
            texts.append(duration_text(milliseconds));
        QCOMPARE(texts.join('|'), QString("0 msec(s)|999 msec(s)|1 sec(s)|59 sec(s)|1 min(s)|59 min(s)|"
                                          "1 hr(s) %2 min(s)| 11 hr(s) %2 min(s)"));
        QCOMPARE(duration_text(5400000), QString(29, ' ') + "1 hr(s) %2 min(s)");
    }
};

QTEST_MAIN(TST_PLANNING)
#include "tst_planning.moc"
