#include "record/dealings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include "contracts/services/whole_file.h"
#include "record/packed_bytes.h"

namespace {

const QByteArray MAGIC = QByteArrayLiteral("GOXDEAL1"); // the last letter is the version
constexpr int CHECKSUM_SIZE = 8;
constexpr int DURATION_SIZE = 8 + 4;
constexpr qint64 MAX_BYTES = qint64(1) << 30;

QString file_in(const QString& folder)
{
    return QDir(folder).absoluteFilePath(QStringLiteral("gox_build_record.sqlite.dealings"));
}

} // namespace

QByteArray pack_dealings(const QVector<ACTION_DURATION>& durations)
{
    PACKER packer;
    packer.count(quint32(durations.size()));
    for (const ACTION_DURATION& action : durations) {
        packer.number(action.key);
        packer.number(action.duration);
    }
    const QByteArray& list = packer.packed();
    PACKER checksum;
    checksum.number(hash_64(list.constData(), std::size_t(list.size())));
    return MAGIC + checksum.packed() + list;
}

bool unpack_dealings(const QByteArray& bytes, QVector<ACTION_DURATION>& durations)
{
    const int head = MAGIC.size() + CHECKSUM_SIZE;
    const int size = bytes.size() - head;
    if (size < 0 || !bytes.startsWith(MAGIC))
        return false;
    const char* const list = bytes.constData() + head;
    UNPACKER unpacker(list, size);
    durations.clear();
    const int count = unpacker.list(DURATION_SIZE);
    durations.reserve(count);
    for (int i = 0; i < count; ++i) {
        const quint64 key = unpacker.number<quint64>();
        durations.append({key, unpacker.number<qint32>()});
    }
    return unpacker.is_done() && UNPACKER(list - CHECKSUM_SIZE, CHECKSUM_SIZE).number<quint64>() ==
                                     hash_64(list, std::size_t(size));
}

QVector<ACTION_DURATION> read_dealings(const QString& folder, QString& error)
{
    error.clear();
    QVector<ACTION_DURATION> durations;
    QFile file(file_in(folder));
    if (!file.exists())
        return durations;
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly) && file.size() <= MAX_BYTES)
        bytes = file.readAll();
    if (file.error() != QFile::NoError)
        error = file.fileName() + ": " + file.errorString();
    if (!unpack_dealings(bytes, durations))
        durations.clear();
    return durations;
}

QString write_dealings(const QString& folder, const QVector<ACTION_DURATION>& durations)
{
    return write_whole_file(file_in(folder), pack_dealings(durations));
}
