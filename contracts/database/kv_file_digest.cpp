#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include "contracts/database/kv_files.h"
#include "contracts/services/digest.h"
#include "contracts/services/fw_memory.h"

namespace {

constexpr qint64 PART = qint64(1) << 20; // bytes of a file that are in memory at a time

QByteArray bytes_of(const DIGEST& digest)
{
    const quint64 numbers[] = {qToBigEndian(digest.high), qToBigEndian(digest.low)};
    return QByteArray(reinterpret_cast<const char*>(numbers), int(sizeof numbers));
}

} // namespace

QByteArray kv_file_digest(const QString& path)
{
    QFile file(path.isEmpty() ? path : kv_file_to_read(path));
    if (path.isEmpty() || !file.exists())
        return bytes_of(digest_of(QByteArray("no file")));
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    FW::VECTOR<DIGEST> parts;
    QByteArray part;
    while (!(part = file.read(PART)).isEmpty())
        parts.push_back(digest_of(part));
    return file.error() == QFile::NoError ? bytes_of(digest_of(parts.data(), parts.size() * sizeof(DIGEST)))
                                          : QByteArray();
}
