#include "contracts/services/whole_file.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSaveFile>

#include "contracts/services/file_replacement.h"

#ifdef Q_OS_WIN
#include "contracts/services/windows_files.h"
#else
#include <cstdio>
#endif

namespace {

constexpr int MAX_NAMES_TRIED = 100;
constexpr int KEPT_OF_NAME = 60; // so that no temporary name is too long for the file system

QString cannot_write(const QString& path, const QString& cause)
{
    return QStringLiteral("%1: can't be written: %2").arg(path, cause);
}

bool flush_all(QFile& file)
{
    return file.flush() || file.flush(); // the second time for the cause
}

#ifdef Q_OS_WIN
// Whoever looks at new files, a virus scanner above all, has them open for a moment, and
// shares them with nobody.
bool rename_over(const QString& from, const QString& to)
{
    const int patience = 500, interval = 25; // milliseconds
    const QString unlimited_from = WINDOWS_FILES::unlimited_path(from);
    const QString unlimited_to = WINDOWS_FILES::unlimited_path(to);
    for (int waited = 0;; waited += interval) {
        if (MoveFileExW(WINDOWS_FILES::wide(unlimited_from), WINDOWS_FILES::wide(unlimited_to),
                        MOVEFILE_REPLACE_EXISTING))
            return true;
        const DWORD error = GetLastError();
        const bool may_pass = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        if (!may_pass || waited >= patience)
            return false;
        Sleep(interval);
    }
}
#else
bool rename_over(const QString& from, const QString& to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}
#endif

} // namespace

QString prepare_whole_file(QSaveFile& file, const QByteArray& bytes)
{
    const QString cause = why_not_replaceable(behind_links(file.fileName()));
    if (!cause.isEmpty())
        return cannot_write(file.fileName(), cause);
    const bool is_written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                            write_all(file, bytes.constData(), bytes.size());
    return is_written ? QString() : cannot_write(file.fileName(), file.errorString());
}

QString write_whole_file(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    const QString error = prepare_whole_file(file, bytes);
    if (!error.isEmpty())
        return error;
    return file.commit() ? QString() : cannot_write(path, file.errorString());
}

QString write_target(const QString& path, const QByteArray& bytes)
{
    TARGET_FILE file(path);
    file.write(bytes);
    return file.commit();
}

TARGET_FILE::TARGET_FILE(const QString& path) : m_path(path), m_place(behind_links(path))
{
    QIODevice::open(QIODevice::WriteOnly); // after a failure too: writing is refused without remarks
    const QString cause = why_not_replaceable(m_place);
    if (cause.isEmpty())
        create_temporary();
    else
        fail(cause);
}

TARGET_FILE::~TARGET_FILE()
{
    m_file.close();
    if (m_is_there)
        QFile::remove(m_file.fileName());
}

void TARGET_FILE::create_temporary()
{
    const QString beginning = m_place.left(m_place.lastIndexOf('/') + 1 + KEPT_OF_NAME) + '.';
    for (int i = 0; i < MAX_NAMES_TRIED && !m_is_there; ++i) {
        m_file.setFileName(beginning + QString::number(QRandomGenerator::global()->generate(), 36));
        m_is_there = m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        if (!m_is_there && !QFileInfo::exists(m_file.fileName()))
            break;
    }
    if (!m_is_there)
        return fail(m_file.errorString());
    m_permissions = QFileInfo(QFileInfo::exists(m_place) ? m_place : m_file.fileName()).permissions();
}

QString TARGET_FILE::temporary_path()
{
    end_writing();
    return m_error.isEmpty() ? m_file.fileName() : QString();
}

QString TARGET_FILE::commit()
{
    end_writing();
    if (!m_error.isEmpty() || !m_is_there)
        return m_error;
    QFile::setPermissions(m_file.fileName(), m_permissions); // where the file system has any
    if (!rename_over(m_file.fileName(), m_place)) {
        const QString cause = qt_error_string();
        QFile::remove(m_file.fileName());
        fail(cause);
    }
    m_is_there = false;
    return m_error;
}

bool TARGET_FILE::seek(qint64 position)
{
    if (!m_error.isEmpty() || !QIODevice::seek(position))
        return false;
    if (!flush_all(m_file) || !m_file.seek(position))
        fail(m_file.errorString());
    return m_error.isEmpty();
}

qint64 TARGET_FILE::readData(char*, qint64)
{
    return -1;
}

qint64 TARGET_FILE::writeData(const char* data, qint64 size)
{
    if (m_error.isEmpty() && !write_all(m_file, data, size))
        fail(m_file.errorString());
    return m_error.isEmpty() ? size : -1;
}

void TARGET_FILE::end_writing()
{
    close();
    if (!m_file.isOpen())
        return;
    if (m_error.isEmpty() && !flush_all(m_file))
        fail(m_file.errorString());
    m_file.close();
    if (m_error.isEmpty() && m_file.error() != QFile::NoError)
        fail(m_file.errorString());
}

void TARGET_FILE::fail(const QString& cause)
{
    if (!m_error.isEmpty())
        return;
    m_error = cannot_write(m_path, cause);
    setErrorString(cause);
}
