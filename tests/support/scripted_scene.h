#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include "contracts/configuration/configuration.h"
#include "tests/support/program_run.h"
#include "tests/support/temporary_tree.h"

/// Saves the configuration as tool/GOX/<name>_configuration.xml of the tree.
void write_configuration(const TEMPORARY_TREE& tree, const QString& name, const CONFIGURATION& configuration);

/// A tree with the program and the scripted plugin, and an unattended run of it:
/// the least that a test of the real program needs.
class SCRIPTED_SCENE
{
public:
    explicit SCRIPTED_SCENE(const QString& tree_name = QString());

    TEMPORARY_TREE tree;
    PROGRAM_RUN gox;
    CONFIGURATION configuration; ///< `silent`, no progress window; saved as "ci" by `run` and `start`

    /// Writes the script and the configuration and runs
    /// `--configuration=ci --dont_stop_on_error` with `more` behind it. Gives
    /// what PROGRAM_RUN::run gives.
    int run(const QByteArray& script, const QStringList& more = QStringList());

    /// The same without waiting for the end.
    bool start(const QByteArray& script, const QStringList& more = QStringList());
};
