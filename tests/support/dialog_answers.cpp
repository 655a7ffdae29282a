#include "tests/support/dialog_answers.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>

namespace {

QString text_of(const QDialog& dialog)
{
    if (const auto* const box = qobject_cast<const QMessageBox*>(&dialog))
        return box->text() + (box->informativeText().isEmpty() ? QString() : '\n' + box->informativeText());
    QStringList parts{dialog.windowTitle()};
    if (const auto* const files = qobject_cast<const QFileDialog*>(&dialog)) {
        parts += dialog.findChild<QLineEdit*>("fileNameEdit")->text();
        parts += files->nameFilters();
    }
    parts.removeAll(QString());
    return parts.join(", ");
}

} // namespace

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
    texts.append(text_of(*dialog));
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
