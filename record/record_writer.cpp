#include "record/record_writer.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QMutex>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include "record/record_reader.h"
#include "record/record_update.h"
#include "session/signal_stack.h"

namespace {

constexpr unsigned long LINGER_INTERVAL = 10; // ms; to be woken costs who puts more than the rest of it
constexpr auto FOR_EVER = QDeadlineTimer::Forever;

} // namespace

/// The writer's thread. What it shares with others is the queue, under the mutex.
class RECORD_WRITER_THREAD : public QThread
{
public:
    RECORD_WRITER_THREAD(const QString& folder, const QString& own_name,
                         std::shared_ptr<const RECORD_CONTENT> content, const QVector<KNOWN_FILE>& libraries)
        : m_update(folder, own_name, std::move(content), libraries)
    {
    }
    ~RECORD_WRITER_THREAD() override { finish(); }

    void put(std::unique_ptr<RECORD_JOB> job);
    QString finish();

protected:
    void run() override;

private:
    using JOBS = QVector<std::shared_ptr<RECORD_JOB>>;

    bool write_all();
    bool take_jobs(JOBS& jobs);
    bool complete(const JOBS& jobs);
    bool commit_when_due();

    RECORD_UPDATE m_update;
    QDeadlineTimer m_commit_time{FOR_EVER}; // of the actions that wait for the commit
    QString m_error;                        // once it has ended

    QMutex m_mutex;
    QWaitCondition m_has_more;
    JOBS m_jobs;
    bool m_is_waiting = false; // so that nobody wakes it who need not
    bool m_is_ending = false;
    bool m_has_failed = false;
};

void RECORD_WRITER_THREAD::put(std::unique_ptr<RECORD_JOB> job)
{
    const QMutexLocker lock(&m_mutex);
    if (m_has_failed)
        return;
    m_jobs.append(std::move(job));
    if (m_is_waiting)
        m_has_more.wakeOne();
}

QString RECORD_WRITER_THREAD::finish()
{
    {
        const QMutexLocker lock(&m_mutex);
        m_is_ending = true;
        m_has_more.wakeOne();
    }
    wait();
    return m_error;
}

void RECORD_WRITER_THREAD::run()
{
    const SIGNAL_STACK signal_stack;
    if (m_update.open() && write_all())
        return;
    m_error = m_update.give_up();
    const QMutexLocker lock(&m_mutex);
    m_has_failed = true;
    m_jobs.clear();
}

bool RECORD_WRITER_THREAD::write_all()
{
    JOBS jobs;
    while (take_jobs(jobs))
        if (!complete(jobs) || !commit_when_due())
            return false;
    return !m_update.has_pending() || m_update.commit(true);
}

// Waits for jobs, or until a commit is due; where jobs follow each other quickly, for more
// of them. False at the end.
bool RECORD_WRITER_THREAD::take_jobs(JOBS& jobs)
{
    const QMutexLocker lock(&m_mutex);
    if (!jobs.isEmpty() && !m_is_ending)
        m_has_more.wait(&m_mutex, LINGER_INTERVAL);
    jobs.clear();
    while (m_jobs.isEmpty() && !m_is_ending && !m_commit_time.hasExpired()) {
        m_is_waiting = true;
        m_has_more.wait(&m_mutex, m_commit_time);
        m_is_waiting = false;
    }
    m_jobs.swap(jobs);
    return !jobs.isEmpty() || !m_is_ending;
}

bool RECORD_WRITER_THREAD::complete(const JOBS& jobs)
{
    for (const std::shared_ptr<RECORD_JOB>& job : jobs) {
        RECORDED_ACTION action;
        job->complete(action);
        m_update.add(action);
        if (m_commit_time.isForever())
            m_commit_time = QDeadlineTimer(RECORD_WRITER::s_commit_interval);
        if (!commit_when_due())
            return false;
    }
    return true;
}

bool RECORD_WRITER_THREAD::commit_when_due()
{
    if (!m_commit_time.hasExpired() && !m_update.is_full())
        return true;
    const bool is_well = m_update.commit();
    m_commit_time =
        m_update.has_pending() ? QDeadlineTimer(RECORD_WRITER::s_commit_interval) : QDeadlineTimer(FOR_EVER);
    return is_well;
}

int RECORD_WRITER::s_commit_interval = 900;

RECORD_WRITER::RECORD_WRITER(const QString& folder, const QString& own_name,
                             std::shared_ptr<const RECORD_CONTENT> content,
                             const QVector<KNOWN_FILE>& libraries)
    : m_thread(new RECORD_WRITER_THREAD(folder, own_name, std::move(content), libraries))
{
    m_thread->start();
}

RECORD_WRITER::~RECORD_WRITER() = default;

void RECORD_WRITER::put(std::unique_ptr<RECORD_JOB> job)
{
    m_thread->put(std::move(job));
}

QString RECORD_WRITER::finish()
{
    return m_thread->finish();
}
