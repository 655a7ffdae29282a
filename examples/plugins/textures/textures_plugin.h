#pragma once

#include <QtCore/QObject>

#include "contracts/actions/plugin_interface.h"

/// The root object of the plugin.
class TEXTURES_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)

public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override;
};
