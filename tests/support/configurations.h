#pragma once

#include <QtCore/QString>

#include "contracts/configuration/configuration.h"

class TEMPORARY_TREE;

/// A configuration of an unattended run: `silent`, no progress window.
CONFIGURATION unattended_configuration();

/// Saves it as tool/GOX/<name>_configuration.xml of the tree.
void write_configuration(const TEMPORARY_TREE& tree, const QString& name, const CONFIGURATION& configuration);
