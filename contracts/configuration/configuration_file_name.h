#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

/// The file name to save a configuration under, from the one that the user
/// typed, so that GOX finds it again. Without regard to case: a name that ends
/// in "_configuration.xml" stays; else one that ends in ".xml" loses that and
/// gets "_configuration.xml"; else one that ends in "configuration" gets
/// ".xml"; any other name stays. `name` may have folders in front. Any thread.
GOX_CONTRACTS_EXPORT QString repaired_configuration_file_name(const QString& name);

/// The name by which the option `configuration` leads GOX, started in the folder
/// `started_in`, to the file `path`, both absolute; "default" needs no option. Empty,
/// with the cause in `why_not`, when no name does. Files need not exist. Any thread.
GOX_CONTRACTS_EXPORT QString configuration_name_of_file(const QString& path, const QString& started_in,
                                                        QString& why_not);
