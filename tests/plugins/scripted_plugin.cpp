#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QObject>

#include "contracts/actions/plugin_interface.h"
#include "tests/plugins/scripted_processor.h"

/// Runs script.txt beside the program, or the file that the environment
/// variable GOX_SCRIPT names. Without a script there are no processors.
class SCRIPTED_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override
    {
        const QString folder = QCoreApplication::applicationDirPath();
        const QString named = QString::fromUtf8(qgetenv("GOX_SCRIPT"));
        const QString path = named.isEmpty() ? folder + QStringLiteral("/script.txt") : named;
        if (named.isEmpty() && !QFileInfo::exists(path))
            return {};
        return scripted_processors(SCRIPT::load(path), folder);
    }
};

#include "scripted_plugin.moc"
