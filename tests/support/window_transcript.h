#pragma once

#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtTest/QTest>
#include <QtWidgets/QWidget>

#include "tests/support/dialog_answers.h"
#include "tests/support/tool_tip.h"
#include "tests/support/transcript.h"
#include "tests/support/window_text.h"

/// What a person does with a window, in commands:
///
///     open, close, visible   shows and closes it; whether it is there
///     look                   does nothing
///     form                   WINDOW_TEXT::form, or the entries of a menu
///     changes                the lines of it that were not in the last one
///     looks                  what Tab goes to and what is cut off, by WINDOW_LOOKS
///     click W                on a widget
///     press K K              keys, where the focus is
///     key W K K              keys for a widget; "-" is the one that has the focus
///     type W T               a text for it
///     hold X Y, hold_right X Y, move X Y, release X Y, double X Y, wheel X Y NOTCHES
///     resize WIDTH HEIGHT, call SLOT
///     answer A, B            to the dialogs that come next, one each: a button, or the
///                            name of a file; "focus" is the button that has the focus
///
/// They go to the popup that is open, else to the modal dialog, else to the window.
/// Each dialog that comes up is told behind what the command tells.
class WINDOW_TRANSCRIPT : public virtual TRANSCRIPT
{
public:
    WINDOW_TRANSCRIPT();

    QPointer<QWidget> window;
    DIALOG_ANSWERS answers;

    /// For a window that is watched, lines of what is seen of it. An answer has those
    /// that are new, and what is new of the form, of the focus and of the texts of boxes.
    std::function<QStringList()> watch;
    QString folder; ///< shows as "*" there

protected:
    QString told(QString said) override;
    QStringList seen() override;

    QWidget& top() const;
    QWidget* widget(const QString& name) const; ///< of the uppermost window
    void press(const QString& name, const QString& keys) const;

    /// The tool tip at a place of the widget; "none" when it has none, whatever the
    /// last one was.
    static QString tip_at(QWidget* widget, const QPoint& place);

private:
    void add_mouse(const char* word, QEvent::Type type, Qt::MouseButton button);
    QString form();

    QString m_form; // when it was looked at last
};

/// Presses one combination of keys, such as "Ctrl+F".
void press_keys(QWidget* widget, const QString& keys);
