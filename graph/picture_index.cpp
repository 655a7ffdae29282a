#include "graph/picture_index.h"

#include <algorithm>
#include <cmath>

namespace {

const double SMALLEST_CELL = 64;
const int MOST_LEVELS = 40;

double cell_size(int level)
{
    return std::ldexp(SMALLEST_CELL, level);
}

int level_of(const QRectF& rectangle)
{
    const double size = std::max(rectangle.width(), rectangle.height());
    int level = 0;
    while (level + 1 < MOST_LEVELS && cell_size(level) < size)
        ++level;
    return level;
}

int cell_number(double place, double size)
{
    const double LIMIT = 1e9;
    return int(std::clamp(std::floor(place / size), -LIMIT, LIMIT));
}

} // namespace

void PICTURE_INDEX::insert(const QRectF& rectangle)
{
    const int number = level_of(rectangle);
    if (m_levels.size() <= number)
        m_levels.resize(number + 1);
    LEVEL& level = m_levels[number];
    const double size = cell_size(number);
    const QPointF middle = rectangle.center();
    level.cells[{cell_number(middle.x(), size), cell_number(middle.y(), size)}].append(m_count++);
    level.middles |= QRectF(middle, QSizeF(0.001, 0.001)); // an empty one would not be united
}

QVector<int> PICTURE_INDEX::find(const QRectF& part) const
{
    QVector<int> numbers;
    for (int level = 0; level < m_levels.size(); ++level)
        find_in(m_levels.at(level), cell_size(level), part, numbers);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

void PICTURE_INDEX::find_in(const LEVEL& level, double size, const QRectF& part, QVector<int>& numbers)
{
    // A rectangle reaches half a cell beyond its middle.
    const QRectF around = part.adjusted(-size / 2, -size / 2, size / 2, size / 2) & level.middles;
    if (around.isNull())
        return;
    const int first_column = cell_number(around.left(), size);
    const int last_column = cell_number(around.right(), size);
    const int first_row = cell_number(around.top(), size);
    const int last_row = cell_number(around.bottom(), size);
    if ((double(last_column) - first_column + 1) * (double(last_row) - first_row + 1) > level.cells.size()) {
        for (const QVector<int>& cell : level.cells) // most of the part is bare
            numbers += cell;
        return;
    }
    for (int column = first_column; column <= last_column; ++column)
        for (int row = first_row; row <= last_row; ++row)
            numbers += level.cells.value({column, row});
}
