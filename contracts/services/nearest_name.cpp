#include "contracts/services/nearest_name.h"

#include <QtCore/QVector>

#include <algorithm>
#include <numeric>

namespace {

// What takes longer is a text and no name, and comparing costs its square.
const int LONGEST_NAME = 200;
const int SHORTEST_BEGINNING = 3;

// Rows of the usual table, of which swaps need the last three.
int distance(const QString& from, const QString& to)
{
    QVector<int> row(to.size() + 1);
    QVector<int> before(row.size());
    QVector<int> before_that;
    std::iota(row.begin(), row.end(), 0);
    for (int i = 1; i <= from.size(); ++i) {
        before_that = before;
        before = row;
        row[0] = i;
        for (int j = 1; j <= to.size(); ++j) {
            const bool is_same = from.at(i - 1) == to.at(j - 1);
            row[j] = std::min({before.at(j) + 1, row.at(j - 1) + 1, before.at(j - 1) + (is_same ? 0 : 1)});
            if (i > 1 && j > 1 && from.at(i - 1) == to.at(j - 2) && from.at(i - 2) == to.at(j - 1))
                row[j] = std::min(row.at(j), before_that.at(j - 2) + 1);
        }
    }
    return row.last();
}

} // namespace

QString nearest_name(const QString& name, const QStringList& known)
{
    const QString wanted = name.toLower();
    if (wanted.size() > LONGEST_NAME)
        return QString();
    QString nearest;
    int least = 0;
    for (const QString& candidate : known) {
        const QString letters = candidate.left(LONGEST_NAME).toLower();
        const bool is_begun = wanted.size() >= SHORTEST_BEGINNING && letters.startsWith(wanted);
        const int steps = distance(wanted, letters);
        const bool is_near = is_begun || steps <= std::max(wanted.size(), letters.size()) / 3;
        if (is_near && (nearest.isEmpty() || steps < least)) {
            nearest = candidate;
            least = steps;
        }
    }
    return nearest;
}

QString suggestion_for(const QString& name, const QStringList& known, const QString& before,
                       const QString& after)
{
    const QString nearest = nearest_name(name, known);
    return nearest.isEmpty() ? QString() : "; did you mean " + before + nearest + after + '?';
}
