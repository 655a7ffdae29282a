#include "contracts/paths/paths.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include "contracts/paths/letter_case.h"

namespace {

struct ROOT
{
    PHYSICAL_PATH path;
    QString logical;   // such as "<raw>"
    bool is_companion; // an "old_" root
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
    if (path.size() < root.size())
        return false;
    if (path.size() > root.size() && path.at(root.size()) != '/')
        return false;
    return path.startsWith(root) || path.startsWith(root, Qt::CaseInsensitive);
}

const ROOT* root_of(const QString& path)
{
    const ROOT* best = nullptr;
    for (const ROOT& root : state().roots) {
        const QString& text = root.path;
        if (is_below_or_equal(path, text) &&
            (!best || text.size() > static_cast<const QString&>(best->path).size()))
            best = &root;
    }
    return best;
}

void lower_in_place(QChar* text, int size)
{
    map_letters(text, size, [](uint letter) { return QChar::toLower(letter); });
}

} // namespace

QString lower_case_by_letter(const QString& text)
{
    QString result = text;
    lower_in_place(result.data(), result.size());
    return result;
}

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
    const QString root_text = path.section('/', 0, 0);
    for (const ROOT& root : state().roots)
        if (root.logical == root_text)
            out.append(PHYSICAL_PATH(root.path + path.midRef(root_text.size())));
}

PHYSICAL_PATH PATHS::physical_path(const LOGICAL_PATH& path)
{
    QVector<PHYSICAL_PATH> candidates;
    physical_paths(path, candidates);
    if (candidates.isEmpty())
        return PHYSICAL_PATH();
    const PHYSICAL_PATH preferred = candidates.last(); // companions come first
    if (candidates.size() > 1 && !QFileInfo::exists(preferred))
        for (const PHYSICAL_PATH& candidate : candidates)
            if (QFileInfo::exists(candidate))
                return candidate;
    return preferred;
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
    lower_in_place(text.data() + root->logical.size(), rest.size());
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
