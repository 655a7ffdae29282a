#include "fuzz/fuzz_target.h"
#include "record/dealings.h"
#include "record/packed_bytes.h"
#include "record/packed_entries.h"

namespace {

// What is accepted must come back as it is once it has been packed again.
template <typename T, typename UNPACK, typename PACK>
void read_and_pack(const QByteArray& input, UNPACK unpack, PACK pack)
{
    T value;
    if (!unpack(input, value))
        return;
    T again;
    require(unpack(pack(value), again) && again == value, QStringLiteral("it is packed to something else"));
}

bool unpack_as_entry(const QByteArray& bytes, BUILD_ENTRY& entry)
{
    return unpack_entry(bytes.constData(), bytes.size(), entry);
}

QByteArray pack_as_bytes(const BUILD_ENTRY& entry)
{
    const PACKED_ENTRY packed = pack_entry(entry);
    return QByteArray(packed.data(), PACKED_ENTRY_SIZE);
}

} // namespace

// As each kind of row, and as the list of a dealings file, since hardly any other input would
// get past the checksum.
void take_input(const QByteArray& input)
{
    read_and_pack<BUILD_ENTRY>(input, unpack_as_entry, pack_as_bytes);
    read_and_pack<BUILD_ENTRY_DETAILS>(input, unpack_details, pack_details);
    read_and_pack<SURROUNDINGS>(input, unpack_surroundings, pack_surroundings);
    read_and_pack<KNOWN_FILE>(input, unpack_library, pack_library);
    read_and_pack<QVector<ACTION_DURATION>>(input, unpack_dealings, pack_dealings);
    PACKER checksum;
    checksum.number(hash_64(input.constData(), std::size_t(input.size())));
    read_and_pack<QVector<ACTION_DURATION>>("GOXDEAL1" + checksum.packed() + input, unpack_dealings,
                                            pack_dealings);
}
