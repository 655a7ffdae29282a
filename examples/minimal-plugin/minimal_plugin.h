#pragma once

#include <QtCore/QObject>

#include "contracts/actions/plugin_interface.h"

/// The root object of the library: hands out one processor, which makes one
/// action, which writes one file.
class MINIMAL_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override;
};
