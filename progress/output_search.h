#pragma once

#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtWidgets/QWidget>

#include "ui_output_search.h"

class QTextBrowser;

/// A line that searches in a text browser: what is typed is looked for at once,
/// Return and F3 go to the next place that has it, with Shift to the former one. It tells
/// how many there are, also of a text that is still coming in. Escape anywhere in the
/// window closes the line and does nothing else.
///
/// Of places above MOST_PLACES the line knows the first ones. GUI thread.
class OUTPUT_SEARCH : public QWidget
{
    Q_OBJECT

public:
    static const int MOST_PLACES = 100000;

    /// Hidden. The browser is not owned and must live as long as the line.
    OUTPUT_SEARCH(QTextBrowser* browser, QWidget* parent);

    /// Comes up with the focus, its words chosen.
    void begin();

    /// For the window: Escape.
    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    void find_next();
    void find_former();
    void end(); ///< hides the line; the browser has the focus then

protected:
    void keyPressEvent(QKeyEvent* event) override;

private slots:
    void wanted_changed(); ///< other words, or another letter case
    void text_changed();   ///< of the browser
    void look_for_places();

private:
    void go_to_place(int step);
    void tell_count(int shown);

    Ui::OUTPUT_SEARCH ui;
    QTextBrowser* const m_browser;
    QVector<int> m_places;     // of first letters in the text, ascending
    bool m_goes_there = false; // to the first place, once it is known
    QTimer m_timer;            // until m_places is brought up to date
};
