#include "contracts/services/plain_message_box.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

namespace {

const int MOST_LINES = 20; // with more, the buttons may lie beyond the screen's edge
const int MOST_WIDTH = 800;

void set_plain_text(QMessageBox& box, const QString& text)
{
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
}

// Behind all else that is set, since the box lays out its parts each time.
void let_long_text_scroll(QMessageBox& box)
{
    QLabel* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    QGridLayout* const grid = qobject_cast<QGridLayout*>(box.layout());
    const int place = label && grid ? grid->indexOf(label) : -1;
    if (place < 0 || label->text().count('\n') < MOST_LINES)
        return;
    int row = 0, column = 0, rows = 0, columns = 0;
    grid->getItemPosition(place, &row, &column, &rows, &columns);
    grid->removeWidget(label);
    QScrollArea* const area = new QScrollArea(&box);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(label);
    area->setWidgetResizable(true);
    const int width = label->sizeHint().width() + area->verticalScrollBar()->sizeHint().width();
    area->setMinimumSize(qMin(width, MOST_WIDTH), MOST_LINES * label->fontMetrics().lineSpacing());
    grid->addWidget(area, row, column, rows, columns);
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
    let_long_text_scroll(box);
    box.exec();
}

bool confirm_in_plain_box(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Question, QStringLiteral("GOX"), QString(),
                    QMessageBox::Yes | QMessageBox::No, parent);
    set_plain_text(box, question);
    box.setDefaultButton(QMessageBox::No); // and what Escape answers
    let_long_text_scroll(box);
    if (const QDialog* const dialog = qobject_cast<QDialog*>(parent))
        QObject::connect(dialog, SIGNAL(finished(int)), &box, SLOT(reject()));
    return box.exec() == QMessageBox::Yes;
}
