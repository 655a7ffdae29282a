#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

#include "contracts/services/asset_graph.h"
#include "fuzz/fuzz_target.h"

namespace {

template <typename NUMBER>
QByteArray number_bytes(NUMBER number)
{
    QByteArray bytes(int(sizeof number), 0);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

void read_cache(const QByteArray& bytes)
{
    const QString file = scratch_file(QStringLiteral("a.bin"), bytes);
    QTSHARED::ASSET_GRAPH graph;
    QStringList problems;
    if (!graph.load_binary(file, problems, false)) {
        require(!problems.isEmpty(), QStringLiteral("no cause"));
        return;
    }
    graph.check_dependencies(problems);
    QString error;
    require(graph.save_binary(file, error), error);
    QTSHARED::ASSET_GRAPH again;
    require(again.load_binary(file, problems, false), problems.join('\n'));
    require(again.assets() == graph.assets(), QStringLiteral("the cache holds other assets"));
}

} // namespace

// As a file, and as the payload of one, since hardly any other input would get
// past the checksum.
void take_input(const QByteArray& input)
{
    read_cache(input);
    read_cache("GOXAGRPH" + number_bytes(quint32(1)) + number_bytes(quint64(input.size())) +
               QCryptographicHash::hash(input, QCryptographicHash::Sha1) + input);
}
