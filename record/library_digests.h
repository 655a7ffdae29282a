#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include "record/build_entry.h"

/// What is known of a library's bytes, and of which ones.
struct KNOWN_LIBRARY
{
    QString file; ///< as it was asked for
    FILE_STAMP stamp;
    DIGEST digest;

    bool operator==(const KNOWN_LIBRARY& other) const
    {
        return file == other.file && stamp == other.stamp && digest == other.digest;
    }
};

/// Digests of the plugins' libraries. A library is read again only when its time or
/// its size is another than those that are known of it. One thread at a time.
class LIBRARY_DIGESTS
{
public:
    /// `known` comes from the record.
    explicit LIBRARY_DIGESTS(const QVector<KNOWN_LIBRARY>& known = {}) : m_known(known) {}

    /// Of the file's bytes now; null when it can't be read, which must not count as
    /// equal to anything.
    DIGEST digest_of_library(const QString& file);

    /// What is worth keeping of the libraries that were asked for. A library that was
    /// written within the last seconds is not: it may change once more under the same
    /// time.
    const QVector<KNOWN_LIBRARY>& asked() const { return m_asked; }

private:
    QVector<KNOWN_LIBRARY> m_known;
    QVector<KNOWN_LIBRARY> m_asked;
};
