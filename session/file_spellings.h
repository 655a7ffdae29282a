#pragma once

#include <QtCore/QHash>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "session/file_entry.h"
#include "session/lockable_map.h"

/// Makes all files of a folder share the letter case of the folder's first known
/// file.
///
/// The answer for a path is that of a walk: from the path itself up through its
/// folders, the first key of the map whose text begins with the logical path of
/// that step, and whose file lies there on disk (letter case apart), lends its
/// spelling. As such walks are long in large folders, the spelling of each
/// folder is remembered and kept right by telling this object of every file that
/// enters the map, leaves it or gets another physical path.
///
/// Does not own the map and the lookup, which has all files of the map and may have
/// more. One thread at a time.
class FILE_SPELLINGS
{
public:
    using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;
    using FILE_LOOKUP = QHash<LOGICAL_PATH, FILE_ENTRY*>;

    FILE_SPELLINGS(const FILE_MAP& files, const FILE_LOOKUP& lookup);

    /// `path` in the letter case of what is known.
    PHYSICAL_PATH normalised(const PHYSICAL_PATH& path);

    /// The same for a path whose logical path is known to be `key`.
    PHYSICAL_PATH normalised(const PHYSICAL_PATH& path, const LOGICAL_PATH& key);

    /// The file of `key` now lies at `physical`.
    void file_added(const PHYSICAL_PATH& physical, const LOGICAL_PATH& key);

    /// A file that lay at `physical` has left the map or lies elsewhere now.
    void file_left(const PHYSICAL_PATH& physical);

    /// A file that lay at `former` lies at `now`.
    void file_moved(const PHYSICAL_PATH& former, const PHYSICAL_PATH& now);

private:
    struct STEP;

    QString walk_keys(const QString& folder, const QString& folder_key) const;
    QString spelling_of(const STEP& step, bool remember_nothing_found);
    bool has_namesake(const STEP& step) const;
    void forget(const QString& path);

    const FILE_MAP& m_files;
    const FILE_LOOKUP& m_lookup;

    // Spelling by folder, whose path stands here in lower case: so a look-up folds no
    // letters. Empty: the map has no file below it.
    QHash<QString, QString> m_folders;
    bool m_is_complete = true; // a folder that is not in m_folders has no file below it
    bool m_has_strays = false; // some file's key is not the logical path of its place: nothing is remembered
};
