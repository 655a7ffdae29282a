#include "contracts/services/qt_workarounds.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>
#include <QtWidgets/QWidget>

#include <algorithm>

namespace {

// A window of which less is to be seen can't be taken hold of.
const int LEAST_VISIBLE = 40; // pixels, in both directions

void append_rows(const QItemSelectionRange& range, QModelIndexList& indexes)
{
    const QModelIndex first = range.topLeft();
    // Whether a range of several rows is one at all takes the parents of both ends.
    if (!first.isValid() || (range.topLeft() != range.bottomRight() && !range.isValid()))
        return;
    for (int row = range.top(); row <= range.bottom(); ++row) {
        const QModelIndex index = first.sibling(row, first.column());
        const Qt::ItemFlags wanted = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if ((index.flags() & wanted) == wanted)
            indexes.append(index);
    }
}

bool lies_on_a_screen(const QRect& window)
{
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect visible = screen->availableGeometry() & window;
        if (visible.width() >= LEAST_VISIBLE && visible.height() >= LEAST_VISIBLE)
            return true;
    }
    return false;
}

} // namespace

QModelIndexList QT_WORKAROUNDS::selection_indices(const QItemSelection& selection)
{
    QModelIndexList indexes;
    for (const QItemSelectionRange& range : selection)
        append_rows(range, indexes);
    return indexes;
}

QModelIndexList QT_WORKAROUNDS::selection_indices(const QItemSelectionModel* model)
{
    return model ? selection_indices(model->selection()) : QModelIndexList();
}

bool QT_WORKAROUNDS::restore_geometry(QWidget* window, const QByteArray& geometry)
{
    if (!window->restoreGeometry(geometry))
        return false;
    if (window->isMaximized() || window->isFullScreen())
        return true;
    const QScreen* screen = QGuiApplication::screenAt(window->geometry().center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available = screen->availableGeometry();
    if (window->width() > available.width() || window->height() > available.height())
        window->resize(window->size().boundedTo(available.size()));
    if (!lies_on_a_screen(window->geometry()))
        window->move(available.center() - window->rect().center());
    return true;
}
