#include "progress/row_actions.h"

#include <QtCore/QDir>
#include <QtCore/QUrl>
#include <QtGui/QClipboard>
#include <QtGui/QDesktopServices>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QMenu>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QToolTip>
#include <QtWidgets/QTreeWidget>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/services/plain_message_box.h"
#include "progress/progress_rows.h"
#include "progress/row_texts.h"
#include "session/build_session.h"
#include "session/file_entry.h"

namespace {

const int MOST_FOLDERS = 20; // in a menu

QKeySequence next_key()
{
    return QKeySequence(Qt::Key_F8);
}

QKeySequence previous_key()
{
    return QKeySequence(Qt::SHIFT + Qt::Key_F8);
}

// Those of the targets that are there, sorted. While a build runs its thread moves
// targets to the letter case that the disk has.
QStringList folders_of(const ACTION_INTERFACE& action, bool is_building)
{
    QStringList folders;
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target) {
        const PHYSICAL_PATH& file = is_building ? target.value() : target.key()->physical;
        const QString folder = file.section('/', 0, -2);
        if (!folders.contains(folder) && folders.size() < MOST_FOLDERS && QDir(folder).exists())
            folders.append(folder);
    }
    folders.sort();
    return folders;
}

} // namespace

ROW_ACTIONS::ROW_ACTIONS(QTreeWidget* tree, const PROGRESS_ROWS& rows, const BUILD_SESSION& session)
    : QObject(tree), m_tree(tree), m_rows(rows), m_session(session)
{
    add_key(next_key(), SLOT(go_to_next_problem()));
    add_key(previous_key(), SLOT(go_to_previous_problem()));
    add_key(QKeySequence::Find, SIGNAL(search()));
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tree, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(show_menu(QPoint)));
}

void ROW_ACTIONS::add_key(const QKeySequence& keys, const char* slot)
{
    connect(new QShortcut(keys, m_tree->window()), SIGNAL(activated()), this, slot);
}

void ROW_ACTIONS::go_to_next_problem()
{
    go_to_problem(1);
}

void ROW_ACTIONS::go_to_previous_problem()
{
    go_to_problem(-1);
}

void ROW_ACTIONS::go_to_problem(int step)
{
    QTreeWidgetItem* const row = m_rows.find_problem(m_tree->currentItem(), step);
    if (!row) {
        QToolTip::showText(m_tree->mapToGlobal(m_tree->rect().center()),
                           tr("None of the rows that are shown failed or has warnings."), m_tree);
        return;
    }
    m_tree->setCurrentItem(row);
    m_tree->scrollToItem(row); // which opens its group
}

const ACTION_INTERFACE* ROW_ACTIONS::current_action() const
{
    QTreeWidgetItem* const row = m_tree->currentItem();
    return row ? DIALOG_HELPER::get_action_pointer(row, 0) : nullptr;
}

QString ROW_ACTIONS::current_output() const
{
    const ACTION_INTERFACE* const action = current_action();
    return action ? ROW_TEXTS::of_output(*action, m_session) : QString();
}

void ROW_ACTIONS::copy_text()
{
    if (const QTreeWidgetItem* const row = m_tree->currentItem())
        QGuiApplication::clipboard()->setText(row->text(0));
}

void ROW_ACTIONS::copy_output()
{
    QGuiApplication::clipboard()->setText(current_output());
}

void ROW_ACTIONS::show_menu(const QPoint& place)
{
    QMenu* const menu = new QMenu(m_tree);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    QAction* const copy = menu->addAction(tr("Copy Text"), this, SLOT(copy_text()), QKeySequence::Copy);
    copy->setEnabled(m_tree->currentItem());
    menu->addAction(tr("Copy Output"), this, SLOT(copy_output()))->setEnabled(!current_output().isEmpty());
    add_folders(menu);
    menu->addSeparator();
    menu->addAction(tr("Next Problem"), this, SLOT(go_to_next_problem()), next_key());
    menu->addAction(tr("Previous Problem"), this, SLOT(go_to_previous_problem()), previous_key());
    menu->addAction(tr("Search in Output..."), this, SIGNAL(search()), QKeySequence::Find);
    menu->popup(m_tree->viewport()->mapToGlobal(place));
}

// Targets that lie in several folders get a menu of these.
void ROW_ACTIONS::add_folders(QMenu* menu)
{
    const ACTION_INTERFACE* const action = current_action();
    const QStringList folders = action ? folders_of(*action, m_session.isRunning()) : QStringList();
    const QString title = tr("Show Target in Its Folder");
    if (folders.size() > 1)
        menu = menu->addMenu(title);
    for (const QString& folder : folders) {
        const QString path = QDir::toNativeSeparators(folder);
        QAction* const entry = menu->addAction(folders.size() > 1 ? QString(path).replace('&', "&&") : title,
                                               this, SLOT(open_folder()));
        entry->setData(folder);
        entry->setToolTip(path);
    }
    if (folders.isEmpty())
        menu->addAction(title)->setEnabled(false);
}

void ROW_ACTIONS::open_folder()
{
    const QString folder = static_cast<QAction*>(sender())->data().toString();
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        show_plain_box(QMessageBox::Warning, m_tree->window(),
                       tr("Nothing opens the folder:\n%1").arg(QDir::toNativeSeparators(folder)));
}
