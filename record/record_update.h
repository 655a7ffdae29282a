#pragma once

#include <QtCore/QHash>

#include <memory>
#include <optional>

#include "record/key_index.h"
#include "record/record_rows.h"
#include "record/record_writer.h"

/// Brings one record up to date, transaction by transaction. One thread.
///
/// The rows of what was added are packed at once and are in memory until they are
/// written all in one go: so the file is locked for a short time only, and hardly ever
/// left half done by a kill.
class RECORD_UPDATE
{
public:
    RECORD_UPDATE(const QString& folder, const QString& own_name,
                  std::shared_ptr<const RECORD_CONTENT> content, const QVector<KNOWN_FILE>& libraries);

    /// Opens the record and makes it anew where it is no sound one. False on a fault.
    bool open();

    /// Packs it for the next transaction.
    void add(const RECORDED_ACTION& action);

    /// Whether something waits for `commit`, and whether it is so much that it should be
    /// soon.
    bool has_pending() const { return !m_pending.isEmpty() || m_has_new_libraries; }
    bool is_full() const { return pending_bytes() > m_full_at; }

    /// False on a fault. When the record is only locked, by somebody who looks into it, all
    /// goes on waiting and the result is true, but for the last commit.
    bool commit(bool is_last = false);

    /// After a fault: removes the record where it could be written at all, and gives the text for the
    /// console.
    QString give_up();

private:
    static constexpr int FULL_AT = 8 << 20;             // bytes: what a transaction should have
    static constexpr int MAX_PENDING_BYTES = 256 << 20; // of a record that is locked

    // An action of the next transaction.
    struct PENDING
    {
        int slot;
        PACKED_ENTRY entry;
        quint64 checksum; // of the details
        int name_size;    // of these bytes of m_pending_texts, in the order of the actions
        int details_size;
    };

    int pending_bytes() const { return m_pending_texts.size() + m_pending.size() * int(sizeof(PENDING)); }
    bool take_over();
    void take_rows(const RECORD_ROWS& rows);
    void take_surroundings(const RECORD_ROWS& rows);
    void take_libraries(const RECORD_ROWS& rows);
    int slot_of(quint64 key);
    quint32 number_of(const SURROUNDINGS& surroundings);
    quint32 new_number(const QByteArray& packed);
    bool write_pending();
    bool begin();
    void write_libraries();
    void write_surroundings();
    void write_details();
    void write_entries();
    QByteArray load_block(RECORD_STATEMENT& statement, int number);
    bool end();

    const QString m_folder;
    const QString m_own_name;
    const QString m_path;
    std::shared_ptr<const RECORD_CONTENT> m_content; // until the record is open
    QVector<KNOWN_FILE> m_libraries;                 // that it is to have
    QVector<KNOWN_FILE> m_written_libraries;         // that it has
    bool m_has_new_libraries = false;
    QString m_write_problem;

    RECORD_FILE m_file;
    qint64 m_data_version = 0; // changes when somebody else writes
    qint64 m_last_end = 0;
    quint64 m_sum = 0; // of the hashes of all rows

    QVector<quint64> m_keys; // by slot
    KEY_INDEX m_slots;
    QVector<PENDING> m_pending;
    QByteArray m_pending_texts; // one piece, as so many small ones cost more to give back than to write
    int m_full_at = FULL_AT;

    QVector<QByteArray> m_surroundings;              // packed, by number
    QVector<quint32> m_free_numbers;                 // of surroundings that no entry has any more
    QHash<QByteArray, quint32> m_numbers;            // of the others
    QVector<quint32> m_pending_surroundings;         // their numbers
    std::optional<SURROUNDINGS> m_last_surroundings; // of the action that was added last
    quint32 m_last_number = 0;                       // theirs
};
