#include "contracts/services/directory_walk.h"

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
