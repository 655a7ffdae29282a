#include "contracts/services/directory_walk.h"

#include <QtCore/QVector>

#include "contracts/services/windows_files.h"

namespace DIRECTORY_WALK {
namespace {

using namespace WINDOWS_FILES;

/// A program that removes a folder may have it to itself for a moment.
const int MOST_ATTEMPTS = 100;
const DWORD WAIT_FOR_OTHERS = 5; ///< milliseconds

qint64 joined(DWORD high, DWORD low)
{
    return qint64(quint64(high) << 32 | low);
}

bool says_nothing_there(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool is_file(const QString& path)
{
    const DWORD attributes = GetFileAttributesW(wide(path));
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

/// Whether nothing is at `path` any more, or something that only waits for the last
/// program that has it open. The system denies access to the latter.
bool is_removed(const QString& path)
{
    if (GetFileAttributesW(wide(path)) != INVALID_FILE_ATTRIBUTES)
        return false;
    const DWORD error = GetLastError();
    if (error != ERROR_ACCESS_DENIED)
        return says_nothing_there(error);
    using LAST_STATUS = LONG(WINAPI*)();
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    const auto last_status =
        reinterpret_cast<LAST_STATUS>(reinterpret_cast<void*>(GetProcAddress(system, "RtlGetLastNtStatus")));
    const LONG DELETE_PENDING = LONG(0xC0000056);
    return last_status && last_status() == DELETE_PENDING;
}

class WINDOWS_READER : public FOLDER_READER
{
public:
    SUB_FOLDERS read(FOLDER& folder, const std::atomic<bool>& stopping) override;

private:
    void identify(FOLDER& folder, const QString& path) const;
    DWORD read_entries(FOLDER& folder, const QString& path, const std::atomic<bool>& stopping);
    void take_entry(FOLDER& folder, const QString& path, const WIN32_FIND_DATAW& found);
    void take_linked_file(FOLDER& folder, const QString& path, const QString& name);

    FOUND_ENTRIES m_found;
};

SUB_FOLDERS WINDOWS_READER::read(FOLDER& folder, const std::atomic<bool>& stopping)
{
    m_found.clear();
    const QString path = unlimited_path(QString::fromUtf8(folder.path) + '/');
    identify(folder, path);
    if (leads_back(folder))
        return {};
    DWORD error = read_entries(folder, path, stopping);
    for (int attempts = 0; error == ERROR_SHARING_VIOLATION && attempts < MOST_ATTEMPTS && !stopping;
         ++attempts) {
        Sleep(WAIT_FOR_OTHERS);
        m_found.clear();
        error = read_entries(folder, path, stopping);
    }
    if (error && is_file(path))
        error = ERROR_DIRECTORY;
    const bool is_file_now = error == ERROR_DIRECTORY && folder.parent;
    if (error && !is_file_now && !says_nothing_there(error) && !is_removed(path))
        fail(folder, int(error), qt_error_string(int(error)), folder.path);
    return m_found.hand_over(folder);
}

void WINDOWS_READER::identify(FOLDER& folder, const QString& path) const
{
    if (inherit_identity(folder))
        return;
    folder.identity = path.toUtf8();
    const HANDLE_OWNER handle(open_for_questions(path));
    if (!handle.is_open())
        return;
    QVector<wchar_t> buffer(MAX_PATH);
    DWORD size = GetFinalPathNameByHandleW(handle.get(), buffer.data(), DWORD(buffer.size()), 0);
    if (size > DWORD(buffer.size())) {
        buffer.resize(int(size));
        size = GetFinalPathNameByHandleW(handle.get(), buffer.data(), size, 0);
    }
    if (size)
        folder.identity = QString::fromWCharArray(buffer.data(), int(size)).replace('\\', '/').toUtf8();
}

/// The system's error that ended the reading, 0 for none.
DWORD WINDOWS_READER::read_entries(FOLDER& folder, const QString& path, const std::atomic<bool>& stopping)
{
    const QString pattern = path.endsWith('\\') ? path + '*' : path + "\\*";
    WIN32_FIND_DATAW found;
    const HANDLE_OWNER search(FindFirstFileExW(wide(pattern), FindExInfoBasic, &found, FindExSearchNameMatch,
                                               nullptr, FIND_FIRST_EX_LARGE_FETCH),
                              FindClose);
    if (!search.is_open())
        return GetLastError();
    do
        take_entry(folder, path, found);
    while (!stopping.load(std::memory_order_relaxed) && FindNextFileW(search.get(), &found));
    const DWORD error = stopping ? DWORD(ERROR_NO_MORE_FILES) : GetLastError();
    return error == ERROR_NO_MORE_FILES ? 0 : error;
}

void WINDOWS_READER::take_entry(FOLDER& folder, const QString& path, const WIN32_FIND_DATAW& found)
{
    const QString name = QString::fromWCharArray(found.cFileName);
    if (name == QLatin1String(".") || name == QLatin1String("..") || !is_spellable(folder, name))
        return;
    const DWORD attributes = found.dwFileAttributes;
    const bool is_link =
        (attributes & FILE_ATTRIBUTE_REPARSE_POINT) && IsReparseTagNameSurrogate(found.dwReserved0);
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        m_found.add_folder(name, is_link);
    else if (is_link)
        take_linked_file(folder, path, name);
    else
        m_found.add_file(name, milliseconds(found.ftLastWriteTime),
                         joined(found.nFileSizeHigh, found.nFileSizeLow));
}

void WINDOWS_READER::take_linked_file(FOLDER& folder, const QString& path, const QString& name)
{
    const HANDLE_OWNER target(open_for_questions(path + '\\' + name));
    BY_HANDLE_FILE_INFORMATION about;
    if (target.is_open() && GetFileInformationByHandle(target.get(), &about)) {
        m_found.add_file(name, milliseconds(about.ftLastWriteTime),
                         joined(about.nFileSizeHigh, about.nFileSizeLow));
        return;
    }
    const DWORD error = GetLastError();
    if (!says_nothing_there(error) && error != ERROR_CANT_RESOLVE_FILENAME)
        fail(folder, int(error), qt_error_string(int(error)), folder.path + '/' + name.toUtf8());
}

} // namespace

std::unique_ptr<FOLDER_READER> make_native_reader()
{
    return std::make_unique<WINDOWS_READER>();
}

// The standard library as MinGW has it takes no paths of more than 260 letters.
std::unique_ptr<FOLDER_READER> make_portable_reader()
{
    return make_native_reader();
}

} // namespace DIRECTORY_WALK
