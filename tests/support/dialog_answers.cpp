#include "tests/support/dialog_answers.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QMessageBox>

DIALOG_ANSWERS::DIALOG_ANSWERS()
{
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(look()));
    m_timer.start(2);
}

void DIALOG_ANSWERS::look()
{
    QDialog* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || !dialog->isVisible() || m_in_hand.contains(dialog))
        return;
    const QMessageBox* const box = qobject_cast<QMessageBox*>(dialog);
    const QString more = box && !box->informativeText().isEmpty() ? '\n' + box->informativeText() : QString();
    texts.append(box ? box->text() + more : dialog->windowTitle());
    if (m_answers.isEmpty()) {
        ++unexpected;
        dialog->reject();
        return;
    }
    const std::function<void(QDialog*)> answer = m_answers.takeFirst();
    // A timer whose slot still runs does not fire, and the answer may bring up
    // the next dialog: a timer that starts anew does.
    m_timer.start();
    m_in_hand.append(dialog);
    answer(dialog);
    m_in_hand.removeLast();
}
