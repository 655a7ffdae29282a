#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include "contracts/configuration/configuration.h"

class COMMAND_LINE_OPTIONS;
struct RUN_OPTIONS;

/// The configuration of a run, as far as it could be read.
struct CHOSEN_CONFIGURATION
{
    QString name;         ///< empty while none is chosen
    CONFIGURATION record; ///< without a file, what it holds on its own, retail output included
    bool is_loaded = false;
    bool is_chosen_by_hand = false;
    QString error;       ///< why it is not
    QStringList remarks; ///< what the file holds and nobody knows

    /// Relative to the current folder.
    QString file() const { return "GOX/" + name + "_configuration.xml"; }

    /// Its file can't be read. The default one may be missing.
    bool is_refused() const;
};

/// The name of the run configuration by the command line, "default" when it
/// names none.
QString configuration_name_of(const COMMAND_LINE_OPTIONS& options);

CHOSEN_CONFIGURATION load_configuration(const QString& name);

/// Does what options ask for on their own, but touches no file where a dry run was
/// asked for, and shows a box for each `configuration` without a value. Main thread.
void check_options(const COMMAND_LINE_OPTIONS& options, const RUN_OPTIONS& asked);

/// Asks which configuration to use. False when the person cancelled.
bool ask_for_configuration(QString& name);
