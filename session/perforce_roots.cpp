#include "session/perforce_roots.h"

#include "contracts/services/p4_connection.h"

namespace {

// What stands behind the root in `path`, slash included; null outside it.
QString below(const QString& root, const QString& path)
{
    const bool is_below = !root.isEmpty() && path.startsWith(root, Qt::CaseInsensitive) &&
                          (path.size() == root.size() || path[root.size()] == '/');
    return is_below ? path.mid(root.size()) : QString();
}

} // namespace

PHYSICAL_PATH PERFORCE_ROOTS::physical_path(const QString& depot_path) const
{
    const QString rest = below(depot, depot_path);
    return rest.isEmpty() ? PHYSICAL_PATH() : PHYSICAL_PATH(workspace + P4_CONNECTION::plain_name(rest));
}

QString PERFORCE_ROOTS::depot_path(const PHYSICAL_PATH& path) const
{
    const QString rest = below(workspace, path);
    return rest.isNull() ? QString() : depot + P4_CONNECTION::specification(rest);
}

QStringList perforce_specifications(const QVector<PHYSICAL_PATH>& directories,
                                    const QSet<PHYSICAL_PATH>& parent_directories,
                                    const std::function<QString(const PHYSICAL_PATH&)>& depot_path_of)
{
    QStringList specifications;
    for (const PHYSICAL_PATH& directory : directories) {
        const QString depot_path = depot_path_of(directory);
        if (!depot_path.isEmpty())
            specifications.append(depot_path + "/...");
    }
    for (const PHYSICAL_PATH& directory : parent_directories) {
        const QString depot_path = depot_path_of(directory);
        if (!depot_path.isEmpty())
            specifications.append(depot_path + "/rules.gox");
    }
    specifications.sort();
    return specifications;
}
