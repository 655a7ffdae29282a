#include "session/file_spellings.h"

#include <algorithm>

#include "contracts/paths/paths.h"

namespace {

bool lies_at_or_below(const QString& physical, const QString& folder)
{
    return physical.startsWith(folder, Qt::CaseInsensitive) &&
           (physical.size() == folder.size() || physical.at(folder.size()) == '/');
}

int last_slash(const QString& text)
{
    return text.lastIndexOf('/');
}

} // namespace

FILE_SPELLINGS::FILE_SPELLINGS(const FILE_MAP& files) : m_files(files) {}

PHYSICAL_PATH FILE_SPELLINGS::normalised(const PHYSICAL_PATH& path)
{
    const QString& text = path;
    const LOGICAL_PATH logical = PATHS::logical_path(path);
    const QString& key = logical;
    int size = text.size();
    int key_size = key.size();
    while (true) {
        const bool is_folder = size < text.size();
        const QString spelling = spelling_of(text.left(size), key.left(key_size), is_folder);
        if (!spelling.isEmpty())
            return PHYSICAL_PATH(spelling + text.midRef(size));
        key_size = key.leftRef(key_size).lastIndexOf('/');
        if (key_size < 0)
            return path;
        size = text.leftRef(size).lastIndexOf('/');
    }
}

// A file can have the path that is asked for, or be a folder's namesake; it
// comes before everything below the folder in the map.
QString FILE_SPELLINGS::spelling_of(const QString& path, const QString& key, bool remember_nothing_found)
{
    if (m_has_strays)
        return walk_keys(path, key);
    const PHYSICAL_PATH name(path);
    const auto known = m_folders.constFind(name);
    if (known != m_folders.constEnd())
        return *known;
    const auto namesake = m_files.find(LOGICAL_PATH(key));
    if (namesake != m_files.end() && namesake.value() && namesake.value()->physical == PHYSICAL_PATH(path))
        return namesake.value()->physical;
    if (m_is_complete)
        return QString();
    const QString spelling = walk_keys(path, key);
    if (remember_nothing_found || !spelling.isEmpty())
        m_folders.insert(name, spelling);
    return spelling;
}

// The plain procedure for one step. Keys that begin with the folder's key are
// those below the folder, which lie together, and where there are strays also
// those of files and folders whose names merely begin alike.
QString FILE_SPELLINGS::walk_keys(const QString& folder, const QString& folder_key) const
{
    const auto walk = [&](const QString& from, const QString& prefix) {
        for (auto place = m_files.lower_bound(LOGICAL_PATH(from)); place != m_files.end(); ++place) {
            const QString& key = place.key();
            if (!key.startsWith(prefix))
                break;
            if (place.value() && lies_at_or_below(place.value()->physical, folder))
                return place.value()->physical.left(folder.size());
        }
        return QString();
    };
    if (!m_has_strays)
        return walk(folder_key + '/', folder_key + '/');
    const QString of_files = walk(folder_key, folder_key);
    return of_files.isEmpty() ? walk(folder_key + '/', folder_key) : of_files;
}

void FILE_SPELLINGS::file_added(const PHYSICAL_PATH& physical, const LOGICAL_PATH& key)
{
    const QString& text = physical;
    const QString& key_text = key;
    if (m_has_strays)
        return;
    if (PATHS::logical_path(physical) != key) {
        m_has_strays = true;
        m_folders.clear();
        return;
    }
    if (m_folders.remove(physical) > 0)
        m_is_complete = false; // a folder's namesake
    int size = last_slash(text);
    for (int key_size = last_slash(key_text); key_size >= 0;
         key_size = key_text.leftRef(key_size).lastIndexOf('/')) {
        const QString folder = text.left(size);
        const PHYSICAL_PATH name(folder);
        const auto known = m_folders.find(name);
        if (known != m_folders.end() && *known == folder)
            break; // and so are the folders above it
        if (known != m_folders.end() && !known->isEmpty()) {
            forget(text); // another spelling: the map's order decides which is the first
            return;
        }
        const auto namesake = m_files.find(LOGICAL_PATH(key_text.left(key_size)));
        if (namesake != m_files.end() && namesake.value()->physical == PHYSICAL_PATH(folder)) {
            forget(text); // it comes ahead of the folder's files
            return;
        }
        if (known != m_folders.end())
            *known = folder;
        else if (m_is_complete)
            m_folders.insert(name, folder);
        size = text.leftRef(size).lastIndexOf('/');
    }
}

void FILE_SPELLINGS::file_left(const PHYSICAL_PATH& physical)
{
    forget(physical);
}

void FILE_SPELLINGS::file_moved(const PHYSICAL_PATH& former, const PHYSICAL_PATH& now)
{
    if (PATHS::logical_path(former) != PATHS::logical_path(now))
        m_has_strays = true; // the key stays as it was
    forget(former);
    file_added(now, PATHS::logical_path(now));
}

void FILE_SPELLINGS::forget(const QString& path)
{
    m_is_complete = false;
    QString folder = path;
    while (!folder.isEmpty()) {
        m_folders.remove(PHYSICAL_PATH(folder));
        folder.truncate(std::max(0, last_slash(folder)));
    }
}
