#pragma once

#include <QtCore/QStringList>

#include "session/run_options.h"

class COMMAND_LINE_OPTIONS;

/// What the command line asks of a silent run. Appends a text to `errors` for each
/// value that makes no sense: such a run must not begin. A report's path is relative
/// to the current folder.
RUN_OPTIONS read_run_options(const COMMAND_LINE_OPTIONS& options, QStringList& errors);

/// The report that such a run is to write; empty when it must not begin.
QString asked_report(const COMMAND_LINE_OPTIONS& options);

/// An error for each option that only silent runs have, for a run that is not.
QStringList misplaced_run_options(const COMMAND_LINE_OPTIONS& options);
