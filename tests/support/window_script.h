#pragma once

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>

#include "tests/support/dialog_answers.h"
#include "tests/support/script.h"
#include "tests/support/tool_tip.h"
#include "tests/support/window_text.h"

/// What a person does with any window, as commands of a script `BASE`:
///
///     open, close, visible   shows and closes it; whether it is there
///     form                   WINDOW_TEXT::form
///     changes                the lines of it that were not in the last one
///     press W                a click on a widget
///     key W K K              keys for a widget; "-" is the one that has the focus
///     type W T               a text for it
///     answer A, B            to the dialogs that come next, one each: a button, or the
///                            name of a file; "focus" is the button that has the focus
///
/// Each dialog that comes up is told behind what the command says.
template <typename BASE = SCRIPT>
class WINDOW_SCRIPT : public BASE
{
public:
    WINDOW_SCRIPT()
    {
        this->m_does["open"] = [&](const QString&) {
            m_window->show();
            m_window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(m_window.data()));
        };
        this->m_does["close"] = [&](const QString&) { m_window->close(); };
        this->m_tells["visible"] = [&](const QString&) { return m_window->isVisible() ? "yes" : "no"; };
        this->m_tells["form"] = [&](const QString&) {
            m_form = WINDOW_TEXT::form(*m_window);
            return m_form;
        };
        this->m_tells["changes"] = [&](const QString&) {
            const QStringList before = m_form.split('\n');
            m_form = WINDOW_TEXT::form(*m_window);
            QStringList lines = m_form.split('\n');
            for (const QString& line : before)
                lines.removeAll(line);
            return lines.join('\n');
        };
        this->m_does["press"] = [&](const QString& name) {
            QWidget* const target = widget(name);
            QTest::mouseClick(target, Qt::LeftButton, {}, {5, target->height() / 2});
        };
        this->m_does["key"] = [&](const QString& s) {
            for (const QString& name : s.split(' ').mid(1)) {
                const int code = QKeySequence(name)[0];
                QTest::keyClick(widget(s.section(' ', 0, 0)), Qt::Key(code & ~Qt::KeyboardModifierMask),
                                Qt::KeyboardModifiers(code & Qt::KeyboardModifierMask));
                QCoreApplication::processEvents(); // Return leaves an editor later
            }
        };
        this->m_does["type"] = [&](const QString& s) {
            QTest::keyClicks(widget(s.section(' ', 0, 0)), s.section(' ', 1));
        };
        this->m_does["answer"] = [&](const QString& texts) {
            for (const QString& text : texts.split(", "))
                m_answers.answer_with([=](QDialog* dialog) { answer(dialog, text); });
        };
    }

protected:
    QString told(QString said) override
    {
        for (const QString& text : qAsConst(m_answers.texts))
            said += (said.isEmpty() ? "box: " : "\nbox: ") + text;
        m_answers.texts.clear();
        return BASE::told(said);
    }

    QWidget* widget(const QString& name) const
    {
        QWidget* const found =
            name == "-" ? m_window->focusWidget() : m_window->template findChild<QWidget*>(name);
        if (!found)
            qFatal("no widget: %s", qPrintable(name));
        return found;
    }

    /// The tool tip at a place of the widget; "none" when it has none, whatever the
    /// last one was.
    static QString tip_at(QWidget* widget, const QPoint& place)
    {
        QToolTip::showText(QPoint(), QStringLiteral("none"));
        return tool_tip_at(widget, place);
    }

    QScopedPointer<QDialog> m_window;

private:
    static void answer(QDialog* dialog, const QString& text)
    {
        if (QLineEdit* const name = dialog->findChild<QLineEdit*>("fileNameEdit")) {
            name->setText(text);
            return text.isEmpty() ? dialog->reject() : dialog->accept();
        }
        for (QAbstractButton* const button : dialog->findChildren<QAbstractButton*>())
            if (button->text().remove('&') == text || (text == "focus" && button == dialog->focusWidget()))
                return QTest::mouseClick(button, Qt::LeftButton);
        QTest::keyClick(dialog, Qt::Key(QKeySequence(text)[0]));
    }

    DIALOG_ANSWERS m_answers;
    QString m_form; // when it was looked at last
};
