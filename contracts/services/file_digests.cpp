#include "contracts/services/file_digests.h"

#include <QtCore/QDateTime>

// The coarsest time that a disk in use keeps, and a second for clocks that differ.
static constexpr qint64 MSECS_TO_SETTLE = 3000;

FILE_DIGESTS::FILE_DIGESTS(const QVector<KNOWN_FILE>& known)
{
    for (const KNOWN_FILE& file : known)
        m_known.insert(file.file, file);
}

DIGEST FILE_DIGESTS::of(const QString& file)
{
    KNOWN_FILE now = m_known.value(file);
    const FILE_STAMP stamp = stamp_of_file(file);
    const bool is_known = now.stamp == stamp && !now.digest.is_null();
    if (!is_known)
        now = {file, stamp, digest_of_file(file)};
    if (!is_known && stamp_of_file(file) != stamp)
        return DIGEST();
    m_known.insert(file, now);
    if (stamp.time + MSECS_TO_SETTLE < QDateTime::currentMSecsSinceEpoch() && !now.digest.is_null())
        m_asked.insert(file, now);
    return now.digest;
}
