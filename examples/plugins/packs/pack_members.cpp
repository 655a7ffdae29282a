#include "packs/pack_members.h"

#include <QtCore/QSet>

#include "contracts/services/asset_graph.h"

const QString CONTENTS_NAME = QStringLiteral("contents.txt");

namespace {

const QString WORKING = QStringLiteral("<working>/");

// Fragments of the asset graph speak to tools and not to the game.
bool belongs_into_pack(const QString& path)
{
    return !path.endsWith(QLatin1String(".agf"));
}

} // namespace

QStringList top_folders(const FILE_MAP& files)
{
    QStringList folders;
    for (auto place = files.lower_bound(LOGICAL_PATH(WORKING)); place != files.end(); ++place) {
        const QString& path = place.key();
        if (!path.startsWith(WORKING))
            break;
        const int slash = path.indexOf('/', WORKING.size());
        if (slash < 0 || !belongs_into_pack(path))
            continue;
        const QString folder = path.mid(WORKING.size(), slash - WORKING.size());
        if (folders.isEmpty() || folders.last() != folder)
            folders.append(folder);
    }
    return folders;
}

QVector<LOGICAL_PATH> own_files(const QString& pack, const FILE_MAP& files)
{
    QVector<LOGICAL_PATH> own;
    const QString folder = WORKING + pack + '/';
    for (auto place = files.lower_bound(LOGICAL_PATH(folder)); place != files.end(); ++place) {
        const QString& path = place.key();
        if (!path.startsWith(folder))
            break;
        if (belongs_into_pack(path))
            own.append(place.key());
    }
    return own;
}

QVector<LOGICAL_PATH> used_files(const QVector<LOGICAL_PATH>& own, const FILE_MAP& files,
                                 const QTSHARED::ASSET_GRAPH& graph)
{
    QStringList waiting;
    for (const LOGICAL_PATH& path : own)
        waiting.append(asset_name(path));
    QSet<QString> seen(waiting.begin(), waiting.end());
    QVector<LOGICAL_PATH> used;
    while (!waiting.isEmpty())
        for (const QString& asset : graph.dependencies_of(waiting.takeLast())) {
            if (seen.contains(asset))
                continue;
            seen.insert(asset);
            waiting.append(asset);
            const LOGICAL_PATH path(WORKING + asset);
            if (files.contains(path))
                used.append(path);
        }
    return used;
}

QString asset_name(const LOGICAL_PATH& path)
{
    return path.section('/', 1, -1);
}
