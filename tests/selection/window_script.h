#pragma once

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>

#include <algorithm>
#include <functional>

#include "tests/selection/file_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/view_clicks.h"

/// What a person does in a window, from a transcript: a line behind "> " holds
/// steps with ", " between them, the other lines what comes of it.
///
///     click BUTTON            box VIEW ROW            check box of a row
///     show WIDGET             mark VIEW ROW           with Ctrl
///     press KEY KEY...        go VIEW ROW             plain click
///     form                    open VIEW ROW           double click
///     rows VIEW               menu VIEW KEY KEY...    its context menu
///
/// Steps go to the popup that is open, else to the modal dialog, else to the window:
/// those behind the one that opens a dialog are done in it. A dialog that is still
/// open when the steps are at their end is rejected.
class WINDOW_SCRIPT
{
public:
    /// `state` is told once it has changed.
    WINDOW_SCRIPT(QWidget& window, const std::function<QString()>& state)
        : m_window(window), m_state(state), m_told(state())
    {
    }

    /// A step of the test's own: gets what stands behind its name.
    void add(const QString& verb, const std::function<void(const QString&)>& step) { m_own[verb] = step; }

    /// Something happened, which is told behind the line that it happened in.
    void note(const QString& event) { m_events.append(event); }
    void tell(const QString& text) { m_log.append(text); }

    /// The transcript as it is.
    QString play(const QString& transcript)
    {
        for (const QString& line : transcript.split('\n').filter(QRegularExpression("^> ")))
            m_steps += QStringList{line} + line.mid(2).split(", ");
        expect_a_dialog();
        run(nullptr);
        return m_log.join('\n');
    }

private:
    void expect_a_dialog()
    {
        m_answers.answer_with([this](QDialog* dialog) {
            expect_a_dialog();
            tell_what_happened();
            tell("opens \"" + m_answers.texts.last() + '"');
            if (QTest::qWaitForWindowActive(dialog))
                run(dialog);
            if (dialog->isVisible())
                dialog->reject();
        });
    }

    void run(const QWidget* dialog)
    {
        while (!m_steps.isEmpty() && (!dialog || dialog->isVisible())) {
            const QString step = m_steps.takeFirst();
            if (!step.startsWith('>')) {
                perform(step.section(' ', 0, 0), step.section(' ', 1));
                continue;
            }
            tell_what_happened();
            tell(step);
        }
        tell_what_happened();
    }

    void tell_what_happened()
    {
        if (!m_events.isEmpty())
            tell("~ " + m_events.join(", "));
        m_events.clear();
        if (m_told != m_state())
            tell("= " + (m_told = m_state()));
    }

    QWidget& top() const
    {
        QWidget* const popup = QApplication::activePopupWidget();
        QWidget* const modal = QApplication::activeModalWidget();
        return popup ? *popup : modal ? *modal : m_window;
    }

    void press(const QString& keys) const
    {
        for (const QString& key : keys.split(' ')) {
            const int code = QKeySequence(key)[0];
            QWidget* const focus = top().focusWidget();
            QTest::keyClick(focus ? focus : &top(), Qt::Key(code & ~Qt::KeyboardModifierMask),
                            Qt::KeyboardModifiers(code & Qt::KeyboardModifierMask));
            QCoreApplication::processEvents(); // what is typed into a row arrives later
        }
        const QList<QAbstractButton*> buttons = m_window.findChildren<QAbstractButton*>();
        const auto is_up = [](const QAbstractButton* button) { return !button->isDown(); };
        QTRY_VERIFY(std::all_of(buttons.begin(), buttons.end(), is_up)); // shortcuts hold them down a while
    }

    void tell_form()
    {
        const auto* const menu = qobject_cast<const QMenu*>(&top());
        tell(menu ? WINDOW_TEXT::menu(*menu) : WINDOW_TEXT::form(top()));
    }

    void perform(const QString& verb, const QString& rest)
    {
        QWidget* const widget = top().findChild<QWidget*>(rest.section(' ', 0, 0));
        auto* const view = qobject_cast<QAbstractItemView*>(widget);
        const QString what = rest.section(' ', 1);
        const QModelIndex row = view ? row_named(*view->model(), what) : QModelIndex();
        if (m_own.contains(verb))
            m_own[verb](rest);
        else if (verb == "press")
            press(rest);
        else if (verb == "form")
            tell_form();
        else if (verb == "click" && widget && widget->isVisible())
            QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, widget->height() / 2));
        else if (verb == "show" && widget)
            widget->show();
        else if (verb == "rows" && view)
            tell(rows_in(*view));
        else if (verb == "menu" && view)
            open_menu(*view, what);
        else if (verb == "box" && row.isValid())
            VIEW_CLICKS::click_box(*view, row);
        else if (QStringList{"go", "mark", "open"}.contains(verb) && row.isValid())
            go(*view, row, verb);
        else
            tell("can't " + verb + ' ' + rest);
    }

    static void go(QAbstractItemView& view, const QModelIndex& row, const QString& how)
    {
        VIEW_CLICKS::click_row(view, row, how == "mark" ? Qt::ControlModifier : Qt::NoModifier);
        if (how == "open")
            QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(row).center());
    }

    static QString rows_in(QAbstractItemView& view)
    {
        auto* const tree = qobject_cast<QTreeView*>(&view);
        return tree ? WINDOW_TEXT::rows(*tree) : rows_of(*view.model());
    }

    void open_menu(QAbstractItemView& view, const QString& keys)
    {
        QTimer::singleShot(0, &view, [this, keys] {
            tell_form();
            press(keys);
        });
        QContextMenuEvent event(QContextMenuEvent::Keyboard, view.visualRect(view.currentIndex()).center());
        QApplication::sendEvent(&view, &event);
    }

    QWidget& m_window;
    const std::function<QString()> m_state;
    QMap<QString, std::function<void(const QString&)>> m_own;
    DIALOG_ANSWERS m_answers;
    QStringList m_steps; // that are still to be done, with the lines that they stand in
    QStringList m_events;
    QStringList m_log;
    QString m_told; // the state that was told last
};
