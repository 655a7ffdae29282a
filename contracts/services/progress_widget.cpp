#include "contracts/services/progress_widget.h"

#include <QtGui/QScreen>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

namespace {

const int SPLASH_WIDTH = 480; // pixels; wide enough that the texts do not make the splash jump

}

PROGRESS_WIDGET::PROGRESS_WIDGET(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags), m_progress(new QLabel(this)), m_bulletin(new QLabel(this))
{
    setObjectName(QStringLiteral("PROGRESS_WIDGET"));
    QLabel* const title = new QLabel(QStringLiteral("GOX"), this);
    QFont title_font = title->font();
    title_font.setPointSizeF(title_font.pointSizeF() * 2);
    title_font.setBold(true);
    title->setFont(title_font);

    m_progress->setObjectName(QStringLiteral("progress_label"));
    m_progress->setTextFormat(Qt::PlainText);
    m_progress->setMinimumHeight(m_progress->fontMetrics().lineSpacing() * 2);
    m_bulletin->setObjectName(QStringLiteral("bulletin_label"));
    m_bulletin->setTextFormat(Qt::PlainText);
    m_bulletin->setWordWrap(true);
    m_bulletin->hide();

    QVBoxLayout* const layout = new QVBoxLayout(this);
    const int margin = title->fontMetrics().height();
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addWidget(title);
    layout->addWidget(m_progress);
    layout->addWidget(m_bulletin);
    setFixedWidth(SPLASH_WIDTH);
}

void PROGRESS_WIDGET::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (isWindow() && screen())
        move(screen()->availableGeometry().center() - rect().center());
}

void PROGRESS_WIDGET::set_progress(const QString& text)
{
    m_progress->setText(text);
}

QString PROGRESS_WIDGET::progress() const
{
    return m_progress->text();
}

void PROGRESS_WIDGET::update_bulletin_board(BULLETIN_BOARD::CATEGORIES category)
{
    const bool speaks = category == BULLETIN_BOARD::CATEGORY_GOX;
    m_bulletin->setText(
        speaks
            ? tr("GOX looks at the data tree first; then you choose what to build. Problems of the start are "
                 "in gox_startup_error.log beside the program.")
            : QString());
    m_bulletin->setVisible(speaks);
}
