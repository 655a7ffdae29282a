#include "progress/output_search.h"

#include <QtCore/QStringMatcher>
#include <QtGui/QTextDocument>
#include <QtWidgets/QTextBrowser>

#include <algorithm>

#include "contracts/services/find_line.h"

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

OUTPUT_SEARCH::OUTPUT_SEARCH(QTextBrowser& browser, FIND_LINE& line)
    : QObject(&line), m_browser(&browser), m_line(&line)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(look_for_places()));
    connect(m_browser, SIGNAL(textChanged()), this, SLOT(text_changed()));
    connect(m_line, SIGNAL(opened()), this, SLOT(text_changed()));
    connect(m_line, SIGNAL(changed()), this, SLOT(wanted_changed()));
    connect(m_line, SIGNAL(next()), this, SLOT(find_next()));
    connect(m_line, SIGNAL(previous()), this, SLOT(find_previous()));
    connect(m_line, SIGNAL(closed()), this, SLOT(leave()));
}

void OUTPUT_SEARCH::leave()
{
    m_timer.stop();
    m_browser->setFocus();
}

void OUTPUT_SEARCH::wanted_changed()
{
    m_goes_there = true;
    m_timer.start(std::min(TYPING_PAUSE, pause_for(*m_browser)));
}

void OUTPUT_SEARCH::text_changed()
{
    if (m_line->isVisible() && !m_timer.isActive())
        m_timer.start(pause_for(*m_browser));
}

void OUTPUT_SEARCH::look_for_places()
{
    m_timer.stop();
    m_places.clear();
    const QString wanted = m_line->text();
    const QStringMatcher matcher(wanted, m_line->letter_case());
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
    m_line->show_hit(shown + 1, m_places.size(), m_places.size() == MOST_PLACES);
}

void OUTPUT_SEARCH::find_next()
{
    go_to_place(1);
}

void OUTPUT_SEARCH::find_previous()
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
    const bool is_there = cursor.hasSelection() && m_places.value(place, -1) == from;
    if (step < 0 || is_there)
        place += step;
    place = (place + count) % count;
    cursor.setPosition(m_places.at(place));
    cursor.setPosition(m_places.at(place) + m_line->text().size(), QTextCursor::KeepAnchor);
    m_browser->setTextCursor(cursor);
    tell_count(place);
}
