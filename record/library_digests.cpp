#include "record/library_digests.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <algorithm>

namespace {

// The coarsest time that a disk in use keeps, and a second for clocks that differ.
constexpr qint64 MSECS_TO_SETTLE = 3000;

DIGEST digest_of_file(const QString& file)
{
    QFile library(file);
    if (!library.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = library.readAll();
    return library.error() == QFile::NoError ? digest_of(bytes) : DIGEST{};
}

template <typename LIBRARIES>
auto find_library(LIBRARIES& libraries, const QString& file)
{
    return std::find_if(libraries.begin(), libraries.end(),
                        [&](const KNOWN_LIBRARY& library) { return library.file == file; });
}

} // namespace

DIGEST LIBRARY_DIGESTS::digest_of_library(const QString& file)
{
    const FILE_STAMP stamp = stamp_of_file(file);
    const auto known = find_library(m_known, file);
    const bool is_known = known != m_known.end() && known->stamp == stamp && stamp.time != NO_TIME;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const KNOWN_LIBRARY library{file, stamp, is_known ? known->digest : digest_of_file(file)};
    const bool is_settled = stamp.time + MSECS_TO_SETTLE < now && stamp_of_file(file) == stamp;
    if (is_settled && !library.digest.is_null() && find_library(m_asked, file) == m_asked.end())
        m_asked.append(library);
    return library.digest;
}
