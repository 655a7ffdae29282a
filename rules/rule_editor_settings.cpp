#include "rules/rule_editor_settings.h"

#include <QtWidgets/QHeaderView>
#include <QtWidgets/QTreeWidget>

#include "contracts/services/qt_workarounds.h"
#include "contracts/services/user_settings.h"
#include "rules/rule_rows.h"

namespace {

const char KEY_GEOMETRY[] = "RuleEditorGeometry";
const char KEY_NAME_WIDTH[] = "RuleEditorNameWidth";
const char KEY_OPEN_FOLDERS[] = "RuleEditorOpenFolders";
const int MOST_OPEN_FOLDERS = 1000;

// Those that can be seen: an open folder in a closed one comes up closed.
void add_open_folders(const QTreeWidgetItem& parent, const QString& path, QStringList& folders)
{
    for (int i = 0; i < parent.childCount() && folders.size() < MOST_OPEN_FOLDERS; ++i) {
        const QTreeWidgetItem& row = *parent.child(i);
        if (kind_of_row(row) != FOLDER_ROW || !row.isExpanded())
            continue;
        folders.append(key_of_folder(path + row.text(NAME_COLUMN)));
        add_open_folders(row, folders.last() + '/', folders);
    }
}

} // namespace

void restore_rule_editor(QWidget& window, QTreeWidget& tree, const RULE_FOLDER_ROWS& rows)
{
    const QSettings store = user_settings();
    QT_WORKAROUNDS::restore_geometry(&window, store.value(KEY_GEOMETRY).toByteArray());
    const int width = store.value(KEY_NAME_WIDTH).toInt();
    if (width > 0)
        tree.header()->resizeSection(NAME_COLUMN, width);
    for (const QString& folder : store.value(KEY_OPEN_FOLDERS).toStringList())
        if (QTreeWidgetItem* const row = rows.value(folder))
            row->setExpanded(true);
}

void keep_rule_editor(const QWidget& window, const QTreeWidget& tree)
{
    QStringList folders;
    add_open_folders(*tree.invisibleRootItem(), QString(), folders);
    QSettings store = user_settings();
    store.setValue(KEY_GEOMETRY, window.saveGeometry());
    store.setValue(KEY_NAME_WIDTH, tree.columnWidth(NAME_COLUMN));
    store.setValue(KEY_OPEN_FOLDERS, folders);
}
