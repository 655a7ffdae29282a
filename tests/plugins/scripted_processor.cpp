#include "tests/plugins/scripted_processor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QRegularExpression>
#include <QtCore/QSharedPointer>
#include <QtCore/QThread>

#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "contracts/actions/action_interface.h"
#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/paths/paths.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/services/asset_graph.h"
#include "contracts/services/fw_message_box.h"
#include "session/file_entry.h"

namespace {

using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;

const QLatin1String NULL_POINTER("null"); // the name of what is not made

// What the processors and actions of one script share. Lives as long as any of
// them.
class SCRIPTED_RUN
{
public:
    SCRIPTED_RUN(const SCRIPT& script, const QString& folder) : m_crash(script.crash)
    {
        const bool adds = script.trace.startsWith('+');
        m_trace.setFileName(folder + '/' + script.trace.mid(adds));
        if (!script.trace.isEmpty() && !m_trace.open(adds ? QIODevice::Append : QIODevice::WriteOnly))
            qFatal("%s: %s", qPrintable(m_trace.fileName()), qPrintable(m_trace.errorString()));
    }

    // Any thread.
    void trace(const char* call, const QString& name)
    {
        come_to(call);
        const QMutexLocker lock(&m_mutex);
        const bool is_main = QThread::currentThread() == QCoreApplication::instance()->thread();
        const QByteArray line = QByteArray(is_main ? "main " : "build ") + call + ' ' + name.toUtf8() + '\n';
        if (m_trace.isOpen() && m_trace.write(line) > 0)
            m_trace.flush(); // the process may end at any moment, without a farewell
    }

    void come_to(const char* call) const { crash_if_told(m_crash, call); }

    QMap<QString, ACTION_INTERFACE*> actions; // by name, as they come to life
    QMap<QString, int> groups;                // label to number

private:
    const QString m_crash;
    QMutex m_mutex;
    QFile m_trace;
};

// Not a loop to the compiler, which would find that it never ends. In steps that are
// smaller than the page behind the stack, or the stack of another thread is hit.
int use_up_the_stack(volatile int depth)
{
    volatile char space[512] = {};
    return depth < 0 ? space[0] : use_up_the_stack(depth + 1) + space[1];
}

bool is_there(const QString& file) // beside the script
{
    return QFile::exists(QCoreApplication::applicationDirPath() + '/' + file);
}

PHYSICAL_PATH scripted_place(const QString& path)
{
    if (!path.startsWith('<'))
        return PHYSICAL_PATH(path);
    // The last of the roots is the one that is written to.
    QVector<PHYSICAL_PATH> roots;
    PATHS::physical_paths(LOGICAL_PATH(path.section('/', 0, 0)), roots);
    return PHYSICAL_PATH(roots.isEmpty() ? path : roots.last() + '/' + path.section('/', 1));
}

QString rule_text(const QString& question, const RULE_CACHE* rules)
{
    const LOGICAL_PATH path = PATHS::logical_path(scripted_place(question.section(' ', 1)));
    const RULE rule = rules ? rules->get(path, question.section(' ', 0, 0)) : RULE();
    QStringList texts;
    for (auto value = rule.values.cbegin(); value != rule.values.cend(); ++value)
        texts.append(value.key() + '=' + value->value.toString());
    return rule.found ? texts.join(' ') : QStringLiteral("no rule");
}

QString rows_text(const QVector<KV_RECORD_DATA>& records, const QString& error)
{
    QStringList rows;
    for (const KV_RECORD_DATA& record : records) {
        rows.append(QString());
        for (const KV_FIELD_DATA& field : record.fields)
            rows.last() += (rows.last().isEmpty() ? "" : "|") + field.value;
    }
    return error.isEmpty() ? rows.join(' ') : error;
}

// "QUESTION: what the services say".
QString answer_to(const QString& question, const RULE_CACHE* rules, KV_XML_QUERY_INTERFACE* database,
                  const QTSHARED::ASSET_GRAPH* graph)
{
    const QString word = question.section(' ', 0, 0), rest = question.section(' ', 1);
    QString text = "there is none", error;
    if (word == "rule")
        text = rule_text(rest, rules);
    if (word == "graph" && graph)
        text = graph->dependencies_of(rest).join(' ');
    if (word == "table" && database)
        text = rows_text(database->get_table_data(error, rest, QString()).records, error);
    KV_QUERY_RESULTS results;
    if (word == "sql" && database) {
        database->get_query_data_from_simple_sql(error, results, rest, {});
        text = rows_text(results.records, error);
    }
    return question + ": " + text;
}

class SCRIPTED_ACTION : public ACTION_INTERFACE
{
public:
    SCRIPTED_ACTION(const SCRIPT_PART& script, int group, PROCESSOR_INTERFACE* maker,
                    const QString& answers_of_maker, const QSharedPointer<SCRIPTED_RUN>& run)
        : ACTION_INTERFACE(maker), m_script(script), m_run(run), m_answers_of_maker(answers_of_maker)
    {
        group_id = group;
        prepare();
        state = m_script.number("begins");
    }
    ~SCRIPTED_ACTION() override { trace("delete"); }

    void abort() override
    {
        trace("abort");
        m_aborted = true;
    }

    void reset() override
    {
        trace("reset");
        ACTION_INTERFACE::reset();
        prepare();
        m_aborted = false;
    }

    QString display_text(bool long_form) override
    {
        m_run->come_to("display_text");
        return long_form ? m_script.text("long", m_script.name) : m_script.name;
    }

    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime& stamp,
                       FILE_MAP&, RULE_CACHE& rules) override
    {
        trace("collect_files");
        m_collected = m_script.has("copies") ? m_answers_of_maker : QString();
        for (const QString& question : m_script.all("collect_asks"))
            m_collected += answer_to(question, &rules, s_database, s_asset_graph) + '\n';
        for (const QString& path : m_script.all("reads"))
            inputs.append(PATHS::logical_path(scripted_place(path)));
        for (QString path : m_script.all("writes")) {
            const QString kinds = path.left(path.indexOf(QRegularExpression("\\S*[/<]")));
            const PHYSICAL_PATH place = scripted_place(path.remove(0, kinds.size()));
            targets.append({place, PATHS::logical_path(place), kinds.contains("intermediate"),
                            kinds.contains("secondary")});
        }
        if (m_script.has("stamp"))
            stamp = QDateTime::fromString(m_script.text("stamp"), Qt::ISODate);
    }

    void resolve_dependencies(FILE_MAP& files, RULE_CACHE& rules) override
    {
        for (const QString& question : m_script.all("resolve_asks"))
            answer_to(question, &rules, s_database, s_asset_graph);
        trace(files.locked ? "resolve_dependencies" : "resolve_dependencies of an open map");
        for (const auto& [word, other] : m_script.lines)
            if (word == "depends" || word == "pulls")
                if (m_run->actions.contains(other)) // its processor may have been left out
                    add_dependency(*m_run->actions[other], word == "pulls");
    }

    int execute(FILE_MAP&, RULE_CACHE& rules) override
    {
        trace("execute");
        if (m_script.has("knows_when") && is_up_to_date()) {
            add_output_line(QStringLiteral("nothing to do"));
            return ACTION_SUCCEEDED;
        }
        m_answers = m_collected;
        for (const auto& [word, argument] : m_script.lines)
            if (!take_step(word, argument, rules)) {
                add_output_line(QStringLiteral("aborted"));
                return ACTION_FAILED;
            }
        if (m_script.has("copies"))
            copy_inputs();
        if (!write_targets())
            return ACTION_FAILED;
        for (const QString& file : m_script.all("lingers"))
            wait_for(file, "lingers");
        return m_script.number("ends", "2");
    }

    bool checks_dependencies() override
    {
        trace("checks_dependencies");
        return !m_script.has("ignores_dependencies");
    }

    bool review_is_failure() override
    {
        trace("review_is_failure");
        return m_script.has("review_fails");
    }

private:
    void trace(const char* call) { m_run->trace(call, m_script.name); }

    void prepare()
    {
        progress_total = m_script.number("total");
        preset_errors = m_script.all("preset");
        review_needed = m_script.has("needs_review");
    }

    bool is_stopped() const { return m_aborted && !m_script.has("ignores_abort"); }

    // False when the action was asked to stop.
    bool take_step(const QString& word, const QString& argument, const RULE_CACHE& rules)
    {
        if (word == "says")
            add_output_line(argument);
        else if (word == "warns")
            qWarning("%s", qUtf8Printable(argument));
        else if (word == "raises")
            FW::raise_message_box(argument);
        else if (word == "takes" || word == "awaits_abort")
            wait(argument);
        else if (word == "awaits")
            wait_for(argument, "awaits");
        else if (word == "progress")
            progress_current = argument.toInt();
        else if (word == "environment")
            add_output_line(argument + '=' + qEnvironmentVariable(argument.toUtf8()));
        else if (word == "streams")
            for (const char* stream : {"0", "1", "2"})
                add_output_line(QFile::symLinkTarget(QStringLiteral("/proc/self/fd/") + stream));
        else if (word == "services")
            add_output_line(QStringLiteral("database: %1, asset graph: %2")
                                .arg(s_database ? "yes" : "no", s_asset_graph ? "yes" : "no"));
        else if (word == "rule")
            say_rule(argument, rules);
        else if (word == "asks")
            say_answer(argument, rules);
        else if (word == "files")
            say_files();
        else
            return true;
        return !is_stopped();
    }

    // Until it is asked to stop, or the time is over where one is told.
    void wait(const QString& milliseconds)
    {
        QElapsedTimer watch;
        watch.start();
        while (milliseconds.isEmpty() ? !m_aborted : !is_stopped() && watch.elapsed() < milliseconds.toInt())
            QThread::msleep(1);
    }

    void wait_for(const QString& file, const char* call)
    {
        trace(call);
        while (!is_stopped() && !is_there(file))
            QThread::msleep(1);
    }

    void say_rule(const QString& rule_and_property, const RULE_CACHE& rules)
    {
        const LOGICAL_PATH path = PATHS::logical_path(scripted_place(m_script.all("reads").value(0)));
        const RULE rule = rules.get(path, rule_and_property.section(' ', 0, 0));
        const auto value = rule.values.find(rule_and_property.section(' ', 1).toLower());
        add_output_line(rule_and_property + ": " +
                        (!rule.found                  ? QStringLiteral("no rule")
                         : value == rule.values.end() ? QStringLiteral("no value")
                                                      : value->value.toString()));
    }

    void say_answer(const QString& question, const RULE_CACHE& rules)
    {
        m_answers += answer_to(question, &rules, s_database, s_asset_graph) + '\n';
        add_output_line(m_answers.section('\n', -2, -2));
    }

    void say_files()
    {
        for (const FILE_ENTRY* file : qAsConst(input_files))
            say_file("input ", *file);
        for (const FILE_ENTRY* file : target_files.keys())
            say_file("target ", *file);
    }

    void say_file(const char* role, const FILE_ENTRY& file)
    {
        add_output_line(role + file.physical + ' ' + file.local_time.toUTC().toString(Qt::ISODate) +
                        (file.virtual_file ? " virtual" : "") + (file.intermediate ? " intermediate" : "") +
                        (file.out_of_date_source ? " outdated_source" : "") +
                        (file.out_of_date_target ? " outdated_target" : ""));
    }

    void copy_inputs()
    {
        m_answers += "stamp " + m_script.text("stamp") + '\n';
        for (FILE_ENTRY* input : qAsConst(input_files)) {
            if (target_files.contains(input))
                continue;
            QFile file(input->physical);
            const bool is_there = file.open(QIODevice::ReadOnly);
            m_answers += input->physical.section('/', -1) + ": " +
                         (is_there ? QString::fromUtf8(file.readAll()) : QStringLiteral("none")) + '\n';
        }
    }

    bool write_targets()
    {
        for (const FILE_ENTRY* target : target_files.keys()) {
            const bool adds = m_script.has("adds") && target->main_provider != this;
            const QIODevice::OpenMode mode = adds ? QIODevice::Append : QIODevice::WriteOnly;
            QFile file(target->physical); // in the spelling that its folder has
            const QByteArray text = "made by " + (m_script.name + '\n' + m_answers).toUtf8();
            if (!file.open(mode) || file.write(text) != text.size() || !file.flush()) {
                add_output_line(file.fileName() + ": " + file.errorString());
                return false;
            }
        }
        return true;
    }

    const SCRIPT_PART m_script;
    const QSharedPointer<SCRIPTED_RUN> m_run;
    std::atomic<bool> m_aborted{false};
    const QString m_answers_of_maker;
    QString m_collected; // answers of collect_files, a line each
    QString m_answers;   // and those of execute
};

class SCRIPTED_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    SCRIPTED_PROCESSOR(const SCRIPT_PROCESSOR& script, const QSharedPointer<SCRIPTED_RUN>& run)
        : m_script(script), m_run(run)
    {
    }
    ~SCRIPTED_PROCESSOR() override { m_run->trace("delete", m_script.name); }

    QString name() override { return m_script.name; }
    int order_number() override { return m_script.number("order"); }

    QVector<QString> scan_directories() override
    {
        m_run->trace("scan_directories", m_script.name);
        return m_script.all("scan").toVector();
    }

    QVector<VIRTUAL_FILE> collect_virtual_files(FILE_MAP&, RULE_CACHE& rules) override
    {
        ask("virtual_asks", &rules);
        m_run->trace("collect_virtual_files", m_script.name);
        QVector<VIRTUAL_FILE> files;
        for (const QString& argument : m_script.all("virtual")) {
            const QDateTime time = QDateTime::fromString(argument.section(' ', 0, 0), Qt::ISODate);
            const QString path = time.isValid() ? argument.section(' ', 1).trimmed() : argument;
            files.append({scripted_place(path), time.isValid() ? time : QDateTime::currentDateTimeUtc()});
        }
        return files;
    }

    QVector<ACTION_INTERFACE*> collect_actions(FILE_MAP&, RULE_CACHE& rules) override
    {
        const QString answers = ask("asks", &rules);
        m_run->trace("collect_actions", m_script.name);
        for (const QString& text : m_script.all("collecting_warns"))
            qWarning("%s", qUtf8Printable(text));
        for (const QString& text : m_script.all("collecting_says"))
            std::puts(qPrintable(text)); // stays in the memory of the process
        for (const QString& text : m_script.all("collecting_raises"))
            FW::raise_message_box(text);
        for (const QString& file : m_script.all("collecting_awaits"))
            while (!is_there(file))
                QThread::msleep(1);
        for (const QString& text : m_script.all("collecting_asks")) {
            QDialog dialog;
            new QLabel(text, &dialog);
            dialog.exec();
        }
        QVector<ACTION_INTERFACE*> actions;
        for (const SCRIPT_PART& script : m_script.actions) {
            const bool is_null = script.name == NULL_POINTER;
            actions.append(is_null ? nullptr
                                   : new SCRIPTED_ACTION(script, group_of(script), this, answers, m_run));
            m_run->actions.insert(script.name, actions.last());
        }
        return actions;
    }

private:
    // The answers, a line each.
    QString ask(const char* word, const RULE_CACHE* rules) const
    {
        QString answers;
        for (const QString& question : m_script.all(word))
            answers += answer_to(question, rules, s_database, s_asset_graph) + '\n';
        return answers;
    }

    int group_of(const SCRIPT_PART& action)
    {
        const QString group = action.text("group");
        if (!group.isEmpty() && !m_run->groups.contains(group))
            m_run->groups.insert(group, new_action_group());
        return m_run->groups.value(group);
    }

    const SCRIPT_PROCESSOR m_script;
    const QSharedPointer<SCRIPTED_RUN> m_run;
};

} // namespace

void crash_if_told(const QString& crash, const QString& call)
{
    const QString how = crash.section(' ', 1);
    if (crash.section(' ', 0, 0) != call || call.isEmpty())
        return;
    if (how == "overflow")
        use_up_the_stack(0);
    if (how == "throw")
        throw std::runtime_error("thrown by the script");
    if (how == "throw_number")
        throw 1;
    if (how == "terminate")
        std::terminate();
    if (how.startsWith("exit:"))
        std::exit(how.section(':', 1).toInt());
    int* volatile nowhere = nullptr;
    if (how == "11")
        *nowhere = 0;
    std::raise(how.toInt());
}

QVector<PROCESSOR_INTERFACE*> scripted_processors(const SCRIPT& script, const QString& folder)
{
    SCRIPT to_run = script;
    if (!script.errors.isEmpty()) // as an action that fails with them
        to_run = SCRIPT::parse(QStringLiteral("processor script\naction errors"), QString());
    for (const QString& error : script.errors) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        to_run.processors.first().actions.first().lines.append({"preset", error});
    }
    const QSharedPointer<SCRIPTED_RUN> run(new SCRIPTED_RUN(to_run, folder));
    QVector<PROCESSOR_INTERFACE*> processors;
    for (const SCRIPT_PROCESSOR& processor : to_run.processors)
        processors.append(processor.name == NULL_POINTER ? nullptr : new SCRIPTED_PROCESSOR(processor, run));
    return processors;
}
