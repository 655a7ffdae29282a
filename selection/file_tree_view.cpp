#include "selection/file_tree_view.h"

FILE_TREE_VIEW::FILE_TREE_VIEW(QWidget* parent) : QTreeView(parent)
{
    setUniformRowHeights(true);
}

void FILE_TREE_VIEW::dataChanged(const QModelIndex&, const QModelIndex&, const QVector<int>&)
{
    viewport()->update();
}
