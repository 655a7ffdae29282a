#pragma once

#include <QtCore/QVector>

#include <utility>

/// Sorts by `number_of(element)`, the lower first, by exchange: each place in
/// turn is swapped with every later element that is lower. Equal elements can
/// change places; plugins have come to rely on the order that this gives.
template <typename T, typename NUMBER_OF>
void exchange_sort(QVector<T>& elements, NUMBER_OF number_of)
{
    for (int i = 0; i < elements.size(); ++i)
        for (int j = i + 1; j < elements.size(); ++j)
            if (number_of(elements.at(i)) > number_of(elements.at(j)))
                std::swap(elements[i], elements[j]);
}
