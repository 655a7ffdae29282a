#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

#include "contracts/services/file_digests.h"
#include "record/build_entry.h"

class RECORD_CONTENT;
class RECORD_WRITER_THREAD;

/// All that is kept of an action that has ended.
struct RECORDED_ACTION
{
    BUILD_ENTRY entry;
    SURROUNDINGS surroundings;
    BUILD_ENTRY_DETAILS details; ///< of a tombstone, what is worth telling
};

/// An action that has ended, on its way from the build thread to the record. It holds
/// copies of all that may change, and no FILE_ENTRY or action.
class RECORD_JOB
{
public:
    virtual ~RECORD_JOB() = default;

    /// Fills in `action`, which comes in empty. On the writer's thread, one job after the
    /// other in the order in which they were put: so jobs may share what they find out.
    /// An entry without a key is not written.
    virtual void complete(RECORDED_ACTION& action) = 0;
};

/// Writes the own record while the build runs: a thread completes the jobs and commits
/// once a second and at the end, so that a kill loses no more than the last second. All
/// operations are for one thread at a time, any thread.
///
/// When something can't be written, recording ends and the record is removed: the next
/// build is then a full one. Nothing else of the build is touched by it.
class RECORD_WRITER
{
public:
    /// Milliseconds from the first action that waits to its commit, which takes its time
    /// too. Tests have less patience.
    static int s_commit_interval;

    /// Starts the thread. The record `folder`/`own_name` is taken over when it is sound, of
    /// this version and nobody else's, and is made anew otherwise. `content` is what was
    /// read from the folder; null where nobody read it, then the writer does. `libraries`
    /// are what FILE_DIGESTS::asked says.
    RECORD_WRITER(const QString& folder, const QString& own_name,
                  std::shared_ptr<const RECORD_CONTENT> content, const QVector<KNOWN_FILE>& libraries = {});

    /// As `finish`.
    ~RECORD_WRITER();

    /// Returns at once.
    void put(std::unique_ptr<RECORD_JOB> job);

    /// Waits until all that was put is in the file. Empty on success, else a text for the
    /// console: file, cause and what it means. Nothing may be put afterwards.
    QString finish();

private:
    Q_DISABLE_COPY(RECORD_WRITER)

    std::unique_ptr<RECORD_WRITER_THREAD> m_thread;
};
