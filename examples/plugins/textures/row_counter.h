#pragma once

#include <QtCore/qglobal.h>

#include <atomic>

/// Counts the rows of a conversion for the progress window and notices a
/// request to stop. It belongs to the build thread; only the stop flag is set
/// from another one.
class ROW_COUNTER
{
public:
    /// `progress` goes from 0 to `progress_total` while `rows` rows are done.
    /// Both references must outlive the counter.
    ROW_COUNTER(qint64 rows, int& progress, int progress_total, const std::atomic<bool>& stop)
        : m_rows(rows), m_progress(progress), m_progress_total(progress_total), m_stop(stop)
    {
    }

    /// To be called after each row. False when the conversion is to stop.
    bool row_done()
    {
        if (m_done < m_rows)
            ++m_done;
        m_progress = m_rows > 0 ? int(m_done * m_progress_total / m_rows) : m_progress_total;
        return !is_stopped();
    }

    bool is_stopped() const { return m_stop.load(std::memory_order_relaxed); }

private:
    const qint64 m_rows;
    qint64 m_done = 0;
    int& m_progress;
    const int m_progress_total;
    const std::atomic<bool>& m_stop;
};
