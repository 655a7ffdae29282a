#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/services/command_line_options.h"
#include "session/build_session.h"
#include "session/error_box.h"
#include "session/gox_query_interface.h"

// A query that multiplies large tables would hold an unattended run for ever.
constexpr qint64 LONGEST_QUERY = 10 * 60 * 1000; // ms

bool BUILD_SESSION::connect_database(const QString& workspace, QTextStream& log, bool no_progress_dialog)
{
    const bool read_only = options->exists(QStringLiteral("build_server")) || no_progress_dialog;
    database = new GOX_QUERY_INTERFACE(nullptr, workspace, false, read_only);
    // The flag of a build that has ended stays: only one that runs can be stopped.
    database->bound_queries([this] { return abort_flag && isRunning(); },
                            read_only || is_unattended(*configuration, *options) ? LONGEST_QUERY : -1);
    const QString error = database->connect_without_merge(database_path(), false);
    if (error.isEmpty()) {
        PROCESSOR_INTERFACE::s_database = database;
        ACTION_INTERFACE::s_database = database;
        return true;
    }
    delete database;
    database = nullptr;
    const QString text = "Failed to connect the database!\n\n" + error;
    show_error_box(text, is_unattended(*configuration, *options));
    log << text;
    return false;
}

QString BUILD_SESSION::database_path() const
{
    const QString tool_folder = QCoreApplication::applicationDirPath();
    const bool is_test = QFile::exists(tool_folder + "/test_database");
    const QString canonical = QDir(tool_folder).canonicalPath().replace('\\', '/');
    return canonical.section('/', 0, -2) + "/raw_data/" + (is_test ? "test_db" : "db");
}
