#include "bench/bare_walk.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct DIRENT
{
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short size;
    unsigned char type;
    char name[1];
};

struct NODE
{
    std::uint64_t key = 0; // first 8 bytes in lower case
    std::size_t name = 0;  // in the names of the folder
    std::int64_t time = 0;
};

struct BARE_FOLDER
{
    std::string path;
    std::vector<char> names;
    std::vector<NODE> files;
    std::vector<BARE_FOLDER*> folders;
};

struct RESULT
{
    const BARE_FOLDER* folder;
    const char* name;
    std::int64_t time;
};

std::uint64_t key_of(const char* name)
{
    std::uint64_t key = 0;
    for (int i = 0; i < 8; ++i) {
        key <<= 8;
        if (*name) {
            const unsigned char c = static_cast<unsigned char>(*name++);
            key |= c >= 'A' && c <= 'Z' ? c + 32u : c;
        }
    }
    return key;
}

class WALK
{
public:
    explicit WALK(const char* root)
    {
        m_folders.push_back(std::make_unique<BARE_FOLDER>());
        m_folders.front()->path = root;
        m_waiting.push_back(m_folders.front().get());
    }

    void run()
    {
        std::thread other([this] { work(); });
        work();
        other.join();
    }

    std::vector<RESULT> result() const;

private:
    using FOUND = std::vector<std::unique_ptr<BARE_FOLDER>>;

    void work();
    static FOUND read(BARE_FOLDER& folder, std::vector<char>& buffer);
    static void take(BARE_FOLDER& folder, int descriptor, const DIRENT& entry, FOUND& found);
    static void sort(BARE_FOLDER& folder, FOUND& found);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<BARE_FOLDER>> m_folders;
    std::vector<BARE_FOLDER*> m_waiting;
    int m_busy = 0;
};

void WALK::work()
{
    std::vector<char> buffer(std::size_t(256) * 1024);
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_waiting.empty() || m_busy == 0; });
        if (m_waiting.empty())
            break;
        BARE_FOLDER& folder = *m_waiting.back();
        m_waiting.pop_back();
        ++m_busy;
        lock.unlock();
        FOUND found = read(folder, buffer);
        lock.lock();
        --m_busy;
        m_waiting.insert(m_waiting.end(), folder.folders.rbegin(), folder.folders.rend());
        std::move(found.begin(), found.end(), std::back_inserter(m_folders));
        m_changed.notify_one();
    }
    m_changed.notify_all();
}

WALK::FOUND WALK::read(BARE_FOLDER& folder, std::vector<char>& buffer)
{
    FOUND found;
    const int descriptor = open(folder.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return found;
    for (;;) {
        const long size = syscall(SYS_getdents64, descriptor, buffer.data(), buffer.size());
        if (size <= 0)
            break;
        for (long at = 0; at < size;) {
            const auto* const entry = reinterpret_cast<const DIRENT*>(buffer.data() + at);
            take(folder, descriptor, *entry, found);
            at += entry->size;
        }
    }
    close(descriptor);
    sort(folder, found);
    return found;
}

void WALK::take(BARE_FOLDER& folder, int descriptor, const DIRENT& entry, FOUND& found)
{
    if (entry.type == DT_DIR) {
        if (std::strcmp(entry.name, ".") != 0 && std::strcmp(entry.name, "..") != 0) {
            found.push_back(std::make_unique<BARE_FOLDER>());
            found.back()->path = folder.path + '/' + entry.name;
        }
        return;
    }
    struct statx status;
    if (entry.type != DT_REG || statx(descriptor, entry.name, AT_STATX_DONT_SYNC, STATX_MTIME, &status) != 0)
        return;
    NODE node;
    node.key = key_of(entry.name);
    node.name = folder.names.size();
    node.time = std::int64_t(status.stx_mtime.tv_sec) * 1000 + status.stx_mtime.tv_nsec / 1000000;
    folder.names.insert(folder.names.end(), entry.name, entry.name + std::strlen(entry.name) + 1);
    folder.files.push_back(node);
}

void WALK::sort(BARE_FOLDER& folder, FOUND& found)
{
    const char* const names = folder.names.data();
    std::sort(folder.files.begin(), folder.files.end(), [names](const NODE& a, const NODE& b) {
        return a.key != b.key ? a.key < b.key : strcasecmp(names + a.name, names + b.name) < 0;
    });
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return strcasecmp(a->path.c_str(), b->path.c_str()) < 0; });
    for (const auto& sub_folder : found)
        folder.folders.push_back(sub_folder.get());
}

std::vector<RESULT> WALK::result() const
{
    std::vector<RESULT> result;
    std::size_t count = 0;
    for (const auto& folder : m_folders)
        count += folder->files.size();
    result.reserve(count);
    std::vector<const BARE_FOLDER*> ahead{m_folders.front().get()};
    while (!ahead.empty()) {
        const BARE_FOLDER* const folder = ahead.back();
        ahead.pop_back();
        for (const NODE& file : folder->files)
            result.push_back({folder, folder->names.data() + file.name, file.time});
        ahead.insert(ahead.end(), folder->folders.rbegin(), folder->folders.rend());
    }
    return result;
}

} // namespace

std::size_t bare_walk(const QByteArray& root)
{
    WALK walk(root.constData());
    walk.run();
    return walk.result().size();
}
