#include "contracts/services/directory_walk.h"

#include <filesystem>

#include <sys/stat.h>

namespace DIRECTORY_WALK {
namespace {

namespace fs = std::filesystem;

// The bytes of a name are UTF-8, here as everywhere.
fs::path path_of(const QByteArray& utf8)
{
    return fs::path(utf8.toStdString());
}

qint64 modified(const struct stat& status)
{
#ifdef Q_OS_DARWIN
    const timespec& time = status.st_mtimespec;
#else
    const timespec& time = status.st_mtim;
#endif
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

class PORTABLE_READER : public FOLDER_READER
{
public:
    SUB_FOLDERS read(FOLDER& folder, const std::atomic<bool>& stopping) override;

private:
    void identify(FOLDER& folder, const fs::path& path) const;
    void take_entry(FOLDER& folder, const fs::directory_entry& entry);

    FOUND_ENTRIES m_found;
};

SUB_FOLDERS PORTABLE_READER::read(FOLDER& folder, const std::atomic<bool>& stopping)
{
    m_found.clear();
    const fs::path path = path_of(folder.path.isEmpty() ? QByteArray("/") : folder.path);
    std::error_code cause;
    identify(folder, path);
    if (leads_back(folder))
        return {};
    fs::directory_iterator place(path, cause);
    while (!cause && place != fs::directory_iterator() && !stopping.load(std::memory_order_relaxed)) {
        take_entry(folder, *place);
        place.increment(cause);
    }
    if (cause && !is_gone(folder, cause))
        fail(folder, cause, folder.path);
    return m_found.hand_over(folder);
}

void PORTABLE_READER::identify(FOLDER& folder, const fs::path& path) const
{
    if (inherit_identity(folder))
        return;
    std::error_code cause;
    folder.identity = fs::canonical(path, cause).c_str();
}

void PORTABLE_READER::take_entry(FOLDER& folder, const fs::directory_entry& entry)
{
    std::error_code cause;
    const QByteArray name = entry.path().filename().c_str();
    const fs::file_type type = entry.status(cause).type();
    const bool is_wanted = type == fs::file_type::directory || type == fs::file_type::regular;
    struct stat status;
    if (is_wanted && !is_spellable(folder, name))
        return;
    if (type == fs::file_type::directory) {
        const bool is_link = entry.symlink_status(cause).type() != fs::file_type::directory;
        m_found.add_folder(QString::fromUtf8(name), is_link);
    } else if (type == fs::file_type::regular) {
        if (stat(entry.path().c_str(), &status) == 0)
            m_found.add_file(QString::fromUtf8(name), modified(status), qint64(status.st_size));
    } else if (cause && !is_gone(cause)) {
        fail(folder, cause, folder.path + '/' + name);
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
