#pragma once

#include "selection/data_selection_file_model.h"

/// Puts those of `files` whose key begins with `prefix`, such as "<raw>/", into
/// `root`, which is empty.
///
/// Allocates a record a folder, and while it builds a place in a hash; nothing a
/// file, and texts are shared. A walk from the root is made once for each run of
/// files of one folder.
void build_file_tree(DATA_SELECTION_FOLDER& root, const DATA_SELECTION_FOLDER::FILE_MAP& files,
                     const QString& prefix);
