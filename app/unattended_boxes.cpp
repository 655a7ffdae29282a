#include "app/unattended_boxes.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include "session/run_report.h"

namespace {

QString text_of(const QDialog& dialog)
{
    if (const QMessageBox* const box = qobject_cast<const QMessageBox*>(&dialog)) {
        const QString whole = box->detailedText(); // of which the box shows the beginning
        const QString more = box->informativeText();
        return !whole.isEmpty() ? whole : more.isEmpty() ? box->text() : box->text() + '\n' + more;
    }
    QStringList texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        if (!label->text().isEmpty())
            texts.append(label->text());
    return texts.isEmpty() ? dialog.windowTitle() : texts.join('\n');
}

void answer(QDialog* dialog)
{
    QMessageBox* const box = qobject_cast<QMessageBox*>(dialog);
    if (!box) {
        dialog->reject();
        return;
    }
    QAbstractButton* button = box->defaultButton();
    if (!button)
        button = box->escapeButton();
    if (!button && !box->buttons().isEmpty())
        button = box->buttons().constFirst();
    if (button)
        button->click();
    else
        box->reject();
}

} // namespace

UNATTENDED_BOXES::UNATTENDED_BOXES(SCOPE scope, QObject* application) : QObject(application), m_scope(scope)
{
    application->installEventFilter(this);
}

bool UNATTENDED_BOXES::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Show)
        return false;
    QDialog* const dialog = qobject_cast<QDialog*>(watched);
    if (dialog && (m_scope == ALL_DIALOGS || qobject_cast<QMessageBox*>(dialog))) {
        RUN_REPORT::error(text_of(*dialog));
        // The dialog is about to start its event loop, and is answered there.
        QTimer::singleShot(0, dialog, [dialog] { answer(dialog); });
    }
    return false;
}
