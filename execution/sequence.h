#pragma once

#include <cstdint>

#include "contracts/services/fw_memory.h"

/// A list of the numbers 0, 1, ... in some order, in which moving an element and
/// asking which of two comes first is quick however far apart they are.
class SEQUENCE
{
public:
    /// `order` holds each number below its size once.
    explicit SEQUENCE(const FW::VECTOR<int>& order);

    bool comes_before(int a, int b) const { return m_label[std::size_t(a)] < m_label[std::size_t(b)]; }
    int before(int element) const { return m_previous[std::size_t(element)]; } ///< END for the first
    int behind(int element) const { return m_next[std::size_t(element)]; }     ///< END for the last
    void move_behind(int element, int other); ///< another one, or END: to the front
    void move_before(int element, int other); ///< another one, or END: to the back
    FW::VECTOR<int> to_vector() const;

    const int END; ///< stands ahead of the first and behind the last element

private:
    void link_behind(int element, int other);
    std::uint64_t label_behind(int element) const;
    void make_room_behind(int element);

    // Labels grow along the list; an element that moves gets one in between.
    FW::VECTOR<std::uint64_t> m_label;
    FW::VECTOR<int> m_next;
    FW::VECTOR<int> m_previous;
};
