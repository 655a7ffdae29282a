#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <atomic>

/// One file in a pack. Its bytes come from `path`, or are `text` where `path`
/// is empty.
struct PACK_MEMBER
{
    QString name; ///< in the pack, with forward slashes
    QString path; ///< on disk
    QByteArray text;
};

/// What the writing of a pack shares with others while it goes on.
struct PACK_PROGRESS
{
    int& current;                  ///< goes from 0 to `total`
    int total;                     ///< at least 1
    const std::atomic<bool>& stop; ///< set by another thread to end the work
};

/// Writes a zip file with these members, in their order. The same members give
/// the same bytes whatever the day, the time zone, the machine and the permissions of
/// the files: no member carries a time or a mode of its own. The file is written under a temporary name in
/// its folder and then renamed, so a failure leaves what was there before.
///
/// Empty on success; else what went wrong, with the path of the file that is to
/// blame.
QString write_pack(const QString& path, const QVector<PACK_MEMBER>& members, const PACK_PROGRESS& progress);
