#include "record/record_update.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>

#include <algorithm>

#include "record/record_reader.h"

namespace {

quint64 hash_of(SEALED_TABLE table, qint64 row, const QByteArray& packed)
{
    return row_hash(table, row, packed.constData(), packed.size());
}

void write_row(RECORD_STATEMENT& statement, qint64 row, const char* bytes, int size)
{
    statement.bind(1, row);
    statement.bind(2, bytes, size);
    statement.step();
}

} // namespace

RECORD_UPDATE::RECORD_UPDATE(const QString& folder, const QString& own_name,
                             std::shared_ptr<const RECORD_CONTENT> content,
                             const QVector<KNOWN_FILE>& libraries)
    : m_folder(folder),
      m_own_name(own_name),
      m_path(QDir(folder).absoluteFilePath(own_name)),
      m_content(std::move(content)),
      m_libraries(libraries)
{
}

bool RECORD_UPDATE::open()
{
    if (!m_content)
        m_content = read_records(m_folder, m_own_name, RECORD_ACCESS::READ_AND_WRITE);
    m_write_problem = m_content->write_problem();
    m_last_end = m_content->last_end();
    if (!m_write_problem.isEmpty())
        return false;
    if (!take_over() && m_file.fault().kind == RECORD_FAULT::DAMAGED) {
        m_file.close();
        remove_record(m_path);
        take_over();
    }
    m_content.reset();
    m_has_new_libraries = m_libraries != m_written_libraries;
    m_pending_texts.reserve(FULL_AT);
    return !m_file.fault();
}

// Takes what the record holds as the base of all that follows.
bool RECORD_UPDATE::take_over()
{
    bool is_empty = false;
    if (!m_file.open(m_path, RECORD_FILE::WRITE) || !m_file.run("BEGIN IMMEDIATE") || !m_file.check(is_empty))
        return false;
    m_data_version = m_file.number("PRAGMA data_version");
    if (is_empty)
        return m_file.create_tables() && end();
    RECORD_ROWS rows = m_content->own_rows();
    const bool is_as_read = !rows.entries.isEmpty() && has_seal_of(m_file, rows);
    if (!is_as_read && !read_rows(m_file, rows))
        return false;
    take_rows(rows);
    return m_file.run("ROLLBACK"); // nothing has been written
}

void RECORD_UPDATE::take_rows(const RECORD_ROWS& rows)
{
    const auto key_at = [this](int slot) { return m_keys.at(slot); };
    m_sum = rows.sum;
    m_keys.reserve(rows.entries.size());
    m_slots.reserve(rows.entries.size());
    for (const BUILD_ENTRY& entry : rows.entries) {
        m_keys.append(entry.key);
        m_slots.put(entry.key, m_keys.size() - 1, key_at);
        m_last_end = qMax(m_last_end, entry.ended);
    }
    take_surroundings(rows);
    take_libraries(rows);
}

void RECORD_UPDATE::take_surroundings(const RECORD_ROWS& rows)
{
    QVector<bool> is_used(rows.surroundings.size(), false);
    for (const BUILD_ENTRY& entry : rows.entries)
        is_used[int(entry.surroundings)] = true;
    for (int number = 0; number < is_used.size(); ++number) {
        m_surroundings.append(pack_surroundings(rows.surroundings.at(number)));
        if (is_used.at(number))
            m_numbers.insert(m_surroundings.last(), quint32(number));
        else
            m_free_numbers.append(quint32(number));
    }
}

// The libraries of other configurations are kept.
void RECORD_UPDATE::take_libraries(const RECORD_ROWS& rows)
{
    const QVector<KNOWN_FILE> asked = m_libraries;
    m_written_libraries = m_libraries = rows.libraries;
    for (const KNOWN_FILE& library : asked) {
        const auto known = std::find_if(m_libraries.begin(), m_libraries.end(),
                                        [&](const auto& other) { return other.file == library.file; });
        if (known != m_libraries.end())
            *known = library;
        else
            m_libraries.append(library);
    }
}

void RECORD_UPDATE::add(const RECORDED_ACTION& action)
{
    BUILD_ENTRY entry = action.entry;
    if (entry.key == 0)
        return;
    if (entry.ended == 0)
        entry.ended = m_last_end = qMax(m_last_end + 1, QDateTime::currentMSecsSinceEpoch());
    entry.surroundings = number_of(action.surroundings);
    const QByteArray name = action.details.name.toUtf8();
    const QByteArray details = pack_details(action.details);
    m_pending.append({slot_of(entry.key), pack_entry(entry), details_checksum(entry, name, details),
                      name.size(), details.size()});
    m_pending_texts += name;
    m_pending_texts += details;
}

int RECORD_UPDATE::slot_of(quint64 key)
{
    const auto key_at = [this](int slot) { return m_keys.at(slot); };
    int slot = m_slots.find(key, key_at);
    if (slot == KEY_INDEX::NONE) {
        slot = m_keys.size();
        m_keys.append(key);
        m_slots.put(key, slot, key_at);
    }
    return slot;
}

// Actions that follow each other mostly share them.
quint32 RECORD_UPDATE::number_of(const SURROUNDINGS& surroundings)
{
    if (m_last_surroundings == surroundings)
        return m_last_number;
    const QByteArray packed = pack_surroundings(surroundings);
    const auto known = m_numbers.constFind(packed);
    m_last_number = known != m_numbers.constEnd() ? *known : new_number(packed);
    m_last_surroundings = surroundings;
    return m_last_number;
}

quint32 RECORD_UPDATE::new_number(const QByteArray& packed)
{
    quint32 number = quint32(m_surroundings.size());
    if (m_free_numbers.isEmpty()) {
        m_surroundings.append(packed);
    } else {
        number = m_free_numbers.takeLast();
        m_sum -= hash_of(SEALED_TABLE::SURROUNDINGS, number, m_surroundings.at(int(number)));
        m_surroundings[int(number)] = packed;
    }
    m_sum += hash_of(SEALED_TABLE::SURROUNDINGS, number, packed);
    m_numbers.insert(packed, number);
    m_pending_surroundings.append(number);
    return number;
}

bool RECORD_UPDATE::commit(bool is_last)
{
    const quint64 former_sum = m_sum;
    if (write_pending()) {
        m_pending.clear();
        m_pending_surroundings.clear();
        m_pending_texts.resize(0); // its room stays
        m_full_at = FULL_AT;
        m_has_new_libraries = false;
        return true;
    }
    if (is_last || m_file.fault().kind != RECORD_FAULT::LOCKED || pending_bytes() > MAX_PENDING_BYTES)
        return false;
    m_file.roll_back();
    m_sum = former_sum;
    m_full_at = qMax(FULL_AT, 2 * pending_bytes());
    return true;
}

bool RECORD_UPDATE::write_pending()
{
    if (!begin())
        return false;
    if (m_has_new_libraries)
        write_libraries();
    write_surroundings();
    write_details();
    write_entries();
    return end();
}

// Whoever else wrote knows other slots than this does.
bool RECORD_UPDATE::begin()
{
    if (m_file.run("BEGIN IMMEDIATE") && m_file.number("PRAGMA data_version") != m_data_version)
        m_file.fail(QStringLiteral("another program has written to it"), RECORD_FAULT::FAILED);
    return !m_file.fault();
}

void RECORD_UPDATE::write_libraries()
{
    for (int row = 0; row < m_written_libraries.size(); ++row)
        m_sum -= hash_of(SEALED_TABLE::LIBRARIES, row, pack_library(m_written_libraries.at(row)));
    RECORD_STATEMENT statement(m_file, "INSERT OR REPLACE INTO libraries VALUES (?, ?)");
    for (int row = 0; row < m_libraries.size(); ++row) {
        const QByteArray packed = pack_library(m_libraries.at(row));
        m_sum += hash_of(SEALED_TABLE::LIBRARIES, row, packed);
        write_row(statement, row, packed.constData(), packed.size());
    }
}

void RECORD_UPDATE::write_surroundings()
{
    RECORD_STATEMENT statement(m_file, "INSERT OR REPLACE INTO surroundings VALUES (?, ?)");
    for (const quint32 number : qAsConst(m_pending_surroundings)) {
        const QByteArray& packed = m_surroundings.at(int(number));
        write_row(statement, number, packed.constData(), packed.size());
    }
}

void RECORD_UPDATE::write_details()
{
    RECORD_STATEMENT statement(m_file, "INSERT OR REPLACE INTO details VALUES (?, ?, ?, ?)");
    const char* text = m_pending_texts.constData();
    for (const PENDING& action : qAsConst(m_pending)) {
        const char* const details = text + action.name_size;
        statement.bind(1, action.slot);
        statement.bind_text(2, text, action.name_size);
        statement.bind(3, qint64(action.checksum));
        statement.bind(4, details, action.details_size);
        statement.step();
        text = details + action.details_size;
    }
}

// Actions run in much the same order each time, so a block is mostly written once.
void RECORD_UPDATE::write_entries()
{
    RECORD_STATEMENT load(m_file, "SELECT packed FROM entries WHERE block = ?");
    RECORD_STATEMENT store(m_file, "INSERT OR REPLACE INTO entries VALUES (?, ?)");
    for (int i = 0; i < m_pending.size() && !m_file.fault();) {
        const int number = m_pending.at(i).slot / BLOCK_ENTRIES;
        QByteArray block = load_block(load, number);
        for (; i < m_pending.size() && m_pending.at(i).slot / BLOCK_ENTRIES == number; ++i) {
            const PENDING& action = m_pending.at(i);
            block.replace(action.slot % BLOCK_ENTRIES * PACKED_ENTRY_SIZE, PACKED_ENTRY_SIZE,
                          action.entry.data(), PACKED_ENTRY_SIZE);
        }
        m_sum += hash_of(SEALED_TABLE::ENTRIES, number, block);
        write_row(store, number, block.constData(), block.size());
    }
}

// What the sum has no longer; empty when the block is new.
QByteArray RECORD_UPDATE::load_block(RECORD_STATEMENT& statement, int number)
{
    statement.bind(1, number);
    if (!statement.step())
        return {};
    const QByteArray block = statement.copy(0);
    statement.reset();
    m_sum -= hash_of(SEALED_TABLE::ENTRIES, number, block);
    return block;
}

bool RECORD_UPDATE::end()
{
    RECORD_STATEMENT seal(m_file, "INSERT OR REPLACE INTO seal VALUES (1, ?, ?)");
    seal.bind(1, m_keys.size());
    seal.bind(2, qint64(m_sum));
    seal.step();
    return m_file.run("COMMIT");
}

QString RECORD_UPDATE::give_up()
{
    if (!m_write_problem.isEmpty())
        return m_write_problem;
    const QString text = m_path + ": can't be written: " + m_file.fault().cause;
    m_file.close();
    return text + (remove_record(m_path)
                       ? QStringLiteral(", so it was removed, and the next build builds everything")
                       : QStringLiteral(". Remove it before the next build, which else takes what it "
                                        "says for the truth"));
}
