#include "record/dealings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

#include "contracts/services/whole_file.h"
#include "record/packed_bytes.h"

namespace {

const QByteArray MAGIC = QByteArrayLiteral("GOXDEAL1"); // the last letter is the version
constexpr int CHECKSUM_SIZE = 8;
constexpr int DURATION_SIZE = 8 + 4;
constexpr qint64 MAX_BYTES = qint64(1) << 30;

QString file_of(const QString& folder, const QString& record_name)
{
    return QDir(folder).absoluteFilePath(record_name + ".dealings");
}

QVector<ACTION_DURATION> unpack_durations(UNPACKER& unpacker)
{
    QVector<ACTION_DURATION> durations;
    const int count = unpacker.list(DURATION_SIZE);
    durations.reserve(count);
    for (int i = 0; i < count; ++i) {
        const quint64 key = unpacker.number<quint64>();
        durations.append({key, unpacker.number<qint32>()});
    }
    return durations;
}

bool is_earlier(const DEALING& a, const DEALING& b)
{
    return a.generation < b.generation;
}

} // namespace

QByteArray pack_dealings(const QVector<DEALING>& dealings)
{
    PACKER packer;
    for (const DEALING& dealing : dealings) {
        packer.number(dealing.generation);
        packer.count(quint32(dealing.durations.size()));
        for (const ACTION_DURATION& action : dealing.durations) {
            packer.number(action.key);
            packer.number(action.duration);
        }
    }
    const QByteArray& list = packer.packed();
    PACKER checksum;
    checksum.number(hash_64(list.constData(), std::size_t(list.size())));
    return MAGIC + checksum.packed() + list;
}

bool unpack_dealings(const QByteArray& bytes, QVector<DEALING>& dealings)
{
    const int head = MAGIC.size() + CHECKSUM_SIZE;
    const int size = bytes.size() - head;
    if (size < 0 || !bytes.startsWith(MAGIC))
        return false;
    const char* const list = bytes.constData() + head;
    UNPACKER unpacker(list, size);
    dealings.clear();
    while (unpacker.is_good() && !unpacker.is_done()) {
        const qint64 generation = unpacker.number<qint64>();
        dealings.append({generation, unpack_durations(unpacker)});
    }
    const bool is_rising =
        std::adjacent_find(dealings.begin(), dealings.end(), [](const DEALING& a, const DEALING& b) {
            return !is_earlier(a, b);
        }) == dealings.end();
    return unpacker.is_done() && is_rising &&
           UNPACKER(list - CHECKSUM_SIZE, CHECKSUM_SIZE).number<quint64>() ==
               hash_64(list, std::size_t(size));
}

QVector<DEALING> read_dealings(const QString& folder, const QString& record_name, QString& error)
{
    error.clear();
    QVector<DEALING> dealings;
    QFile file(file_of(folder, record_name));
    if (!file.exists())
        return dealings;
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly) && file.size() <= MAX_BYTES)
        bytes = file.readAll();
    if (file.error() != QFile::NoError)
        error = file.fileName() + ": " + file.errorString();
    if (!unpack_dealings(bytes, dealings))
        dealings.clear();
    return dealings;
}

QString add_dealing(const QString& folder, const QString& record_name, const DEALING& dealing)
{
    QString error; // then what was there can't be kept, and must not be lost
    QVector<DEALING> dealings = read_dealings(folder, record_name, error);
    if (!error.isEmpty())
        return error;
    const auto place = std::lower_bound(dealings.begin(), dealings.end(), dealing, is_earlier);
    if (place != dealings.end() && place->generation == dealing.generation)
        *place = dealing;
    else
        dealings.insert(place, dealing);
    return write_whole_file(file_of(folder, record_name),
                            pack_dealings(dealings.mid(qMax(0, dealings.size() - DEALINGS_KEPT))));
}
