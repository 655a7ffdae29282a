#pragma once

#include <QtCore/QVector>
#include <QtCore/QtPlugin>

class PROCESSOR_INTERFACE;

/// The root object of a plugin library hands out the plugin's processors. The
/// root object is a QObject that also derives from this interface:
///
///     class MY_PLUGIN : public QObject, public PLUGIN_INTERFACE
///     {
///         Q_OBJECT
///         Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
///         Q_INTERFACES(PLUGIN_INTERFACE)
///     public:
///         QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override;
///     };
///
/// The object belongs to its library and lives until the process ends.
class PLUGIN_INTERFACE
{
public:
    /// New processors, which belong to the caller. Called once, on the GUI
    /// thread, after the database has been connected.
    virtual QVector<PROCESSOR_INTERFACE*> processors_of_plugin() = 0;

protected:
    ~PLUGIN_INTERFACE() = default; // never deleted through the interface
};

Q_DECLARE_INTERFACE(PLUGIN_INTERFACE, "PLUGIN_INTERFACE")
