#include <QtCore/QObject>
#include <QtCore/QtPlugin>

/// A sound Qt plugin whose root object offers something else than processors.
class ODD_ROOT_PLUGIN : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ODD_INTERFACE")
};

#include "odd_root_plugin.moc"
