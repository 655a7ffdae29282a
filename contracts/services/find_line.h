#pragma once

#include <QtWidgets/QWidget>

#include "contracts/export.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QToolButton;

/// A line to find a text with: the text, the ways to the hit before and the one
/// behind, letter case, and which of how many hits is at hand. It knows nothing of
/// what is searched: its owner answers each signal with `show_hit`.
///
/// Return and Shift+Return in the line go on and back, F3 and Shift+F3 wherever the
/// focus is in its window. There Escape closes the line, and nothing else. Hidden until
/// it is opened. GUI thread.
class GOX_CONTRACTS_EXPORT FIND_LINE : public QWidget
{
    Q_OBJECT

public:
    explicit FIND_LINE(QWidget* parent);

    QString text() const;
    Qt::CaseSensitivity letter_case() const;

    /// `number` of the hit at hand among `count`, from 1; 0 when none of them is.
    /// `may_be_more`: `count` is as many as the owner looks for.
    void show_hit(int number, int count, bool may_be_more = false);

    /// Makes its widgets the next that Tab goes to behind `widget`.
    void set_tab_order_behind(QWidget* widget);

public slots:
    void open(); ///< shows the line, which gets the focus, with its text selected

signals:
    void opened();  ///< also when it was open
    void changed(); ///< text or letter case: a hit at hand may stay
    void next();
    void previous();
    void closed(); ///< by the person, not with its window

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void add_widgets();
    QToolButton* add_button(const QString& name, const QString& keys, const char* member);

    QLineEdit* m_text;
    QCheckBox* m_match_case;
    QLabel* m_found;
};
