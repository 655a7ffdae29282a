#pragma once

#include <QtCore/QSharedPointer>
#include <QtTest/QTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTreeWidget>

#include <algorithm>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_schema.h"
#include "contracts/services/p4_connection.h"
#include "rules/rule_editor_dialog.h"
#include "tests/contracts/rules/rule_cache_holder.h"

/// A rule editor over the rule files of a temporary tree, with the kinds Sound
/// (Rate) and Texture (Format, Max size).
class RULE_EDITOR_SCENE
{
public:
    TEMPORARY_TREE tree;
    RULE_CACHE_HOLDER cache;
    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> files;
    P4_CONNECTION p4{true, true, false};
    QScopedPointer<RULE_EDITOR_DIALOG> dialog;

    RULE_EDITOR_SCENE()
    {
        PATHS::initialise(tree.path("tool"));
        RULE_SCHEMA::register_schema("Texture", "Pictures <b>of</b> all kinds",
                                     {{"Max size", "in pixels"}, {"Format", "of the file"}});
        RULE_SCHEMA::register_schema("Sound", "", {{"Rate", ""}});
    }

    /// Files of the run; a rule file is read as such.
    void add_files(const QStringList& names, const QByteArray& rules = QByteArray())
    {
        for (const QString& name : names) {
            if (name.endsWith("rules.gox")) {
                tree.write(name, rules);
                QCOMPARE(cache.add(tree, name), QString());
                continue;
            }
            const QSharedPointer<FILE_ENTRY> entry(new FILE_ENTRY);
            entry->physical = PHYSICAL_PATH(tree.path(name));
            m_entries.append(entry);
            files.insert(PATHS::logical_path(entry->physical), entry.data());
        }
    }

    void open()
    {
        dialog.reset(new RULE_EDITOR_DIALOG(cache.cache, files, p4, nullptr, Qt::WindowFlags()));
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog.data()));
        rows()->setFocus();
    }

    QTreeWidget* rows() const { return dialog->findChild<QTreeWidget*>("rules"); }

    /// The one that is open, null if none is.
    QLineEdit* editor() const
    {
        for (QLineEdit* edit : rows()->findChildren<QLineEdit*>())
            if (edit->isVisible())
                return edit;
        return nullptr;
    }

    /// By names from the top, such as "raw/unit/Texture 1/Format"; the number
    /// tells rules of a kind apart.
    QTreeWidgetItem* row(const QString& path) const
    {
        QTreeWidgetItem* found = rows()->invisibleRootItem();
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

    void select(const QString& path, int column = 0) const { rows()->setCurrentItem(row(path), column); }
    void key(int code) const { QTest::keyClick(QApplication::focusWidget(), Qt::Key(code)); }
    void control(char letter) const { QTest::keyClick(rows(), letter, Qt::ControlModifier); }

    /// An entry of the context menu that is offered now.
    QAction* action(const QString& text) const
    {
        for (QAction* action : rows()->actions())
            if (action->text() == text && action->isVisible())
                return action;
        qFatal("no entry %s", qPrintable(text));
    }

    /// Chooses one, with `kind` in its sub-menu.
    void choose(const QString& text, const QString& kind = QString()) const
    {
        if (kind.isEmpty())
            return action(text)->trigger();
        for (QAction* entry : action(text)->menu()->actions())
            if (entry->text() == kind)
                entry->trigger();
    }

    /// All that are offered.
    QString menu() const
    {
        QStringList texts;
        for (const QAction* action : rows()->actions())
            if (action->isVisible() && !action->isSeparator())
                texts.append(action->text());
        return texts.join(", ");
    }

    enum ORDER
    {
        AS_IT_IS,
        BY_KIND, ///< rules before folders and by kind, with no word on the colour of folders
    };

    /// The whole tree, with "|" between rows and a space for each level: gray
    /// ones in brackets, hidden ones left out, rules with a "+" when they inherit.
    QString shown(ORDER order = AS_IT_IS) const
    {
        QStringList lines;
        for (int i = 0; i < rows()->topLevelItemCount(); ++i)
            print(rows()->topLevelItem(i), QString(), order, lines);
        return lines.join('|');
    }

    /// Every rule of the cache in its order, with all that it says.
    QString cached() const { return cached(cache.cache); }

    static QString cached(const RULE_CACHE& cache)
    {
        QStringList lines;
        for (auto place = cache.rules.cbegin(); place != cache.rules.cend(); ++place)
            lines.append(place.key() + ' ' + (*place)->physical_path + ' ' + values(**place));
        return lines.join('\n');
    }

    static QString values(const CACHED_RULE& rule)
    {
        QString text = rule.inherit_properties ? "+" : "-";
        text += '[' + rule.get_file_filters() + ']';
        for (auto value = rule.properties.cbegin(); value != rule.properties.cend(); ++value)
            text += ' ' + value.key() + '=' + value->toString();
        return text;
    }

private:
    static bool is_rule(const QTreeWidgetItem* row) { return row->data(1, Qt::CheckStateRole).isValid(); }

    void print(QTreeWidgetItem* row, const QString& indent, ORDER order, QStringList& lines) const
    {
        if (row->isHidden())
            return;
        const bool is_folder = row->data(0, Qt::UserRole).isNull();
        QString line = row->text(0);
        if (row->foreground(0) == QBrush(Qt::gray) && !(is_folder && order == BY_KIND))
            line = '(' + line + ')';
        if (is_rule(row))
            line += row->checkState(1) == Qt::Checked ? " +" : " -";
        else if (!row->text(1).isEmpty())
            line += " = " + row->text(1);
        lines.append(indent + line);
        QList<QTreeWidgetItem*> children;
        for (int i = 0; i < row->childCount(); ++i)
            children.append(row->child(i));
        if (is_folder && order == BY_KIND)
            std::stable_sort(children.begin(), children.end(), [](QTreeWidgetItem* a, QTreeWidgetItem* b) {
                return is_rule(a) != is_rule(b) ? is_rule(a) : a->text(0) < b->text(0);
            });
        for (QTreeWidgetItem* child : qAsConst(children))
            print(child, indent + ' ', order, lines);
    }

    QVector<QSharedPointer<FILE_ENTRY>> m_entries;
};
