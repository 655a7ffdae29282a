#include "contracts/services/progress_widget.h"

#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

const int SPLASH_LETTERS = 64; // average ones; wide enough that few texts take a second line

}

PROGRESS_WIDGET::PROGRESS_WIDGET(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags),
      m_title(new QLabel(QStringLiteral("GOX"), this)),
      m_progress(new QLabel(this)),
      m_bulletin(new QLabel(this))
{
    setObjectName(QStringLiteral("PROGRESS_WIDGET"));
    m_progress->setObjectName(QStringLiteral("progress_label"));
    m_progress->setTextFormat(Qt::PlainText);
    m_progress->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_progress->setWordWrap(true);
    m_bulletin->setObjectName(QStringLiteral("bulletin_label"));
    m_bulletin->setTextFormat(Qt::PlainText);
    m_bulletin->setWordWrap(true);
    m_bulletin->hide();

    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(m_title);
    layout->addWidget(m_progress);
    layout->addWidget(m_bulletin);
}

// Fonts are asked for only when somebody is to see the window: an unattended run has no use
// for them, and the system takes longer to find them than such a run may take altogether.
void PROGRESS_WIDGET::measure()
{
    QFont title_font = m_progress->font();
    if (title_font.pointSizeF() > 0) // a size in pixels has no points
        title_font.setPointSizeF(title_font.pointSizeF() * 2);
    else
        title_font.setPixelSize(title_font.pixelSize() * 2);
    title_font.setBold(true);
    m_title->setFont(title_font);
    m_progress->setMinimumHeight(m_progress->fontMetrics().lineSpacing() * 2);
    const int margin = m_title->fontMetrics().height();
    layout()->setContentsMargins(margin, margin, margin, margin);
    setFixedWidth(fontMetrics().averageCharWidth() * SPLASH_LETTERS + 2 * margin);
}

// Wrapped texts tell the window too little of their height by themselves. What
// was needed once stays, so that the splash does not jump from text to text.
void PROGRESS_WIDGET::make_room()
{
    if (isVisible())
        setFixedHeight(std::max(minimumHeight(), layout()->totalHeightForWidth(width())));
}

void PROGRESS_WIDGET::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void PROGRESS_WIDGET::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    measure();
    make_room();
    if (isWindow() && screen())
        move(screen()->availableGeometry().center() - rect().center());
}

void PROGRESS_WIDGET::set_progress(const QString& text)
{
    m_progress->setText(text);
    make_room();
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
    make_room();
}
