#include "contracts/services/directory_walk.h"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

namespace DIRECTORY_WALK {
namespace {

namespace fs = std::filesystem;

struct FILE_STATUS
{
    QDateTime modified; // invalid when there is no such file
    qint64 size = -1;
};

// The bytes of a name are UTF-8, here as everywhere.
QString text_of(const fs::path& path)
{
    return QString::fromUtf8(path.c_str());
}
fs::path path_of(const QByteArray& utf8)
{
    return fs::path(utf8.toStdString());
}
FILE_STATUS status_of(const fs::path& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return {};
#ifdef Q_OS_DARWIN
    const timespec& time = status.st_mtimespec;
#else
    const timespec& time = status.st_mtim;
#endif
    return {QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000, Qt::UTC),
            qint64(status.st_size)};
}

struct FILE_ITEM
{
    SORTED_NAME name;
    FILE_STATUS status;
};

struct FOLDER_ITEM
{
    SORTED_NAME name;
    QByteArray utf8; // the name as the system gave it
    bool is_link;
};

QByteArray name_bytes(const fs::path& name)
{
    return QByteArray(name.c_str());
}

class PORTABLE_READER : public FOLDER_READER
{
public:
    SUB_FOLDERS read(FOLDER& folder, const std::atomic<bool>& stopping) override;

private:
    void identify(FOLDER& folder, const fs::path& path) const;
    void take_entry(FOLDER& folder, const fs::directory_entry& entry);

    FW::VECTOR<FILE_ITEM> m_files;
    FW::VECTOR<FOLDER_ITEM> m_folders;
};

SUB_FOLDERS PORTABLE_READER::read(FOLDER& folder, const std::atomic<bool>& stopping)
{
    m_files.clear();
    m_folders.clear();

    SUB_FOLDERS result;
    const fs::path path = path_of(folder.path.isEmpty() ? QByteArray("/") : folder.path);
    std::error_code cause;
    identify(folder, path);
    if (leads_back(folder))
        return result;
    fs::directory_iterator place(path, cause);
    while (!cause && place != fs::directory_iterator() && !stopping.load(std::memory_order_relaxed)) {
        take_entry(folder, *place);
        place.increment(cause);
    }
    if (cause && !is_gone(folder, cause))
        fail(folder, cause, folder.path);

    const auto by_name = [](const auto& a, const auto& b) { return a.name < b.name; };
    std::sort(m_files.begin(), m_files.end(), by_name);
    std::sort(m_folders.begin(), m_folders.end(), by_name);
    const QString prefix = QString::fromUtf8(folder.path) + '/';
    folder.files.reserve(m_files.size());
    for (const FILE_ITEM& file : m_files)
        folder.files.push_back({prefix + file.name.name, file.status.modified, file.status.size});
    result.reserve(m_folders.size());
    for (const FOLDER_ITEM& sub_folder : m_folders)
        result.push_back(make_sub_folder(folder, sub_folder.utf8, sub_folder.is_link));
    return result;
}

/// The path without links. It is asked of the system where a link may be on the
/// way, and follows from the folder above everywhere else.
void PORTABLE_READER::identify(FOLDER& folder, const fs::path& path) const
{
    if (folder.parent && !folder.below_link) {
        folder.identity = folder.parent->identity + folder.path.mid(folder.path.lastIndexOf('/'));
        return;
    }
    std::error_code cause;
    folder.identity = name_bytes(fs::canonical(path, cause));
}

void PORTABLE_READER::take_entry(FOLDER& folder, const fs::directory_entry& entry)
{
    std::error_code cause;
    const fs::path name = entry.path().filename();
    const fs::file_type type = entry.status(cause).type();
    const bool is_wanted = type == fs::file_type::directory || type == fs::file_type::regular;
    if (is_wanted && !is_spellable(folder, name_bytes(name)))
        return;
    const SORTED_NAME sorted(text_of(name));
    if (type == fs::file_type::directory) {
        const bool is_link = entry.symlink_status(cause).type() != fs::file_type::directory;
        m_folders.push_back({sorted, name_bytes(name), is_link});
    } else if (type == fs::file_type::regular) {
        const FILE_STATUS status = status_of(entry.path());
        if (status.modified.isValid())
            m_files.push_back({sorted, status});
    } else if (cause && !is_gone(cause)) {
        fail(folder, cause, folder.path + '/' + name_bytes(name));
    }
}

} // namespace

std::unique_ptr<FOLDER_READER> make_portable_reader()
{
    return std::make_unique<PORTABLE_READER>();
}

#ifndef Q_OS_LINUX
std::unique_ptr<FOLDER_READER> make_native_reader()
{
    return make_portable_reader();
}
#endif

} // namespace DIRECTORY_WALK
