// The planner against the plain procedure, element by element, and the pieces
// that it is made of.

#include <QtTest/QtTest>

#include <memory>
#include <random>

#include "contracts/actions/action_interface.h"
#include "execution/duration_text.h"
#include "execution/order_by_level.h"
#include "execution/place_groups.h"
#include "execution/planned_actions.h"
#include "execution/raise_levels.h"
#include "execution/sequence.h"
#include "tests/execution/plain_plan.h"

namespace {

class IDLE_ACTION : public ACTION_INTERFACE
{
public:
    QString display_text(bool) override { return QString(); }
    void collect_files(QVector<LOGICAL_PATH>&, QVector<ACTION_TARGET>&, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
    }
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }
};

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

} // namespace

class TST_PLANNING : public QObject
{
    Q_OBJECT

private slots:
    void plan_equals_plain_procedure_data();
    void plan_equals_plain_procedure();
    void closure_leaves_out_the_action_itself();
    void order_of_equal_levels();
    void groups_by_hand_data();
    void groups_by_hand();
    void sequence_stands_many_moves_to_one_place();
    void durations_data();
    void durations();
};

void TST_PLANNING::plan_equals_plain_procedure_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("rounds");
    QTest::addColumn<int>("edges_per_action"); // in tenths
    QTest::addColumn<int>("percent_backward"); // edges that may close a cycle
    QTest::addColumn<int>("groups");
    QTest::newRow("few actions") << 6 << 3000 << 10 << 0 << 2;
    QTest::newRow("few actions with cycles") << 6 << 3000 << 13 << 40 << 3;
    QTest::newRow("many levels") << 40 << 400 << 15 << 0 << 6;
    QTest::newRow("many groups, consumers first") << 60 << 300 << 8 << 100 << 14;
    QTest::newRow("cycles and groups") << 40 << 600 << 9 << 25 << 6;
    QTest::newRow("hardly any dependency") << 80 << 100 << 2 << 10 << 10;
    QTest::newRow("large") << 300 << 15 << 12 << 2 << 40;
}

void TST_PLANNING::plan_equals_plain_procedure()
{
    QFETCH(int, size);
    QFETCH(int, rounds);
    QFETCH(int, edges_per_action);
    QFETCH(int, percent_backward);
    QFETCH(int, groups);
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
            actions.set_group(i,
                              below(random, 2) ? below(random, groups + 2) : 0); // one number is out of range
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
            QVERIFY2(quick == expected, qPrintable(QStringLiteral("round %1, pass %2").arg(round).arg(pass)));
            for (int i = 0; i < size; ++i)
                QCOMPARE(actions.real[i]->order_level, actions.plain[i]->order_level);
        }
    }
    QVERIFY2(compared > rounds, qPrintable(QString::number(compared)));
}

void TST_PLANNING::closure_leaves_out_the_action_itself()
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

void TST_PLANNING::order_of_equal_levels()
{
    RANDOM random(7);
    for (int round = 0; round < 2000; ++round) {
        FW::VECTOR<int> levels(std::size_t(below(random, 60)));
        const int distinct = 1 + below(random, 12);
        for (int& level : levels)
            level = below(random, distinct) * 3 - 4;
        FW::VECTOR<int> expected(levels.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = int(i);
        for (std::size_t i = 0; i < expected.size(); ++i)
            for (std::size_t j = i + 1; j < expected.size(); ++j)
                if (levels[std::size_t(expected[i])] > levels[std::size_t(expected[j])])
                    std::swap(expected[i], expected[j]);
        QCOMPARE(order_by_level(levels), expected);
    }
    // An element is carried past its equals.
    QCOMPARE(order_by_level({1, 1, 0}), FW::VECTOR<int>({2, 1, 0}));
}

void TST_PLANNING::groups_by_hand_data()
{
    QTest::addColumn<QVector<int>>("groups");
    QTest::addColumn<QVector<int>>("dependency"); // of each action, -1 for none
    QTest::addColumn<QVector<int>>("expected");
    QTest::newRow("members come together, others keep their order")
        << QVector<int>{0, 0, 1, 0, 0, 1, 0} << QVector<int>(7, -1) << QVector<int>{0, 1, 2, 5, 3, 4, 6};
    QTest::newRow("a dependency right ahead holds a member")
        << QVector<int>{1, 0, 1} << QVector<int>{-1, -1, 1} << QVector<int>{1, 0, 2};
    QTest::newRow("held from both sides")
        << QVector<int>{1, 0, 0, 1} << QVector<int>{-1, 0, 1, 2} << QVector<int>{0, 1, 2, 3};
    QTest::newRow("a later group splits an earlier one")
        << QVector<int>{2, 1, 1, 2} << QVector<int>{-1, -1, -1, 1} << QVector<int>{1, 0, 3, 2};
    QTest::newRow("a group of one") << QVector<int>{0, 1, 0} << QVector<int>(3, -1) << QVector<int>{0, 1, 2};
}

void TST_PLANNING::groups_by_hand()
{
    QFETCH(QVector<int>, groups);
    QFETCH(QVector<int>, dependency);
    QFETCH(QVector<int>, expected);
    TWIN_ACTIONS actions(groups.size());
    for (int i = 0; i < groups.size(); ++i) {
        actions.select(i, true);
        actions.set_group(i, groups[i]);
        if (dependency[i] >= 0)
            actions.depend(i, dependency[i]);
    }
    QVector<int> quick;
    QVector<int> plain;
    actions.plan(10, quick, plain);
    QCOMPARE(quick, expected);
    QCOMPARE(plain, expected);
}

void TST_PLANNING::sequence_stands_many_moves_to_one_place()
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
        expected.insert(to_front ? expected.begin() : std::find(expected.begin(), expected.end(), other) + 1,
                        element);
        sequence.move_behind(element, other);
    }
    QCOMPARE(sequence.to_vector(), expected);
    for (std::size_t i = 1; i < expected.size(); ++i)
        QVERIFY(sequence.comes_before(expected[i - 1], expected[i]));
}

void TST_PLANNING::durations_data()
{
    QTest::addColumn<int>("milliseconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << 0 << "0 msec(s)";
    QTest::newRow("last millisecond") << 999 << "999 msec(s)";
    QTest::newRow("first second") << 1000 << "1 sec(s)";
    QTest::newRow("last second") << 59999 << "59 sec(s)";
    QTest::newRow("first minute") << 60000 << "1 min(s)";
    QTest::newRow("last minute") << 3599999 << "59 min(s)";
    QTest::newRow("an hour") << 3600000 << "1 hr(s) %2 min(s)";
    QTest::newRow("an hour and a half") << 5400000 << QString(29, ' ') + "1 hr(s) %2 min(s)";
    QTest::newRow("eleven hours and three minutes") << 39780000 << " 11 hr(s) %2 min(s)";
}

void TST_PLANNING::durations()
{
    QFETCH(int, milliseconds);
    QFETCH(QString, text);
    QCOMPARE(duration_text(milliseconds), text);
}

QTEST_GUILESS_MAIN(TST_PLANNING)
#include "tst_planning.moc"
