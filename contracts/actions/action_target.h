#pragma once

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"

/// A file that an action writes, as ACTION_INTERFACE::collect_files reports it.
struct ACTION_TARGET
{
    PHYSICAL_PATH physical_path; ///< where it belongs: PATHS::target_path of `logical_path`, in any
                                 ///< letter case; ACTION_INTERFACE::execute says where to write
    LOGICAL_PATH logical_path;   ///< its key in the file map
    bool intermediate = false;   ///< only carries data between actions: whoever reads it really
                                 ///< depends on what its providers read
    bool secondary = false;      ///< this action is not the file's main provider
};
