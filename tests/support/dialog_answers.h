#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtCore/QVector>

#include <functional>

class QDialog;

/// Answers the modal dialogs that come up while it lives, from a check that
/// runs in their event loops. A dialog that nothing is queued for is rejected,
/// so that a test never hangs, and counts as unexpected. GUI thread.
class DIALOG_ANSWERS : public QObject
{
    Q_OBJECT

public:
    DIALOG_ANSWERS();

    /// The next dialog is handed to `answer`, which must end it.
    void answer_with(const std::function<void(QDialog*)>& answer) { m_answers.append(answer); }

    QStringList texts;  ///< of every dialog so far: a message box's text, else the window title,
                        ///< behind which a file dialog tells its name and kinds of files
    int unexpected = 0; ///< dialogs that nothing was queued for
    int waiting() const { return m_answers.size(); } ///< answers that no dialog has asked for

private slots:
    void look();

private:
    QTimer m_timer;
    QVector<QDialog*> m_in_hand; // whose answers still run: one may wait, and bring up the next
    QVector<std::function<void(QDialog*)>> m_answers;
};
