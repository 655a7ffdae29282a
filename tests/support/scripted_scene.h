#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include "tests/support/build_log.h"
#include "tests/support/configurations.h"
#include "tests/support/program_run.h"
#include "tests/support/temporary_tree.h"

/// A tree with the program and the scripted plugin, and an unattended run of it:
/// the least that a test of the real program needs.
class SCRIPTED_SCENE
{
public:
    explicit SCRIPTED_SCENE(const QString& tree_name = QString());

    TEMPORARY_TREE tree;
    PROGRAM_RUN gox;
    CONFIGURATION configuration; ///< unattended; saved as "ci" by `run` and `start`

    /// Writes the script and the configuration and runs
    /// `--configuration=ci --dont_stop_on_error` with `more` behind it. Gives
    /// what PROGRAM_RUN::run gives.
    int run(const QByteArray& script, const QStringList& more = QStringList());

    /// The same without waiting for the end.
    bool start(const QByteArray& script, const QStringList& more = QStringList());

    BUILD_LOG log(const char* name = "gox.log") const;

    /// The lines of "trace.txt"; `only` keeps those with this call in them.
    QStringList trace(const QString& only = QString()) const;

private:
    QStringList arguments(const QStringList& more) const;
};
