#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QDirIterator>
#include <QtCore/QString>

#include "contracts/export.h"

/// One entry of a folder, as DIR_ITERATOR delivers it.
struct FILE_INFO
{
    bool is_directory = false;
    QString name;       ///< without the folder
    QDateTime modified; ///< UTC
};

/// Walks one folder, not its sub-folders, and looks one entry ahead. "." and
/// ".." are delivered like others. A folder that does not exist or can't be
/// read has no entries. One thread at a time.
class GOX_CONTRACTS_EXPORT DIR_ITERATOR
{
public:
    explicit DIR_ITERATOR(const QString& directory);

    /// Fetches the waiting entry into `current` and gives its name. Only while
    /// `has_next` is true; otherwise `current` stays and its name comes back.
    const QString& next();

    bool has_next; ///< an entry is waiting
    FILE_INFO current;

private:
    void look_ahead();

    QDirIterator m_walk;
    FILE_INFO m_waiting;
};
