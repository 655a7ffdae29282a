#include "contracts/services/directory_walk.h"

#include <algorithm>
#include <string>

#include "contracts/paths/paths.h"

namespace DIRECTORY_WALK {

SORTED_NAME::SORTED_NAME(const QString& text) : lower(lower_case_by_letter(text)), name(text) {}

bool SORTED_NAME::operator<(const SORTED_NAME& other) const
{
    const int order = lower.compare(other.lower);
    return order != 0 ? order < 0 : name < other.name;
}

bool leads_back(const FOLDER& folder)
{
    // Without a link on the way a folder can't be one of those above it.
    if (!folder.below_link)
        return false;
    const FOLDER* above = folder.parent;
    while (above && above->identity != folder.identity)
        above = above->parent;
    return above;
}

bool is_gone(const std::error_code& cause)
{
    return cause == std::errc::no_such_file_or_directory || cause == std::errc::not_a_directory ||
           cause == std::errc::too_many_symbolic_link_levels;
}

bool is_gone(const FOLDER& folder, const std::error_code& cause)
{
    // A root that is a file, and a chain of links too long for the system, are
    // mistakes to be told.
    return cause == std::errc::no_such_file_or_directory ||
           (cause == std::errc::not_a_directory && folder.parent);
}

void fail(FOLDER& folder, const std::error_code& cause, const QByteArray& path)
{
    fail(folder, cause.value(), QString::fromLocal8Bit(cause.message().c_str()), path);
}

void fail(FOLDER& folder, int number, const QString& cause, const QByteArray& path)
{
    if (folder.error_number)
        return;
    folder.error_number = number;
    folder.error = QString::fromUtf8(path) + ": " + cause.trimmed();
}

void FOUND_ENTRIES::clear()
{
    m_files.clear();
    m_folders.clear();
}

void FOUND_ENTRIES::add_file(const QString& name, qint64 modified, qint64 size)
{
    m_files.push_back({SORTED_NAME(name), false, modified, size});
}

void FOUND_ENTRIES::add_folder(const QString& name, bool is_link)
{
    m_folders.push_back({SORTED_NAME(name), is_link, 0, 0});
}

SUB_FOLDERS FOUND_ENTRIES::hand_over(FOLDER& folder)
{
    const auto by_name = [](const ENTRY& a, const ENTRY& b) { return a.name < b.name; };
    std::sort(m_files.begin(), m_files.end(), by_name);
    std::sort(m_folders.begin(), m_folders.end(), by_name);
    const QString prefix = QString::fromUtf8(folder.path) + '/';
    folder.files.reserve(m_files.size());
    for (const ENTRY& file : m_files)
        folder.files.push_back(
            {prefix + file.name.name, QDateTime::fromMSecsSinceEpoch(file.modified, Qt::UTC), file.size});
    SUB_FOLDERS result;
    result.reserve(m_folders.size());
    for (const ENTRY& sub_folder : m_folders)
        result.push_back(make_sub_folder(folder, sub_folder.name.name.toUtf8(), sub_folder.is_link));
    return result;
}

bool inherit_identity(FOLDER& folder)
{
    if (!folder.parent || folder.below_link)
        return false;
    folder.identity = folder.parent->identity + folder.path.mid(folder.path.lastIndexOf('/'));
    return true;
}

std::unique_ptr<FOLDER> make_sub_folder(const FOLDER& folder, const QByteArray& name, bool is_link)
{
    auto result = std::make_unique<FOLDER>();
    result->parent = &folder;
    result->path.reserve(folder.path.size() + 1 + name.size());
    result->path.append(folder.path).append('/').append(name);
    result->below_link = folder.below_link || is_link;
    return result;
}

namespace {

void leave_out(FOLDER& folder, const QString& escaped_name, const QString& coding)
{
    folder.left_out.append(QStringLiteral("%1/%2 is left out: its name is no %3.")
                               .arg(QString::fromUtf8(folder.path), escaped_name, coding));
}

} // namespace

bool is_spellable(FOLDER& folder, const QByteArray& name)
{
    if (QString::fromUtf8(name).toUtf8() == name)
        return true;
    QString escaped;
    for (const char c : name)
        escaped += uchar(c) < 0x80 ? QString(QChar(c)) : QStringLiteral("\\x%1").arg(uchar(c), 2, 16);
    leave_out(folder, escaped, "UTF-8");
    return false;
}

bool is_spellable(FOLDER& folder, const QString& name)
{
    if (name.isValidUtf16())
        return true;
    QString escaped;
    for (const QChar c : name)
        escaped += c.isSurrogate() ? QStringLiteral("\\u%1").arg(c.unicode(), 4, 16) : QString(c);
    leave_out(folder, escaped, "UTF-16");
    return false;
}

} // namespace DIRECTORY_WALK
