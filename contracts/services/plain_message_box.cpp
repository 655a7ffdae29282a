#include "contracts/services/plain_message_box.h"

#include <QtWidgets/QLabel>

namespace {

const int MOST_LINES = 20; // with more, the buttons may lie beyond the screen's edge

void set_plain_text(QMessageBox& box, const QString& text)
{
    const QString beginning = text.section('\n', 0, MOST_LINES - 1);
    const bool is_long = beginning.size() < text.size();
    box.setTextFormat(Qt::PlainText);
    box.setText(is_long ? beginning + QLatin1String("\n...") : text);
    if (is_long)
        box.setDetailedText(text);
}

// The box's own setting of the format holds for the text only.
void set_plain_informative_text(QMessageBox& box, const QString& text)
{
    if (text.isEmpty())
        return;
    box.setInformativeText(QStringLiteral(" ")); // no text, no label
    if (QLabel* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);
    box.setInformativeText(text);
}

} // namespace

void show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text, const QString& more)
{
    QMessageBox box(icon, QStringLiteral("GOX"), QString(), QMessageBox::Ok, parent);
    set_plain_text(box, text);
    set_plain_informative_text(box, more);
    box.setEscapeButton(QMessageBox::Ok); // and not the one that shows the details
    box.exec();
}

bool confirm_in_plain_box(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Question, QStringLiteral("GOX"), QString(),
                    QMessageBox::Yes | QMessageBox::No, parent);
    set_plain_text(box, question);
    box.setDefaultButton(QMessageBox::No);
    box.setEscapeButton(QMessageBox::No);
    if (const QDialog* const dialog = qobject_cast<QDialog*>(parent))
        QObject::connect(dialog, SIGNAL(finished(int)), &box, SLOT(reject()));
    return box.exec() == QMessageBox::Yes;
}
