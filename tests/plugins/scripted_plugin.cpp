#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QObject>

#include <cstdio>

#include "contracts/actions/plugin_interface.h"
#include "tests/plugins/scripted_processor.h"

namespace {

QString script_text()
{
    QFile script(QCoreApplication::applicationDirPath() + QStringLiteral("/script.txt"));
    return QString::fromUtf8(script.open(QIODevice::ReadOnly) ? script.readAll() : QByteArray());
}

// Maybe ahead of the statics of others, with which a script is read as a whole.
bool come_to(const char* call)
{
    for (const QString& line : script_text().split('\n'))
        if (line.startsWith(QLatin1String("crashes ")))
            crash_if_told(line.section(' ', 1), call);
    return true;
}

const bool s_is_loaded = come_to("load");

struct FAREWELL
{
    ~FAREWELL() { std::fputs("destroyed\n", stderr); }
};
const FAREWELL s_farewell;

} // namespace

/// Runs script.txt beside the program. Without a script there are no processors.
class SCRIPTED_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    SCRIPTED_PLUGIN() { come_to(s_is_loaded ? "construct" : ""); }

    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override
    {
        come_to("processors_of_plugin");
        return scripted_processors(SCRIPT::parse(script_text(), QStringLiteral("script.txt")),
                                   QCoreApplication::applicationDirPath());
    }
};

#include "scripted_plugin.moc"
