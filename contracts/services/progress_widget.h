#pragma once

#include <QtWidgets/QWidget>

#include "contracts/export.h"

class QLabel;

namespace BULLETIN_BOARD {

/// What the line below the progress text of the splash is about.
enum CATEGORIES : int
{
    CATEGORY_NONE = 0, ///< nothing
    CATEGORY_GOX = 3,  ///< how a run of GOX goes on
};

} // namespace BULLETIN_BOARD

/// The splash: says what the start-up is doing. No event loop runs meanwhile, so
/// whoever sets a text repaints the widget. GUI thread.
class GOX_CONTRACTS_EXPORT PROGRESS_WIDGET : public QWidget
{
    Q_OBJECT

public:
    PROGRESS_WIDGET(QWidget* parent, Qt::WindowFlags flags);

    /// Shows the text as it stands; it may have several lines.
    void set_progress(const QString& text);

    QString progress() const; ///< the text that was set last

    /// Chooses what the bulletin line is about; it hides when there is nothing
    /// to say.
    void update_bulletin_board(BULLETIN_BOARD::CATEGORIES category);

protected:
    void showEvent(QShowEvent* event) override;   ///< in the middle of the screen
    void paintEvent(QPaintEvent* event) override; ///< with an edge, which the window itself has not

private:
    void measure();
    void make_room();

    QLabel* m_title;
    QLabel* m_progress;
    QLabel* m_bulletin;
};
