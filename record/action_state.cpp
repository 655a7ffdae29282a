#include "record/action_state.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "contracts/paths/paths.h"
#include "session/file_entry.h"

TREE_PLACES::TREE_PLACES() : m_tree(PATHS::working_data().section('/', 0, -2) + '/') {}

QStringView TREE_PLACES::place(const QString& path) const
{
    return path.startsWith(m_tree) ? QStringView(path).mid(m_tree.size()) : QStringView(path);
}

QString TREE_PLACES::path(const QString& place) const
{
    return QFileInfo(place).isRelative() ? m_tree + place : place;
}

void STATE_DIGEST::start(qint64 stamp)
{
    m_stamp = stamp;
    m_inputs.clear();
    m_targets.clear();
}

quint64 STATE_DIGEST::hash(QStringView place, const FILE_STAMP& file)
{
    const quint64 parts[] = {
        hash_64(place.utf16(), std::size_t(place.size()) * sizeof(QChar)),
        quint64(file.time),
        quint64(file.size),
    };
    return hash_64(parts, sizeof parts);
}

DIGEST STATE_DIGEST::result()
{
    std::sort(m_inputs.begin(), m_inputs.end());
    std::sort(m_targets.begin(), m_targets.end());
    const std::size_t inputs = m_inputs.size();
    m_inputs.insert(m_inputs.end(), m_targets.begin(), m_targets.end());
    m_inputs.push_back(quint64(inputs));
    m_inputs.push_back(quint64(m_stamp));
    return digest_of(m_inputs.data(), m_inputs.size() * sizeof(quint64));
}

bool SHARED_TARGETS::is_written_later(const FILE_ENTRY& file, const ACTION_INTERFACE& action)
{
    if (file.providers.size() < 2)
        return false;
    if (m_places.isEmpty())
        for (int i = 0; i < m_plan.size(); ++i)
            m_places.insert(m_plan.at(i), i);
    const int place = m_places.value(&action);
    return std::any_of(file.providers.cbegin(), file.providers.cend(),
                       [&](const ACTION_INTERFACE* other) { return m_places.value(other, -1) > place; });
}

FILE_STAMP ACTION_FILES::input(const FILE_ENTRY& file) const
{
    return m_source == SCANNED || file.virtual_file ? scanned(file) : stamp_of_file(file.physical);
}

FILE_STAMP ACTION_FILES::target(const ACTION_INTERFACE& action, const FILE_ENTRY& file,
                                const PHYSICAL_PATH& path)
{
    if (shared.is_written_later(file, action))
        return stamp_of_overwritten();
    const QString& now = file.physical;
    const bool lies_there = now == static_cast<const QString&>(path) || file.physical == path;
    if (!lies_there) // as where only a companion has the file
        return stamp_of_file(PATHS::target_path(PATHS::logical_path(path)));
    return m_source == SCANNED ? scanned(file) : stamp_of_file(now);
}

// Without a size the time may be that of a file of a companion.
bool ACTION_FILES::is_known(const FILE_ENTRY& file)
{
    return !file.local_time.isNull() && (file.local_size >= 0 || file.virtual_file);
}

FILE_STAMP ACTION_FILES::scanned(const FILE_ENTRY& file)
{
    return is_known(file) ? known(file) : stamp_of_file(file.physical);
}

FILE_STAMP ACTION_FILES::known(const FILE_ENTRY& file)
{
    return {file.local_time.toMSecsSinceEpoch(), file.local_size};
}

FILE_STAMP stamp_of_overwritten()
{
    return {NO_TIME, NO_SIZE - 1};
}

FILE_STAMP stamp_of_uncertain()
{
    return {NO_TIME, NO_SIZE - 2};
}

bool is_added_to(const FILE_ENTRY& input, const ACTION_INTERFACE& action)
{
    return input.main_provider && input.main_provider != &action &&
           input.providers.contains(const_cast<ACTION_INTERFACE*>(&action));
}

bool has_double(ACTION_INTERFACE& action)
{
    if (action.target_files.isEmpty())
        return false;
    const QVector<ACTION_INTERFACE*>& providers = action.target_files.firstKey()->providers;
    if (providers.size() < 2)
        return false;
    const quint64 key = notes_of(action).key;
    return std::any_of(providers.cbegin(), providers.cend(), [&](ACTION_INTERFACE* other) {
        return other != &action && notes_of(*other).key == key;
    });
}
