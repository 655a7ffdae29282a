#include "contracts/services/directory_walk.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace DIRECTORY_WALK {
namespace {

constexpr std::size_t BUFFER_SIZE = std::size_t(256) * 1024;

/// What getdents64 writes; names end with a zero byte.
struct KERNEL_ENTRY
{
    quint64 inode;
    qint64 offset;
    quint16 record_size;
    quint8 type;
    char name[1];
};

/// A file or sub-folder while its folder is read and sorted.
struct ENTRY
{
    quint64 key;      // first 8 bytes of the lower-case name, compares as they do
    std::size_t name; // place in the reader's text, the lower-case form behind it
    quint32 size;     // of either form
    bool is_link;
    qint64 modified; // milliseconds since 1970, of files only
    qint64 bytes;    // the size of the file
};

class DESCRIPTOR
{
public:
    explicit DESCRIPTOR(int value) : m_value(value) {}
    ~DESCRIPTOR() { reset(-1); }
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;

    int get() const { return m_value; }
    void reset(int value)
    {
        if (m_value >= 0)
            close(m_value);
        m_value = value;
    }

private:
    int m_value;
};

std::error_code last_error()
{
    return std::error_code(errno, std::generic_category());
}

int open_at(int base, const char* path, int flags)
{
    int result;
    do
        result = openat(base, path, flags | O_DIRECTORY | O_CLOEXEC);
    while (result < 0 && errno == EINTR);
    return result;
}

/// Opens the folder of `path`, in pieces when the path is too long for one call.
void open_folder(const QByteArray& path, DESCRIPTOR& result)
{
    DESCRIPTOR base(AT_FDCWD);
    QByteArray rest = path.isEmpty() ? QByteArray("/") : path;
    while (rest.size() >= PATH_MAX) {
        const int slash = rest.lastIndexOf('/', PATH_MAX - 2);
        if (slash <= 0) {
            errno = ENAMETOOLONG;
            return;
        }
        base.reset(open_at(base.get(), rest.left(slash).constData(), O_PATH));
        if (base.get() < 0)
            return;
        rest.remove(0, slash + 1);
    }
    result.reset(open_at(base.get(), rest.constData(), O_RDONLY));
}

bool status_of(int folder, const char* name, int flags, unsigned wanted, struct statx& status)
{
    return statx(folder, name, flags | AT_STATX_DONT_SYNC, wanted, &status) == 0;
}

qint64 modified_of(const struct statx& status)
{
    return qint64(status.stx_mtime.tv_sec) * 1000 + status.stx_mtime.tv_nsec / 1000000;
}

class NATIVE_READER : public FOLDER_READER
{
public:
    NATIVE_READER() : m_buffer(BUFFER_SIZE) {}

    SUB_FOLDERS read(FOLDER& folder, const std::atomic<bool>& stopping) override;

private:
    bool identify(FOLDER& folder, int descriptor) const;
    void read_entries(FOLDER& folder, int descriptor, const std::atomic<bool>& stopping);
    void take_entry(FOLDER& folder, int descriptor, const KERNEL_ENTRY& entry);
    void take_name(FOLDER& folder, FW::VECTOR<ENTRY>& list, const char* name, bool is_link,
                   qint64 modified = 0, qint64 bytes = 0);
    void sort(FW::VECTOR<ENTRY>& list) const;
    void sort_by_text(FW::VECTOR<ENTRY>& list) const;
    bool is_less(const ENTRY& a, const ENTRY& b) const;
    void make_files(FOLDER& folder) const;

    FW::VECTOR<char> m_buffer;
    FW::VECTOR<char> m_text; // names of the folder, each followed by its lower-case form
    FW::VECTOR<ENTRY> m_files;
    FW::VECTOR<ENTRY> m_folders;
    bool m_ascii = true; // no name of the folder needs more
};

SUB_FOLDERS NATIVE_READER::read(FOLDER& folder, const std::atomic<bool>& stopping)
{
    m_text.clear();
    m_files.clear();
    m_folders.clear();
    m_ascii = true;

    SUB_FOLDERS result;
    DESCRIPTOR descriptor(-1);
    open_folder(folder.path, descriptor);
    if (descriptor.get() < 0) {
        const std::error_code cause = last_error();
        if (!is_gone(folder, cause))
            fail(folder, cause, folder.path);
        return result;
    }
    if (!identify(folder, descriptor.get()) || leads_back(folder))
        return result;
    read_entries(folder, descriptor.get(), stopping);
    sort(m_files);
    sort(m_folders);
    make_files(folder);
    result.reserve(m_folders.size());
    for (const ENTRY& entry : m_folders) {
        const QByteArray name = QByteArray::fromRawData(m_text.data() + entry.name, int(entry.size));
        result.push_back(make_sub_folder(folder, name, entry.is_link));
    }
    return result;
}

bool NATIVE_READER::identify(FOLDER& folder, int descriptor) const
{
    struct statx status;
    if (!status_of(descriptor, "", AT_EMPTY_PATH, STATX_INO, status)) {
        fail(folder, last_error(), folder.path);
        return false;
    }
    const quint64 identity[] = {status.stx_dev_major, status.stx_dev_minor, status.stx_ino};
    folder.identity = QByteArray(reinterpret_cast<const char*>(identity), int(sizeof identity));
    return true;
}

void NATIVE_READER::read_entries(FOLDER& folder, int descriptor, const std::atomic<bool>& stopping)
{
    while (!stopping.load(std::memory_order_relaxed)) {
        const long size = syscall(SYS_getdents64, descriptor, m_buffer.data(), m_buffer.size());
        if (size == 0)
            return;
        if (size < 0) {
            const std::error_code cause = last_error();
            if (!is_gone(folder, cause))
                fail(folder, cause, folder.path);
            return;
        }
        for (long at = 0; at < size;) {
            const auto* const entry = reinterpret_cast<const KERNEL_ENTRY*>(m_buffer.data() + at);
            take_entry(folder, descriptor, *entry);
            at += entry->record_size;
        }
    }
}

void NATIVE_READER::take_entry(FOLDER& folder, int descriptor, const KERNEL_ENTRY& entry)
{
    const char* const name = entry.name;
    if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
        return;
    const bool is_known = entry.type == DT_REG || entry.type == DT_DIR;
    if (!is_known && entry.type != DT_LNK && entry.type != DT_UNKNOWN)
        return;
    if (entry.type == DT_DIR)
        return take_name(folder, m_folders, name, false);

    struct statx status;
    const unsigned wanted = STATX_MTIME | STATX_SIZE | (is_known ? 0 : STATX_TYPE);
    if (!status_of(descriptor, name, 0, wanted, status)) {
        const std::error_code cause = last_error();
        if (!is_gone(cause))
            fail(folder, cause, folder.path + '/' + name);
        return;
    }
    // A system that does not tell types here does not tell links either, so
    // such a folder is treated as one.
    if (!is_known && S_ISDIR(status.stx_mode))
        take_name(folder, m_folders, name, true);
    else if (is_known || S_ISREG(status.stx_mode))
        take_name(folder, m_files, name, false, modified_of(status), qint64(status.stx_size));
}

void NATIVE_READER::take_name(FOLDER& folder, FW::VECTOR<ENTRY>& list, const char* name, bool is_link,
                              qint64 modified, qint64 bytes)
{
    const std::size_t size = std::strlen(name);
    const std::size_t place = m_text.size();
    m_text.resize(place + 2 * size);
    char* const text = m_text.data() + place;
    std::copy_n(name, size, text);
    char* const lower = text + size;
    uchar all_bits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const uchar c = uchar(name[i]);
        all_bits |= c;
        lower[i] = char(c + (uchar(c - 'A') < 26 ? 'a' - 'A' : 0));
    }
    if (all_bits & 0x80) {
        if (!is_spellable(folder, QByteArray::fromRawData(name, int(size)))) {
            m_text.resize(place);
            return;
        }
        m_ascii = false;
    }
    uchar start[8] = {};
    std::memcpy(start, lower, std::min<std::size_t>(size, sizeof start));
    list.push_back({qFromBigEndian<quint64>(start), place, quint32(size), is_link, modified, bytes});
}

void NATIVE_READER::sort(FW::VECTOR<ENTRY>& list) const
{
    if (m_ascii)
        std::sort(list.begin(), list.end(), [this](const ENTRY& a, const ENTRY& b) { return is_less(a, b); });
    else
        sort_by_text(list);
}

bool NATIVE_READER::is_less(const ENTRY& a, const ENTRY& b) const
{
    if (a.key != b.key)
        return a.key < b.key;
    const char* const a_text = m_text.data() + a.name;
    const char* const b_text = m_text.data() + b.name;
    const int order = std::memcmp(a_text + a.size, b_text + b.size, std::min(a.size, b.size));
    if (order != 0)
        return order < 0;
    if (a.size != b.size)
        return a.size < b.size;
    return std::memcmp(a_text, b_text, a.size) < 0;
}

void NATIVE_READER::sort_by_text(FW::VECTOR<ENTRY>& list) const
{
    FW::VECTOR<std::pair<SORTED_NAME, ENTRY>> named;
    named.reserve(list.size());
    for (const ENTRY& entry : list)
        named.emplace_back(QString::fromUtf8(m_text.data() + entry.name, int(entry.size)), entry);
    std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t i = 0; i < list.size(); ++i)
        list[i] = named[i].second;
}

void NATIVE_READER::make_files(FOLDER& folder) const
{
    const QString prefix = QString::fromUtf8(folder.path) + '/';
    folder.files.reserve(m_files.size());
    for (const ENTRY& entry : m_files) {
        const char* const name = m_text.data() + entry.name;
        const int size = int(entry.size);
        QString path;
        if (m_ascii) {
            path = QString(prefix.size() + size, Qt::Uninitialized);
            QChar* const text = path.data();
            std::memcpy(text, prefix.constData(), std::size_t(prefix.size()) * sizeof(QChar));
            ushort* const tail = reinterpret_cast<ushort*>(text) + prefix.size();
            std::copy(name, name + size, tail);
        } else {
            path = prefix + QString::fromUtf8(name, size);
        }
        folder.files.push_back(
            {std::move(path), QDateTime::fromMSecsSinceEpoch(entry.modified, Qt::UTC), entry.bytes});
    }
}

} // namespace

std::unique_ptr<FOLDER_READER> make_native_reader()
{
    return std::make_unique<NATIVE_READER>();
}

} // namespace DIRECTORY_WALK
