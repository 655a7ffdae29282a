#pragma once

#include <QtCore/QObject>

/// Answers message boxes for a person who is not there: writes the text of each
/// to standard error and presses its default button. Where there is no display
/// at all, every other dialog is written and rejected too.
///
/// Works for boxes of plugins and libraries as well, as it looks at what is
/// shown and not at who shows it. GUI thread; lives as long as the application.
class UNATTENDED_BOXES : public QObject
{
    Q_OBJECT

public:
    enum SCOPE
    {
        MESSAGE_BOXES,
        ALL_DIALOGS
    };

    /// Begins to answer at once.
    UNATTENDED_BOXES(SCOPE scope, QObject* application);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    SCOPE m_scope;
};
