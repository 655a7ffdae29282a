#include "progress/output_pane.h"

#include <QtCore/QElapsedTimer>
#include <QtGui/QTextCursor>
#include <QtGui/QTextDocument>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTextBrowser>

namespace {

// Milliseconds. The window answers within one turn, and has its own in between.
const int TURN = 8;
const int PERIOD = 2;

bool has_long_line(const QString& text)
{
    const int longest = OUTPUT_PANE::LONGEST_LINE;
    for (int begin = 0; text.size() - begin > longest;) {
        const int end = text.lastIndexOf(QLatin1Char('\n'), begin + longest);
        if (end < begin)
            return true;
        begin = end + 1;
    }
    return false;
}

bool goes_in_slices(const QString& text)
{
    return text.size() > OUTPUT_PANE::WHOLE_TEXT || has_long_line(text);
}

} // namespace

OUTPUT_PANE::OUTPUT_PANE(QTextBrowser* browser) : QObject(browser), m_browser(browser)
{
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(go_on()));
}

void OUTPUT_PANE::show_text(const QString& text)
{
    // Letters that are shared cannot have been changed.
    if (text.constData() == m_text.constData() && text.size() == m_text.size())
        return;
    const bool is_same = text == m_text;
    const bool was_long = goes_in_slices(m_text);
    const bool is_long = goes_in_slices(text);
    m_text = text;
    if (is_same)
        return;

    m_filled = 0;
    m_wanted_scroll = m_browser->verticalScrollBar()->value();
    if (was_long)
        put_former_aside();
    m_browser->setLineWrapMode(is_long ? QTextEdit::NoWrap : QTextEdit::WidgetWidth);
    m_browser->setPlainText(next_slice(is_long ? LONGEST_LINE : m_text.size()));
    m_browser->verticalScrollBar()->setValue(m_wanted_scroll);
    m_given_scroll = m_browser->verticalScrollBar()->value();
    if (was_long || is_long)
        m_timer.start(PERIOD);
}

void OUTPUT_PANE::put_former_aside()
{
    QTextDocument* const former = m_browser->document();
    QTextDocument* const fresh = new QTextDocument(m_browser);
    fresh->setDefaultFont(former->defaultFont());
    fresh->setUndoRedoEnabled(false);
    former->setParent(this); // or else the browser deletes it
    m_browser->setDocument(fresh);
    m_former.append(former);
}

void OUTPUT_PANE::go_on()
{
    QElapsedTimer time;
    time.start();
    // The end of a bar that is held must not run away.
    if (!m_browser->verticalScrollBar()->isSliderDown())
        fill(time);
    while (!m_former.isEmpty() && time.elapsed() < TURN)
        shorten_former();
    if (m_filled == m_text.size() && m_former.isEmpty())
        m_timer.stop();
}

void OUTPUT_PANE::fill(const QElapsedTimer& time)
{
    QTextCursor cursor(m_browser->document());
    cursor.movePosition(QTextCursor::End);
    while (m_filled < m_text.size() && time.elapsed() < TURN)
        cursor.insertText(next_slice(LONGEST_LINE));
    keep_scroll_value();
}

void OUTPUT_PANE::shorten_former()
{
    QTextDocument* const former = m_former.last();
    QTextCursor cursor(former);
    cursor.movePosition(QTextCursor::End);
    cursor.setPosition(qMax(0, cursor.position() - LONGEST_LINE), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    if (former->isEmpty()) {
        m_former.removeLast();
        delete former;
    }
}

// Slices are whole lines; a line that has no end within a slice gets one.
QString OUTPUT_PANE::next_slice(int longest)
{
    const int begin = m_filled;
    if (m_text.size() - begin <= longest) {
        m_filled = m_text.size();
        return m_text.mid(begin);
    }
    // The end of a line that is as long as can be stands behind the slice.
    int end = begin + 1 + int(QStringView(m_text).mid(begin, longest + 1).lastIndexOf(QLatin1Char('\n')));
    const bool is_cut = end == begin;
    if (is_cut) {
        end = begin + longest;
        if (m_text.at(end - 1).isHighSurrogate())
            --end;
    }
    m_filled = end;
    QString slice = m_text.mid(begin, end - begin);
    if (is_cut)
        slice += '\n';
    return slice;
}

void OUTPUT_PANE::keep_scroll_value()
{
    QScrollBar* const bar = m_browser->verticalScrollBar();
    if (m_given_scroll == m_wanted_scroll || bar->value() != m_given_scroll)
        return;
    bar->setValue(m_wanted_scroll);
    m_given_scroll = bar->value();
}
