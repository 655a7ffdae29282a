#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/export.h"
#include "contracts/services/digest.h"
#include "contracts/services/file_stamp.h"

/// What is known of a file's bytes, and of which ones.
struct KNOWN_FILE
{
    QString file; ///< as it was asked for
    FILE_STAMP stamp;
    DIGEST digest;

    bool operator==(const KNOWN_FILE& other) const
    {
        return file == other.file && stamp == other.stamp && digest == other.digest;
    }
};

/// Digests of files that are asked for again and again. A file is read again only when
/// its time or its size is another than those that are known of it. One thread at a time.
class FILE_DIGESTS
{
public:
    /// `known` is what an earlier object said that is worth keeping.
    GOX_CONTRACTS_EXPORT explicit FILE_DIGESTS(const QVector<KNOWN_FILE>& known = {});

    /// The file as it is now. The digest is null when it can't be read or was replaced
    /// meanwhile, which must not count as equal to anything.
    GOX_CONTRACTS_EXPORT KNOWN_FILE of(const QString& file);

    /// What is worth keeping for later objects. A file that was written within the last
    /// seconds is not: it may change once more under the same time.
    QVector<KNOWN_FILE> asked() const { return QVector<KNOWN_FILE>::fromList(m_asked.values()); }

private:
    QMap<QString, KNOWN_FILE> m_known; // by name
    QMap<QString, KNOWN_FILE> m_asked;
};
