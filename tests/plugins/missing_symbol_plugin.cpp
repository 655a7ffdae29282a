#include <QtCore/QObject>

#include "contracts/actions/plugin_interface.h"

// No library defines it, as when a plugin meets another version of what it was built with.
extern int gox_test_symbol_that_is_nowhere;

class MISSING_SYMBOL_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override
    {
        return QVector<PROCESSOR_INTERFACE*>(gox_test_symbol_that_is_nowhere);
    }
};

#include "missing_symbol_plugin.moc"
