#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

#include "contracts/paths/physical_path.h"

/// Where the depot lies on disk: the file DEPOT/a/b is WORKSPACE/a/b. Both
/// without a slash at the end; letter case does not count in comparisons.
struct PERFORCE_ROOTS
{
    QString depot;     ///< as Perforce spells it, such as "//depot/game"
    QString workspace; ///< absolute, with forward slashes

    /// The place of a file of the depot; empty for one outside the depot root.
    PHYSICAL_PATH physical_path(const QString& depot_path) const;

    /// The opposite; empty outside the workspace root.
    QString depot_path(const PHYSICAL_PATH& path) const;
};

/// The specifications of all files that a scan looks at: for each scan root all
/// that is below it, for each parent directory its "rules.gox", sorted.
/// Directories of which `depot_path_of` knows nothing give none.
QStringList perforce_specifications(const QVector<PHYSICAL_PATH>& directories,
                                    const QSet<PHYSICAL_PATH>& parent_directories,
                                    const std::function<QString(const PHYSICAL_PATH&)>& depot_path_of);
