// Sees a run of the program from inside, as Qt loads it into the program. What a
// person would see goes into the file that GOX_TEST_SEEN names, and the settings lie
// beside it. Every dialog is cancelled, but the choice from a list takes what
// GOX_TEST_CHOICE says.

#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTimer>
#include <QtGui/QGenericPlugin>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>

#include <new>

#include "tests/support/window_text.h"

namespace {

class WATCHER : public QObject
{
public:
    WATCHER() : m_seen(qEnvironmentVariable("GOX_TEST_SEEN"))
    {
        m_seen.open(QIODevice::WriteOnly | QIODevice::Append);
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_seen.fileName() + "_settings");
        qApp->installEventFilter(this);
#ifndef Q_OS_WIN // where each library has operators of its own
        volatile std::size_t too_much = std::size_t(-1) / 4;
        if (::operator new(too_much) || ::operator new[](too_much))
            note("there is memory without end");
#endif
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && watched->objectName() == "PROGRESS_WIDGET")
            note_splash(static_cast<const QWidget&>(*watched));
        QDialog* const dialog = event->type() == QEvent::Show ? qobject_cast<QDialog*>(watched) : nullptr;
        if (dialog) // is about to start its event loop
            QTimer::singleShot(0, dialog, [this, dialog] { answer(*dialog); });
        return false;
    }

private:
    void note(const QString& text)
    {
        m_seen.write(text.toUtf8() + '\n');
        m_seen.flush(); // the process may end at any moment, without a farewell
    }

    void note_splash(const QWidget& splash)
    {
        const QString text = splash.findChild<QLabel*>("progress_label")->text().replace('\n', " / ");
        if (m_splash.isNull())
            note(QString("splash %1: ").arg(int(splash.windowFlags()), 0, 16) +
                 splash.findChild<QLabel*>("bulletin_label")->text());
        if (text != m_splash)
            note("splash: " + text);
        m_splash = text + QString("");
    }

    void answer(QDialog& dialog)
    {
        const bool is_small = qobject_cast<QMessageBox*>(&dialog) || qobject_cast<QInputDialog*>(&dialog);
        note(is_small ? WINDOW_TEXT::form(dialog) : "window " + dialog.windowTitle());
        QComboBox* const list = dialog.findChild<QComboBox*>();
        const QString choice = qEnvironmentVariable("GOX_TEST_CHOICE");
        if (!list || choice.isEmpty())
            return dialog.reject();
        list->setCurrentText(choice);
        dialog.accept();
    }

    QFile m_seen;
    QString m_splash;
};

} // namespace

class WATCHER_PLUGIN : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "watcher.json")

public:
    QObject* create(const QString&, const QString&) override { return new WATCHER; }
};

#include "watcher_plugin.moc"
