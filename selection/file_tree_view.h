#pragma once

#include <QtWidgets/QTreeView>

/// A tree view for file trees of any size and with any names, of one column. With
/// every check the models report each folder's rows as changed, and a plain view
/// looks each of these rows up, which takes it minutes when there are many
/// folders. No row ever changes its height or gets children, so this one just
/// paints itself again. GUI thread.
class FILE_TREE_VIEW : public QTreeView
{
    Q_OBJECT

public:
    explicit FILE_TREE_VIEW(QWidget* parent = nullptr);

    /// Also gives the view a selection model that marks thousands of rows at once.
    void setModel(QAbstractItemModel* model) override;

    void dataChanged(const QModelIndex& top_left, const QModelIndex& bottom_right,
                     const QVector<int>& roles = QVector<int>()) override;
};
