#include "rules/rule_folder_rows.h"

#include <QtWidgets/QTreeWidgetItem>

#include "contracts/paths/paths.h"
#include "rules/rule_rows.h"

namespace {

QTreeWidgetItem* new_row(const QString& name)
{
    QTreeWidgetItem* const row = new QTreeWidgetItem(QStringList(name));
    row->setForeground(NAME_COLUMN, Qt::gray);
    return row;
}

} // namespace

QString key_of_folder(const QString& path)
{
    return lower_case_by_letter(path);
}

QTreeWidgetItem* row_of_folder(const QString& path, RULE_FOLDER_ROWS& rows)
{
    const QString key = key_of_folder(path);
    if (QTreeWidgetItem* const known = rows.value(key))
        return known;
    const int slash = path.lastIndexOf('/');
    QTreeWidgetItem* const parent = slash < 0 ? nullptr : row_of_folder(path.left(slash), rows);
    if (!parent)
        return nullptr;
    QTreeWidgetItem* const row = new_row(path.mid(slash + 1));
    parent->addChild(row);
    rows.insert(key, row);
    return row;
}

void add_rows_of_folders(const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_FOLDER_ROWS& rows,
                         QList<QTreeWidgetItem*>& top_rows)
{
    QString previous;
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString& key = file.key();
        if (key.startsWith(QLatin1String("<retail>")))
            continue;
        const QStringRef folder = key.leftRef(key.lastIndexOf('/'));
        if (folder == previous) // the map keeps the files of a folder together
            continue;
        previous = folder.toString();
        const QString path = display_path(PHYSICAL_PATH(file.value()->physical.section('/', 0, -2)));
        if (path.isEmpty())
            continue;
        const QString top = path.section('/', 0, 0);
        if (!rows.contains(key_of_folder(top))) {
            top_rows.prepend(new_row(top));
            rows.insert(key_of_folder(top), top_rows.first());
        }
        row_of_folder(path, rows);
    }
}
