#pragma once

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"

/// A file that an action writes, as ACTION_INTERFACE::collect_files reports it.
struct ACTION_TARGET
{
    PHYSICAL_PATH physical_path; ///< where to write it
    LOGICAL_PATH logical_path;   ///< its key in the file map
    bool intermediate = false;   ///< only carries data between actions: whoever reads it really
                                 ///< depends on what its providers read
    bool secondary = false;      ///< this action is not the file's main provider
};
