#include "session/scan_roots.h"

#include "contracts/paths/letter_case.h"

namespace {

bool lies_inside(const QString& path, const QString& folder)
{
    return begins_with_folder(path, folder + '/');
}

} // namespace

void remove_nested_roots(QVector<PHYSICAL_PATH>& roots)
{
    int i = 0;
    while (i < roots.size()) {
        bool removed_i = false;
        int j = i + 1;
        while (j < roots.size()) {
            if (lies_inside(roots.at(j), roots.at(i))) {
                roots.removeAt(j);
            } else if (lies_inside(roots.at(i), roots.at(j))) {
                roots.removeAt(i);
                removed_i = true;
                break;
            } else {
                ++j;
            }
        }
        if (!removed_i)
            ++i;
    }
}

QSet<PHYSICAL_PATH> ancestors_within(const PHYSICAL_PATH& folder, const QVector<PHYSICAL_PATH>& data_roots)
{
    QSet<PHYSICAL_PATH> ancestors;
    for (const PHYSICAL_PATH& root : data_roots) {
        if (!lies_inside(folder, root))
            continue;
        const int root_size = static_cast<const QString&>(root).size();
        QString ancestor = folder;
        while (ancestor.size() > root_size) {
            ancestor = ancestor.section('/', 0, -2);
            ancestors.insert(PHYSICAL_PATH(ancestor));
        }
        break;
    }
    return ancestors;
}
