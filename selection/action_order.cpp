#include "selection/action_order.h"

#include <algorithm>
#include <functional>

QList<ACTION_INTERFACE*> in_order_of(const QVector<ACTION_INTERFACE*>& all,
                                     QVector<ACTION_INTERFACE*> actions)
{
    const std::less<ACTION_INTERFACE*> lower;
    std::sort(actions.begin(), actions.end(), lower);
    actions.erase(std::unique(actions.begin(), actions.end()), actions.end());
    QList<ACTION_INTERFACE*> ordered;
    for (auto action = all.begin(); action != all.end() && ordered.size() < actions.size(); ++action)
        if (std::binary_search(actions.cbegin(), actions.cend(), *action, lower))
            ordered.append(*action);
    if (ordered.size() == actions.size())
        return ordered;
    QVector<ACTION_INTERFACE*> known = ordered.toVector();
    std::sort(known.begin(), known.end(), lower);
    std::set_difference(actions.cbegin(), actions.cend(), known.cbegin(), known.cend(),
                        std::back_inserter(ordered), lower);
    return ordered;
}
