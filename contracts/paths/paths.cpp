#include "contracts/paths/paths.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include "contracts/paths/disk_spelling.h"
#include "contracts/paths/letter_case.h"

namespace {

struct ROOT
{
    PHYSICAL_PATH path;
    QString logical;   // such as "<raw>"
    bool is_companion; // holds older data
};

struct STATE
{
    QVector<ROOT> roots; // in the order of PATHS::all
    PHYSICAL_PATH working_data;
    PHYSICAL_PATH retail_build;
};

STATE& state()
{
    static STATE the_state;
    return the_state;
}

bool is_below_or_equal(const QString& path, const QString& root)
{
    if (path.size() > root.size() && path.at(root.size()) != '/')
        return false;
    return begins_with_folder(path, root);
}

// The roots lie beside each other, so there is one at most.
const ROOT* root_of(const QString& path)
{
    for (const ROOT& root : state().roots)
        if (is_below_or_equal(path, root.path))
            return &root;
    return nullptr;
}

DISK_SPELLING& disk()
{
    static DISK_SPELLING the_disk;
    return the_disk;
}

// The logical root of a path: what stands in front of its first slash.
QStringRef logical_root(const QString& path)
{
    return path.leftRef(path.indexOf('/'));
}

// The part of a path that follows its logical root, with its slash.
QString below_root(const QString& path)
{
    return path.mid(logical_root(path).size());
}

} // namespace

bool PATHS::initialise(const QString& application_directory)
{
    STATE fresh;
    QString tool_folder = QDir(application_directory).canonicalPath();
    if (tool_folder.isEmpty())
        tool_folder = QDir::cleanPath(application_directory);
    const QString parent = tool_folder.section('/', 0, -2);

    const auto add = [&](const char* folder, const char* logical, bool is_companion) {
        const QString path = parent + '/' + folder;
        if (!is_companion || QFileInfo(path).isDir())
            fresh.roots.append({PHYSICAL_PATH(path), logical, is_companion});
    };
    add("old_raw_data", "<raw>", true);
    add("old_working_data", "<working>", true);
    add("raw_data", "<raw>", false);
    add("working_data", "<working>", false);
    add("retail_build", "<retail>", false);
    fresh.working_data = PHYSICAL_PATH(parent + "/working_data");
    fresh.retail_build = PHYSICAL_PATH(parent + "/retail_build");

    const bool has_raw_data = QFileInfo(parent + "/raw_data").isDir();
    state() = has_raw_data ? fresh : STATE();
    forget_folders();
    return has_raw_data;
}

QVector<PHYSICAL_PATH> PATHS::all()
{
    QVector<PHYSICAL_PATH> result;
    for (const ROOT& root : state().roots)
        result.append(root.path);
    return result;
}

void PATHS::physical_paths(const LOGICAL_PATH& path, QVector<PHYSICAL_PATH>& out)
{
    out.clear();
    const QStringRef logical = logical_root(path);
    for (const ROOT& root : state().roots)
        if (root.logical == logical)
            out += places_below(root.path, below_root(path));
}

PHYSICAL_PATH PATHS::physical_path(const LOGICAL_PATH& path)
{
    const PHYSICAL_PATH target = target_path(path);
    const QStringRef logical = logical_root(path);
    for (const ROOT& root : state().roots) {
        if (!root.is_companion || root.logical != logical || QFileInfo::exists(target))
            continue;
        const PHYSICAL_PATH older(disk().place(root.path, below_root(path)));
        if (QFileInfo::exists(older))
            return older;
    }
    return target;
}

PHYSICAL_PATH PATHS::target_path(const LOGICAL_PATH& path)
{
    const QStringRef logical = logical_root(path);
    for (const ROOT& root : state().roots)
        if (root.logical == logical && !root.is_companion)
            return PHYSICAL_PATH(disk().place(root.path, below_root(path)));
    return PHYSICAL_PATH();
}

QVector<PHYSICAL_PATH> PATHS::places_below(const PHYSICAL_PATH& folder, const QString& rest)
{
    QVector<PHYSICAL_PATH> places;
    for (const QString& place : disk().all(folder, rest))
        places.append(PHYSICAL_PATH(place));
    if (places.isEmpty())
        places.append(PHYSICAL_PATH(disk().place(folder, rest)));
    return places;
}

void PATHS::forget_folders()
{
    disk().forget();
}

bool PATHS::is_in_companion(const PHYSICAL_PATH& path)
{
    for (const ROOT& root : state().roots)
        if (root.is_companion && is_below_or_equal(path, root.path))
            return true;
    return false;
}

LOGICAL_PATH PATHS::logical_path(const PHYSICAL_PATH& path)
{
    const ROOT* const root = root_of(path);
    if (!root)
        return LOGICAL_PATH(QStringLiteral("<>"));
    const QStringRef rest = path.midRef(static_cast<const QString&>(root->path).size());
    QString text;
    text.reserve(root->logical.size() + rest.size());
    text += root->logical;
    text += rest;
    lower_case_by_letter(text.data() + root->logical.size(), rest.size());
    return LOGICAL_PATH(text);
}

const PHYSICAL_PATH& PATHS::working_data()
{
    return state().working_data;
}

const PHYSICAL_PATH& PATHS::retail_build()
{
    return state().retail_build;
}

bool PATHS::override(const PHYSICAL_PATH& new_file, const PHYSICAL_PATH& known_file, bool)
{
    const ROOT* const new_root = root_of(new_file);
    const ROOT* const known_root = root_of(known_file);
    return new_root && known_root && new_root->logical == known_root->logical && !new_root->is_companion &&
           known_root->is_companion;
}
