#pragma once

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

#include "contracts/actions/processor_interface.h"
#include "tests/plugins/script.h"

class SCRIPTED_ACTION;

/// What the processors and actions of one script share. Lives as long as any of
/// them.
class SCRIPTED_RUN
{
public:
    /// The trace goes into the script's own file name in `folder`.
    SCRIPTED_RUN(const SCRIPT& script, const QString& folder);

    /// Appends "<thread> <call> <name>" to the trace; the thread is "main" or
    /// "build". Any thread.
    void trace(const char* call, const QString& name);

    const SCRIPT script;
    QMap<QString, SCRIPTED_ACTION*> actions; ///< by name, as they come to life
    QMap<QString, int> groups;               ///< label to number

private:
    QMutex m_mutex;
    QFile m_trace;
};

/// A processor that does what its part of the script says.
class SCRIPTED_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    SCRIPTED_PROCESSOR(const SCRIPT_PROCESSOR& script, const QSharedPointer<SCRIPTED_RUN>& run);
    ~SCRIPTED_PROCESSOR() override;

    QString name() override;
    int order_number() override;
    QVector<QString> scan_directories() override;
    QVector<VIRTUAL_FILE> collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                RULE_CACHE& rules) override;
    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                               RULE_CACHE& rules) override;

private:
    int group_of(const SCRIPT_ACTION& action);

    const SCRIPT_PROCESSOR m_script;
    const QSharedPointer<SCRIPTED_RUN> m_run;
};

/// New processors for the script, which belong to the caller. A script with
/// errors gives one processor, "script", whose one action fails with the errors
/// as its output, and they go to standard error.
QVector<PROCESSOR_INTERFACE*> scripted_processors(const SCRIPT& script, const QString& folder);

/// The place on disk that a path of a script means.
PHYSICAL_PATH scripted_place(const QString& path);
