#pragma once

#include <QtCore/QMap>

#include <algorithm>
#include <utility>

#include "contracts/services/fw_memory.h"

/// A map that is built as a QMap and then frozen into sorted arrays by `lock`.
///
/// Reading works in both forms and always in key order. Once the map is locked,
/// insertion does nothing and an erase moves the iterator to the end. Values are
/// not owned. One thread may build; a locked map may be read by any thread.
template <typename KEY, typename VALUE>
class LOCKABLE_MAP
{
public:
    bool locked = false;      ///< selects the form
    QMap<KEY, VALUE> map;     ///< the form for building
    FW::VECTOR<KEY> keys;     ///< the form for reading: keys in map order
    FW::VECTOR<VALUE> values; ///< parallel to `keys`

    /// A place in either form. Invalid after an insertion, after an erase (which
    /// gives a new one) and after `lock`.
    class const_iterator
    {
    public:
        const_iterator() = default;

        const KEY& key() const { return m_owner->locked ? m_owner->keys[m_index] : m_place.key(); }
        const VALUE& value() const { return m_owner->locked ? m_owner->values[m_index] : m_place.value(); }
        const VALUE& operator*() const { return value(); }

        const_iterator& operator++()
        {
            if (m_owner->locked)
                ++m_index;
            else
                ++m_place;
            return *this;
        }
        /// The place `steps` further on: an addition when locked, else that many steps.
        const_iterator operator+(int steps) const
        {
            return m_owner->locked ? const_iterator(m_owner, m_index + std::size_t(steps))
                                   : const_iterator(m_owner, m_place + steps);
        }
        bool operator==(const const_iterator& other) const
        {
            return m_owner->locked ? m_index == other.m_index : m_place == other.m_place;
        }
        bool operator!=(const const_iterator& other) const { return !(*this == other); }

    private:
        friend class LOCKABLE_MAP;
        using PLACE = typename QMap<KEY, VALUE>::const_iterator;
        const_iterator(const LOCKABLE_MAP* owner, PLACE place) : m_owner(owner), m_place(place) {}
        const_iterator(const LOCKABLE_MAP* owner, std::size_t index) : m_owner(owner), m_index(index) {}

        const LOCKABLE_MAP* m_owner = nullptr;
        PLACE m_place;
        std::size_t m_index = 0;
    };

    const_iterator begin() const
    {
        return locked ? const_iterator(this, std::size_t(0)) : const_iterator(this, map.cbegin());
    }
    const_iterator end() const
    {
        return locked ? const_iterator(this, keys.size()) : const_iterator(this, map.cend());
    }
    int size() const { return locked ? int(keys.size()) : map.size(); }
    bool empty() const { return size() == 0; }

    /// The first key that is not less than `key`, or `end`.
    const_iterator lower_bound(const KEY& key) const
    {
        if (!locked)
            return const_iterator(this, map.lowerBound(key));
        const auto place =
            std::lower_bound(keys.begin(), keys.end(), key, [](const KEY& a, const KEY& b) { return a < b; });
        return const_iterator(this, std::size_t(place - keys.begin()));
    }

    /// The place of `key`, or `end`.
    const_iterator find(const KEY& key) const
    {
        const const_iterator place = lower_bound(key);
        return place != end() && !(key < place.key()) ? place : end();
    }
    bool contains(const KEY& key) const { return find(key) != end(); }

    /// The value of `key`, or a default-constructed one.
    VALUE value(const KEY& key) const
    {
        const const_iterator place = find(key);
        return place != end() ? place.value() : VALUE();
    }

    /// Sets the value of `key`, replacing one that is there. Nothing when locked.
    void insert(const KEY& key, const VALUE& value)
    {
        if (!locked)
            map.insert(key, value);
    }

    /// Removes the pair at `place` and gives the place behind it; the end, with
    /// nothing removed, when locked.
    const_iterator erase(const_iterator place)
    {
        if (locked)
            return end();
        const KEY key = place.key();
        map.remove(key);
        return lower_bound(key);
    }

    /// Copies every pair into the arrays and makes them the form to read;
    /// `release_map` empties the QMap. Nothing when locked already. Throws
    /// std::bad_alloc when the arrays can't be allocated.
    void lock(bool release_map)
    {
        if (!locked) {
            keys.clear();
            values.clear();
            keys.reserve(std::size_t(map.size()));
            values.reserve(std::size_t(map.size()));
            for (auto place = map.cbegin(); place != map.cend(); ++place) {
                keys.push_back(place.key());
                values.push_back(place.value());
            }
            if (release_map) {
                m_released = map;
                map.clear();
            }
        }
        locked = true;
    }

private:
    // A released map, which shares its keys with the arrays. Giving its nodes back
    // one by one costs a tenth of a start-up over a large tree, for about 50
    // bytes a file; they go when the map goes.
    QMap<KEY, VALUE> m_released;
};
