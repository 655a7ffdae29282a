// For make-pictures.sh alone, which preloads it into GOX; the program itself stays as
// it is. Every action takes the same time, and with GOX_SHOW_BUTTONS set the selection
// window shows the buttons that it hides, with the keys Ctrl+1 to Ctrl+5.

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtWidgets/QPushButton>

#include "contracts/services/stop_watch.h"

// Takes the place of the one in the library.
int Tallyline::StopWatch::AsMSec() const
{
    return 3;
}

namespace {

const char* const HIDDEN_BUTTONS[] = {"pushButton_2", "pushButton_7", "pushButton_4", "pushButton_5",
                                      "pushButton_6"};

void show_buttons(const QObject& window)
{
    int key = Qt::CTRL + Qt::Key_1;
    for (const char* const name : HIDDEN_BUTTONS) {
        QPushButton* const button = window.findChild<QPushButton*>(name);
        if (!button)
            qFatal("The selection window has no button %s.", name);
        button->setShortcut(key++);
        button->show();
    }
}

class BUTTON_SHOWER : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show && watched->inherits("DATA_SELECTION_DIALOG"))
            show_buttons(*watched);
        return false;
    }
};

void install()
{
    QCoreApplication* const application = QCoreApplication::instance();
    if (qEnvironmentVariableIsSet("GOX_SHOW_BUTTONS"))
        application->installEventFilter(new BUTTON_SHOWER(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(install)
