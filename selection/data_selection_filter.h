#pragma once

struct FILE_ENTRY;

/// The values of DATA_SELECTION_FILTER::mode, which are also the row numbers of
/// the filter dialog's mode box. Any other value filters nothing.
enum DATA_SELECTION_FILTER_MODE : int
{
    FILTER_NONE = 0,
    FILTER_PERFORCE_STATUS = 1,
    FILTER_DATE = 2,
    FILTER_DATA_TYPE = 3,
};

/// Which files the trees show. The selection dialog holds the one that the filter
/// dialog edits, and each proxy holds a copy. A flag that is set lets files of
/// its kind through; it counts only in the mode that it belongs to.
struct DATA_SELECTION_FILTER
{
    int mode = FILTER_NONE;     ///< a DATA_SELECTION_FILTER_MODE
    bool p4_all = true;         ///< state of the dialog's box; no file is judged by it
    bool p4_modified = true;    ///< Perforce status: by FILE_ENTRY::p4_state
    bool p4_added = true;       ///< the same
    bool p4_deleted = true;     ///< the same
    bool local_all = true;      ///< state of the dialog's box; no file is judged by it
    bool local_modified = true; ///< Perforce status: by FILE_ENTRY::local_state
    bool local_added = true;    ///< the same
    bool local_deleted = true;  ///< the same
    bool up_to_date = true;     ///< Date: every file with an action, not only what is out of date
    bool unaffected = true;     ///< Date and Data type: files without any action
    bool source = true;         ///< Data type: only read by actions
    bool intermediate = true;   ///< Data type: written and read by actions
    bool target = true;         ///< Data type: only written by actions

    /// Whether the trees show the file. `get_latest` makes the Date mode go by
    /// the latest revisions instead of the local dates. Allocates nothing: it is
    /// asked for every file on each change of the filter.
    bool accepts(const FILE_ENTRY& file, bool get_latest) const;
};

bool operator==(const DATA_SELECTION_FILTER& a, const DATA_SELECTION_FILTER& b);
inline bool operator!=(const DATA_SELECTION_FILTER& a, const DATA_SELECTION_FILTER& b)
{
    return !(a == b);
}
