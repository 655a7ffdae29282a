#include "selection/data_selection_filter.h"

#include <tuple>

#include "session/file_entry.h"

namespace {

bool passes_state(int state, bool modified, bool added, bool deleted)
{
    return (modified && state == FILE_STATE_MODIFIED) || (added && state == FILE_STATE_ADDED) ||
           (deleted && state == FILE_STATE_DELETED);
}

auto members(const DATA_SELECTION_FILTER& f)
{
    return std::tie(f.mode, f.p4_all, f.p4_modified, f.p4_added, f.p4_deleted, f.local_all, f.local_modified,
                    f.local_added, f.local_deleted, f.up_to_date, f.unaffected, f.source, f.intermediate,
                    f.target);
}

} // namespace

bool DATA_SELECTION_FILTER::accepts(const FILE_ENTRY& file, bool get_latest) const
{
    const bool is_read = !file.consumers.isEmpty();
    const bool is_written = !file.providers.isEmpty();
    const bool is_unaffected = !is_read && !is_written;
    switch (mode) {
    case FILTER_PERFORCE_STATUS:
        return passes_state(file.p4_state, p4_modified, p4_added, p4_deleted) ||
               passes_state(file.local_state, local_modified, local_added, local_deleted);
    case FILTER_DATE: {
        const bool is_out_of_date = get_latest
                                        ? file.out_of_date_target_latest || file.out_of_date_source_latest
                                        : file.out_of_date_target || file.out_of_date_source;
        return (up_to_date ? !is_unaffected : is_out_of_date) || (unaffected && is_unaffected);
    }
    case FILTER_DATA_TYPE:
        if (is_unaffected)
            return unaffected;
        return is_read && is_written ? intermediate : is_read ? source : target;
    default:
        return true;
    }
}

bool operator==(const DATA_SELECTION_FILTER& a, const DATA_SELECTION_FILTER& b)
{
    return members(a) == members(b);
}
