#include "contracts/services/plain_message_box.h"

namespace {

const int MOST_LINES = 20; // with more, the buttons may lie beyond the screen's edge

}

QMessageBox::StandardButton show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text,
                                           QMessageBox::StandardButtons buttons)
{
    const QString beginning = text.section('\n', 0, MOST_LINES - 1);
    const bool is_long = beginning.size() < text.size();
    QMessageBox box(icon, QStringLiteral("GOX"), QString(), buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setText(is_long ? beginning + QLatin1String("\n...") : text);
    if (is_long)
        box.setDetailedText(text);
    if (buttons == QMessageBox::Ok) // and not the one that shows the details
        box.setEscapeButton(QMessageBox::Ok);
    return QMessageBox::StandardButton(box.exec());
}
