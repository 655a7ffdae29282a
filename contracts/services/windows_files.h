#pragma once

#include <QtCore/QString>

#include <windows.h>

/// What is asked of Windows itself where Qt and the standard library fall short. Not
/// compiled elsewhere. Any thread.
namespace WINDOWS_FILES {

/// The path as the system takes it whatever its length, in which it reads neither "."
/// nor "/" nor names of its own such as "aux". A drive ends in its backslash.
QString unlimited_path(const QString& path);

const wchar_t* wide(const QString& text); ///< as long as `text` is not changed

/// A handle of the system, closed as its kind wants it.
class HANDLE_OWNER
{
public:
    using CLOSE = BOOL(WINAPI*)(HANDLE);

    explicit HANDLE_OWNER(HANDLE handle, CLOSE close = CloseHandle) : m_handle(handle), m_close(close) {}
    ~HANDLE_OWNER()
    {
        if (is_open())
            m_close(m_handle);
    }
    HANDLE_OWNER(const HANDLE_OWNER&) = delete;
    HANDLE_OWNER& operator=(const HANDLE_OWNER&) = delete;

    bool is_open() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
    CLOSE m_close;
};

/// Opens what an unlimited path leads to, file or folder, links followed, for questions
/// about it alone: nobody who has it open is in the way.
HANDLE open_for_questions(const QString& unlimited_path);

/// Whether this person may make files in the folder. Its read-only attribute, which Qt
/// goes by, says nothing about that.
bool may_add_files(const QString& folder);

/// Milliseconds since 1970, UTC, cut off as Qt does it.
qint64 milliseconds(const FILETIME& time);

/// When the record of a file changed in its folder, which Qt does not tell; 0 where it
/// can't be told.
qint64 change_time(const QString& path);

} // namespace WINDOWS_FILES
