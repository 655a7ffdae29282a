#pragma once

#include <QtCore/QObject>

class QAbstractButton;
class QMessageBox;

/// Answers dialogs for a person who is not there: writes the text of each to
/// standard error, presses the button of a message box that agrees to nothing, and
/// rejects every other dialog. The window that watches a build is left alone: it
/// closes by itself.
///
/// Works for dialogs of plugins and libraries as well, as it looks at what is
/// shown and not at who shows it. GUI thread; lives as long as the application.
class UNATTENDED_BOXES : public QObject
{
    Q_OBJECT

public:
    /// Begins to answer at once.
    explicit UNATTENDED_BOXES(QObject* application);

    /// The button to press: the default one, else escape's, else the only one, else
    /// one that refuses. Null for a box that offers nothing but to agree.
    static QAbstractButton* answer_to(const QMessageBox& box);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
