#include "execution/sequence.h"

namespace {

const int LABEL_BITS = 62;
const std::uint64_t LAST_LABEL = (std::uint64_t(1) << LABEL_BITS) - 1;

// How much fuller a range of labels may be than one half its size: the smaller
// the ranges that are spread out anew, the more often that happens.
const double DENSITY_STEP = 1.4;

} // namespace

SEQUENCE::SEQUENCE(const FW::VECTOR<int>& order)
    : END(int(order.size())),
      m_label(order.size() + 1),
      m_next(order.size() + 1),
      m_previous(order.size() + 1)
{
    const std::uint64_t gap = LAST_LABEL / (order.size() + 1);
    int last = END;
    std::uint64_t label = 0; // END's own
    for (const int element : order) {
        m_next[std::size_t(last)] = element;
        m_previous[std::size_t(element)] = last;
        m_label[std::size_t(element)] = label += gap;
        last = element;
    }
    m_next[std::size_t(last)] = END;
    m_previous[std::size_t(END)] = last;
}

void SEQUENCE::move_behind(int element, int other)
{
    if (before(element) == other)
        return; // keeps its label
    m_next[std::size_t(before(element))] = behind(element);
    m_previous[std::size_t(behind(element))] = before(element);
    link_behind(element, other);
}

void SEQUENCE::move_before(int element, int other)
{
    if (behind(element) != other)
        move_behind(element, before(other));
}

void SEQUENCE::link_behind(int element, int other)
{
    if (label_behind(other) - m_label[std::size_t(other)] < 2)
        make_room_behind(other);
    m_label[std::size_t(element)] =
        m_label[std::size_t(other)] + (label_behind(other) - m_label[std::size_t(other)]) / 2;
    const int next = behind(other);
    m_next[std::size_t(other)] = element;
    m_previous[std::size_t(element)] = other;
    m_next[std::size_t(element)] = next;
    m_previous[std::size_t(next)] = element;
}

std::uint64_t SEQUENCE::label_behind(int element) const
{
    return behind(element) == END ? LAST_LABEL : m_label[std::size_t(behind(element))];
}

// Looks for the smallest aligned range of labels round the element that is not
// too full, and spreads its elements evenly.
void SEQUENCE::make_room_behind(int element)
{
    const std::uint64_t centre = m_label[std::size_t(element)];
    int first = element == END ? behind(END) : element;
    int last = first;
    std::uint64_t count = 1;
    double capacity = 1;
    for (int bits = 1; bits <= LABEL_BITS; ++bits) {
        capacity *= 2 / DENSITY_STEP;
        const std::uint64_t mask = (std::uint64_t(1) << bits) - 1;
        const std::uint64_t low = centre & ~mask;
        const std::uint64_t high = low | mask;
        for (; before(first) != END && m_label[std::size_t(before(first))] >= low; ++count)
            first = before(first);
        for (; behind(last) != END && m_label[std::size_t(behind(last))] <= high; ++count)
            last = behind(last);
        const std::uint64_t gap = mask / (count + 1);
        if ((double(count) > capacity && bits < LABEL_BITS) || gap < 4)
            continue;
        std::uint64_t label = low;
        for (int e = first;; e = behind(e)) {
            m_label[std::size_t(e)] = label += gap;
            if (e == last)
                return;
        }
    }
}

FW::VECTOR<int> SEQUENCE::to_vector() const
{
    FW::VECTOR<int> order;
    order.reserve(std::size_t(END));
    for (int element = behind(END); element != END; element = behind(element))
        order.push_back(element);
    return order;
}
