#pragma once

#include <QtCore/QHash>
#include <QtCore/QRectF>
#include <QtCore/QVector>

/// Finds the rectangles that a part of a large picture touches, without a look at
/// all of them. Each stands in one cell of a grid whose cells are about as large
/// as it is, so long edges and small boxes don't get in each other's way.
class PICTURE_INDEX
{
public:
    /// Numbers are given from 0 on, in order of insertion.
    void insert(const QRectF& rectangle);

    /// The numbers of all rectangles that touch `part`, and of some near it, in
    /// ascending order.
    QVector<int> find(const QRectF& part) const;

private:
    struct LEVEL // of cells of one size, each twice as wide as those of the level before
    {
        QHash<QPair<int, int>, QVector<int>> cells; // by column and row
        QRectF middles;                             // holds the middles of all rectangles
    };

    static void find_in(const LEVEL& level, double size, const QRectF& part, QVector<int>& numbers);

    QVector<LEVEL> m_levels;
    int m_count = 0;
};
