#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <functional>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/tallyline_context.h"
#include "session/build_session.h"
#include "tests/support/temporary_tree.h"

/// An action whose every answer a test sets, with what only its own code may call
/// made public.
class STEP_ACTION : public ACTION_INTERFACE
{
public:
    using ACTION_INTERFACE::add_output_line;
    using ACTION_INTERFACE::clear_redirections;
    using ACTION_INTERFACE::redirect_messages;

    explicit STEP_ACTION(const QString& name = QString()) : name(name) {}

    /// A target at the physical place of its logical path.
    void writes(const QString& logical, bool intermediate = false, bool secondary = false)
    {
        const LOGICAL_PATH path(logical);
        targets.append({PATHS::target_path(path), path, intermediate, secondary});
    }

    void abort() override { aborts.ref(); }
    QString display_text(bool long_form) override { return long_form ? name + more_of_name : name; }
    void collect_files(QVector<LOGICAL_PATH>& in, QVector<ACTION_TARGET>& out, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        for (const QString& path : qAsConst(reads))
            in.append(LOGICAL_PATH(path));
        out = targets;
    }
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        return body ? body(*this) : ACTION_SUCCEEDED;
    }

    QString name;
    QString more_of_name; ///< in the long form
    QStringList reads;
    QVector<ACTION_TARGET> targets;
    std::function<int(STEP_ACTION&)> body;
    QAtomicInt aborts;
};

class STEP_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    using PROCESSOR_INTERFACE::new_action_group;

    explicit STEP_PROCESSOR(const QString& text = QStringLiteral("p")) : text(text) {}

    QString name() override { return text; }
    int order_number() override { return 0; }
    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                               RULE_CACHE&) override
    {
        files_seen = files.size();
        return actions;
    }

    STEP_ACTION* add(const QString& action_name, const QStringList& reads = {},
                     const QString& target = QString())
    {
        STEP_ACTION* const action = new STEP_ACTION(action_name);
        action->reads = reads;
        if (!target.isEmpty())
            action->writes(target);
        actions.append(action);
        return action;
    }

    QString text;
    QVector<ACTION_INTERFACE*> actions;
    int files_seen = 0;
};

/// A data tree and a session over it, whose steps a test takes one by one.
class STEP_SCENE
{
public:
    STEP_SCENE()
    {
        tree.make_folder("old_raw_data");
        PATHS::initialise(tree.path("tool"));
        configuration.retail = true;
        session = new BUILD_SESSION(configuration, options, metrics, p4);
    }
    ~STEP_SCENE() { delete session; }

    /// As if the program had been started with it.
    void give_option(QByteArray option)
    {
        // More words than the test has been started with, or those would be taken for them.
        QVector<char*> words(QCoreApplication::arguments().size() + 1, option.data());
        QStringList errors;
        options.initialise(words.size(), words.data(), errors);
    }

    STEP_PROCESSOR* add_processor(const QString& name)
    {
        STEP_PROCESSOR* const processor = new STEP_PROCESSOR(name);
        session->processors.append(processor);
        return processor;
    }

    /// Everything from the scan to the dependencies.
    bool start_up() { return find_files() && link_files(); }

    /// The first half: up to the virtual files.
    bool find_files()
    {
        QTextStream log(&log_text);
        if (session->directories.isEmpty())
            session->directories = PATHS::all();
        if (!session->scan_local_files(log))
            return false;
        session->load_rule_files();
        session->collect_virtual_files();
        return true;
    }

    /// The second: actions, and what ties them to files and to each other.
    bool link_files()
    {
        PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
        Tallyline::StopWatch watch;
        session->collect_actions(splash, watch, watch);
        session->file_map.lock(true);
        session->analyse_dependencies();
        return true;
    }

    /// A build of all that the configuration selects.
    void begin_build(bool more = false)
    {
        session->select_from_configuration();
        session->plan_build();
        session->prepare_build(more);
    }

    FILE_ENTRY* file(const char* logical) const { return session->file_lookup.value(LOGICAL_PATH(logical)); }

    TEMPORARY_TREE tree;
    CONFIGURATION configuration;
    COMMAND_LINE_OPTIONS options;
    Tallyline::Context metrics{"nowhere", 0, "test", 0};
    P4_CONNECTION p4{true, true, false};
    BUILD_SESSION* session;
    QString log_text;
};
