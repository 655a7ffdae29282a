#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>
#include <memory>

#include "contracts/export.h"
#include "contracts/services/fw_memory.h"

/// The bulk file lister: walks whole folder trees with several threads.
///
/// `add_path` starts the walk of a tree at once, `get_files` waits for it and
/// hands its files over. Their order is fixed whatever the threads do: a
/// folder's own files first, then each of its sub-folders whole; files and
/// sub-folders by the lower-case form of their names (lower_case_by_letter,
/// compared by UTF-16 code unit), equal ones by the exact name. That is the
/// order of LOGICAL_PATH::operator<, so the logical paths of a tree come sorted.
///
/// Every regular file is listed, hidden ones too. A link to a file counts as a
/// file with the time of its target; a link to a folder is followed, except one
/// that leads back to a folder above it; a link to nothing is left out, and so
/// is whatever vanishes during the walk. On Unix names are taken as UTF-8
/// whatever the locale says.
///
/// The operations may be called from any thread, one at a time.
class GOX_CONTRACTS_EXPORT DIRECTORY_SCANNER
{
public:
    struct FILE_INFO
    {
        QString path;       ///< the directory as given to get_files, "/", the rest of the path
        QDateTime modified; ///< UTC, with milliseconds
        qint64 size = -1;   ///< bytes; -1: unknown
    };

    /// How folders are read: as this system does it best, or with the standard
    /// library alone, as the systems without a way of their own do it. Both give
    /// the same files. On Windows both are its own way.
    enum WALK
    {
        WALK_NATIVE,
        WALK_PORTABLE
    };

    /// `thread_count` 0 takes the usual number of threads. They are started by
    /// the first walk.
    explicit DIRECTORY_SCANNER(int thread_count = 0, WALK walk = WALK_NATIVE);

    /// Ends walks that are still going on.
    ~DIRECTORY_SCANNER();
    DIRECTORY_SCANNER(const DIRECTORY_SCANNER&) = delete;
    DIRECTORY_SCANNER& operator=(const DIRECTORY_SCANNER&) = delete;

    /// Announces `directory` and begins to walk it. A directory that is
    /// announced several times is walked once and can be fetched as often.
    void add_path(const QString& directory);

    /// Appends one record for every file below `directory`; waits until its
    /// walk has ended. A directory that was not announced, or has been fetched
    /// already, is walked afresh. One that does not exist is empty.
    ///
    /// False when a folder or file could not be read: then nothing is appended,
    /// and get_error and `error_number` say why. Other directories are not
    /// concerned.
    bool get_files(const QString& directory, QVector<FILE_INFO>& files);

    /// The same in pieces: hands `take` the files of one folder after another while
    /// the walk goes on, so that the caller works on the first ones meanwhile. They
    /// are the caller's to move away. Folders without files are left out.
    ///
    /// False as with get_files; then `take` has had the folders in front of the first
    /// failure and none behind it.
    using TAKE_FILES = std::function<void(FW::VECTOR<FILE_INFO>& files)>;
    bool take_files(const QString& directory, const TAKE_FILES& take);

    /// What the calls of get_files and take_files since the last call of this left out
    /// because of its name: a text for each, with the path, in which what is no UTF-8, on
    /// Windows no UTF-16, is escaped. In the order of the folders, those of a folder sorted.
    QStringList take_left_out();

    /// Path and cause of the last failure, empty before the first. A later
    /// success does not clear it.
    QString get_error() const;

    int error_number; ///< of the last failure, the system's; 0 before the first

protected:
    /// Ends all walks, drops what nobody has fetched and joins the threads. The
    /// next `add_path` or `get_files` starts afresh.
    void end_work();

private:
    class WORKERS;

    // Notes how a call ended; false when there was an error.
    bool conclude(int failure, const QString& error, const QStringList& left_out);

    std::unique_ptr<WORKERS> m_workers;
    QString m_error;
    QStringList m_left_out;
};

Q_DECLARE_TYPEINFO(DIRECTORY_SCANNER::FILE_INFO, Q_MOVABLE_TYPE);
