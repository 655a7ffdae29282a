#include "contracts/services/file_digests.h"

#include <QtCore/QDateTime>

// The coarsest time that a disk in use keeps, and a second for clocks that differ.
static constexpr qint64 MSECS_TO_SETTLE = 3000;

FILE_DIGESTS::FILE_DIGESTS(const QVector<KNOWN_FILE>& known)
{
    for (const KNOWN_FILE& file : known)
        m_known.insert(file.file, file);
}

KNOWN_FILE FILE_DIGESTS::of(const QString& file)
{
    const FILE_STAMP stamp = stamp_of_file(file);
    KNOWN_FILE now = m_known.value(file);
    if (now.stamp != stamp || now.digest.is_null()) {
        now = {file, stamp, digest_of_file(file)};
        if (now.digest.is_null() || stamp_of_file(file) != stamp)
            return {file, stamp, DIGEST()};
        m_known.insert(file, now);
    }
    const bool is_told = m_asked.value(file).stamp == stamp;
    if (!is_told && stamp.time + MSECS_TO_SETTLE < QDateTime::currentMSecsSinceEpoch())
        m_asked.insert(file, now);
    return now;
}
