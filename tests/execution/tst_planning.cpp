// The planner against the plain procedure, element by element, and the pieces
// that it is made of.

#include <QtTest/QtTest>

#include <memory>
#include <random>

#include "execution/duration_text.h"
#include "execution/order_by_level.h"
#include "execution/place_groups.h"
#include "execution/planned_actions.h"
#include "execution/raise_levels.h"
#include "execution/sequence.h"
#include "tests/execution/plain_plan.h"
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

    // Both plans as numbers; the closures in one order, as that is free but
    // decides the levels of actions that depend on each other.
    void plan(int next_group, QVector<int>& quick, QVector<int>& expected)
    {
        PLANNED_ACTIONS planned(real);
        for (int i = 0; i < real.size(); ++i)
            if (plain[i]->selection_count && plain[i]->all_dependencies.isEmpty())
                for (ACTION_INTERFACE* dependency : real[i]->all_dependencies)
                    plain[i]->all_dependencies.append(plain[real.indexOf(dependency)]);
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

using RANDOM_PLANS =
    ROWS<int, int, int, int, int>; // size, rounds, edges_per_action, percent_backward, groups

} // namespace

class TST_PLANNING : public QObject
{
    Q_OBJECT

private slots:
    void plan_equals_plain_procedure_data()
    {
        const RANDOM_PLANS row;
        row("few actions", 6, 3000, 10, 0, 2);
        row("few actions with cycles", 6, 3000, 13, 40, 3);
        row("many levels", 40, 400, 15, 0, 6);
        row("many groups, consumers first", 60, 300, 8, 100, 14);
        row("cycles and groups", 40, 600, 9, 25, 6);
        row("hardly any dependency", 80, 100, 2, 10, 10);
        row("large", 300, 15, 12, 2, 40);
    }

    void plan_equals_plain_procedure()
    {
        const auto [size, rounds, edges_per_action, percent_backward, groups] = RANDOM_PLANS::values();
        RANDOM random(20);
        int compared = 0;
        for (int round = 0; round < rounds; ++round) {
            TWIN_ACTIONS actions(size);
            for (int edge = 0; edge < size * edges_per_action / 10; ++edge) {
                const int a = below(random, size);
                const int b = below(random, size);
                const bool backward = below(random, 100) < percent_backward;
                actions.depend(backward ? std::min(a, b) : std::max(a, b),
                               backward ? std::max(a, b) : std::min(a, b));
            }
            for (int i = 0; i < size; ++i)
                actions.set_group(i, below(random, 2) ? below(random, groups + 2)
                                                      : 0); // one number is out of range
            // Three passes: levels and closures of the earlier ones stay.
            for (int pass = 0; pass < 3; ++pass) {
                for (int i = 0; i < size; ++i)
                    actions.select(i, pass == 0 ? below(random, 4) > 0 : below(random, 2) > 0);
                QVector<int> quick;
                QVector<int> expected;
                actions.plan(groups + 1, quick, expected);
                if (expected.isEmpty() && !quick.isEmpty())
                    break; // without an end; it is enough that the planner has one
                ++compared;
                QVERIFY2(quick == expected,
                         qPrintable(QStringLiteral("round %1, pass %2").arg(round).arg(pass)));
                for (int i = 0; i < size; ++i)
                    QCOMPARE(actions.real[i]->order_level, actions.plain[i]->order_level);
            }
        }
        QVERIFY2(compared > rounds, qPrintable(QString::number(compared)));
    }

    void closure_leaves_out_the_action_itself()
    {
        TWIN_ACTIONS actions(4); // 0 and 1 depend on each other, 2 on 0 by way of the unselected 3
        actions.depend(0, 1);
        actions.depend(1, 0);
        actions.depend(2, 3);
        actions.depend(3, 0);
        for (const int i : {0, 1, 2})
            actions.select(i, true);
        PLANNED_ACTIONS planned(actions.real);
        const auto names = [&](int i) {
            QList<int> numbers;
            for (ACTION_INTERFACE* d : actions.real[i]->all_dependencies)
                numbers.append(actions.real.indexOf(d));
            std::sort(numbers.begin(), numbers.end());
            return numbers;
        };
        QCOMPARE(names(0), QList<int>({1}));
        QCOMPARE(names(1), QList<int>({0}));
        QCOMPARE(names(2), QList<int>({0, 1, 3}));
        QCOMPARE(names(3), QList<int>()); // not selected, so not worked out
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
