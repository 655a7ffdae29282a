// The planner against the plain procedure, element by element, and the pieces
// that it is made of.

#include <QtTest/QtTest>

#include <memory>
#include <numeric>
#include <random>

#include "execution/cycle_text.h"
#include "execution/duration_text.h"
#include "execution/order_by_level.h"
#include "execution/place_groups.h"
#include "execution/planned_actions.h"
#include "execution/raise_levels.h"
#include "execution/sequence.h"
#include "tests/execution/plain_plan.h"
#include "tests/session/step_scene.h"
#include "tests/support/idle_action.h"
#include "tests/support/rows.h"

namespace {

// The same actions twice, for the planner and for the plain procedure.
class TWIN_ACTIONS
{
public:
    explicit TWIN_ACTIONS(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_real.push_back(std::make_unique<IDLE_ACTION>());
            m_plain.push_back(std::make_unique<PLAIN_ACTION>());
            m_plain.back()->number = i;
            real.append(m_real.back().get());
            plain.append(m_plain.back().get());
        }
    }

    void depend(int action, int dependency)
    {
        if (action == dependency || plain[action]->dependencies.contains(plain[dependency]))
            return;
        real[action]->add_dependency(*real[dependency], false);
        plain[action]->dependencies.append(plain[dependency]);
    }

    void select(int action, bool is_selected)
    {
        real[action]->selection_count = is_selected;
        plain[action]->selection_count = is_selected;
    }

    void set_group(int action, int group)
    {
        real[action]->group_id = group;
        plain[action]->group_id = group;
    }

    void set_level(int action, int level)
    {
        real[action]->order_level = level;
        plain[action]->order_level = level;
    }

    // All that the links lead to.
    QVector<int> reached_from(int action) const
    {
        QVector<int> reached{action};
        for (int i = 0; i < reached.size(); ++i)
            for (const PLAIN_ACTION* dependency : qAsConst(plain[reached[i]]->dependencies))
                if (!reached.contains(dependency->number))
                    reached.append(dependency->number);
        reached.removeFirst();
        return sorted(reached);
    }

    QVector<int> closure(int action) const
    {
        QVector<int> numbers;
        for (ACTION_INTERFACE* dependency : qAsConst(real[action]->all_dependencies))
            numbers.append(real.indexOf(dependency));
        return numbers;
    }

    static QVector<int> sorted(QVector<int> numbers)
    {
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    }

    // Both plans as numbers; the closures in one order, as that is free but
    // decides the levels of actions that depend on each other.
    void plan(int next_group, QVector<int>& quick, QVector<int>& expected)
    {
        PLANNED_ACTIONS planned(real);
        for (int i = 0; i < real.size(); ++i) {
            PLAIN_ACTION& action = *plain[i];
            const QVector<int> all = closure(i);
            if (action.selection_count && action.all_dependencies.isEmpty()) {
                QCOMPARE(sorted(all), reached_from(i));
                for (const int dependency : all)
                    action.all_dependencies.append(plain[dependency]);
            }
            QCOMPARE(all.size(), action.all_dependencies.size()); // kept as it was
        }
        raise_levels(planned.graph);
        planned.store_levels();
        FW::VECTOR<int> levels = planned.graph.level;
        levels.resize(std::size_t(planned.graph.selected()));
        FW::VECTOR<int> order = order_by_level(levels);
        place_groups(order, planned.graph, next_group);
        for (ACTION_INTERFACE* action : planned.in_order(order))
            quick.append(real.indexOf(action));
        expected = plain_plan(plain, next_group);
    }

    QVector<ACTION_INTERFACE*> real;
    QVector<PLAIN_ACTION*> plain;

private:
    FW::VECTOR<std::unique_ptr<IDLE_ACTION>> m_real;
    FW::VECTOR<std::unique_ptr<PLAIN_ACTION>> m_plain;
};

using RANDOM = std::mt19937;

int below(RANDOM& random, int end)
{
    return end > 0 ? int(random() % unsigned(end)) : 0;
}

struct SHAPE // of random actions
{
    int size;
    int edges_per_ten;
    int percent_backward;
    int groups = 0;
    int highest_level = 0; // of those that they come with
    int knot = 0;          // so many of the first ones depend on each other in a circle
    bool grows = false;    // gets further dependencies between the passes
};

TWIN_ACTIONS* random_actions(RANDOM& random, const SHAPE& shape)
{
    TWIN_ACTIONS* const actions = new TWIN_ACTIONS(shape.size);
    QVector<int> order(shape.size); // so that a knot stands anywhere in the order
    std::iota(order.begin(), order.end(), 0);
    if (shape.knot > 0)
        std::shuffle(order.begin(), order.end(), random);
    for (int i = 0; i < shape.knot; ++i)
        actions->depend(order[i], order[(i + 1) % shape.knot]);
    for (int edge = 0; edge < shape.size * shape.edges_per_ten / 10; ++edge) {
        const int a = below(random, shape.size);
        const int b = below(random, shape.size);
        const bool backward = below(random, 100) < shape.percent_backward;
        actions->depend(order[backward ? std::min(a, b) : std::max(a, b)],
                        order[backward ? std::max(a, b) : std::min(a, b)]);
    }
    for (int i = 0; i < shape.size; ++i) {
        // One number is out of range.
        actions->set_group(i, below(random, 2) ? below(random, shape.groups + 2) : 0);
        actions->set_level(i, below(random, shape.highest_level + 1));
    }
    return actions;
}

// An action's place is above all that it depends on and that does not depend on it.
QString broken_rule(const TWIN_ACTIONS& actions)
{
    for (int i = 0; i < actions.real.size(); ++i)
        for (const int d : actions.real[i]->selection_count ? actions.closure(i) : QVector<int>())
            if (actions.real[i]->order_level <= actions.real[d]->order_level &&
                !actions.closure(d).contains(i) && !actions.reached_from(d).contains(i))
                return QString("%1 is not above %2").arg(i).arg(d);
    return QString();
}

} // namespace

Q_DECLARE_METATYPE(SHAPE)

namespace {

using RANDOM_PLANS = ROWS<int, SHAPE>; // rounds

} // namespace

class TST_PLANNING : public QObject
{
    Q_OBJECT

private slots:
    void plan_equals_plain_procedure_data()
    {
        const RANDOM_PLANS row;
        row("few actions", 3000, {6, 10, 0, 2});
        row("few actions with cycles", 6000, {6, 13, 40, 3});
        row("levels to begin with", 6000, {8, 12, 30, 0, 30});
        row("dependencies between passes", 6000, {8, 8, 30, 2, 5, 0, true});
        row("no cycles, dependencies between passes", 2000, {12, 8, 0, 2, 0, 0, true});
        row("many levels", 400, {40, 15, 0, 6});
        row("many groups, consumers first", 300, {60, 8, 100, 14});
        row("cycles and groups", 600, {40, 9, 25, 6});
        row("one knot among many", 1500, {40, 13, 0, 2, 0, 2});
        row("one large knot among many", 600, {40, 15, 0, 2, 60, 5});
        row("hardly any dependency", 100, {80, 2, 10, 10});
        row("large", 15, {300, 12, 2, 40});
    }

    void plan_equals_plain_procedure()
    {
        const auto [rounds, shape] = RANDOM_PLANS::values();
        RANDOM random(20);
        int compared = 0;
        for (int round = 0; round < rounds; ++round) {
            const std::unique_ptr<TWIN_ACTIONS> actions(random_actions(random, shape));
            // Three passes: levels and closures of the earlier ones stay.
            for (int pass = 0; pass < 3; ++pass) {
                for (int i = 0; i < shape.size; ++i)
                    actions->select(i, pass == 0 ? below(random, 4) > 0 : below(random, 2) > 0);
                QVector<int> quick;
                QVector<int> expected;
                actions->plan(shape.groups + 1, quick, expected);
                const QString what = QStringLiteral("round %1, pass %2 ").arg(round).arg(pass);
                if (expected.isEmpty() && !quick.isEmpty()) { // without an end
                    QVERIFY2(broken_rule(*actions).isEmpty(), qPrintable(what + broken_rule(*actions)));
                } else {
                    ++compared;
                    QVERIFY2(quick == expected, qPrintable(what));
                    for (int i = 0; i < shape.size; ++i)
                        QCOMPARE(actions->real[i]->order_level, actions->plain[i]->order_level);
                }
                for (int i = 0; i < shape.size; ++i)
                    actions->set_level(i, actions->real[i]->order_level);
                for (int i = 0; shape.grows && i < 3; ++i) {
                    const int a = below(random, shape.size);
                    const int b = below(random, shape.size);
                    const bool is_free = shape.percent_backward > 0;
                    actions->depend(is_free ? a : std::max(a, b), is_free ? b : std::min(a, b));
                }
            }
        }
        QVERIFY2(compared > rounds, qPrintable(QString::number(compared)));
    }

    void sequence_stands_many_moves_to_one_place()
    {
        FW::VECTOR<int> expected(3000);
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = int(i);
        SEQUENCE sequence(expected);
        RANDOM random(3);
        for (int move = 0; move < 6000; ++move) {
            const int element = 1 + below(random, 2999);
            const bool to_front = move % 3 == 0;
            const int other = to_front ? sequence.END : move % 7 == 0 ? below(random, 3000) : 0;
            if (other == element)
                continue;
            expected.erase(std::find(expected.begin(), expected.end(), element));
            expected.insert(to_front ? expected.begin()
                                     : std::find(expected.begin(), expected.end(), other) + 1,
                            element);
            sequence.move_behind(element, other);
        }
        QCOMPARE(sequence.to_vector(), expected);
        for (std::size_t i = 1; i < expected.size(); ++i)
            QVERIFY(sequence.comes_before(expected[i - 1], expected[i]));
    }

    void cycles_in_words()
    {
        STEP_PROCESSOR processor("p");
        const auto delete_actions = qScopeGuard([&] { qDeleteAll(processor.actions); }); // after the plan
        for (int i = 0; i < 30; ++i)
            processor.add(QString::number(i))->processor = &processor;
        QCOMPARE(cycle_text(processor.actions.mid(0, 2)),
                 QString("These actions wait for each other: p / 0 -> p / 1 -> p / 0"));
        QCOMPARE(cycle_text(processor.actions.mid(0, 9)).count("p /"), 10);
        QVERIFY(cycle_text(processor.actions).endsWith(" p / 5 -> (22 more) -> p / 28 -> p / 29 -> p / 0"));

        for (int i = 0; i < 30; ++i) { // a shortest circle, unselected ones in it too
            processor.actions[i]->selection_count = i % 7 != 4;
            processor.actions[i]->add_dependency(*processor.actions[(i + 1) % 30], false);
            if (i == 5)
                processor.actions[i]->add_dependency(*processor.actions[0], false);
        }
        PLANNED_ACTIONS planned(processor.actions);
        const FW::VECTOR<int> cycle = raise_levels(planned.graph);
        QCOMPARE(cycle_text(planned.in_order(cycle)), cycle_text(processor.actions.mid(0, 6)));
    }

    void durations()
    {
        const std::pair<int, const char*> rows[] = {{0, "0 msec(s)"},
                                                    {999, "999 msec(s)"},
                                                    {1000, "1 sec(s)"},
                                                    {59999, "59 sec(s)"},
                                                    {60000, "1 min(s)"},
                                                    {3599999, "59 min(s)"},
                                                    {3600000, "1 hr(s) %2 min(s)"},
                                                    {39780000, " 11 hr(s) %2 min(s)"}};
        for (const auto& [milliseconds, text] : rows)
            QCOMPARE(duration_text(milliseconds), QString(text));
        QCOMPARE(duration_text(5400000), QString(29, ' ') + "1 hr(s) %2 min(s)");
    }
};

QTEST_GUILESS_MAIN(TST_PLANNING)
#include "tst_planning.moc"
