#include "contracts/services/asset_graph_cache.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

#include "contracts/services/asset_graph_reader.h"

namespace QTSHARED {
namespace {

constexpr char MAGIC[] = "GOXAGRPH";
constexpr int MAGIC_SIZE = 8;
constexpr int CHECKSUM_SIZE = 20;
constexpr int HEADER_SIZE = ASSET_GRAPH_CACHE_HEADER;

// The fewest bytes that an element of each list takes.
constexpr int MIN_NAME = 4 + 1;
constexpr int MIN_FILE = 4 + 3 * 8 + 4;
constexpr int MIN_ASSET = 4 + 4;
constexpr int MIN_USE = 4;

QByteArray checksum(const char* payload, int size)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(payload, size);
    return hash.result();
}

template <typename T>
void append(QByteArray& bytes, T value)
{
    const T little = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&little), int(sizeof little));
}

void append_text(QByteArray& bytes, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    append(bytes, quint32(utf8.size()));
    bytes.append(utf8);
}

// Takes a payload apart. After the first thing that is wrong everything is 0 or
// empty, so loops end by themselves.
class PAYLOAD
{
public:
    PAYLOAD(const QByteArray& bytes, int from) : m_bytes(bytes), m_place(from) {}

    template <typename T>
    T number()
    {
        if (!has(sizeof(T)))
            return 0;
        const T value = qFromLittleEndian<T>(m_bytes.constData() + m_place);
        m_place += int(sizeof(T));
        return value;
    }

    // The length of a list whose elements take so many bytes at least.
    int list(int element_size)
    {
        const quint32 count = number<quint32>();
        if (quint64(count) * quint64(element_size) <= quint64(left()))
            return int(count);
        fail(QStringLiteral("a list of %1 elements does not fit into it").arg(count));
        return 0;
    }

    QString text()
    {
        const int size = list(1);
        const char* const text = m_bytes.constData() + m_place;
        m_place += size;
        // The conversion would drop a byte order mark, which is a letter here.
        if (size > 0 && text[0] == '\xEF') {
            const QByteArray guarded = QByteArray(1, ' ').append(text, size);
            return QString::fromUtf8(guarded.constData(), guarded.size()).mid(1);
        }
        return QString::fromUtf8(text, size);
    }

    // The number of one of `count` names.
    int reference(int count)
    {
        const quint32 value = number<quint32>();
        if (value < quint32(count))
            return int(value);
        fail(QStringLiteral("there is no asset number %1").arg(value));
        return 0;
    }

    int left() const { return m_bytes.size() - m_place; }

    void fail(const QString& cause)
    {
        if (m_cause.isEmpty())
            m_cause = cause;
        m_place = m_bytes.size();
    }

    const QString& cause() const { return m_cause; }

private:
    bool has(std::size_t size)
    {
        if (std::size_t(left()) < size)
            fail(QStringLiteral("it ends too early"));
        return m_cause.isEmpty();
    }

    const QByteArray& m_bytes;
    int m_place;
    QString m_cause;
};

void unpack_names(PAYLOAD& payload, ASSET_GRAPH_DATA& graph)
{
    const int count = payload.list(MIN_NAME);
    graph.names.reserve(count);
    graph.numbers.reserve(count);
    for (int i = 0; i < count && payload.cause().isEmpty(); ++i) {
        const QString name = payload.text();
        if (name.isEmpty() || name.size() > MAX_ASSET_NAME || graph.number(name) != i)
            payload.fail(QStringLiteral("asset number %1 has no name of its own").arg(i));
    }
}

void unpack_assets(PAYLOAD& payload, int names, AGF_FRAGMENTS& file)
{
    const int count = payload.list(MIN_ASSET);
    for (int i = 0; i < count && payload.cause().isEmpty(); ++i) {
        ASSET_USES asset;
        asset.asset = payload.reference(names);
        const int uses = payload.list(MIN_USE);
        asset.uses.reserve(uses);
        for (int k = 0; k < uses && payload.cause().isEmpty(); ++k)
            asset.uses.append(payload.reference(names));
        file.assets.append(asset);
    }
}

void unpack_files(PAYLOAD& payload, ASSET_GRAPH_DATA& graph)
{
    const int count = payload.list(MIN_FILE);
    for (int i = 0; i < count && payload.cause().isEmpty(); ++i) {
        const QString name = payload.text();
        if (graph.files.contains(name))
            payload.fail(QStringLiteral("file \"%1\" is in it twice").arg(name));
        AGF_FRAGMENTS file;
        file.stamp.size = payload.number<qint64>();
        file.stamp.modified = payload.number<qint64>();
        file.stamp.changed = payload.number<qint64>();
        unpack_assets(payload, graph.names.size(), file);
        graph.files.insert(graph.files.constEnd(), name, file);
    }
}

qint64 payload_size(const ASSET_GRAPH_DATA& graph)
{
    qint64 size = 2 * 4;
    for (const QString& name : graph.names)
        size += MIN_NAME + qint64(3) * name.size();
    for (auto file = graph.files.begin(); file != graph.files.end(); ++file) {
        size += MIN_FILE + qint64(3) * file.key().size();
        for (const ASSET_USES& asset : file->assets)
            size += MIN_ASSET + qint64(MIN_USE) * asset.uses.size();
    }
    return size;
}

bool has_right_checksum(const QByteArray& bytes)
{
    return bytes.mid(HEADER_SIZE - CHECKSUM_SIZE, CHECKSUM_SIZE) ==
           checksum(bytes.constData() + HEADER_SIZE, bytes.size() - HEADER_SIZE);
}

} // namespace

QString asset_graph_header_fault(const QByteArray& header, qint64 size)
{
    const QByteArray magic(MAGIC, MAGIC_SIZE);
    if (header.isEmpty())
        return QStringLiteral("it is empty");
    if (!magic.startsWith(header.left(MAGIC_SIZE)))
        return QStringLiteral("it is no asset graph cache");
    if (header.size() < HEADER_SIZE)
        return QStringLiteral("it is cut off after %1 bytes").arg(header.size());
    const quint32 version = qFromLittleEndian<quint32>(header.constData() + MAGIC_SIZE);
    if (version != ASSET_GRAPH_CACHE_VERSION)
        return QStringLiteral("it has version %1, this program reads version %2")
            .arg(version)
            .arg(ASSET_GRAPH_CACHE_VERSION);
    const quint64 length = qFromLittleEndian<quint64>(header.constData() + MAGIC_SIZE + 4);
    const quint64 present = quint64(size - HEADER_SIZE);
    if (present < length)
        return QStringLiteral("it is cut off after %1 bytes").arg(size);
    if (present > length)
        return QStringLiteral("it goes on behind its end");
    if (size > MAX_ASSET_GRAPH_CACHE_BYTES)
        return QStringLiteral("it is larger than %1 bytes").arg(MAX_ASSET_GRAPH_CACHE_BYTES);
    return QString();
}

QByteArray pack_asset_graph(const ASSET_GRAPH_DATA& graph)
{
    const qint64 size = payload_size(graph);
    if (size + HEADER_SIZE > MAX_ASSET_GRAPH_CACHE_BYTES)
        return QByteArray();
    QByteArray payload;
    payload.reserve(int(size));
    append(payload, quint32(graph.names.size()));
    for (const QString& name : graph.names)
        append_text(payload, name);
    append(payload, quint32(graph.files.size()));
    for (auto file = graph.files.begin(); file != graph.files.end(); ++file) {
        append_text(payload, file.key());
        append(payload, file->stamp.size);
        append(payload, file->stamp.modified);
        append(payload, file->stamp.changed);
        append(payload, quint32(file->assets.size()));
        for (const ASSET_USES& asset : file->assets) {
            append(payload, quint32(asset.asset));
            append(payload, quint32(asset.uses.size()));
            for (const int used : asset.uses)
                append(payload, quint32(used));
        }
    }
    QByteArray bytes(MAGIC, MAGIC_SIZE);
    append(bytes, ASSET_GRAPH_CACHE_VERSION);
    append(bytes, quint64(payload.size()));
    return bytes + checksum(payload.constData(), payload.size()) + payload;
}

QString unpack_asset_graph(const QByteArray& bytes, ASSET_GRAPH_DATA& graph)
{
    const QString cause = asset_graph_header_fault(bytes.left(HEADER_SIZE), bytes.size());
    if (!cause.isEmpty())
        return cause;
    if (!has_right_checksum(bytes))
        return QStringLiteral("its checksum is wrong");
    ASSET_GRAPH_DATA result;
    PAYLOAD payload(bytes, HEADER_SIZE);
    unpack_names(payload, result);
    unpack_files(payload, result);
    if (payload.left() > 0)
        payload.fail(QStringLiteral("there is more in it than its lists"));
    if (payload.cause().isEmpty())
        graph = result;
    return payload.cause();
}

} // namespace QTSHARED
