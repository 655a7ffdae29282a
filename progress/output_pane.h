#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtCore/QVector>

class QElapsedTimer;
class QTextBrowser;
class QTextDocument;

/// Shows texts of any length in a text browser without holding up the window.
///
/// A text browser needs some 0.2 seconds to lay out a million letters, so a text
/// above WHOLE_TEXT comes in slices, between the events of the window: its
/// beginning at once, its end seconds later when it has tens of millions. Its
/// lines are not wrapped, because a wrapped text is laid out anew with every
/// change of the width, and a line above LONGEST_LINE is cut into several, since
/// a line is laid out as a whole each time a part of it is drawn. So is a shorter
/// text with such a line, which takes seconds to wrap. Other texts stand there at
/// once and as they are, wrapped at the edge. A long text also goes in slices when
/// another takes its place.
///
/// The text is plain whatever it looks like. GUI thread.
class OUTPUT_PANE : public QObject
{
    Q_OBJECT

public:
    static const int WHOLE_TEXT = 100000;  ///< letters
    static const int LONGEST_LINE = 10000; ///< letters

    /// Belongs to the browser, whose text nothing else may set.
    explicit OUTPUT_PANE(QTextBrowser* browser);

    /// Replaces the text and keeps the value of the vertical scroll bar. Costs
    /// next to nothing when the text is the one that is shown: it shares its
    /// letters with it then. A text in slices gets the value as soon as it is
    /// long enough, unless the bar was moved by then.
    void show_text(const QString& text);

private slots:
    void go_on();

private:
    void put_former_aside();
    void fill(const QElapsedTimer& time);
    void shorten_former();
    QString next_slice(int longest);
    void keep_scroll_value();

    QTextBrowser* const m_browser;
    QString m_text;
    int m_filled = 0;                 // letters of m_text that the browser has
    int m_wanted_scroll = 0;          // the value that the scroll bar is to have
    int m_given_scroll = 0;           // the value that it could have
    QVector<QTextDocument*> m_former; // long texts that are on their way out
    QTimer m_timer;                   // active while letters are missing or left over
};
