#pragma once

#include <QtCore/QDateTime>

#include "contracts/paths/physical_path.h"

/// A file that takes part in a run without lying on disk now, as
/// PROCESSOR_INTERFACE::collect_virtual_files announces it.
struct VIRTUAL_FILE
{
    PHYSICAL_PATH physical_path; ///< where the file would be
    QDateTime time;              ///< its time stamp
};
