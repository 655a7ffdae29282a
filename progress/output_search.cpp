#include "progress/output_search.h"

#include <QtCore/QStringMatcher>
#include <QtGui/QKeyEvent>
#include <QtGui/QTextDocument>
#include <QtWidgets/QTextBrowser>

#include <algorithm>

namespace {

// A search through a long text can be felt. It waits until the person stops typing,
// and takes a small part of the time in which a text comes in.
const int LETTERS_A_MILLISECOND = 10000; // a tenth or less of those that are searched
const int TYPING_PAUSE = 200;            // milliseconds

int pause_for(const QTextBrowser& browser)
{
    return browser.document()->characterCount() / LETTERS_A_MILLISECOND;
}

} // namespace

OUTPUT_SEARCH::OUTPUT_SEARCH(QTextBrowser* browser, QWidget* parent) : QWidget(parent), m_browser(browser)
{
    ui.setupUi(this);
    ui.search_found->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("999 of 999")));
    hide();
    m_timer.setSingleShot(true);
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(look_for_places()));
    connect(ui.search_text, SIGNAL(textChanged(QString)), this, SLOT(wanted_changed()));
    connect(ui.search_case, SIGNAL(toggled(bool)), this, SLOT(wanted_changed()));
    connect(ui.search_next, SIGNAL(clicked()), this, SLOT(find_next()));
    connect(ui.search_former, SIGNAL(clicked()), this, SLOT(find_former()));
    connect(ui.search_close, SIGNAL(clicked()), this, SLOT(end()));
    connect(browser, SIGNAL(textChanged()), this, SLOT(text_changed()));
    window()->installEventFilter(this);
}

void OUTPUT_SEARCH::begin()
{
    if (isHidden()) {
        show();
        text_changed();
    }
    ui.search_text->setFocus(Qt::ShortcutFocusReason);
    ui.search_text->selectAll();
}

void OUTPUT_SEARCH::end()
{
    hide();
    m_timer.stop();
    m_browser->setFocus();
}

bool OUTPUT_SEARCH::eventFilter(QObject*, QEvent* event)
{
    const bool is_meant = event->type() == QEvent::KeyPress && isVisible() &&
                          static_cast<QKeyEvent*>(event)->matches(QKeySequence::Cancel);
    if (is_meant)
        end();
    return is_meant;
}

// Return must not reach the window, whose button it would press.
void OUTPUT_SEARCH::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QWidget::keyPressEvent(event);
    else if (event->modifiers() & Qt::ShiftModifier)
        find_former();
    else
        find_next();
}

void OUTPUT_SEARCH::wanted_changed()
{
    m_goes_there = true;
    m_timer.start(std::min(TYPING_PAUSE, pause_for(*m_browser)));
}

void OUTPUT_SEARCH::text_changed()
{
    if (!isHidden() && !m_timer.isActive())
        m_timer.start(pause_for(*m_browser));
}

void OUTPUT_SEARCH::look_for_places()
{
    m_timer.stop();
    m_places.clear();
    const QString wanted = ui.search_text->text();
    const QStringMatcher matcher(wanted,
                                 ui.search_case->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive);
    const QString text = wanted.isEmpty() ? QString() : m_browser->document()->toRawText();
    for (int at = 0; !text.isEmpty() && m_places.size() < MOST_PLACES; at += wanted.size()) {
        at = matcher.indexIn(text, at);
        if (at < 0)
            break;
        m_places.append(at);
    }
    tell_count(-1);
    if (m_goes_there)
        go_to_place(0);
    m_goes_there = false;
}

void OUTPUT_SEARCH::tell_count(int shown)
{
    const int count = m_places.size();
    const QString all = count < MOST_PLACES ? QString::number(count) : tr("more than %1").arg(MOST_PLACES);
    ui.search_next->setEnabled(count > 0);
    ui.search_former->setEnabled(count > 0);
    ui.search_found->setText(ui.search_text->text().isEmpty() ? QString()
                             : count == 0                     ? tr("Not found")
                             : shown < 0                      ? tr("%1 found").arg(all)
                                                              : tr("%1 of %2").arg(shown + 1).arg(all));
}

void OUTPUT_SEARCH::find_next()
{
    go_to_place(1);
}

void OUTPUT_SEARCH::find_former()
{
    go_to_place(-1);
}

// From what is chosen in the text; 0 stays where that is such a place. Beyond either
// end it goes on at the other.
void OUTPUT_SEARCH::go_to_place(int step)
{
    if (m_timer.isActive())
        look_for_places();
    if (m_places.isEmpty())
        return;
    QTextCursor cursor = m_browser->textCursor();
    const int from = cursor.selectionStart(), count = m_places.size();
    int place = int(std::lower_bound(m_places.cbegin(), m_places.cend(), from) - m_places.cbegin());
    const bool is_there = cursor.hasSelection() && place < count && m_places.at(place) == from;
    if (step < 0 || is_there)
        place += step;
    place = (place + count) % count;
    cursor.setPosition(m_places.at(place));
    cursor.setPosition(m_places.at(place) + ui.search_text->text().size(), QTextCursor::KeepAnchor);
    m_browser->setTextCursor(cursor);
    tell_count(place);
}
