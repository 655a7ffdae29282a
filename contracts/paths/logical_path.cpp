#include "contracts/paths/logical_path.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

// Where the two part, or `size`. Paths share long beginnings, so four letters
// are compared at a time.
int first_difference(const ushort* a, const ushort* b, int size)
{
    int i = 0;
    for (; i + 4 <= size; i += 4) {
        std::uint64_t of_a = 0;
        std::uint64_t of_b = 0;
        std::memcpy(&of_a, a + i, sizeof of_a);
        std::memcpy(&of_b, b + i, sizeof of_b);
        if (of_a != of_b)
            break;
    }
    while (i < size && a[i] == b[i])
        ++i;
    return i;
}

} // namespace

bool LOGICAL_PATH::operator<(const QString& other) const
{
    const ushort* const a = reinterpret_cast<const ushort*>(m_text.constData());
    const ushort* const b = reinterpret_cast<const ushort*>(other.constData());
    const int a_size = m_text.size();
    const int b_size = other.size();
    const int common = std::min(a_size, b_size);
    const int p = first_difference(a, b, common);
    if (p == common)
        return a_size < b_size; // the one is the start of the other, or both are equal

    // The paths part within one name of each. A slash from here on says that
    // the name is a folder's; files come before folders.
    const bool a_is_folder = std::find(a + p, a + a_size, ushort('/')) != a + a_size;
    const bool b_is_folder = std::find(b + p, b + b_size, ushort('/')) != b + b_size;
    if (a_is_folder != b_is_folder)
        return b_is_folder;
    if (a[p] == '/')
        return true; // a's name ends here, so it is the shorter one
    if (b[p] == '/')
        return false;
    return a[p] < b[p];
}
