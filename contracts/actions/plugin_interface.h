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
///
/// Plugins call by position and read members by their place. Whoever adds,
/// removes, moves or changes a virtual operation or a data member of a header of
/// the kit raises GOX_SDK_LEVEL in cmake/GOXPlugin.cmake by one; the program then
/// enters none of the plugins that were built before. A new operation that is not
/// virtual, or a new class, leaves the level alone.
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
