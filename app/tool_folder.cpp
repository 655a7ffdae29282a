#include "app/tool_folder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSysInfo>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <cerrno>
#include <csignal>
#endif

#include "contracts/services/plain_message_box.h"
#include "session/plugin_files.h"
#include "session/run_files.h"
#include "session/run_report.h"

namespace {

QString lock_file()
{
    return QCoreApplication::applicationDirPath() + '/' + RUN_FILES::name(QStringLiteral("gox.lock"));
}

// A pipe in its place would hold up whoever reads the lock.
bool is_usable(const QString& path)
{
    const QFileInfo info(path);
    return !info.exists() || info.isFile();
}

// As a lock tells it, which on Windows is not the name of the network.
QString this_machine()
{
#ifdef Q_OS_WIN
    return qEnvironmentVariable("COMPUTERNAME");
#else
    return QSysInfo::machineHostName();
#endif
}

bool is_this_machine(const QString& host)
{
    return host.isEmpty() || host.compare(this_machine(), Qt::CaseInsensitive) == 0;
}

#ifdef Q_OS_WIN

// Whether a process of this machine may have this number.
bool may_exist(qint64 number)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, DWORD(number));
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED;
    const bool runs = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return runs;
}

#else

bool may_exist(qint64 number)
{
    return ::kill(pid_t(number), 0) == 0 || errno != ESRCH;
}

#endif

// "process 4711", the run that holds the lock; empty when none does, or when nobody can
// tell. What a run that ended badly has left of its lock is gone then.
QString holder_of(QLockFile& lock)
{
    qint64 process = 0;
    QString host;
    QString program;
    if (!lock.getLockInfo(&process, &host, &program))
        return QString();
    // The number of a run that crashed may be another program's by now, or this
    // one's. Whether a run still has its file open the system itself knows.
    // What another person's run has left, or what is read-only, can't be removed.
    if (lock.removeStaleLockFile() || (is_this_machine(host) && !may_exist(process)))
        return QString();
    return "process " + QString::number(process) + (is_this_machine(host) ? QString() : " on " + host);
}

// The other shares of the same build are meant to run at the same time. An undivided
// run is not, nor is a share of a build that was divided in another way.
QString holder_of_other_lock()
{
    const QFileInfo own(lock_file());
    const QString of_build = own.fileName().mid(qMax(0, own.fileName().indexOf(QLatin1String("-of-"))));
    const QStringList locks{QStringLiteral("gox.lock"), QStringLiteral("gox.*-of-*.lock")};
    for (const QFileInfo& file : own.dir().entryInfoList(locks, QDir::Files)) {
        QLockFile lock(file.filePath());
        lock.setStaleLockTime(0);
        const QString holder = file.fileName().endsWith(of_build) ? QString() : holder_of(lock);
        if (!holder.isEmpty())
            return holder;
    }
    return QString();
}

bool has_console_to_itself()
{
#ifdef Q_OS_WIN
    DWORD process = 0;
    return GetConsoleProcessList(&process, 1) == 1;
#else
    return false;
#endif
}

} // namespace

void report_missing_raw_data(bool person_waits)
{
    const QFileInfo tool_folder(QCoreApplication::applicationDirPath());
    const QString raw_data =
        QFileInfo(tool_folder.canonicalFilePath()).dir().filePath(QStringLiteral("raw_data"));
    const QString error = QStringLiteral("There is no data tree: the folder %1 does not exist. The program "
                                         "has to lie in a folder beside raw_data.")
                              .arg(raw_data);
    RUN_REPORT::keep_error(error);
    RUN_REPORT::error(error);
    if (person_waits && has_console_to_itself())
        show_plain_box(QMessageBox::Critical, nullptr, error);
}

void report_other_folder()
{
    const QDir here;
    const QDir tool_folder(QCoreApplication::applicationDirPath());
    const bool is_elsewhere = here.canonicalPath() != tool_folder.canonicalPath();
    if (is_elsewhere && !here.exists(QStringLiteral("GOX")) &&
        here.entryList({plugin_file_pattern()}, QDir::Files).isEmpty())
        RUN_REPORT::error(
            QStringLiteral("There is neither a folder GOX with configurations nor a plugin (%1) in "
                           "%2. Start GOX in its tool folder, %3.")
                .arg(plugin_file_pattern(), here.absolutePath(), tool_folder.absolutePath()));
}

TREE_LOCK::TREE_LOCK() : m_file(lock_file())
{
    m_file.setStaleLockTime(0); // a run may take days
    if (!RUN_FILES::are_written())
        return;
    const bool is_taken = is_usable(lock_file()) && !m_file.tryLock(0);
    if (is_taken && m_file.error() == QLockFile::LockFailedError) {
        m_other_run = holder_of(m_file);
        if (m_other_run.isEmpty())
            m_file.tryLock(0);
    }
    if (m_other_run.isEmpty())
        m_other_run = holder_of_other_lock();
}
