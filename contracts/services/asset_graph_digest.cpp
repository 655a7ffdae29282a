#include "contracts/services/asset_graph_digest.h"

#include "contracts/services/fw_memory.h"

namespace QTSHARED {
namespace {

DIGEST digest_of_text(const QString& text)
{
    return digest_of(text.constData(), std::size_t(text.size()) * sizeof(QChar));
}

DIGEST digest_of_list(const FW::VECTOR<DIGEST>& list)
{
    return digest_of(list.data(), list.size() * sizeof(DIGEST));
}

} // namespace

// A list begins with its length, so that no two graphs give the same row of digests.
DIGEST digest_of_asset_graph(const ASSET_GRAPH_DATA& graph)
{
    FW::VECTOR<DIGEST> names;
    names.reserve(std::size_t(graph.names.size()));
    for (const QString& name : graph.names)
        names.push_back(digest_of_text(name));
    FW::VECTOR<DIGEST> files;
    FW::VECTOR<DIGEST> file; // of the one at hand
    for (auto place = graph.files.begin(); place != graph.files.end(); ++place) {
        file.assign(1, digest_of_text(place.key()));
        for (const ASSET_USES& asset : place->assets) {
            file.push_back({quint64(asset.uses.size()), 0});
            file.push_back(names[std::size_t(asset.asset)]);
            for (const int used : asset.uses)
                file.push_back(names[std::size_t(used)]);
        }
        files.push_back(digest_of_list(file));
    }
    return digest_of_list(files);
}

} // namespace QTSHARED
