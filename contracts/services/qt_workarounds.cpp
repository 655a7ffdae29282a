#include "contracts/services/qt_workarounds.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QWidget>

#include <algorithm>

namespace {

// A window of which less is to be seen can't be taken hold of.
const int LEAST_VISIBLE = 40; // pixels, in both directions

// Milliseconds.
const int LONGEST_WAY_TO_THE_SCREEN = 500;
const int LONGEST_TURN = 20;

// What saveGeometry writes in its first version: a magic number, the version, two
// rectangles, the screen and two states. Qt reads zeros where bytes break off.
const int LEAST_GEOMETRY = 4 + 4 + 2 * 16 + 4 + 2;

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

void QT_WORKAROUNDS::restore_geometry(QWidget* window, const QByteArray& geometry)
{
    if (geometry.size() < LEAST_GEOMETRY || !window->restoreGeometry(geometry))
        return;
    if (window->isMaximized() || window->isFullScreen())
        return;
    const QScreen* screen = QGuiApplication::screenAt(window->geometry().center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available = screen->availableGeometry();
    if (window->width() > available.width() || window->height() > available.height())
        window->resize(window->size().boundedTo(available.size()));
    if (!lies_on_a_screen(window->geometry()))
        window->move(available.center() - window->rect().center());
}

void QT_WORKAROUNDS::show_at_once(QWidget* window)
{
    window->show();
    QElapsedTimer time;
    time.start();
    while (!window->windowHandle()->isExposed() && time.elapsed() < LONGEST_WAY_TO_THE_SCREEN)
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, LONGEST_TURN);
    window->repaint();
}
