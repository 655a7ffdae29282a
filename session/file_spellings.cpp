#include "session/file_spellings.h"

#include <algorithm>

#include "contracts/paths/letter_case.h"
#include "contracts/paths/paths.h"

namespace {

bool lies_at_or_below(const QString& physical, const QString& folder)
{
    return begins_with_folder(physical, folder) &&
           (physical.size() == folder.size() || physical.at(folder.size()) == '/');
}

int last_slash(const QString& text)
{
    return text.lastIndexOf('/');
}

} // namespace

// A file, or one of the folders above it, as the beginnings of three texts.
struct FILE_SPELLINGS::STEP
{
    STEP(const QString& file, const QString& file_key)
        : text(file),
          lower(lower_case_by_letter(file)),
          key(file_key),
          size(text.size()),
          key_size(key.size())
    {
    }

    // False when there is no folder above.
    bool go_up()
    {
        key_size = key.leftRef(key_size).lastIndexOf('/');
        size = text.leftRef(size).lastIndexOf('/');
        return key_size >= 0;
    }

    QString path() const { return text.left(size); }
    LOGICAL_PATH logical() const { return LOGICAL_PATH(key.left(key_size)); }
    QString name() const { return lower.left(size); }
    // The same for a look-up alone: the letters are not copied.
    QString borrowed_name() const { return QString::fromRawData(lower.constData(), size); }

    const QString& text;
    const QString lower;
    const QString& key;
    int size;
    int key_size;
};

FILE_SPELLINGS::FILE_SPELLINGS(const FILE_MAP& files, const FILE_LOOKUP& lookup)
    : m_files(files), m_lookup(lookup)
{
}

PHYSICAL_PATH FILE_SPELLINGS::normalised(const PHYSICAL_PATH& path)
{
    return normalised(path, PATHS::logical_path(path));
}

PHYSICAL_PATH FILE_SPELLINGS::normalised(const PHYSICAL_PATH& path, const LOGICAL_PATH& key)
{
    STEP step(path, key);
    bool is_folder = false;
    do {
        const QString spelling = spelling_of(step, is_folder);
        if (!spelling.isEmpty())
            return PHYSICAL_PATH(spelling + step.text.midRef(step.size));
        is_folder = true;
    } while (step.go_up());
    return path;
}

// A file can have the path that is asked for, or be a folder's namesake; it
// comes before everything below the folder in the map.
QString FILE_SPELLINGS::spelling_of(const STEP& step, bool remember_nothing_found)
{
    if (m_has_strays)
        return walk_keys(step.path(), step.logical());
    const auto known = m_folders.constFind(step.borrowed_name());
    if (known != m_folders.constEnd())
        return *known;
    if (has_namesake(step))
        return m_files.value(step.logical())->physical;
    if (m_is_complete)
        return QString();
    const QString spelling = walk_keys(step.path(), step.logical());
    if (remember_nothing_found || !spelling.isEmpty())
        m_folders.insert(step.name(), spelling);
    return spelling;
}

// Next to no folder has one, which the lookup tells at once.
bool FILE_SPELLINGS::has_namesake(const STEP& step) const
{
    const LOGICAL_PATH key = step.logical();
    const FILE_ENTRY* const namesake = m_lookup.value(key);
    return namesake && namesake->physical == PHYSICAL_PATH(step.path()) && m_files.contains(key);
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
    STEP step(text, key_text);
    if (m_folders.remove(step.lower) > 0)
        m_is_complete = false; // a folder's namesake
    while (step.go_up()) {
        const QString folder = step.path();
        const auto known = m_folders.find(step.borrowed_name());
        if (known != m_folders.end() && *known == folder)
            break; // and so are the folders above it
        if (known != m_folders.end() && !known->isEmpty()) {
            forget(text); // another spelling: the map's order decides which is the first
            return;
        }
        if (has_namesake(step)) {
            forget(text); // it comes ahead of the folder's files
            return;
        }
        if (known != m_folders.end())
            *known = folder;
        else if (m_is_complete)
            m_folders.insert(step.name(), folder);
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
    QString folder = lower_case_by_letter(path);
    while (!folder.isEmpty()) {
        m_folders.remove(folder);
        folder.truncate(std::max(0, last_slash(folder)));
    }
}
