#include "selection/file_tree_view.h"

#include <QtCore/QItemSelectionModel>

#include "contracts/services/plain_row_delegate.h"

namespace {

// Qt completes whole rows range by range, each against all before, which takes
// minutes when thousands of open folders are marked at once. Where there is one
// column, there is nothing to complete.
class ONE_COLUMN_SELECTION : public QItemSelectionModel
{
public:
    using QItemSelectionModel::QItemSelectionModel;
    using QItemSelectionModel::select;

    void select(const QItemSelection& selection, SelectionFlags command) override
    {
        command.setFlag(Rows, false);
        QItemSelectionModel::select(selection, command);
    }
};

} // namespace

FILE_TREE_VIEW::FILE_TREE_VIEW(QWidget* parent) : QTreeView(parent)
{
    setUniformRowHeights(true);
    setItemDelegate(new PLAIN_ROW_DELEGATE(this));
}

void FILE_TREE_VIEW::setModel(QAbstractItemModel* model)
{
    QTreeView::setModel(model);
    delete selectionModel();
    setSelectionModel(new ONE_COLUMN_SELECTION(model, this));
}

void FILE_TREE_VIEW::dataChanged(const QModelIndex&, const QModelIndex&, const QVector<int>&)
{
    viewport()->update();
}
