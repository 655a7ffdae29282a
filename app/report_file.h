#pragma once

#include <QtCore/QElapsedTimer>

#include "execution/build_report.h"

struct CHOSEN_CONFIGURATION;
struct RUN_OPTIONS;

/// The report of a run as the file that it was asked for; without such an option
/// nothing happens. GUI thread.
class REPORT_FILE
{
public:
    /// Why no report can be written to this absolute path, in the words of an option
    /// error; empty when one can.
    static QString fault_of(const QString& path);

    /// The time of the run begins here. The configuration may be one that could not be
    /// loaded.
    REPORT_FILE(const RUN_OPTIONS& options, const CHOSEN_CONFIGURATION& configuration);

    /// Takes away what an earlier run has left, so that a run that crashes leaves
    /// nothing that could be taken for its report. The error; empty on success.
    QString prepare() const;

    bool is_wanted() const { return !m_path.isEmpty(); }

    /// What the run itself has to say; `write` adds what is known then.
    BUILD_REPORT content;

    /// Writes the report of a run that ends with this status, and tells where it is.
    /// Gives the status; 1 when the report could not be written, which it tells too.
    int write(int status);

private:
    const QString m_path;
    QElapsedTimer m_time;
};
