#include "contracts/services/plain_message_box.h"

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

} // namespace

void show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text)
{
    QMessageBox box(icon, QStringLiteral("GOX"), QString(), QMessageBox::Ok, parent);
    set_plain_text(box, text);
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
