#include "record/packed_entries.h"

#include "record/packed_bytes.h"

namespace {

enum FLAG : quint8
{
    HAD_WARNINGS = 1,
    IS_GONE = 2,
    ALL_FLAGS = 3,
};

constexpr qint64 LAST_TIME = qint64(1) << 48; // ms since 1970, in the year 10889
constexpr int STAMP_SIZE = 2 * 8;

// The fewest bytes that an element of each list takes.
constexpr int MIN_FILE = 2 * 2 + STAMP_SIZE;
constexpr int MIN_ANSWER = 4;
constexpr int MIN_VALUE = 2;
constexpr int MIN_TABLE = 1 + sizeof(DIGEST);

void pack_stamp(PACKER& packer, const FILE_STAMP& stamp)
{
    packer.number(stamp.time);
    packer.number(stamp.size);
}

FILE_STAMP unpack_stamp(UNPACKER& unpacker)
{
    const qint64 time = unpacker.number<qint64>();
    return {time, unpacker.number<qint64>()};
}

// Files of an action lie mostly in one folder.
void pack_files(PACKER& packer, const QVector<RECORDED_FILE>& files)
{
    const RECORDED_FILE none;
    const RECORDED_FILE* former = &none;
    packer.count(quint32(files.size()));
    for (const RECORDED_FILE& file : files) {
        packer.text_after(former->logical, file.logical);
        packer.text_after(former->place, file.place);
        pack_stamp(packer, file.stamp);
        former = &file;
    }
}

QVector<RECORDED_FILE> unpack_files(UNPACKER& unpacker)
{
    QVector<RECORDED_FILE> files;
    RECORDED_FILE file;
    const int count = unpacker.list(MIN_FILE);
    files.reserve(count);
    for (int i = 0; i < count && unpacker.is_good(); ++i) {
        file.logical = unpacker.text_after(file.logical);
        file.place = unpacker.text_after(file.place);
        file.stamp = unpack_stamp(unpacker);
        files.append(file);
    }
    return files;
}

void pack_answer(PACKER& packer, const RECORDED_ANSWER& answer)
{
    packer.text(answer.path);
    packer.text(answer.kind);
    packer.flag(answer.found);
    packer.count(quint32(answer.values.size()));
    for (auto value = answer.values.begin(); value != answer.values.end(); ++value) {
        packer.text(value.key());
        packer.text(value.value());
    }
}

RECORDED_ANSWER unpack_answer(UNPACKER& unpacker)
{
    RECORDED_ANSWER answer;
    answer.path = unpacker.text();
    answer.kind = unpacker.text();
    answer.found = unpacker.flag();
    const int count = unpacker.list(MIN_VALUE);
    for (int i = 0; i < count && unpacker.is_good(); ++i) {
        const QString property = unpacker.text();
        answer.values.insert(answer.values.constEnd(), property, unpacker.text());
    }
    return answer;
}

void pack_table(PACKER& packer, const RECORDED_TABLE& table)
{
    packer.text(table.name);
    packer.digest(table.digest);
}

RECORDED_TABLE unpack_table(UNPACKER& unpacker)
{
    const QString name = unpacker.text();
    return {name, unpacker.digest()};
}

template <typename T>
void pack_list(PACKER& packer, const QVector<T>& list, void (*pack)(PACKER&, const T&))
{
    packer.count(quint32(list.size()));
    for (const T& element : list)
        pack(packer, element);
}

template <typename T>
QVector<T> unpack_list(UNPACKER& unpacker, int element_size, T (*unpack)(UNPACKER&))
{
    QVector<T> list;
    const int count = unpacker.list(element_size);
    list.reserve(count);
    for (int i = 0; i < count && unpacker.is_good(); ++i)
        list.append(unpack(unpacker));
    return list;
}

template <typename T>
char* put(char* place, T value)
{
    qToLittleEndian(value, place);
    return place + sizeof value;
}

} // namespace

PACKED_ENTRY pack_entry(const BUILD_ENTRY& entry)
{
    PACKED_ENTRY packed;
    char* place = packed.data();
    for (const quint64 number : {entry.key, entry.state.high, entry.state.low, entry.rules.high,
                                 entry.rules.low, quint64(entry.ended)})
        place = put(place, number);
    place = put(place, entry.surroundings);
    place = put(place, entry.duration);
    put(place, quint8((entry.had_warnings ? HAD_WARNINGS : 0) | (entry.is_gone ? IS_GONE : 0)));
    return packed;
}

bool unpack_entry(const char* bytes, int size, BUILD_ENTRY& entry)
{
    UNPACKER unpacker(bytes, size);
    entry.key = unpacker.number<quint64>();
    entry.state = unpacker.digest();
    entry.rules = unpacker.digest();
    entry.ended = unpacker.number<qint64>();
    entry.surroundings = unpacker.number<quint32>();
    entry.duration = unpacker.number<qint32>();
    const quint8 flags = unpacker.number<quint8>();
    entry.had_warnings = flags & HAD_WARNINGS;
    entry.is_gone = flags & IS_GONE;
    return unpacker.is_done() && flags <= ALL_FLAGS && entry.ended > 0 && entry.ended <= LAST_TIME;
}

QByteArray pack_surroundings(const SURROUNDINGS& surroundings)
{
    PACKER packer;
    packer.text(surroundings.library);
    packer.digest(surroundings.library_digest);
    packer.flag(surroundings.asked_graph);
    packer.digest(surroundings.graph_digest);
    pack_list(packer, surroundings.tables, pack_table);
    return packer.packed();
}

bool unpack_surroundings(const QByteArray& bytes, SURROUNDINGS& surroundings)
{
    UNPACKER unpacker(bytes.constData(), bytes.size());
    surroundings.library = unpacker.text();
    surroundings.library_digest = unpacker.digest();
    surroundings.asked_graph = unpacker.flag();
    surroundings.graph_digest = unpacker.digest();
    surroundings.tables = unpack_list(unpacker, MIN_TABLE, unpack_table);
    return unpacker.is_done();
}

QByteArray pack_library(const KNOWN_FILE& library)
{
    PACKER packer;
    packer.text(library.file);
    pack_stamp(packer, library.stamp);
    packer.digest(library.digest);
    return packer.packed();
}

bool unpack_library(const QByteArray& bytes, KNOWN_FILE& library)
{
    UNPACKER unpacker(bytes.constData(), bytes.size());
    library.file = unpacker.text();
    library.stamp = unpack_stamp(unpacker);
    library.digest = unpacker.digest();
    return unpacker.is_done();
}

QByteArray pack_details(const BUILD_ENTRY_DETAILS& details)
{
    PACKER packer;
    packer.number(details.stamp);
    pack_files(packer, details.inputs);
    pack_files(packer, details.targets);
    pack_list(packer, details.answers, pack_answer);
    packer.text(details.warning);
    return packer.packed();
}

bool unpack_details(const QByteArray& bytes, BUILD_ENTRY_DETAILS& details)
{
    UNPACKER unpacker(bytes.constData(), bytes.size());
    details.stamp = unpacker.number<qint64>();
    details.inputs = unpack_files(unpacker);
    details.targets = unpack_files(unpacker);
    details.answers = unpack_list(unpacker, MIN_ANSWER, unpack_answer);
    details.warning = unpacker.text();
    return unpacker.is_done();
}

quint64 details_checksum(const BUILD_ENTRY& entry, const QByteArray& name, const QByteArray& packed)
{
    const quint64 run = entry.key ^ quint64(entry.ended);
    const quint64 named = hash_64(name.constData(), std::size_t(name.size()), run);
    return hash_64(packed.constData(), std::size_t(packed.size()), named);
}
