#pragma once

#include <QtCore/QEvent>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtWidgets/QWidget>

#include <functional>

#include "tests/support/dialog_answers.h"

/// What a person does with a window and sees of it: a line that begins with "> "
/// is a step, and the lines below it are those that are seen anew then.
///
///     > press Ctrl+F
///     focus find_text
///     > type node 1
///     find_text "node 1"
///     found "11 found"
///
/// Steps that are there from the beginning:
///
///     look
///     press KEYS, type LETTERS    where the focus is
///     click WIDGET
///     hold X Y, hold_right X Y, move X Y, release X Y, double X Y
///     wheel X Y NOTCHES
///     call SLOT                   of the window
///     resize WIDTH HEIGHT
///     answer yes|default          to the next message box
///     answer_file NAME KEYS       to the next dialog for files: a file in `folder`,
///                                 and keys for the list of formats
class TRANSCRIPT
{
public:
    TRANSCRIPT();

    using STEP = std::function<void(const QStringList& with)>;

    QMap<QString, STEP> steps; ///< by their first word; each gets the words behind it
    QPointer<QWidget> window;
    QString folder; ///< shows as "*"
    DIALOG_ANSWERS answers;

    /// What is seen besides WINDOW_TEXT::form, the focus and the texts of boxes: a
    /// line a thing, with its name in front.
    std::function<QStringList()> seen;

    /// Takes the steps of `expected` and gives what was seen in truth, up to the
    /// first step with a difference. A step has a while for what it is expected to
    /// bring about, because threads and processes may have a part in it. A last
    /// line "..." stands for whatever else is seen. What is no step ends the test
    /// program.
    QString run(const QString& expected) const;

private:
    Q_DISABLE_COPY(TRANSCRIPT)

    QWidget* focus() const;
    void answer_file(const QStringList& with);
    void add_mouse(const char* step, QEvent::Type type, Qt::MouseButton button);
    QStringList all_seen() const;
};

/// Presses one combination of keys, such as "Ctrl+F".
void press_keys(QWidget* widget, const QString& keys);
