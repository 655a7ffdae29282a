#include <QtCore/QFile>
#include <QtCore/QObject>

#include "contracts/actions/plugin_interface.h"

// Tells that the library was entered.
static const bool s_entered = QFile(QStringLiteral("entered.txt")).open(QIODevice::WriteOnly);

class OTHER_LEVEL_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override
    {
        return QVector<PROCESSOR_INTERFACE*>(s_entered ? 1 : 2);
    }
};

#include "other_level_plugin.moc"
