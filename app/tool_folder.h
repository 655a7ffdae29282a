#pragma once

#include <QtCore/QLockFile>

/// The folder that a run belongs to: the tool folder of a data tree. Main thread.

/// Tells standard error where the raw data was looked for and not found, and so does
/// a box where `person_waits` and the console is gone with the program: on Windows,
/// when it was started by a double click.
void report_missing_raw_data(bool person_waits);

/// Tells standard error when the run was started in another folder than the tool
/// folder and nothing that is looked for in the current folder lies there.
void report_other_folder();

/// Holds "gox.lock" beside the program, so that another run in the same tree can
/// tell that this one is there. Nothing depends on it: a lock that can't be had, or
/// that a run which did not end in good order has left behind, keeps nobody from
/// running. The share of a divided run has a lock of its own, and a run that leaves no
/// files has none.
class TREE_LOCK
{
public:
    TREE_LOCK();

    /// "process 4711" or "process 4711 on build7", the run that holds the lock already,
    /// or the lock of another build than the one that this run has its share of; empty
    /// when there is none, or when nobody can tell.
    QString other_run() const { return m_other_run; }

private:
    QLockFile m_file;
    QString m_other_run;
};
