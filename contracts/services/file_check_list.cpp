#include "contracts/services/file_check_list.h"

#include <QtCore/QSignalBlocker>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QAction>

#include "contracts/services/plain_row_delegate.h"

namespace {

// A row that wants no width gets that of the view and cuts what is too long for it.
class FILE_ROW_DELEGATE : public PLAIN_ROW_DELEGATE
{
public:
    using PLAIN_ROW_DELEGATE::PLAIN_ROW_DELEGATE;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return {0, PLAIN_ROW_DELEGATE::sizeHint(option, index).height()};
    }
};

} // namespace

FILE_CHECK_LIST::FILE_CHECK_LIST(const QStringList& files, Qt::CheckState state, QWidget* parent)
    : QListWidget(parent)
{
    setItemDelegate(new FILE_ROW_DELEGATE(this));
    setUniformItemSizes(true);
    setTextElideMode(Qt::ElideMiddle);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    addItems(files);
    set_state_of_all(state);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    for (const auto& [text, slot] :
         {std::pair(tr("Check all"), SLOT(check_all())), std::pair(tr("Check none"), SLOT(check_none()))}) {
        QAction* const entry = new QAction(text, this);
        connect(entry, SIGNAL(triggered()), this, slot);
        addAction(entry);
    }
    connect(this, SIGNAL(itemChanged(QListWidgetItem*)), this, SIGNAL(checked_rows_changed()));
}

QStringList FILE_CHECK_LIST::checked_files() const
{
    QStringList files;
    for (int row = 0; row < count(); ++row)
        if (item(row)->checkState() == Qt::Checked)
            files.append(item(row)->text());
    return files;
}

int FILE_CHECK_LIST::checked_count() const
{
    int checked = 0;
    for (int row = 0; row < count(); ++row)
        checked += item(row)->checkState() == Qt::Checked ? 1 : 0;
    return checked;
}

void FILE_CHECK_LIST::keyPressEvent(QKeyEvent* event)
{
    const QList<QListWidgetItem*> marked = selectedItems();
    if (event->key() != Qt::Key_Space || event->modifiers() != Qt::NoModifier || marked.isEmpty())
        return QListWidget::keyPressEvent(event);
    const QListWidgetItem* const current =
        currentItem() && currentItem()->isSelected() ? currentItem() : marked.first();
    set_state(marked, current->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

// The view and whoever counts hear of all rows together.
void FILE_CHECK_LIST::set_state(const QList<QListWidgetItem*>& rows, Qt::CheckState state)
{
    {
        const QSignalBlocker unseen(model());
        for (QListWidgetItem* row : rows)
            row->setCheckState(state);
    }
    viewport()->update();
    emit checked_rows_changed();
}

void FILE_CHECK_LIST::set_state_of_all(Qt::CheckState state)
{
    QList<QListWidgetItem*> rows;
    for (int row = 0; row < count(); ++row)
        rows.append(item(row));
    set_state(rows, state);
}

void FILE_CHECK_LIST::check_all()
{
    set_state_of_all(Qt::Checked);
}

void FILE_CHECK_LIST::check_none()
{
    set_state_of_all(Qt::Unchecked);
}
