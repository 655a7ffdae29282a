#include "contracts/services/asset_graph.h"
#include "fuzz/fuzz_target.h"

// A graph that was read can be asked, and kept in a cache.
void take_input(const QByteArray& input)
{
    QTSHARED::ASSET_GRAPH graph;
    QString error;
    if (!graph.add(scratch_file(QStringLiteral("a.agf"), input), error)) {
        require(!error.isEmpty(), QStringLiteral("no cause"));
        return;
    }
    QStringList problems;
    graph.check_dependencies(problems);
    const QString cache = scratch_path(QStringLiteral("a.bin"));
    require(graph.save_binary(cache, error), error);
    QTSHARED::ASSET_GRAPH again;
    QStringList errors;
    require(again.load_binary(cache, errors, false), errors.join('\n'));
    require(again.assets() == graph.assets(), QStringLiteral("the cache holds other assets"));
}
