#pragma once

#include <QtTest/QTest>

#include "selection/chosen_files.h"
#include "selection/data_selection_dialog.h"
#include "tests/selection/file_scene.h"
#include "tests/support/view_clicks.h"
#include "tests/support/window_transcript.h"

/// What a person does in a window with trees, besides WINDOW_TRANSCRIPT's words: a line
/// holds steps with ", " between them.
///
///     show WIDGET             box VIEW ROW            check box of a row
///     rows VIEW               mark VIEW ROW           with Ctrl
///                             go VIEW ROW             plain click
///                             open VIEW ROW           double click
///                             menu VIEW KEY KEY...    its context menu
///
/// A dialog that a step opens gets those behind it; one that is still open when the
/// steps are at their end is rejected.
class SELECTION_TRANSCRIPT : public WINDOW_TRANSCRIPT
{
public:
    SELECTION_TRANSCRIPT(SELECTION_SCENE& scene, DATA_SELECTION_DIALOG& of) : m_scene(scene), m_window(of)
    {
        window = &of;
        look();
        expect_a_dialog();
        add_words_of_windows();
        add_words_of_the_selection();
    }

protected:
    QStringList steps_of(const QString& line) const override { return line.split(", "); }
    QString told(QString said) override { return said.replace(m_scene.tree.path(), "TREE"); }
    QStringList seen() override
    {
        return {"= selected:" + m_scene.files.selected() +
                (m_window.ui.start_button->isEnabled() ? " | Start" : "") +
                (m_window.isVisible() ? QString() : QString(" | closed with %1").arg(m_window.result()))};
    }

private:
    void add_words_of_windows()
    {
        add("show", [this](const QString& name) { widget(name)->show(); });
        add("rows", [this](const QString& name) {
            auto* const tree = qobject_cast<QTreeView*>(widget(name));
            return tree ? WINDOW_TEXT::rows(*tree) : rows_of(*view(name).model());
        });
        add("menu", [this](const QString& s) { open_menu(view(s), s.section(' ', 1)); });
        add("box", [this](const QString& s) { VIEW_CLICKS::click_box(view(s), row(s)); });
        add("go", [this](const QString& s) { VIEW_CLICKS::click_row(view(s), row(s)); });
        add("mark",
            [this](const QString& s) { VIEW_CLICKS::click_row(view(s), row(s), Qt::ControlModifier); });
        add("open", [this](const QString& s) {
            VIEW_CLICKS::click_row(view(s), row(s));
            const QPoint place = view(s).visualRect(row(s)).center();
            QTest::mouseDClick(view(s).viewport(), Qt::LeftButton, {}, place);
        });
    }

    void add_words_of_the_selection()
    {
        for (const QAbstractProxyModel* proxy :
             {m_window.raw_data_proxy, m_window.working_data_proxy, m_window.retail_build_proxy})
            QObject::connect(proxy->sourceModel(), &QAbstractItemModel::dataChanged, proxy,
                             [this, proxy](const QModelIndex& row) {
                                 if (!row.parent().isValid())
                                     note(proxy->headerData(0, Qt::Horizontal).toString() +
                                          (m_window.selection_changing ? " while changing" : ""));
                             });
        add("tip", [this](const QString& name) { return tip_at(widget(name), {4, 4}); });
        add("again", [this](const QString&) { m_window.show(); });
        add("opened", [this](const QString& path) { m_window.select_opened_files({path}); });
        add("edited",
            [this](const QString& yes) { m_scene.session->rule_cache.rules_changed = !yes.isEmpty(); });
        add("rule", [this](const QString& line) {
            const QString file = line.section(' ', 0, 0).mid(1).replace(">", "_data") + "/rules.gox";
            m_scene.tree.write(file, "<rules>" + line.section(' ', 1).toUtf8() + "</rules>");
            m_scene.session->rule_cache.add_rules(PHYSICAL_PATH(m_scene.tree.path(file)));
            m_scene.session->rule_cache.validate_cache(m_scene.session->file_map);
        });
        add("global_rule", [this](const QString& rule) {
            const PHYSICAL_PATH file(m_scene.tree.path("tool/GOX/all.rules.gox"));
            m_scene.tree.write("tool/GOX/all.rules.gox", "<rules>" + rule.toUtf8() + "</rules>");
            m_scene.session->rule_cache.add_global_rules(file);
        });
        add("editor", [this](const QString&) { m_window.set_perforce(&m_scene.p4); });
        add("folder", [](const QString&) {
            return QDir(QCoreApplication::applicationDirPath()).relativeFilePath(QDir::currentPath());
        });
        add("files", [this](const QString&) {
            QStringList paths = selected_files(m_scene.session->actions).values();
            paths.sort();
            return paths.join(", ").remove(m_scene.tree.path() + '/');
        });
        add("names", [this](const QString& tree) {
            const QAbstractItemModel& rows = *m_window.findChild<QTreeView*>(tree)->model();
            const auto any = Qt::MatchWildcard | Qt::MatchRecursive;
            QStringList names;
            for (const QModelIndex& row : rows.match(rows.index(0, 0), Qt::DisplayRole, "*", -1, any)) {
                const QVariant colour = row.data(Qt::ForegroundRole);
                names.append(row.data().toString() + (colour.isValid() ? colour.value<QColor>().name() : ""));
            }
            return names.join(' ');
        });
    }

    QAbstractItemView& view(const QString& words) const
    {
        return *qobject_cast<QAbstractItemView*>(widget(words.section(' ', 0, 0)));
    }

    QModelIndex row(const QString& words) const
    {
        const QModelIndex found = row_named(*view(words).model(), words.section(' ', 1));
        if (!found.isValid())
            qFatal("no row: %s", qPrintable(words));
        return found;
    }

    void expect_a_dialog()
    {
        answers.answer_with([this](QDialog* dialog) {
            expect_a_dialog();
            look();
            tell("opens \"" + answers.texts.last() + '"');
            if (QTest::qWaitForWindowActive(dialog))
                play_on([dialog] { return dialog->isVisible(); });
            if (dialog->isVisible())
                dialog->reject();
        });
    }

    void open_menu(QAbstractItemView& view, const QString& keys)
    {
        QTimer::singleShot(0, &view, [this, keys] {
            tell(carry_out("form"));
            press("-", keys);
        });
        QContextMenuEvent event(QContextMenuEvent::Keyboard, view.visualRect(view.currentIndex()).center());
        QApplication::sendEvent(&view, &event);
    }

    SELECTION_SCENE& m_scene;
    DATA_SELECTION_DIALOG& m_window;
};
