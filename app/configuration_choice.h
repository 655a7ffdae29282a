#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class COMMAND_LINE_OPTIONS;

/// The name of the run configuration by the command line, "default" when it
/// names none.
QString configuration_name_of(const COMMAND_LINE_OPTIONS& options);

/// The file of a configuration, relative to the current folder.
QString configuration_file(const QString& name);

/// Does what options ask for on their own, and shows a box for each
/// `configuration` without a value. Main thread.
void check_options(const COMMAND_LINE_OPTIONS& options);

/// Whether these options make a run in which nobody is to be asked anything:
/// `dont_stop_on_error` with a silent configuration, or with one that can't be
/// read and so can't be told not to be.
bool is_unattended(const COMMAND_LINE_OPTIONS& options);

/// Asks which configuration to use. False when the person cancelled.
bool ask_for_configuration(QString& name);
