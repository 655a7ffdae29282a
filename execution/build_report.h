#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class QIODevice;

/// An action as a report has it.
struct REPORTED_ACTION
{
    QString processor;
    QString name; ///< the long text
    QString short_name;
    int state = 0;              ///< an ACTION_STATE, or what the plugin made of it
    bool is_up_to_date = false; ///< left out of the build, whatever `state` says
    int duration = -1;          ///< milliseconds that it ran; -1: it did not
    QStringList targets;        ///< logical paths, sorted
    QString output;             ///< what it had to say, and behind that the closing lines of the log
    int said = 0;               ///< letters of `output` ahead of those
    QString reason;             ///< the line of `output` that says most about an action that did not succeed
    QString explanation;        ///< why it ran or did not; empty where nobody asked
};

/// What became of a run: plain data, whatever form it is written in.
struct BUILD_REPORT
{
    QString program_version;
    QDateTime started;        ///< UTC
    qint64 duration = 0;      ///< milliseconds, from `started` to the end
    int status = 0;           ///< the exit status
    bool was_stopped = false; ///< the build was asked to end
    bool is_dry_run = false;
    int shard = 0;              ///< from 1 to `shards`
    int shards = 0;             ///< 0: the plan is not divided
    QString configuration;      ///< its name
    QString configuration_file; ///< absolute path; empty when there is none
    bool has_started_up = false;
    QStringList start_up_errors;
    QStringList remarks;
    QVector<REPORTED_ACTION> actions; ///< in the order of the plan, those that are up to date behind them
};

/// What a report says of the state of an action: "succeeded", "dependency_failed"
/// and so on; "unknown" for a number that is no ACTION_STATE.
QString state_word(const REPORTED_ACTION& action);

/// Both write piece by piece and leave it to the device to tell what went wrong. The
/// formats are described in docs/file-formats-build-report.md.
void write_json_report(const BUILD_REPORT& report, QIODevice& device);
void write_junit_report(const BUILD_REPORT& report, QIODevice& device);
