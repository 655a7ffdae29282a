#include "contracts/services/find_line.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolButton>

namespace {

const int LETTERS_IN_VIEW = 20; // some of them lie below the button that clears

} // namespace

FIND_LINE::FIND_LINE(QWidget* parent)
    : QWidget(parent), m_text(new QLineEdit(this)), m_found(new QLabel(this))
{
    setObjectName(QStringLiteral("find_line"));
    add_widgets();
    connect(m_text, SIGNAL(textChanged(QString)), this, SIGNAL(changed()));
    connect(m_match_case, SIGNAL(toggled(bool)), this, SIGNAL(changed()));
    // Not shortcuts of the buttons, which stay down for a while and miss the next press.
    new QShortcut(QKeySequence(Qt::Key_F3), this, SIGNAL(next()));
    new QShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F3), this, SIGNAL(previous()));
    new QShortcut(QKeySequence(Qt::Key_Escape), this, SLOT(close()));
    hide();
}

void FIND_LINE::add_widgets()
{
    QLabel* const label = new QLabel(tr("&Find:"), this);
    label->setBuddy(m_text);
    m_text->setObjectName(QStringLiteral("find_text"));
    m_text->setAccessibleName(tr("Find"));
    m_text->setToolTip(tr("Enter goes to the next hit, Shift+Enter to the one before, Escape closes"));
    m_text->setClearButtonEnabled(true);
    m_text->setMinimumWidth(LETTERS_IN_VIEW * fontMetrics().averageCharWidth());
    m_found->setObjectName(QStringLiteral("find_result"));
    QHBoxLayout* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(label);
    layout->addWidget(m_text, 1);
    QToolButton* const previous = add_button(tr("Previous"), QStringLiteral("Shift+F3"), SIGNAL(previous()));
    previous->setObjectName(QStringLiteral("find_previous"));
    previous->setArrowType(Qt::UpArrow);
    QToolButton* const next = add_button(tr("Next"), QStringLiteral("F3"), SIGNAL(next()));
    next->setObjectName(QStringLiteral("find_next"));
    next->setArrowType(Qt::DownArrow);
    m_match_case = new QCheckBox(tr("Match case"), this);
    m_match_case->setObjectName(QStringLiteral("find_match_case"));
    layout->addWidget(m_match_case);
    layout->addWidget(m_found);
    QToolButton* const close = add_button(tr("Close the find line"), QStringLiteral("Escape"), SLOT(close()));
    close->setObjectName(QStringLiteral("find_close"));
    close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
}

QToolButton* FIND_LINE::add_button(const QString& name, const QString& keys, const char* member)
{
    QToolButton* const button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setAccessibleName(name);
    button->setToolTip(QStringLiteral("%1 (%2)").arg(name, keys));
    connect(button, SIGNAL(clicked()), this, member);
    layout()->addWidget(button);
    return button;
}

QString FIND_LINE::text() const
{
    return m_text->text();
}

Qt::CaseSensitivity FIND_LINE::letter_case() const
{
    return m_match_case->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive;
}

void FIND_LINE::show_hit(int number, int count, bool may_be_more)
{
    const QString all = may_be_more ? tr("%1 or more").arg(count) : QString::number(count);
    if (text().isEmpty())
        m_found->clear();
    else if (!count)
        m_found->setText(tr("Not found"));
    else
        m_found->setText(number ? tr("%1 of %2").arg(QString::number(number), all) : tr("%1 found").arg(all));
}

void FIND_LINE::set_tab_order_behind(QWidget* widget)
{
    QWidget* before = widget;
    for (int i = 0; i < layout()->count(); ++i) {
        QWidget* const child = layout()->itemAt(i)->widget();
        if (!(child->focusPolicy() & Qt::TabFocus))
            continue;
        setTabOrder(before, child);
        before = child;
    }
}

void FIND_LINE::open()
{
    show();
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
    emit opened();
}

void FIND_LINE::keyPressEvent(QKeyEvent* event)
{
    const bool is_return = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (is_return && m_text->hasFocus())
        event->modifiers() & Qt::ShiftModifier ? emit previous() : emit next();
    else
        QWidget::keyPressEvent(event);
}

void FIND_LINE::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    emit closed();
}
