#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/services/command_line_options.h"

/// All options of the program, in the order of the help.
QVector<COMMAND_LINE_OPTION> program_options();

/// What `--help` prints.
QString help_text();
