#pragma once

#include <QtCore/QVector>

#include "contracts/export.h"
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

    /// Fills `out` with every physical location of `path`, in the order of
    /// `all`, whether a file is there or not; a bare logical root gives its
    /// physical roots. Empty for text that is below no logical root.
    static void physical_paths(const LOGICAL_PATH& path, QVector<PHYSICAL_PATH>& out);

    /// The one location to use: the root without "old_", unless only the
    /// companion has the file. Empty for text that is below no logical root.
    static PHYSICAL_PATH physical_path(const LOGICAL_PATH& path);

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

/// `text` in lower case, letter by letter: its length never changes (in full
/// case mapping some letters grow). Any thread.
GOX_CONTRACTS_EXPORT QString lower_case_by_letter(const QString& text);
