#pragma once

#include <QtCore/QVector>

/// Finds the places of keys in an array that the caller owns. Keys are digests already,
/// so that their bits say where to look; an array of any size costs one or two steps.
class KEY_INDEX
{
public:
    static constexpr int NONE = -1;

    void reserve(int count);

    /// The place that was entered for the key, or NONE. `key_at` gives the key of a place.
    template <typename KEY_AT>
    int find(quint64 key, KEY_AT key_at) const
    {
        return m_slots.isEmpty() ? NONE : m_slots.at(slot_of(key, key_at));
    }

    /// Enters the place for the key, instead of the one that is there.
    template <typename KEY_AT>
    void put(quint64 key, int place, KEY_AT key_at)
    {
        if (2 * (m_count + 1) > m_slots.size())
            grow(key_at);
        int& slot = m_slots[slot_of(key, key_at)];
        m_count += slot == NONE;
        slot = place;
    }

    int count() const { return m_count; }

private:
    // Of the key, or the free one where it belongs. Half of them are free at least.
    template <typename KEY_AT>
    int slot_of(quint64 key, KEY_AT key_at) const
    {
        const int mask = m_slots.size() - 1;
        int slot = int(key) & mask;
        while (m_slots.at(slot) != NONE && key_at(m_slots.at(slot)) != key)
            slot = (slot + 1) & mask;
        return slot;
    }

    template <typename KEY_AT>
    void grow(KEY_AT key_at)
    {
        const QVector<int> former = m_slots;
        m_slots = QVector<int>(qMax(16, 2 * former.size()), NONE);
        for (const int place : former)
            if (place != NONE)
                m_slots[slot_of(key_at(place), key_at)] = place;
    }

    QVector<int> m_slots; // their number is a power of two
    int m_count = 0;
};

inline void KEY_INDEX::reserve(int count)
{
    int size = 16;
    while (size < 2 * (count + 1))
        size *= 2;
    if (m_count == 0)
        m_slots = QVector<int>(size, NONE);
}
