#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include "contracts/paths/logical_path.h"
#include "session/file_entry.h"
#include "session/lockable_map.h"

class QTreeWidgetItem;

/// The folders of the rule editor's tree, by their display path in lower case.
using RULE_FOLDER_ROWS = QMap<QString, QTreeWidgetItem*>;

/// Makes a row for each folder that has files, those of retail data left out,
/// and for the folders above it. Rows at the top come in `top_rows`; these own
/// the others and are the caller's. GUI thread.
void add_rows_of_folders(const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_FOLDER_ROWS& rows,
                         QList<QTreeWidgetItem*>& top_rows);

/// The row of the folder with the display path `path`, made with the rows above
/// it where it is missing. Null when the path's first name has no row. GUI
/// thread.
QTreeWidgetItem* row_of_folder(const QString& path, RULE_FOLDER_ROWS& rows);

/// The key of a display path.
QString key_of_folder(const QString& path);
