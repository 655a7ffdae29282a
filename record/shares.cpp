#include "record/shares.h"

#include <QtCore/QHash>

#include <algorithm>
#include <numeric>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/services/digest.h"
#include "session/file_entry.h"

namespace {

// Actions in sets that grow together. Those that only lie between planned ones come
// behind the plan.
class PIECES
{
public:
    explicit PIECES(const QVector<ACTION_INTERFACE*>& plan)
    {
        for (ACTION_INTERFACE* action : plan)
            number_of(action);
        for (int i = 0; i < m_actions.size(); ++i) // grows meanwhile
            for (ACTION_INTERFACE* dependency : qAsConst(m_actions.at(i)->dependencies))
                join(i, number_of(dependency));
        join_groups(plan);
        join_targets(plan);
    }

    int piece_of(int number)
    {
        int& above = m_above[number];
        while (above != m_above.at(above))
            above = m_above.at(above);
        return above;
    }

private:
    int number_of(ACTION_INTERFACE* action)
    {
        const auto known = m_numbers.constFind(action);
        if (known != m_numbers.cend())
            return *known;
        const int number = m_actions.size();
        m_numbers.insert(action, number);
        m_actions.append(action);
        m_above.append(number);
        return number;
    }

    void join(int a, int b)
    {
        const int first = piece_of(a);
        const int second = piece_of(b);
        m_above[std::max(first, second)] = std::min(first, second);
    }

    void join_groups(const QVector<ACTION_INTERFACE*>& plan)
    {
        QHash<int, int> first_of_group;
        for (int i = 0; i < plan.size(); ++i)
            if (const int group = plan.at(i)->group_id)
                join(i, *first_of_group.insert(group, first_of_group.value(group, i)));
    }

    void join_targets(const QVector<ACTION_INTERFACE*>& plan)
    {
        for (int i = 0; i < plan.size(); ++i)
            for (auto target = plan.at(i)->target_files.cbegin(); target != plan.at(i)->target_files.cend();
                 ++target)
                for (ACTION_INTERFACE* provider : qAsConst(target.key()->providers))
                    if (m_numbers.contains(provider))
                        join(i, m_numbers.value(provider));
    }

    QVector<ACTION_INTERFACE*> m_actions;
    QHash<ACTION_INTERFACE*, int> m_numbers;
    QVector<int> m_above; // by action: one of the same piece with a lower number, or itself
};

// What tells pieces of the same length apart, in each process alike.
quint64 name_of(ACTION_INTERFACE& action)
{
    const quint64 key = notes_of(action).key;
    return key ? key : hash_64(action.display_text(true), hash_64(action.processor->name()));
}

struct PIECE
{
    qint64 length = 0; // milliseconds
    quint64 name = 0;
    int number = 0;
};

QVector<qint64> lengths_of(const QVector<ACTION_INTERFACE*>& plan,
                           const std::function<qint64(ACTION_INTERFACE&)>& duration_of)
{
    QVector<qint64> lengths(plan.size());
    std::transform(plan.cbegin(), plan.cend(), lengths.begin(),
                   [&](ACTION_INTERFACE* action) { return duration_of(*action); });
    qint64 sum = 0;
    int known = 0;
    for (const qint64 length : qAsConst(lengths))
        if (length >= 0) {
            sum += length + 1; // what took no time that can be measured still counts
            ++known;
        }
    const qint64 average = known ? sum / known : 1;
    for (qint64& length : lengths)
        length = length < 0 ? average : length + 1;
    return lengths;
}

// The pieces of a plan, the longest first.
QVector<PIECE> sorted_pieces(const QVector<ACTION_INTERFACE*>& plan, const QVector<qint64>& lengths,
                             QVector<int>& piece_of_action)
{
    PIECES sets(plan);
    QVector<PIECE> pieces(plan.size());
    for (int i = 0; i < plan.size(); ++i) {
        const int number = sets.piece_of(i);
        piece_of_action[i] = number;
        PIECE& piece = pieces[number];
        const quint64 name = name_of(*plan.at(i));
        piece.name = piece.length > 0 ? std::min(piece.name, name) : name;
        piece.length += lengths.at(i);
        piece.number = number;
    }
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(), [](const PIECE& p) { return p.length <= 0; }),
                 pieces.end());
    std::stable_sort(pieces.begin(), pieces.end(), [](const PIECE& a, const PIECE& b) {
        return a.length != b.length ? a.length > b.length : a.name < b.name;
    });
    return pieces;
}

} // namespace

QVector<int> deal_out(const QVector<ACTION_INTERFACE*>& plan, int shares,
                      const std::function<qint64(ACTION_INTERFACE&)>& duration_of)
{
    QVector<int> piece_of_action(plan.size());
    const QVector<PIECE> pieces = sorted_pieces(plan, lengths_of(plan, duration_of), piece_of_action);
    QVector<qint64> load(shares, 0);
    QVector<int> share_of_piece(plan.size());
    for (const PIECE& piece : pieces) {
        const auto least = std::min_element(load.begin(), load.end());
        *least += piece.length;
        share_of_piece[piece.number] = int(least - load.begin());
    }
    QVector<int> result;
    result.reserve(plan.size());
    for (const int piece : qAsConst(piece_of_action))
        result.append(share_of_piece.at(piece));
    return result;
}
