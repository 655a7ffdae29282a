#include "session/log_file.h"

#include <QtCore/QCoreApplication>

#include "session/run_files.h"
#include "session/run_report.h"

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace {

class NOWHERE : public QIODevice
{
public:
    NOWHERE() { open(QIODevice::WriteOnly); }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64 size) override { return size; }
};

// Opening a pipe waits for somebody who reads it.
bool is_pipe(const QString& path)
{
#ifdef Q_OS_UNIX
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
#else
    Q_UNUSED(path)
    return false;
#endif
}

} // namespace

QString LOG_FILE::path_of(const QString& name)
{
    return QCoreApplication::applicationDirPath() + '/' + name;
}

LOG_FILE::LOG_FILE(const QString& usual_name) : m_name(RUN_FILES::name(usual_name)), m_file(path_of(m_name))
{
    const bool is_wanted = RUN_FILES::are_written();
    const bool is_refused = is_wanted && is_pipe(m_file.fileName());
    if (is_wanted && !is_refused && m_file.open(QIODevice::WriteOnly)) {
        m_text.setDevice(&m_file);
        return;
    }
    m_is_whole = false;
    m_nowhere = std::make_unique<NOWHERE>();
    m_text.setDevice(m_nowhere.get());
    if (is_wanted)
        tell(is_refused ? QStringLiteral("it is a pipe") : m_file.errorString());
}

void LOG_FILE::remove(const QString& usual_name)
{
    if (RUN_FILES::are_written())
        QFile::remove(path_of(RUN_FILES::name(usual_name)));
}

void LOG_FILE::tell(const QString& cause) const
{
    RUN_REPORT::line(QStringLiteral("Cannot write %1: %2").arg(m_file.fileName(), cause));
}

LOG_FILE::~LOG_FILE()
{
    close();
}

bool LOG_FILE::close()
{
    m_text.flush();
    if (!m_file.isOpen())
        return m_is_whole;
    m_is_whole = m_text.status() == QTextStream::Ok;
    m_text.setDevice(nullptr);
    m_file.close();
    const bool knows_cause = m_file.error() != QFile::NoError; // not of a write that was cut short
    m_is_whole = m_is_whole && !knows_cause;
    if (!m_is_whole)
        tell(knows_cause ? m_file.errorString() : QStringLiteral("it is cut off, the disk may be full"));
    return m_is_whole;
}
