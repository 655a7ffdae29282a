#pragma once

#include <QtCore/QVector>

#include "contracts/export.h"
#include "contracts/paths/letter_case.h"
#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"

/// The process-wide mapping between logical and physical paths.
///
/// The physical roots are siblings of the program's folder: "raw_data",
/// "working_data", "retail_build" and, where they exist, the companions
/// "old_raw_data" and "old_working_data", which map to the same logical roots.
/// Roots match without regard to case, the longest root wins.
///
/// Written once by `initialise` on the main thread; afterwards every operation
/// may be called from any thread.
class GOX_CONTRACTS_EXPORT PATHS
{
public:
    /// Finds the roots from the folder of the program. False when there is no
    /// "raw_data" beside it; then nothing else here may be used. A further call
    /// starts afresh (tests work on several trees in one process).
    static bool initialise(const QString& application_directory);

    /// Every physical root, companions first: a file that wins over its
    /// companion is then met second. No root has a trailing slash.
    static QVector<PHYSICAL_PATH> all();

    // From a logical path to the disk. A logical path knows no letter case and a
    // disk may: each name is looked for without regard to case and takes the
    // spelling that the disk has for it. What folders hold is remembered, see
    // forget_folders.

    /// Fills `out` with every physical location of `path`, in the order of
    /// `all`, whether a file is there or not; a bare logical root gives its
    /// physical roots. A root in which several spellings are there gives all of
    /// them. Empty for text that is below no logical root.
    static void physical_paths(const LOGICAL_PATH& path, QVector<PHYSICAL_PATH>& out);

    /// The place to read from: the root without "old_", unless only the
    /// companion has the file. Never write there, it may be the shipped file of
    /// the companion. Empty for text that is below no logical root.
    static PHYSICAL_PATH physical_path(const LOGICAL_PATH& path);

    /// The place to write to: always in the root without "old_", in the spelling
    /// of the file and the folders that are there already. Empty for text that is
    /// below no logical root.
    static PHYSICAL_PATH target_path(const LOGICAL_PATH& path);

    /// The places on disk below the root or folder `folder`, which is taken as it
    /// stands, that `rest` ("/sub-folder/name") stands for in any letter case, the
    /// spellings in a fixed order. When nothing is there: one place, where it would be.
    static QVector<PHYSICAL_PATH> places_below(const PHYSICAL_PATH& folder, const QString& rest);

    /// Forgets what was remembered of folders, so that spellings that have come to
    /// the disk since are found.
    static void forget_folders();

    /// Whether `path` lies in one of the "old_" companions.
    static bool is_in_companion(const PHYSICAL_PATH& path);

    /// The logical root and the rest of the path in lower case, which keeps its
    /// length. "<>" for a path outside all roots.
    static LOGICAL_PATH logical_path(const PHYSICAL_PATH& path);

    static const PHYSICAL_PATH& working_data();
    static const PHYSICAL_PATH& retail_build();

    /// Whether `new_file` takes over the logical path that it shares with
    /// `known_file`: true for a file of a root over one of the root's "old_"
    /// companion, false for any other pair. `no_stop` is for callers that must
    /// not be held up by a question; nothing is asked here.
    static bool override(const PHYSICAL_PATH& new_file, const PHYSICAL_PATH& known_file, bool no_stop);
};
