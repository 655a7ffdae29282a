#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

constexpr qint64 NO_TIME = -1; ///< of a file that does not exist, or a stamp that was not given
constexpr qint64 NO_SIZE = -1; ///< of a file that does not exist, or whose size is unknown

/// What tells a file from the same file after a change.
struct FILE_STAMP
{
    qint64 time = NO_TIME; ///< of modification, ms since 1970, UTC
    qint64 size = NO_SIZE; ///< bytes

    bool operator==(const FILE_STAMP& other) const { return time == other.time && size == other.size; }
    bool operator!=(const FILE_STAMP& other) const { return !(*this == other); }
};

/// The file's time and size as the disk has them now, as the scan rounds them; of a
/// link, those of what it leads to. Neither when it does not exist. Any thread.
GOX_CONTRACTS_EXPORT FILE_STAMP stamp_of_file(const QString& path);
