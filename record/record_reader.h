#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <memory>
#include <optional>

#include "record/build_entry.h"
#include "record/key_index.h"
#include "record/library_digests.h"

class RECORD_FILE;

/// The build records of a folder as they were when they were read. Of the entries of an
/// action the newest counts, whichever record has it.
///
/// Nothing changes after the reading, so any number of threads may look. Only what is
/// fetched from the files, `details_of` and `dealings_of`, is for one thread at a time;
/// a build that writes to the own record meanwhile may go on.
class RECORD_CONTENT
{
public:
    ~RECORD_CONTENT();

    /// The action's entry, a tombstone (`is_gone`) too; null when there is none. Always
    /// null when the own record can't be written: what this build did could not be
    /// noted, and the next one would take old entries for good ones.
    const BUILD_ENTRY* find(quint64 key) const;

    const SURROUNDINGS& surroundings_of(const BUILD_ENTRY& entry) const
    {
        return m_surroundings.at(int(entry.surroundings));
    }
    /// All distinct ones. BUILD_ENTRY::surroundings is a place in it, so that each can be
    /// judged once.
    const QVector<SURROUNDINGS>& surroundings() const { return m_surroundings; }

    /// `entry` came from here. Nothing when the record no longer has them: it was
    /// damaged, or the action has run since.
    std::optional<BUILD_ENTRY_DETAILS> details_of(const BUILD_ENTRY& entry) const;

    /// All entries of one record, such as "gox_build_record.sqlite", in no order that
    /// means anything; empty when there is none of that name.
    QVector<BUILD_ENTRY> entries_of(const QString& record_name) const;

    /// What the record of a shard keeps for dealing the work out, oldest first. Read from
    /// the file now.
    QVector<DEALING> dealings_of(const QString& record_name) const;

    /// Of the own record.
    const QVector<KNOWN_LIBRARY>& libraries() const { return m_libraries; }

    /// Texts for the console: file, cause and what it means.
    const QStringList& problems() const { return m_problems; }

    /// Whether a writer may be started. False leaves a text in `problems`.
    bool own_is_writable() const { return m_own_is_writable; }

    qint64 last_end() const { return m_last_end; } ///< the newest `ended` of all records, or 0

private:
    friend class RECORD_CONTENT_READER;
    friend class RECORD_WRITER_THREAD;
    RECORD_CONTENT();

    struct PART;
    const PART* part_of(const QString& record_name) const;

    QVector<std::shared_ptr<PART>> m_parts; // one for each record that could be read
    QVector<BUILD_ENTRY> m_entries;         // those of the parts behind one another
    KEY_INDEX m_newest;                     // places in m_entries
    QVector<SURROUNDINGS> m_surroundings;
    QVector<KNOWN_LIBRARY> m_libraries;
    QStringList m_problems;
    bool m_own_is_writable = false;
    qint64 m_last_end = 0;
};

enum class RECORD_ACCESS
{
    READ_AND_WRITE, ///< a writer will follow
    READ_ONLY,      ///< nothing in the folder is written or created, whatever state a killed run left
};

/// Reads every "gox_build_record*.sqlite" of the folder; `own_name` is the file that this
/// run writes. A record that is missing is empty, without a text. One that is damaged, of
/// another version, locked, or no record at all leaves a text and is as if it were not
/// there. Never null. Any thread.
std::shared_ptr<const RECORD_CONTENT> read_records(const QString& folder, const QString& own_name,
                                                   RECORD_ACCESS access);
