#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <algorithm>

#include "contracts/actions/action_notes.h"
#include "record/shares.h"
#include "session/file_entry.h"
#include "tests/session/step_scene.h"
#include "tests/support/watched_test.h"

namespace {

/// A random plan with actions that are not in it, and what ties them together.
class RANDOM_PLAN
{
public:
    explicit RANDOM_PLAN(quint32 seed) : m_random(seed)
    {
        for (int number = 0; number < m_count; ++number) {
            m_actions.append(QSharedPointer<STEP_ACTION>::create(QString::number(number)));
            STEP_ACTION& action = *m_actions.last();
            action.processor = &m_processor;
            action.group_id = is_one_of(8) ? 1 + m_random.bounded(3) : 0;
            notes_of(action).key = is_one_of(8) ? 0 : m_random.generate64();
            m_durations.append(m_random.bounded(1000));
            if (!is_one_of(4))
                plan.append(&action);
            for (int other = 0; other < number; ++other)
                if (is_one_of(m_rarity))
                    action.add_dependency(*m_actions[other], false);
        }
        for (FILE_ENTRY& file : m_files)
            for (const auto& action : qAsConst(m_actions))
                if (is_one_of(m_rarity))
                    file.providers.append(action.data()), action->target_files.insert(&file, {});
    }

    qint64 duration_of(int place) const { return m_durations.at(number_of(*plan.at(place))); }

    // The planned actions that have to be in one share with this one, by walking on from
    // each to all that it is tied to.
    QSet<ACTION_INTERFACE*> piece_of(ACTION_INTERFACE* action) const
    {
        QSet<ACTION_INTERFACE*> piece{action};
        for (int size = 0; size != piece.size();) {
            size = piece.size();
            for (ACTION_INTERFACE* one : QSet<ACTION_INTERFACE*>(piece))
                for (const auto& other : m_actions)
                    if (are_tied(*one, *other) || are_tied(*other, *one))
                        piece.insert(other.data());
        }
        return piece.intersect(QSet<ACTION_INTERFACE*>(plan.begin(), plan.end()));
    }

    QVector<ACTION_INTERFACE*> plan;

private:
    static int number_of(const ACTION_INTERFACE& action)
    {
        return static_cast<const STEP_ACTION&>(action).name.toInt();
    }
    bool is_one_of(int cases) { return m_random.bounded(cases) == 0; }
    bool is_reached(ACTION_INTERFACE& action) const // by a planned one
    {
        return std::any_of(plan.begin(), plan.end(), [&](ACTION_INTERFACE* planned) {
            return planned == &action || depends(*planned, action);
        });
    }

    static bool depends(const ACTION_INTERFACE& action, const ACTION_INTERFACE& other)
    {
        return std::any_of(action.dependencies.begin(), action.dependencies.end(),
                           [&](ACTION_INTERFACE* dependency) {
                               return dependency == &other || depends(*dependency, other);
                           });
    }

    bool are_tied(ACTION_INTERFACE& one, ACTION_INTERFACE& other) const
    {
        if (!is_reached(one) || !is_reached(other))
            return false;
        const bool is_planned = plan.contains(&one), is_other_planned = plan.contains(&other);
        const QList<FILE_ENTRY*> files = one.target_files.keys();
        return one.dependencies.contains(&other) ||
               (is_planned && is_other_planned && one.group_id && one.group_id == other.group_id) ||
               ((is_planned || is_other_planned) &&
                std::any_of(files.begin(), files.end(),
                            [&](FILE_ENTRY* file) { return other.target_files.contains(file); }));
    }

    QRandomGenerator m_random;
    const int m_count = 1 + m_random.bounded(25);
    const int m_rarity = 20 + m_random.bounded(60);
    STEP_PROCESSOR m_processor;
    QVector<QSharedPointer<STEP_ACTION>> m_actions;
    FILE_ENTRY m_files[5];
    QVector<qint64> m_durations;
};

} // namespace

/// How plans are dealt out to processes that know nothing of each other.
class TST_SHARES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void pieces_stay_whole()
    {
        for (quint32 seed = 0; seed < 500; ++seed) {
            const RANDOM_PLAN one(seed), same(seed); // as another process has it
            const int shares = 1 + int(seed % 6);
            const auto dealt_out = [&](const RANDOM_PLAN& of) {
                return deal_out(of.plan, shares, [&](ACTION_INTERFACE& action) {
                    const int place = of.plan.indexOf(&action);
                    return seed % 2 ? of.duration_of(place) : place % 3 ? place : -1;
                });
            };
            const QVector<int> dealt = dealt_out(one);
            QCOMPARE(dealt.size(), one.plan.size());
            QCOMPARE(dealt_out(same), dealt);
            QVector<qint64> loads(shares);
            qint64 longest = 0;
            for (int place = 0; place < dealt.size(); ++place) {
                qint64 length = 0;
                for (ACTION_INTERFACE* other : one.piece_of(one.plan[place])) {
                    QCOMPARE(dealt[one.plan.indexOf(other)], dealt[place]);
                    length += one.duration_of(one.plan.indexOf(other)) + 1;
                }
                longest = qMax(longest, length);
                loads[dealt[place]] += one.duration_of(place) + 1;
            }
            const auto [least, most] = std::minmax_element(loads.begin(), loads.end());
            QVERIFY(seed % 2 == 0 || *most - *least <= longest); // nobody could take over a piece
        }
    }
};

QTEST_GUILESS_MAIN(TST_SHARES)
#include "tst_shares.moc"
