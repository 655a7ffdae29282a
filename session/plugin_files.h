#pragma once

#include <QtCore/QString>

/// The pattern of the plugins' file names, with the build tag of the running
/// program: "GOX_*.release.dll".
QString plugin_file_pattern();
