#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <memory>
#include <optional>

#include "contracts/services/file_digests.h"
#include "record/build_entry.h"
#include "record/dealings.h"
#include "record/key_index.h"

struct RECORD_ROWS;

/// The build records of a folder as they were when they were read. Of the entries of an
/// action the newest counts, whichever record has it.
///
/// Nothing changes after the reading, so any number of threads may look, but for
/// `details_of`, which is for one thread at a time; a build that writes to the own record
/// meanwhile may go on.
class RECORD_CONTENT
{
public:
    ~RECORD_CONTENT();

    /// The action's entry, a tombstone (`is_gone`) too; null when there is none. Always
    /// null when there are `problems`: a record that can't be read may know that an
    /// action failed since.
    const BUILD_ENTRY* find(quint64 key) const;

    /// All distinct ones. BUILD_ENTRY::surroundings is a place in it, so that each can be
    /// judged once.
    const QVector<SURROUNDINGS>& surroundings() const { return m_surroundings; }
    const SURROUNDINGS& surroundings_of(const BUILD_ENTRY& entry) const
    {
        return m_surroundings.at(int(entry.surroundings));
    }

    /// Of an entry that `find` gave. Nothing when the record no longer has them: the action
    /// has run since, or they can't be read. Of the latter, `problem` becomes a text for
    /// the console, once a record; it is left as it was otherwise.
    std::optional<BUILD_ENTRY_DETAILS> details_of(const BUILD_ENTRY& entry, QString& problem) const;

    /// All entries of one record, such as "gox_build_record.sqlite", in no order that
    /// means anything; empty when there is none of that name or it could not be read.
    QVector<BUILD_ENTRY> entries_of(const QString& record_name) const;

    /// Of all actions that have a good entry, the newest.
    QVector<ACTION_DURATION> durations() const;

    /// Of the own record.
    const QVector<KNOWN_FILE>& libraries() const { return m_libraries; }

    /// A text for the console about each record that does not count: file, cause and what
    /// it means. Everything has to be built then.
    const QStringList& problems() const { return m_problems; }

    /// Whether a cause among the problems can be gone for who reads next, such as a lock:
    /// what is derived from the records is then not the same for all.
    bool has_passing_problem() const { return m_has_passing_problem; }

    /// The one of `problems` that says why the own record can't be written, so that no
    /// writer may be started; empty when it can.
    const QString& write_problem() const { return m_write_problem; }

    qint64 last_end() const { return m_last_end; } ///< the newest `ended` of all records, or 0

    /// What the own record held; for the writer.
    const RECORD_ROWS& own_rows() const;

private:
    friend class MANY_DETAILS;
    friend class RECORD_FOLDER;
    RECORD_CONTENT();

    struct PART;

    quint64 key_at(int place) const { return m_entries.at(place).key; }

    QVector<std::shared_ptr<PART>> m_parts; // one for each record that was read, the own one first
    QVector<BUILD_ENTRY> m_entries;         // those of the parts, one part behind the other
    KEY_INDEX m_newest;                     // places in m_entries
    QVector<SURROUNDINGS> m_surroundings;   // begins with those of the own record
    QVector<KNOWN_FILE> m_libraries;
    QStringList m_problems;
    bool m_has_passing_problem = false;
    QString m_write_problem;
    qint64 m_last_end = 0;
};

/// While this lives, details are fetched several times quicker, as the records are locked
/// against writers once and not each time. On the thread that fetches them.
class MANY_DETAILS
{
public:
    explicit MANY_DETAILS(const RECORD_CONTENT& content);
    ~MANY_DETAILS();

private:
    Q_DISABLE_COPY(MANY_DETAILS)

    const RECORD_CONTENT& m_content;
};

enum class RECORD_ACCESS
{
    READ_AND_WRITE, ///< a writer will follow
    READ_ONLY,      ///< nothing in the folder is written or created, whatever state a killed run left
};

/// Reads the own record `own_name` and those of all shards and of the unsharded run,
/// "gox_build_record.sqlite" and "gox_build_record.2-of-4.sqlite", that lie in the folder. A
/// record that is missing or empty leaves no text; one that is damaged, of another version,
/// locked, or no record at all does. Never null. Any thread.
std::shared_ptr<const RECORD_CONTENT> read_records(const QString& folder, const QString& own_name,
                                                   RECORD_ACCESS access);
