#include "contracts/services/plain_message_box.h"

void show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text)
{
    QMessageBox box(icon, QStringLiteral("GOX"), QString(), QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.exec();
}
