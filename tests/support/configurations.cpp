#include "tests/support/configurations.h"

#include "tests/support/temporary_tree.h"

CONFIGURATION unattended_configuration()
{
    CONFIGURATION configuration;
    configuration.silent = true;
    configuration.no_progress_dialog = true;
    return configuration;
}

void write_configuration(const TEMPORARY_TREE& tree, const QString& name, const CONFIGURATION& configuration)
{
    const QString file = tree.path(QStringLiteral("tool/GOX/%1_configuration.xml").arg(name));
    tree.make_folder(QStringLiteral("tool/GOX"));
    if (!configuration.save(file, false))
        qFatal("%s could not be saved", qPrintable(file));
}
