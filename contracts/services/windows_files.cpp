#include "contracts/services/windows_files.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

QString WINDOWS_FILES::unlimited_path(const QString& path)
{
    // Qt reads "C:" without a slash as the current folder of the drive.
    QString clean = QDir::cleanPath(path.endsWith(':') ? path + '/' : path);
    const auto has_server = [&] { return clean.startsWith(QLatin1String("//")); };
    if (!has_server() && clean.midRef(1, 2) != QLatin1String(":/"))
        clean = QDir::cleanPath(QFileInfo(clean).absoluteFilePath());
    const bool is_of_server = has_server();
    clean.replace('/', '\\');
    return is_of_server ? QLatin1String("\\\\?\\UNC") + clean.mid(1) : QLatin1String("\\\\?\\") + clean;
}

const wchar_t* WINDOWS_FILES::wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

namespace {

HANDLE open_existing(const QString& unlimited_path, DWORD access)
{
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(WINDOWS_FILES::wide(unlimited_path), access, share, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

} // namespace

HANDLE WINDOWS_FILES::open_for_questions(const QString& unlimited_path)
{
    return open_existing(unlimited_path, FILE_READ_ATTRIBUTES);
}

bool WINDOWS_FILES::may_add_files(const QString& folder)
{
    return HANDLE_OWNER(open_existing(unlimited_path(folder), FILE_ADD_FILE)).is_open();
}

qint64 WINDOWS_FILES::milliseconds(const FILETIME& time)
{
    const qint64 since_1601 = qint64(quint64(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    const qint64 units = since_1601 - 116444736000000000; // of 100 ns since 1970
    return units >= 0 ? units / 10000 : (units - 9999) / 10000;
}

qint64 WINDOWS_FILES::change_time(const QString& path)
{
    const HANDLE_OWNER file(open_for_questions(unlimited_path(path)));
    FILE_BASIC_INFO info;
    if (!file.is_open() || !GetFileInformationByHandleEx(file.get(), FileBasicInfo, &info, sizeof info))
        return 0;
    return milliseconds({info.ChangeTime.LowPart, DWORD(info.ChangeTime.HighPart)});
}
