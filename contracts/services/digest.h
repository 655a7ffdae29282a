#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>

#include "contracts/export.h"

/// 128 bits that stand for some bytes: equal bytes have equal digests on every
/// machine, and others in practice never the same. No protection against people
/// who want to deceive. A value; all zero stands for none.
struct DIGEST
{
    quint64 high = 0;
    quint64 low = 0;

    bool is_null() const { return high == 0 && low == 0; }
    bool operator==(const DIGEST& other) const { return high == other.high && low == other.low; }
    bool operator!=(const DIGEST& other) const { return !(*this == other); }
};

/// Any thread.
GOX_CONTRACTS_EXPORT DIGEST digest_of(const void* bytes, std::size_t size);
inline DIGEST digest_of(const QByteArray& bytes)
{
    return digest_of(bytes.constData(), std::size_t(bytes.size()));
}

/// Of all bytes of a file, which is read in pieces. Null when it can't be read.
DIGEST digest_of_file(const QString& path);

/// 64 bits of the same kind, for what is looked up or combined further. A text
/// counts by its UTF-16 units.
GOX_CONTRACTS_EXPORT quint64 hash_64(const void* bytes, std::size_t size, quint64 seed = 0);
inline quint64 hash_64(const QString& text, quint64 seed = 0)
{
    return hash_64(text.constData(), std::size_t(text.size()) * sizeof(QChar), seed);
}
