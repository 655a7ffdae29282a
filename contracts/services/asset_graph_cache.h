#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include "contracts/services/asset_graph_data.h"

namespace QTSHARED {

// The cache is a header and a payload, numbers in little-endian order:
//
//     8 bytes   "GOXAGRPH"
//     4 bytes   version of the format
//     8 bytes   length of the payload
//     20 bytes  SHA-1 of the payload
//
// The payload is a list of names and a list of files. A list is its length (4
// bytes) and its elements. A name is the number of its UTF-8 bytes (4 bytes) and
// the bytes. A file is its name, its size and two times (8 bytes each) and a
// list of assets; an asset is its number in the list of names (4 bytes) and a
// list of the numbers that it uses.

constexpr quint32 ASSET_GRAPH_CACHE_VERSION = 1;
constexpr qint64 MAX_ASSET_GRAPH_CACHE_BYTES = qint64(1) << 30;
constexpr int ASSET_GRAPH_CACHE_HEADER = 8 + 4 + 8 + 20;

/// The graph as the bytes of a cache file; empty when it is too large for one.
QByteArray pack_asset_graph(const ASSET_GRAPH_DATA& graph);

/// Why a file of `size` bytes that begins with `header` is no cache; empty when it
/// may be one. `header` is what there is of the first ASSET_GRAPH_CACHE_HEADER
/// bytes.
QString asset_graph_header_fault(const QByteArray& header, qint64 size);

/// Reads the bytes of a cache file into `graph`, which is left as it was when
/// they are no whole and sound cache. The result is the cause then, without the
/// file's name, and empty on success.
QString unpack_asset_graph(const QByteArray& bytes, ASSET_GRAPH_DATA& graph);

} // namespace QTSHARED
