#include "contracts/services/digest.h"

#include <QtCore/QFile>

#define XXH_INLINE_ALL
#include <xxhash.h>

static constexpr qint64 PIECE = qint64(1) << 20; // bytes of a file that are in memory at a time

DIGEST digest_of(const void* bytes, std::size_t size)
{
    const XXH128_hash_t hash = XXH3_128bits(bytes, size);
    return {hash.high64, hash.low64};
}

DIGEST digest_of_file(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    XXH3_state_t state;
    XXH3_128bits_reset(&state);
    for (QByteArray piece; !(piece = file.read(PIECE)).isEmpty();)
        XXH3_128bits_update(&state, piece.constData(), std::size_t(piece.size()));
    const XXH128_hash_t hash = XXH3_128bits_digest(&state);
    return file.error() == QFile::NoError ? DIGEST{hash.high64, hash.low64} : DIGEST{};
}

quint64 hash_64(const void* bytes, std::size_t size, quint64 seed)
{
    return XXH3_64bits_withSeed(bytes, size, seed);
}
