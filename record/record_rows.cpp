#include "record/record_rows.h"

namespace {

void fail_seal(RECORD_FILE& file)
{
    file.fail(QStringLiteral("its rows are not those that were written"));
}

// Walks over the rows of a table, whose numbers have to be 0, 1, 2 and so on: pages that
// lead in circles end here.
template <typename TAKE>
void read_table(RECORD_FILE& file, RECORD_ROWS& rows, SEALED_TABLE table, const char* sql, TAKE take)
{
    RECORD_STATEMENT statement(file, sql);
    for (qint64 row = 0; statement.step(); ++row) {
        const char* const bytes = statement.bytes(1);
        const int size = statement.size(1);
        if (statement.number(0) != row || !bytes || !take(bytes, size)) {
            file.fail(QStringLiteral("a row of it can't be read"));
            return;
        }
        rows.sum += row_hash(table, row, bytes, size);
    }
}

// Only the last block has fewer entries than the others.
bool take_block(const char* bytes, int size, RECORD_ROWS& rows)
{
    const int count = size / PACKED_ENTRY_SIZE;
    if (count == 0 || count > BLOCK_ENTRIES || size % PACKED_ENTRY_SIZE != 0 ||
        rows.entries.size() % BLOCK_ENTRIES != 0)
        return false;
    for (int i = 0; i < count; ++i) {
        BUILD_ENTRY entry;
        if (!unpack_entry(bytes + i * PACKED_ENTRY_SIZE, PACKED_ENTRY_SIZE, entry) ||
            entry.surroundings >= quint32(rows.surroundings.size()))
            return false;
        rows.entries.append(entry);
    }
    return true;
}

template <typename T>
bool take_element(const char* bytes, int size, QVector<T>& list, bool (*unpack)(const QByteArray&, T&))
{
    list.append(T());
    return unpack(QByteArray::fromRawData(bytes, size), list.last());
}

struct SEAL
{
    qint64 entries = 0;
    quint64 sum = 0;
};

SEAL read_seal(RECORD_FILE& file)
{
    RECORD_STATEMENT statement(file, "SELECT entries, sum FROM seal WHERE id = 1");
    return statement.step() ? SEAL{statement.number(0), quint64(statement.number(1))} : SEAL{};
}

} // namespace

quint64 row_hash(SEALED_TABLE table, qint64 row, const char* bytes, int size)
{
    return hash_64(bytes, std::size_t(size), quint64(table) << 56 ^ quint64(row));
}

bool read_rows(RECORD_FILE& file, RECORD_ROWS& rows)
{
    rows = {};
    const SEAL seal = read_seal(file);
    read_table(file, rows, SEALED_TABLE::SURROUNDINGS, "SELECT id, packed FROM surroundings ORDER BY id",
               [&](const char* bytes, int size) {
                   return take_element(bytes, size, rows.surroundings, unpack_surroundings);
               });
    read_table(file, rows, SEALED_TABLE::LIBRARIES, "SELECT id, packed FROM libraries ORDER BY id",
               [&](const char* bytes, int size) {
                   return take_element(bytes, size, rows.libraries, unpack_library);
               });
    read_table(file, rows, SEALED_TABLE::ENTRIES, "SELECT block, packed FROM entries ORDER BY block",
               [&](const char* bytes, int size) { return take_block(bytes, size, rows); });
    if (seal.entries != rows.entries.size() || seal.sum != rows.sum)
        fail_seal(file);
    return !file.fault();
}

bool has_seal_of(RECORD_FILE& file, const RECORD_ROWS& rows)
{
    const SEAL seal = read_seal(file);
    return !file.fault() && seal.entries == rows.entries.size() && seal.sum == rows.sum;
}
