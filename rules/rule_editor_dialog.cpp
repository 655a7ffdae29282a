#include "rules/rule_editor_dialog.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QAction>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenu>

#include "contracts/rules/rule_cache.h"
#include "contracts/services/find_line.h"
#include "contracts/services/plain_message_box.h"
#include "rules/rule_editor_settings.h"
#include "rules/rule_finder.h"
#include "rules/rule_rows.h"
#include "rules/rule_value_delegate.h"

namespace {

bool s_restart_was_asked_for = false;

QAction* make_separator(QObject* parent)
{
    QAction* const separator = new QAction(parent);
    separator->setSeparator(true);
    return separator;
}

// The key that people press without reading saves: what was saved by mistake can be
// undone and saved again, what was not is gone with the process.
bool wants_to_save(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Question, QStringLiteral("GOX"), question,
                    QMessageBox::Yes | QMessageBox::No, parent);
    box.setDefaultButton(QMessageBox::Yes);
    return box.exec() == QMessageBox::Yes;
}

// Whether the row, or any below it, holds a rule, or may hold one that could not be
// read.
bool show_rows(QTreeWidgetItem* row, bool all)
{
    bool holds_rule = rule_of_row(*row) || is_unreadable(*row);
    for (int i = 0; i < row->childCount(); ++i)
        holds_rule = show_rows(row->child(i), all) || holds_rule;
    row->setHidden(!holds_rule && !all);
    return holds_rule;
}

} // namespace

RULE_EDITOR_DIALOG::RULE_EDITOR_DIALOG(RULE_CACHE& cache,
                                       const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                       P4_CONNECTION& p4, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), cache(&cache), p4(&p4), m_delegate(new RULE_VALUE_DELEGATE(this))
{
    ui.setupUi(this);
    show_as_table();
    QList<QTreeWidgetItem*> top_rows;
    add_rows_of_folders(files, folder_rows, top_rows);
    add_rows_of_rules();
    ui.rules->insertTopLevelItems(0, top_rows);
    mark_unreadable_folders();
    make_actions();
    restore_rule_editor(*this, *ui.rules, folder_rows);
    connect(ui.rules, SIGNAL(itemSelectionChanged()), this, SLOT(selection_changed()));
    connect(ui.rules, SIGNAL(itemChanged(QTreeWidgetItem*, int)), this,
            SLOT(item_changed(QTreeWidgetItem*, int)));
    connect(ui.rules, SIGNAL(currentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)), this,
            SLOT(current_item_changed(QTreeWidgetItem*, QTreeWidgetItem*)));
    connect(ui.checkBox, SIGNAL(toggled(bool)), this, SLOT(toggle_visibility(bool)));
    connect(ui.save_button, SIGNAL(clicked()), this, SLOT(save()));
    selection_changed();
    track_changes = true;
}

RULE_EDITOR_DIALOG::~RULE_EDITOR_DIALOG()
{
    track_changes = false;
    delete clipboard;
}

void RULE_EDITOR_DIALOG::show_as_table()
{
    ui.rules->setItemDelegate(m_delegate);
    ui.rules->installEventFilter(this);
    // The form sets the size before there are columns that could take it over,
    // and two of that size are wider than the window.
    QHeaderView* const header = ui.rules->header();
    header->resizeSection(NAME_COLUMN, header->defaultSectionSize());
    header->setStretchLastSection(false);
    header->setSectionResizeMode(VALUE_COLUMN, QHeaderView::Stretch);
    // Rows are black or gray, whatever the colours of the desktop.
    QPalette palette = ui.rules->palette();
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::WindowText, Qt::black); // of the arrows in front of rows
    ui.rules->setPalette(palette);
}

void RULE_EDITOR_DIALOG::make_actions()
{
    m_delete = make_action(tr("Delete"), "Del", SLOT(del()));
    m_cut = make_action(tr("Cut"), "Ctrl+X", SLOT(cut()));
    m_copy = make_action(tr("Copy"), "Ctrl+C", SLOT(copy()));
    m_paste = make_action(tr("Paste"), "Ctrl+V", SLOT(paste()));
    m_paste_above = make_action(tr("Paste above"), nullptr, SLOT(paste_above()));
    m_paste_below = make_action(tr("Paste below"), nullptr, SLOT(paste_below()));
    m_add = make_menu(tr("Add"), "add");
    m_add_above = make_menu(tr("Add above"), "add_above");
    m_add_below = make_menu(tr("Add below"), "add_below");
    QAction* const undo = undo_stack.createUndoAction(this);
    undo->setShortcut(QKeySequence::fromString(QStringLiteral("Ctrl+Z")));
    QAction* const redo = undo_stack.createRedoAction(this);
    redo->setShortcut(QKeySequence::fromString(QStringLiteral("Ctrl+Y")));
    m_find = make_action(tr("Find..."), "Ctrl+F", SLOT(find()));
    m_read_again = make_action(tr("Read the rule file again"), "F5", SLOT(read_again()));
    addActions({m_find, m_read_again});
    ui.rules->addActions({m_add, m_add_above, m_add_below, m_delete, make_separator(this), m_cut, m_copy,
                          m_paste, m_paste_above, m_paste_below, make_separator(this), undo, redo});
}

QAction* RULE_EDITOR_DIALOG::make_action(const QString& text, const char* shortcut, const char* slot)
{
    QAction* const action = new QAction(text, this);
    if (shortcut)
        action->setShortcut(QKeySequence::fromString(QLatin1String(shortcut)));
    connect(action, SIGNAL(triggered()), this, slot);
    return action;
}

// An entry for each kind of rule. `operation` names the slot of a schema, its
// signal and the slot here.
QAction* RULE_EDITOR_DIALOG::make_menu(const QString& text, const char* operation)
{
    QMenu* const menu = new QMenu(text, this);
    const QByteArray schema_slot = QByteArray("1") + operation + "()"; // as SLOT and SIGNAL write them
    const QByteArray slot = QByteArray("1") + operation + "(QString)";
    const QByteArray signal = QByteArray("2") + operation + "(QString)";
    for (RULE_SCHEMA* const schema : qAsConst(RULE_SCHEMA::s_schemas)) {
        QString title = schema->name;
        QAction* const entry = menu->addAction(title.replace('&', QLatin1String("&&")));
        connect(entry, SIGNAL(triggered()), schema, schema_slot);
        connect(schema, signal, this, slot);
    }
    return menu->menuAction();
}

// Behind the edits, from the first time on that the menu opens.
void RULE_EDITOR_DIALOG::complete_menu()
{
    if (!ui.rules->actions().contains(m_find))
        ui.rules->addActions({make_separator(this), m_find, m_read_again});
}

void RULE_EDITOR_DIALOG::add_rows_of_rules()
{
    const QMultiMap<QString, CACHED_RULE*> rules = cache->rules;
    for (CACHED_RULE* const rule : rules) {
        const RULE_SCHEMA* const schema = RULE_SCHEMA::s_schemas.value(rule->name.toLower());
        const QString path = display_path(rule->physical_path);
        if (!schema || path.isEmpty())
            continue;
        QTreeWidgetItem* const folder = row_of_folder(path, folder_rows);
        if (!folder) {
            show_plain_box(QMessageBox::Critical, this, tr("Illegal rule path: ") + rule->path);
            continue;
        }
        QTreeWidgetItem* row = make_rule_row(rule, *schema);
        folder->insertChild(0, row);
        for (; row; row = row->parent())
            row->setForeground(NAME_COLUMN, Qt::black);
    }
}

// They can be seen without a search. One in a root without files has no row.
void RULE_EDITOR_DIALOG::mark_unreadable_folders()
{
    const QMap<QString, QString> errors = cache->unreadable_folders();
    for (auto error = errors.cbegin(); error != errors.cend(); ++error) {
        const PHYSICAL_PATH file = cache->file_of_folder(LOGICAL_PATH(error.key()));
        const PHYSICAL_PATH folder(file.section('/', 0, -2));
        QTreeWidgetItem* row = row_of_folder(display_path(folder), folder_rows);
        if (!row)
            continue;
        show_as_unreadable(*row, *error);
        while ((row = row->parent()))
            row->setExpanded(true);
    }
}

void RULE_EDITOR_DIALOG::show_folder(const PHYSICAL_PATH& folder)
{
    QTreeWidgetItem* const row = folder_rows.value(key_of_folder(display_path(folder)));
    if (!row)
        return;
    for (QTreeWidgetItem* opened = row; opened; opened = opened->parent()) {
        opened->setHidden(false);
        opened->setExpanded(true);
    }
    ui.rules->setCurrentItem(row);
    m_folder_in_view = row;
}

// With the folder at the top, as much of what is in it as possible can be seen.
void RULE_EDITOR_DIALOG::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_folder_in_view)
        return;
    ui.rules->scrollToItem(m_folder_in_view, QAbstractItemView::PositionAtTop);
    ui.rules->scrollToItem(ui.rules->currentItem());
    m_folder_in_view = nullptr;
}

void RULE_EDITOR_DIALOG::select_rule(const CACHED_RULE* rule, const QString& property)
{
    QTreeWidgetItem* const folder = folder_rows.value(key_of_folder(display_path(rule->physical_path)));
    QTreeWidgetItem* found = nullptr;
    for (int i = 0; folder && !found && i < folder->childCount(); ++i)
        if (rule_of_row(*folder->child(i)) != rule)
            found = folder->child(i);
    if (!found)
        return;
    for (int i = 0; i < found->childCount(); ++i) {
        if (found->child(i)->text(NAME_COLUMN) == property) {
            found = found->child(i);
            break;
        }
    }
    for (QTreeWidgetItem* row = folder; row; row = row->parent())
        row->setHidden(false);
    ui.rules->setCurrentItem(found);
}

void RULE_EDITOR_DIALOG::toggle_visibility(bool checked)
{
    track_changes = false;
    for (int i = 0; i < ui.rules->topLevelItemCount(); ++i)
        show_rows(ui.rules->topLevelItem(i), checked);
    track_changes = true;
}

void RULE_EDITOR_DIALOG::current_item_changed(QTreeWidgetItem* current, QTreeWidgetItem* previous)
{
    const bool was_in_editor = m_delegate->editor() && m_delegate->editor()->hasFocus();
    if (previous)
        ui.rules->closePersistentEditor(previous, VALUE_COLUMN);
    if (was_in_editor)
        ui.rules->setFocus();
    if (!current || kind_of_row(*current) != VALUE_ROW || ui.rules->currentColumn() != VALUE_COLUMN)
        return;
    ui.rules->openPersistentEditor(current, VALUE_COLUMN);
    if (ui.rules->hasFocus() && m_delegate->editor())
        m_delegate->editor()->setFocus();
}

void RULE_EDITOR_DIALOG::save()
{
    m_delegate->commit();
    const QString error = cache->save(*p4);
    if (!error.isEmpty()) {
        show_plain_box(QMessageBox::Critical, this, error);
        return;
    }
    show_plain_box(QMessageBox::Information, this, tr("Rules have been saved."));
    undo_stack.setClean();
}

void RULE_EDITOR_DIALOG::find()
{
    if (!m_find_line) {
        m_find_line = new FIND_LINE(this);
        for (const char* const step : {SIGNAL(changed()), SIGNAL(next()), SIGNAL(previous())})
            connect(m_find_line, step, m_delegate, SLOT(commit())); // ahead of the step itself
        new RULE_FINDER(*ui.rules, *m_find_line);
        ui.verticalLayout->insertWidget(1, m_find_line);
        m_find_line->set_tab_order_behind(ui.rules);
    }
    m_find_line->open();
}

void RULE_EDITOR_DIALOG::reject()
{
    close();
}

void RULE_EDITOR_DIALOG::closeEvent(QCloseEvent*)
{
    m_delegate->commit();
    if (!undo_stack.isClean() &&
        wants_to_save(this, tr("There are unsaved changes.\nDo you want to save now?")))
        save();
    if (cache->rules_changed && !s_restart_was_asked_for) {
        show_plain_box(
            QMessageBox::Information, this,
            tr("Some rules have been changed. You need to restart GOX if you want to process data."));
        s_restart_was_asked_for = true;
    }
    keep_rule_editor(*this, *ui.rules);
}

// The keyboard's way to a value: its column can't be reached by arrow keys.
bool RULE_EDITOR_DIALOG::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui.rules && event->type() == QEvent::ContextMenu)
        complete_menu();
    if (watched == ui.rules && event->type() == QEvent::KeyPress) {
        const QKeyEvent* const key = static_cast<QKeyEvent*>(event);
        if ((key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && press_key(key->key()))
            return true;
    }
    return QDialog::eventFilter(watched, event);
}

bool RULE_EDITOR_DIALOG::press_key(int key)
{
    QTreeWidgetItem* const row = ui.rules->currentItem();
    const bool is_edit = key == Qt::Key_F2 || key == Qt::Key_Return || key == Qt::Key_Enter;
    if (!row || (!is_edit && key != Qt::Key_Space))
        return false;
    if (kind_of_row(*row) == VALUE_ROW) {
        ui.rules->setCurrentItem(row, VALUE_COLUMN);
        if (m_delegate->editor())
            m_delegate->editor()->setFocus();
        return true;
    }
    if (kind_of_row(*row) != RULE_ROW || is_edit)
        return false;
    const bool is_checked = row->checkState(VALUE_COLUMN) == Qt::Checked;
    row->setCheckState(VALUE_COLUMN, is_checked ? Qt::Unchecked : Qt::Checked);
    return true;
}
