#include "contracts/services/directory_scanner.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <limits>
#include <map>
#include <mutex>
#include <thread>

#ifdef Q_OS_LINUX
#include <unistd.h>
#endif

#include "contracts/services/directory_walk.h"

using DIRECTORY_WALK::FOLDER;
using DIRECTORY_WALK::FOLDER_READER;
using DIRECTORY_WALK::SUB_FOLDERS;

namespace {

// From a cold disk more requests at a time are faster even on few processors;
// more threads than this gain nothing anywhere.
constexpr int DEFAULT_THREADS = 4;

// What a QVector can hold.
constexpr std::size_t MOST_FILES =
    std::size_t(std::numeric_limits<int>::max()) / sizeof(DIRECTORY_SCANNER::FILE_INFO) - 64;

/// Whoever takes the files has the longer way to go, so a thread that reads folders
/// leaves him a processor.
void give_way()
{
#ifdef Q_OS_LINUX
    const int steps = 5;
    (void)nice(steps); // there it is the calling thread's alone
#endif
}

/// The walk of one announced directory.
struct TREE
{
    FW::VECTOR<std::unique_ptr<FOLDER>> folders; // in the order of discovery, the root first
    FW::VECTOR<FOLDER*> waiting;                 // to be read, the last first
    std::size_t unread = 0;                      // waiting or being read
    int fetches = 0;                             // calls to fetch it that were announced
};

/// The directory as it begins the paths of its files.
QString without_trailing_slashes(const QString& directory)
{
    int size = directory.size();
    while (size > 0 && directory[size - 1] == '/')
        --size;
    return directory.left(size);
}

/// Hands `visit` the folder and all below it in the order in which their files are
/// delivered. Where the walk goes on from a folder is looked up after its visit.
template <typename VISIT>
void visit_depth_first(FOLDER* root, VISIT visit)
{
    FW::VECTOR<FOLDER*> ahead;
    if (root)
        ahead.push_back(root);
    while (!ahead.empty()) {
        FOLDER* const folder = ahead.back();
        ahead.pop_back();
        visit(*folder);
        ahead.insert(ahead.end(), folder->folders.rbegin(), folder->folders.rend());
    }
}

/// What the folders of a tree have to tell, put together in the order of delivery, so
/// that the same fault gives the same text each time.
struct OUTCOME
{
    void add(FOLDER& folder)
    {
        folder.left_out.sort();
        left_out += folder.left_out;
        if (folder.error_number)
            fail(folder.error_number, folder.error);
    }
    void fail(int number, const QString& cause)
    {
        if (++failures > 1)
            return;
        error_number = number;
        error = cause;
    }
    QString text() const
    {
        return failures > 1 ? error + QString(" (and %1 more)").arg(failures - 1) : error;
    }

    int failures = 0;
    int error_number = 0; // of the first failure
    QString error;
    QStringList left_out;
};

} // namespace

/// The threads and the walks that they work on. All of it is guarded by one
/// mutex, which is free while folders are read.
class DIRECTORY_SCANNER::WORKERS
{
public:
    /// When the files of a folder are handed over.
    enum WHEN
    {
        TREE_IS_READ,
        FOLDER_IS_READ
    };

    WORKERS(int thread_count, WALK walk) : m_thread_count(thread_count), m_walk(walk) {}
    ~WORKERS() { stop(); }

    void announce(const QString& directory);
    OUTCOME fetch(const QString& directory, WHEN when, const TAKE_FILES& take);
    void stop();

private:
    TREE& begin(const QString& key, bool is_nothing);
    void wait_for(const TREE& tree);
    void wait_for(const FOLDER& folder);
    void start_threads();
    void work(const TREE* only);
    TREE* tree_with_work(const TREE* only) const;
    void read_one(TREE& tree, FOLDER_READER& reader, std::unique_lock<std::mutex>& lock);

    const int m_thread_count;
    const WALK m_walk;
    std::mutex m_mutex;
    std::condition_variable m_work_waits;
    std::condition_variable m_tree_ended;
    std::condition_variable m_folder_read;
    const FOLDER* m_awaited = nullptr; // what m_folder_read is waited with for
    std::map<QString, std::unique_ptr<TREE>> m_trees;
    FW::VECTOR<TREE*> m_unread; // trees that are not read yet, in the order of announcement
    FW::VECTOR<std::thread> m_threads;
    std::atomic<bool> m_stopping{false};
};

void DIRECTORY_SCANNER::WORKERS::announce(const QString& directory)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++begin(without_trailing_slashes(directory), directory.isEmpty()).fetches;
}

TREE& DIRECTORY_SCANNER::WORKERS::begin(const QString& key, bool is_nothing)
{
    std::unique_ptr<TREE>& tree = m_trees[key];
    if (tree)
        return *tree;
    tree = std::make_unique<TREE>();
    if (is_nothing)
        return *tree;
    tree->folders.push_back(std::make_unique<FOLDER>());
    tree->folders.front()->path = key.toUtf8();
    tree->waiting.push_back(tree->folders.front().get());
    tree->unread = 1;
    m_unread.push_back(tree.get());
    start_threads();
    m_work_waits.notify_one();
    return *tree;
}

void DIRECTORY_SCANNER::WORKERS::start_threads()
{
    if (!m_threads.empty())
        return;
    try {
        while (int(m_threads.size()) < m_thread_count)
            m_threads.emplace_back([this] {
                give_way();
                work(nullptr);
            });
    } catch (const std::system_error&) {
        // The system gives no more threads. Those that there are do the work;
        // if there are none, fetch does it.
    }
}

OUTCOME DIRECTORY_SCANNER::WORKERS::fetch(const QString& directory, WHEN when, const TAKE_FILES& take)
{
    const QString key = without_trailing_slashes(directory);
    std::unique_lock<std::mutex> lock(m_mutex);
    TREE& tree = begin(key, directory.isEmpty());
    FOLDER* const root = tree.folders.empty() ? nullptr : tree.folders.front().get();
    const bool is_last = --tree.fetches <= 0;
    std::unique_ptr<TREE> owned;
    if (is_last) {
        owned = std::move(m_trees[key]);
        m_trees.erase(key);
    }
    lock.unlock();
    if (m_threads.empty())
        work(&tree);
    if (when == TREE_IS_READ)
        wait_for(tree);

    OUTCOME outcome;
    visit_depth_first(root, [&](FOLDER& folder) {
        if (when == FOLDER_IS_READ)
            wait_for(folder);
        outcome.add(folder);
        if (outcome.failures > 0 || folder.files.empty())
            return;
        FW::VECTOR<FILE_INFO> files;
        if (is_last)
            files.swap(folder.files);
        else
            files = folder.files;
        take(files);
    });
    wait_for(tree);
    return outcome;
}

void DIRECTORY_SCANNER::WORKERS::wait_for(const TREE& tree)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_tree_ended.wait(lock, [&] { return tree.unread == 0; });
}

void DIRECTORY_SCANNER::WORKERS::wait_for(const FOLDER& folder)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_awaited = &folder;
    m_folder_read.wait(lock, [&] { return folder.is_read; });
    m_awaited = nullptr;
}

/// Reads folders until stop; with a tree given, until none of its folders waits.
void DIRECTORY_SCANNER::WORKERS::work(const TREE* only)
{
    const std::unique_ptr<FOLDER_READER> reader =
        m_walk == WALK_NATIVE ? DIRECTORY_WALK::make_native_reader() : DIRECTORY_WALK::make_portable_reader();
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (TREE* const tree = tree_with_work(only))
            read_one(*tree, *reader, lock);
        else if (only)
            return;
        else
            m_work_waits.wait(lock);
    }
}

TREE* DIRECTORY_SCANNER::WORKERS::tree_with_work(const TREE* only) const
{
    for (TREE* const tree : m_unread)
        if (!tree->waiting.empty() && (!only || tree == only))
            return tree;
    return nullptr;
}

void DIRECTORY_SCANNER::WORKERS::read_one(TREE& tree, FOLDER_READER& reader,
                                          std::unique_lock<std::mutex>& lock)
{
    FOLDER& folder = *tree.waiting.back();
    tree.waiting.pop_back();
    lock.unlock();
    SUB_FOLDERS found = reader.read(folder, m_stopping);
    folder.path = QByteArray();
    folder.folders.reserve(found.size());
    for (const std::unique_ptr<FOLDER>& sub_folder : found)
        folder.folders.push_back(sub_folder.get());
    lock.lock();
    tree.waiting.insert(tree.waiting.end(), folder.folders.rbegin(), folder.folders.rend());
    std::move(found.begin(), found.end(), std::back_inserter(tree.folders));
    tree.unread += folder.folders.size();
    folder.is_read = true;
    if (m_awaited == &folder)
        m_folder_read.notify_one();
    if (folder.folders.size() > 1)
        m_work_waits.notify_all(); // this thread goes on with one of them
    if (--tree.unread == 0) {
        m_unread.erase(std::find(m_unread.begin(), m_unread.end(), &tree));
        m_tree_ended.notify_all();
    }
}

void DIRECTORY_SCANNER::WORKERS::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_work_waits.notify_all();
    }
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    m_unread.clear();
    m_trees.clear();
    m_stopping = false;
}

DIRECTORY_SCANNER::DIRECTORY_SCANNER(int thread_count, WALK walk)
    : error_number(0),
      m_workers(std::make_unique<WORKERS>(thread_count > 0 ? thread_count : DEFAULT_THREADS, walk))
{
}

DIRECTORY_SCANNER::~DIRECTORY_SCANNER() = default;

void DIRECTORY_SCANNER::add_path(const QString& directory)
{
    m_workers->announce(directory);
}

bool DIRECTORY_SCANNER::get_files(const QString& directory, QVector<FILE_INFO>& files)
{
    const int former = files.size();
    std::size_t count = std::size_t(former);
    OUTCOME outcome = m_workers->fetch(directory, WORKERS::TREE_IS_READ, [&](auto& of_folder) {
        count += of_folder.size();
        if (count <= MOST_FILES)
            std::move(of_folder.begin(), of_folder.end(), std::back_inserter(files));
    });
    if (outcome.failures == 0 && count > MOST_FILES)
        outcome.fail(EOVERFLOW, QString("%1 files are too many").arg(count));
    if (outcome.failures > 0)
        files.resize(former);
    return conclude(outcome.error_number, outcome.text(), outcome.left_out);
}

bool DIRECTORY_SCANNER::take_files(const QString& directory, const TAKE_FILES& take)
{
    const OUTCOME outcome = m_workers->fetch(directory, WORKERS::FOLDER_IS_READ, take);
    return conclude(outcome.error_number, outcome.text(), outcome.left_out);
}

bool DIRECTORY_SCANNER::conclude(int failure, const QString& error, const QStringList& left_out)
{
    if (error.isEmpty()) {
        m_left_out += left_out;
        return true;
    }
    error_number = failure;
    m_error = error;
    return false;
}

QStringList DIRECTORY_SCANNER::take_left_out()
{
    QStringList result;
    result.swap(m_left_out);
    return result;
}

QString DIRECTORY_SCANNER::get_error() const
{
    return m_error;
}

void DIRECTORY_SCANNER::end_work()
{
    m_workers->stop();
}
