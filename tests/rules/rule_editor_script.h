#pragma once

#include <QtCore/QSharedPointer>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTreeWidget>

#include "contracts/rules/rule_schema.h"
#include "contracts/services/user_settings.h"
#include "rules/rule_editor_dialog.h"
#include "tests/contracts/rules/rule_script.h"
#include "tests/support/window_transcript.h"

/// A person in front of a rule editor over the rule files of a temporary tree, with
/// the kinds Sound (Rate) and Texture (Format, Max size). The commands are told in
/// rule_editor.cases.
class RULE_EDITOR_SCRIPT : public RULE_SCRIPT, public WINDOW_TRANSCRIPT
{
public:
    RULE_EDITOR_SCRIPT()
    {
        RULE_SCHEMA::register_schema("Texture", "Pictures <b>of</b> all kinds",
                                     {{"Max size", "in pixels"}, {"Format", "of the file"}});
        RULE_SCHEMA::register_schema("Sound", "", {{"Rate", ""}});
        user_settings().clear();
        QApplication::setPalette(QPalette(Qt::black)); // a dark theme, of which rows take nothing
        add_commands_of_windows();
        add_commands_of_the_person();
        add_commands_that_look();
    }

    QTreeWidget& rows() const { return *m_dialog->findChild<QTreeWidget*>("rules"); }

    /// The entries that the context menu offers now, those of its menus included.
    QList<QAction*> offered() const
    {
        QList<QAction*> entries;
        for (QAction* const action : rows().actions())
            if (action->isVisible())
                entries += action->menu() ? action->menu()->actions() : QList<QAction*>{action};
        return entries;
    }

    /// Rules and rows, without what undo need not bring back: the order of rules of
    /// different kinds and the colour of folders.
    QString state() const { return listing(m_cache) + '\n' + shown(true); }

    RULE_CACHE& cache() { return m_cache; }

private:
    QString told(QString said) override { return RULE_SCRIPT::told(WINDOW_TRANSCRIPT::told(said)); }

    void add_commands_of_windows()
    {
        add("files", [&](const QString& names) {
            for (const QString& name : names.split(' ')) {
                const QSharedPointer<FILE_ENTRY> entry(new FILE_ENTRY);
                entry->physical = PHYSICAL_PATH(m_tree.path(name));
                m_entries.append(entry);
                m_files.insert(PATHS::logical_path(entry->physical), entry.data());
            }
        });
        add("make", [&](const QString& again) {
            m_dialog.reset(new RULE_EDITOR_DIALOG(m_cache, m_files, m_connection, nullptr, {}));
            window = m_dialog.data();
            if (again.isEmpty())
                window->resize(1000, 600); // nothing is cut off
            const QString said = carry_out("open");
            rows().setFocus();
            return said;
        });
        add("pick", [&](const QString& s) {
            const QList<CACHED_RULE*> newest_first = m_cache.rules.values(s.section(' ', 0, 0) + "*texture");
            m_dialog->select_rule(newest_first.value(s.section(' ', 1, 1).toInt()), s.section(' ', 2));
        });
    }

    void add_commands_of_the_person()
    {
        add("select", [&](const QString& path) { rows().setCurrentItem(row(path), 0); });
        add("value", [&](const QString& path) { rows().setCurrentItem(row(path), 1); });
        add("width", [&](const QString& width) { rows().setColumnWidth(0, width.toInt()); });
        add("show",
            [&](const QString& folder) { m_dialog->show_folder(PHYSICAL_PATH(m_tree.path(folder))); });
        add("hide", [&](const QString& path) { row(path)->setHidden(true); });
        add("expand", [&](const QString&) { rows().expandAll(); });
        add("choose", [&](const QString& text) {
            for (QAction* const entry : offered())
                if (entry->text() == text.section('/', -1) &&
                    (!text.contains('/') || named(entry->parentWidget()) == text.section('/', 0, 0)))
                    return entry->trigger(), QString();
            return QString("not offered");
        });
        add("cell", [&](const QString& s) {
            const QRect cell = rows().visualItemRect(row(s.section(' ', 1)));
            const int left = rows().columnViewportPosition(1) + s.section(' ', 0, 0).toInt();
            QTest::mouseClick(rows().viewport(), Qt::LeftButton, {}, {left, cell.center().y()});
        });
    }

    void add_commands_that_look()
    {
        add("tree", [&](const QString&) { return shown(false); });
        add("table", [&](const QString&) {
            const QPalette colours = rows().palette();
            return QString("%1 of %2, %3 and %4 on %5")
                .arg(QString::number(rows().columnWidth(0)) + " of " + QString::number(window->width()),
                     rows().header()->length() == rows().viewport()->width() ? "all" : "some",
                     colours.color(QPalette::Text).name(), colours.color(QPalette::WindowText).name(),
                     colours.color(QPalette::Base).name());
        });
        add("menu", [&](const QString&) {
            QString entries;
            QTimer::singleShot(0, [&entries] {
                QMenu* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
                entries = WINDOW_TEXT::menu(*menu);
                menu->close();
            });
            QContextMenuEvent ask(QContextMenuEvent::Keyboard, {});
            QApplication::sendEvent(&rows(), &ask);
            carry_out("open"); // it was the menu that was active
            return entries;
        });
        add("in_view", [&](const QString& path) {
            const QRect place = rows().visualItemRect(row(path));
            return rows().viewport()->rect().contains(place.center()) ? "yes" : "no";
        });
        add("rules", [&](const QString&) {
            return listing(m_cache) + (m_cache.rules_changed ? "\nchanged" : "\nas they were");
        });
        add("folders", [&](const QString&) {
            QStringList lines;
            for (const CACHED_RULE* const rule : qAsConst(m_cache.rules))
                lines += rule->path + " " + rule->physical_path;
            return lines.join('\n');
        });
        add("focus", [&](const QString&) {
            QString text = m_dialog->focusWidget()->objectName();
            for (const QLineEdit* const edit : rows().findChildren<QLineEdit*>())
                if (edit->isVisible())
                    text += (edit == m_dialog->focusWidget() ? "editor with \"" : ", editor with \"") +
                            edit->text() + '"';
            return text;
        });
        add("tip", [&](const QString& path) {
            rows().scrollToItem(row(path));
            const QRect place = rows().visualItemRect(row(path));
            QWidget* const editor = rows().viewport()->childAt(place.center());
            QWidget* const second = editor ? editor : rows().viewport();
            const QString name_tip = tip_at(rows().viewport(), place.topLeft());
            return name_tip + " / " + tip_at(second, editor ? QPoint(5, 5) : place.topRight());
        });
    }

    static QString named(const QWidget* menu) { return qobject_cast<const QMenu*>(menu)->title(); }

    // By names from the top, such as "raw/unit/Texture 1/Format"; the number tells
    // rows of a name apart.
    QTreeWidgetItem* row(const QString& path) const
    {
        QTreeWidgetItem* found = rows().invisibleRootItem();
        for (const QString& name : path.split('/')) {
            QTreeWidgetItem* const parent = found;
            int number = name.section(' ', -1).toInt();
            const QString plain = number ? name.section(' ', 0, -2) : name;
            found = nullptr;
            for (int i = 0; i < parent->childCount() && !found; ++i)
                if (parent->child(i)->text(0) == plain && --number <= 0)
                    found = parent->child(i);
            if (!found)
                qFatal("no row %s", qPrintable(path));
        }
        return found;
    }

    QString shown(bool is_state) const
    {
        QStringList lines;
        for (int i = 0; i < rows().topLevelItemCount(); ++i)
            print(*rows().topLevelItem(i), QString(), is_state, lines);
        return lines.join('\n');
    }

    // Gray rows stand in brackets, bold ones in stars.
    void print(const QTreeWidgetItem& row, const QString& level, bool is_state, QStringList& lines) const
    {
        if (row.isHidden())
            return;
        const QVariant box = row.data(1, Qt::CheckStateRole);
        const bool is_folder = row.data(0, Qt::UserRole).isNull();
        const bool is_gray = row.foreground(0) == QBrush(Qt::gray) && !(is_state && is_folder);
        const bool is_red = row.foreground(0).color().red() > 150 && !is_gray;
        const bool is_closed = !is_state && row.childCount() && !row.isExpanded();
        QString line = is_gray ? '(' + row.text(0) + ')' : row.text(0);
        line = level + (is_closed ? "+" : "") + (is_red ? "!" : "") +
               (row.font(0).bold() ? '*' + line + '*' : line);
        if (!row.text(1).isEmpty())
            line += " = " + QString(box.isNull() ? "" : box.toInt() ? "[x] " : "[ ] ") + row.text(1);
        if (is_red && row.data(0, Qt::AccessibleDescriptionRole) != row.toolTip(0))
            line += " unspoken";
        lines += line + (!is_state && &row == rows().currentItem() ? " <" : "");
        QVector<const QTreeWidgetItem*> children;
        for (int i = 0; i < row.childCount() && !is_closed; ++i)
            children += row.child(i);
        const auto kind_of = [](const QTreeWidgetItem* child) {
            return (child->data(0, Qt::UserRole).isNull() ? "folder " : "a rule ") + child->text(0);
        };
        if (is_state && is_folder)
            std::stable_sort(children.begin(), children.end(),
                             [&](auto a, auto b) { return kind_of(a) < kind_of(b); });
        for (const QTreeWidgetItem* const child : qAsConst(children))
            print(*child, level + '.', is_state, lines);
    }

    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> m_files;
    QVector<QSharedPointer<FILE_ENTRY>> m_entries;
    P4_CONNECTION m_connection{true, true, false};
    QScopedPointer<RULE_EDITOR_DIALOG> m_dialog; // the window
};
