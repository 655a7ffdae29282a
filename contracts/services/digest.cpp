#include "contracts/services/digest.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

DIGEST digest_of(const void* bytes, std::size_t size)
{
    const XXH128_hash_t hash = XXH3_128bits(bytes, size);
    return {hash.high64, hash.low64};
}

quint64 hash_64(const void* bytes, std::size_t size, quint64 seed)
{
    return XXH3_64bits_withSeed(bytes, size, seed);
}
