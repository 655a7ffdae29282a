#pragma once

#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include "contracts/export.h"

class QIODevice;

// What all have to heed who put a new file in the place of another one. Any thread.

/// What lies at the end of the links at `path`; `path` itself where there is none.
GOX_CONTRACTS_EXPORT QString behind_links(const QString& path);

/// Why this file must not be replaced or changed, empty when it may be. The rights
/// themselves are looked at: an administrator may write to everything.
QString why_not_writable(const QFileInfo& file);

/// Why nothing may be put in this place, empty when something may be: it is a
/// folder, a device, read-only. A place where nothing lies is free.
GOX_CONTRACTS_EXPORT QString why_not_replaceable(const QString& place);

/// Whether new files may be made in this folder, which has to exist. Nothing is made.
GOX_CONTRACTS_EXPORT bool takes_new_files(const QString& folder);

/// Writes all of it, in several parts when the file takes no more at once. False
/// when it takes no more, and then it knows why: a disk that took a part says why
/// it takes no more when it is asked again.
bool write_all(QIODevice& file, const char* data, qint64 size);
