#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QObject>

#include <cstdio>

#include "contracts/actions/plugin_interface.h"
#include "tests/plugins/scripted_processor.h"

namespace {

QString script_path()
{
    const QString named = QString::fromUtf8(qgetenv("GOX_SCRIPT"));
    return named.isEmpty() ? QCoreApplication::applicationDirPath() + QStringLiteral("/script.txt") : named;
}

bool come_to(const char* call)
{
    // Ahead of the statics of others, with which a script is read as a whole.
    QFile script(script_path());
    if (script.open(QIODevice::ReadOnly))
        while (!script.atEnd()) {
            const QString line = QString::fromUtf8(script.readLine()).trimmed();
            if (line.startsWith(QLatin1String("crashes ")))
                crash_if_told(line.section(' ', 1), call);
        }
    return true;
}

const bool s_is_loaded = come_to("load");

struct FAREWELL
{
    ~FAREWELL() { std::fputs("destroyed\n", stderr); }
};
const FAREWELL s_farewell;

} // namespace

/// Runs script.txt beside the program, or the file that the environment
/// variable GOX_SCRIPT names. Without a script there are no processors.
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
        if (qEnvironmentVariableIsEmpty("GOX_SCRIPT") && !QFileInfo::exists(script_path()))
            return {};
        return scripted_processors(SCRIPT::load(script_path()), QCoreApplication::applicationDirPath());
    }
};

#include "scripted_plugin.moc"
