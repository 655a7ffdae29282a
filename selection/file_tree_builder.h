#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringRef>

#include "selection/data_selection_file_model.h"

/// Builds the folders of a file tree from the part of a file map that lies below
/// one logical root.
///
/// Allocates a record a folder, and while it builds a place in a hash for each
/// folder that has many siblings; nothing a file, and texts are shared. A walk from
/// the root is made once for each run of files of one folder.
class FILE_TREE_BUILDER
{
public:
    using FILE_MAP = DATA_SELECTION_FOLDER::FILE_MAP;

    /// `root` is empty and gets all the files whose key begins with `prefix`, such
    /// as "<raw>/". Both must outlive the builder.
    FILE_TREE_BUILDER(DATA_SELECTION_FOLDER& root, const QString& prefix);

    void build(const FILE_MAP& files);

private:
    void add_file(const FILE_MAP::const_iterator& place);
    DATA_SELECTION_FOLDER* folder_of(const QString& key, const FILE_ENTRY* file);
    DATA_SELECTION_FOLDER* child(DATA_SELECTION_FOLDER* folder, const QStringRef& name);
    DATA_SELECTION_FOLDER* known_child(DATA_SELECTION_FOLDER* folder, const QStringRef& name);

    using CHILDREN = QHash<QStringRef, DATA_SELECTION_FOLDER*>;

    DATA_SELECTION_FOLDER& m_root;
    const QString& m_prefix;
    QHash<const DATA_SELECTION_FOLDER*, CHILDREN> m_children; // of folders with many of them
    FILE_MAP::const_iterator m_begin;                         // a new folder's first file
    DATA_SELECTION_FOLDER* m_folder = nullptr;                // of the files that were met last
    QStringRef m_directory;                                   // its directory with the slash, from a key
};

/// Works out `has_actions` of the folder and all below, and gives the folder's.
bool update_has_actions(DATA_SELECTION_FOLDER* folder);
