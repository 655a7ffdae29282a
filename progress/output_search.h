#pragma once

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtCore/QVector>

class FIND_LINE;
class QTextBrowser;

/// Searches in a text browser by a FIND_LINE. What is typed is looked for at once; a
/// text that is still coming in is looked through again and again, while the line is
/// open. Of places above MOST_PLACES the first ones are known. GUI thread.
class OUTPUT_SEARCH : public QObject
{
    Q_OBJECT

public:
    static const int MOST_PLACES = 100000;

    /// The child of `line`; `browser` must live as long.
    OUTPUT_SEARCH(QTextBrowser& browser, FIND_LINE& line);

private slots:
    void wanted_changed(); ///< other words, or another letter case
    void text_changed();   ///< of the browser
    void look_for_places();
    void find_next();
    void find_previous();
    void leave(); ///< back to the browser

private:
    void go_to_place(int step);
    void tell_count(int shown);

    QTextBrowser* const m_browser;
    FIND_LINE* const m_line;
    QVector<int> m_places;     // of first letters in the text, ascending
    bool m_goes_there = false; // to the first place, once it is known
    QTimer m_timer;            // until m_places is brought up to date
};
