#include "selection/file_tree_builder.h"

#include <QtCore/QHash>
#include <QtCore/QPair>

#include "session/file_entry.h"

namespace {

using FILE_MAP = DATA_SELECTION_FOLDER::FILE_MAP;

const int FEW = 16; // folders that are looked through one by one

class FOLDERS
{
public:
    FOLDERS(DATA_SELECTION_FOLDER& root, const FILE_MAP& files) : m_root(root), m_files(files) {}

    DATA_SELECTION_FOLDER* folder_of(const QString& key, const FILE_ENTRY* file);

private:
    DATA_SELECTION_FOLDER* child(DATA_SELECTION_FOLDER* folder, const QStringRef& name);

    DATA_SELECTION_FOLDER& m_root;
    const FILE_MAP& m_files;
    QHash<QPair<DATA_SELECTION_FOLDER*, QStringRef>, DATA_SELECTION_FOLDER*>
        m_children; // by parent and name, but for the last few of each
};

// The folders are named as on disk, so the text to walk is the end of the physical
// path that is as long as the key without its root.
DATA_SELECTION_FOLDER* FOLDERS::folder_of(const QString& key, const FILE_ENTRY* file)
{
    const QString& text = file ? static_cast<const QString&>(file->physical) : key;
    const int tail_length = key.length() - key.indexOf('/') - 1;
    int position = qMax(0, text.length() - tail_length);
    DATA_SELECTION_FOLDER* folder = &m_root;
    for (int slash; (slash = text.indexOf('/', position)) >= 0; position = slash + 1)
        folder = child(folder, text.midRef(position, slash - position));
    return folder;
}

DATA_SELECTION_FOLDER* FOLDERS::child(DATA_SELECTION_FOLDER* folder, const QStringRef& name)
{
    QList<DATA_SELECTION_FOLDER*>& children = folder->children;
    const int count = children.size();
    for (int row = count - 1; row >= qMax(0, count - FEW); --row)
        if (children.at(row)->name == name)
            return children.at(row);
    if (count >= FEW) {
        if (DATA_SELECTION_FOLDER* const known = m_children.value({folder, name}))
            return known;
        DATA_SELECTION_FOLDER* const no_longer_last = children.at(count - FEW);
        m_children.insert({folder, no_longer_last->name}, no_longer_last);
    }
    children.append(new DATA_SELECTION_FOLDER(folder, name, m_files.begin()));
    children.last()->row = count;
    return children.last();
}

void add_file(DATA_SELECTION_FOLDER& folder, const FILE_MAP::const_iterator& place)
{
    if (!folder.first_file_set) {
        folder.first_file = place;
        folder.first_file_set = true;
    }
    ++folder.file_count;
}

} // namespace

void build_file_tree(DATA_SELECTION_FOLDER& root, const FILE_MAP& files, const QString& prefix)
{
    FOLDERS folders(root, files);
    DATA_SELECTION_FOLDER* folder = nullptr; // of the files that were met last
    QStringRef folder_path;                  // its path with the slash, from a key
    const FILE_MAP::const_iterator end = files.end();
    FILE_MAP::const_iterator place = files.lower_bound(LOGICAL_PATH(prefix));
    if (place != end) {
        const QString& first = place.key();
        root.name = first.leftRef(first.indexOf('/'));
    }
    for (; place != end; ++place) {
        const QString& key = place.key();
        const QStringRef path = key.leftRef(key.lastIndexOf('/') + 1);
        if (!folder || path != folder_path) {
            if (!path.startsWith(prefix))
                return;
            folder = folders.folder_of(key, place.value());
            folder_path = path;
        }
        add_file(*folder, place);
    }
}
