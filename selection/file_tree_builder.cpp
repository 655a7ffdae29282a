#include "selection/file_tree_builder.h"

#include "session/file_entry.h"

namespace {

// Up to here, comparing with each child is quicker than hashing.
const int FEW_CHILDREN = 64;

} // namespace

FILE_TREE_BUILDER::FILE_TREE_BUILDER(DATA_SELECTION_FOLDER& root, const QString& prefix)
    : m_root(root), m_prefix(prefix)
{
}

void FILE_TREE_BUILDER::build(const FILE_MAP& files)
{
    m_begin = files.begin();
    const FILE_MAP::const_iterator end = files.end();
    FILE_MAP::const_iterator place = files.lower_bound(LOGICAL_PATH(m_prefix));
    if (place == end)
        return;
    const QString& first = place.key();
    m_root.name = first.leftRef(first.indexOf('/'));

    for (; place != end; ++place) {
        const QString& key = place.key();
        const QStringRef directory = key.leftRef(key.lastIndexOf('/') + 1);
        if (!m_folder || directory != m_directory) {
            if (!directory.startsWith(m_prefix))
                return;
            m_folder = folder_of(key, place.value());
            m_directory = directory;
        }
        add_file(place);
    }
}

void FILE_TREE_BUILDER::add_file(const FILE_MAP::const_iterator& place)
{
    if (!m_folder->first_file_set) {
        m_folder->first_file = place;
        m_folder->first_file_set = true;
    }
    ++m_folder->file_count;
}

// The folders are named as on disk, so the text to walk is the end of the physical
// path that is as long as the key without its root.
DATA_SELECTION_FOLDER* FILE_TREE_BUILDER::folder_of(const QString& key, const FILE_ENTRY* file)
{
    const QString& text = file ? static_cast<const QString&>(file->physical) : key;
    const int tail_length = key.length() - key.indexOf('/') - 1;
    int position = qMax(0, text.length() - tail_length);
    DATA_SELECTION_FOLDER* folder = &m_root;
    for (int slash; (slash = text.indexOf('/', position)) >= 0; position = slash + 1)
        folder = child(folder, text.midRef(position, slash - position));
    return folder;
}

DATA_SELECTION_FOLDER* FILE_TREE_BUILDER::child(DATA_SELECTION_FOLDER* folder, const QStringRef& name)
{
    if (DATA_SELECTION_FOLDER* known = known_child(folder, name))
        return known;
    auto* made = new DATA_SELECTION_FOLDER(folder, name, m_begin);
    made->row = folder->children.size();
    folder->children.append(made);
    if (made->row == FEW_CHILDREN) {
        CHILDREN& children = m_children[folder];
        for (DATA_SELECTION_FOLDER* each : qAsConst(folder->children))
            children.insert(each->name, each);
    } else if (made->row > FEW_CHILDREN) {
        m_children[folder].insert(made->name, made);
    }
    return made;
}

DATA_SELECTION_FOLDER* FILE_TREE_BUILDER::known_child(DATA_SELECTION_FOLDER* folder, const QStringRef& name)
{
    const QList<DATA_SELECTION_FOLDER*>& children = folder->children;
    if (children.isEmpty())
        return nullptr;
    if (children.last()->name == name)
        return children.last();
    if (children.size() > FEW_CHILDREN)
        return m_children[folder].value(name);
    return DATA_SELECTION_FILE_MODEL::find_folder(name, folder, false);
}

bool update_has_actions(DATA_SELECTION_FOLDER* folder)
{
    bool found = false;
    auto place = folder->first_file;
    for (int i = 0; i < folder->file_count && !found; ++i, ++place) {
        const FILE_ENTRY* file = place.value();
        found = file && (!file->providers.isEmpty() || !file->consumers.isEmpty());
    }
    for (DATA_SELECTION_FOLDER* child : qAsConst(folder->children))
        found |= update_has_actions(child);
    folder->has_actions = found;
    return found;
}
