#include "app/unattended_boxes.h"

#include <QtCore/QEvent>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include "progress/build_progress_dialog.h"
#include "session/run_report.h"

namespace {

QString text_of(const QDialog& dialog)
{
    if (const QMessageBox* const box = qobject_cast<const QMessageBox*>(&dialog)) {
        QStringList texts{box->text(), box->informativeText(), box->detailedText()};
        texts.removeAll(QString());
        return texts.join('\n');
    }
    QStringList texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        if (!label->text().isEmpty())
            texts.append(label->text());
    return texts.isEmpty() ? dialog.windowTitle() : texts.join('\n');
}

// Whatever the dialog makes of its answer, it is not to stay.
void answer(const QPointer<QDialog>& dialog)
{
    QMessageBox* const box = qobject_cast<QMessageBox*>(dialog);
    if (QAbstractButton* const button = box ? UNATTENDED_BOXES::answer_to(*box) : nullptr)
        button->click();
    if (dialog && dialog->isVisible())
        dialog->reject();
    if (dialog && dialog->isVisible())
        dialog->QDialog::done(QDialog::Rejected);
}

} // namespace

UNATTENDED_BOXES::UNATTENDED_BOXES(QObject* application) : QObject(application)
{
    application->installEventFilter(this);
}

QAbstractButton* UNATTENDED_BOXES::answer_to(const QMessageBox& box)
{
    if (box.defaultButton())
        return box.defaultButton();
    if (box.escapeButton())
        return box.escapeButton();
    // The one that shows the details answers nothing.
    const bool has_details = !box.detailedText().isEmpty();
    QMap<QMessageBox::ButtonRole, QAbstractButton*> first_of_role;
    int answers = 0;
    for (QAbstractButton* button : box.buttons()) {
        const QMessageBox::ButtonRole role = box.buttonRole(button);
        if (has_details && role == QMessageBox::ActionRole)
            continue;
        ++answers;
        if (!first_of_role.contains(role))
            first_of_role.insert(role, button);
    }
    if (answers == 1)
        return first_of_role.first();
    for (const QMessageBox::ButtonRole role : {QMessageBox::RejectRole, QMessageBox::NoRole,
                                               QMessageBox::ActionRole, QMessageBox::DestructiveRole})
        if (first_of_role.contains(role))
            return first_of_role.value(role);
    return nullptr;
}

bool UNATTENDED_BOXES::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Show)
        return false;
    QDialog* const dialog = qobject_cast<QDialog*>(watched);
    if (dialog && !qobject_cast<BUILD_PROGRESS_DIALOG*>(dialog)) {
        RUN_REPORT::error(text_of(*dialog));
        // The dialog is about to start its event loop, and is answered there.
        QTimer::singleShot(0, dialog, [dialog] { answer(dialog); });
    }
    return false;
}
