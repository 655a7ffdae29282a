#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <atomic>
#include <memory>
#include <system_error>

#include "contracts/services/directory_scanner.h"
#include "contracts/services/fw_memory.h"

/// What DIRECTORY_SCANNER and its ways of reading folders share. Not for others.
namespace DIRECTORY_WALK {

/// One folder of a tree: first what is needed to read it, then what was found.
/// Owned by its tree. One thread reads a folder; its sub-folders are handed to
/// other threads only when it has been read.
struct FOLDER
{
    const FOLDER* parent = nullptr; ///< null for the root of a tree
    QByteArray path;                ///< UTF-8, no trailing slash, empty for "/"; emptied when read
    bool below_link = false;        ///< a link to a folder lies on the way here
    bool is_read = false;           ///< what was found stands below; guarded by the scanner
    QByteArray identity;            ///< equal for the same folder of the disk, however it was reached

    FW::VECTOR<DIRECTORY_SCANNER::FILE_INFO> files; ///< sorted by name
    FW::VECTOR<FOLDER*> folders;                    ///< sorted by name
    QStringList left_out;                           ///< what has a name that is no UTF-8
    int error_number = 0;                           ///< of the first failure, 0 when there was none
    QString error;                                  ///< path and cause of the first failure
};

/// Sub-folders on their way to their tree, sorted by name.
using SUB_FOLDERS = FW::VECTOR<std::unique_ptr<FOLDER>>;

/// Reads one folder at a time, in buffers of its own; each thread has its own.
class FOLDER_READER
{
public:
    virtual ~FOLDER_READER() = default;

    /// Fills `files`, `identity` and the failure of `folder`, and gives its
    /// sub-folders. A folder that is not there any more is empty, and so is one
    /// that lies above itself. May end early once `stopping` is set.
    virtual SUB_FOLDERS read(FOLDER& folder, const std::atomic<bool>& stopping) = 0;
};

std::unique_ptr<FOLDER_READER> make_native_reader();
std::unique_ptr<FOLDER_READER> make_portable_reader();

/// The key by which the names of a folder are sorted.
struct SORTED_NAME
{
    explicit SORTED_NAME(const QString& text);
    bool operator<(const SORTED_NAME& other) const;

    QString lower;
    QString name;
};

/// What lies in one folder, until all of it is found and can be sorted.
class FOUND_ENTRIES
{
public:
    void clear();
    void add_file(const QString& name, qint64 modified, qint64 size); ///< milliseconds since 1970; bytes
    void add_folder(const QString& name, bool is_link);

    /// Fills the files of `folder` and gives its sub-folders.
    SUB_FOLDERS hand_over(FOLDER& folder);

private:
    struct ENTRY
    {
        SORTED_NAME name;
        bool is_link;
        qint64 modified;
        qint64 size;
    };

    FW::VECTOR<ENTRY> m_files;
    FW::VECTOR<ENTRY> m_folders;
};

/// Makes the path without links the identity of `folder` where that follows from the
/// folder above; false where a link may be on the way, and the system has to be asked.
bool inherit_identity(FOLDER& folder);

/// Whether `folder` was reached through a link and is one of the folders above itself.
bool leads_back(const FOLDER& folder);

/// Whether `cause` says that `folder` has vanished since its name was read, or,
/// for a root, that it does not exist.
bool is_gone(const FOLDER& folder, const std::error_code& cause);

/// Whether `cause` says that the file or link behind a name leads nowhere.
bool is_gone(const std::error_code& cause);

/// Notes that `path` could not be read, unless `folder` has a failure already.
void fail(FOLDER& folder, const std::error_code& cause, const QByteArray& path);
void fail(FOLDER& folder, int number, const QString& cause, const QByteArray& path);

/// Whether the bytes of a name are UTF-8, or its units UTF-16; if not, notes in `folder`
/// that it is left out.
bool is_spellable(FOLDER& folder, const QByteArray& name);
bool is_spellable(FOLDER& folder, const QString& name);

std::unique_ptr<FOLDER> make_sub_folder(const FOLDER& folder, const QByteArray& name, bool is_link);

} // namespace DIRECTORY_WALK
