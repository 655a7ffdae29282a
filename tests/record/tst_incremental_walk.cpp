#include <QtCore/QDeadlineTimer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <csignal>

#include "tests/record/build_model.h"
#include "tests/record/quick_runs.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

using CONTENTS = QMap<QString, QByteArray>;

const QString PLUGIN = QStringLiteral("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
const int LONGEST_STEP = 20; // ms of the times that a system gives to files, and some more
const QStringList FAULTS{"ends", "preset", "needs_review", "review_fails"};

QByteArray text_of(const char* word, const SCRIPT_PART& part)
{
    QByteArray text = word + (' ' + part.name.toUtf8()) + '\n';
    for (const auto& [key, argument] : part.lines)
        text += (key + ' ' + argument).toUtf8() + '\n';
    return text;
}

QByteArray text_of(const SCRIPT& script)
{
    QByteArray text = "trace " + script.trace.toUtf8() + '\n';
    for (const SCRIPT_PROCESSOR& processor : script.processors) {
        text += text_of("processor", processor);
        for (const SCRIPT_PART& action : processor.actions)
            text += text_of("action", action);
    }
    return text;
}

QByteArray text_of(const MODEL_RULE& rule)
{
    QString text =
        QString("<rules><rule name='Size' inherit='%1'><files>%2</files>")
            .arg(rule.inherits ? "true" : "false", rule.ending.isEmpty() ? "" : "..." + rule.ending);
    for (auto value = rule.values.begin(); value != rule.values.end(); ++value)
        text += "<property name='" + value.key() + "'>" + *value + "</property>";
    return (text + "</rule><rule name='other'><property name='width'>" + rule.other +
            "</property></rule></rules>")
        .toUtf8();
}

QString place_of_rules(QString folder) // or of global ones
{
    return folder.startsWith('<') ? folder.replace("<raw>", "raw_data") + "/rules.gox" : "tool/GOX/" + folder;
}

void take_out(SCRIPT_PART& part, const QStringList& words)
{
    for (int line = part.lines.size() - 1; line >= 0; --line)
        if (words.contains(part.lines[line].first))
            part.lines.remove(line);
}

// Puts it in, or takes it out where it is there.
template <typename LIST>
void turn(LIST& list, const typename LIST::value_type& element)
{
    if (!list.removeAll(element))
        list.append(element);
}

CONTENTS targets_in(const TEMPORARY_TREE& tree)
{
    CONTENTS targets;
    for (const char* root : {"working_data/", "retail_build/"})
        for (const QString& file : FILES::below(tree.path(root)))
            targets.insert(root + file, tree.read(root + file));
    return targets;
}

CONTENTS targets_in(const MODEL_TREE& tree)
{
    CONTENTS targets;
    for (const MODEL_FILE& file : tree.files)
        if (file.spelling.startsWith("working_data/") || file.spelling.startsWith("retail_build/"))
            targets.insert(file.spelling, file.bytes);
    return targets;
}

// The letter case of names comes from what is on the disk already.
CONTENTS lower(const CONTENTS& targets)
{
    CONTENTS result;
    for (auto file = targets.begin(); file != targets.end(); ++file)
        result.insert(file.key().toLower(), file->toLower());
    return result;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

/// A random walk over a data tree and all else that builds rest on. What it changes, it
/// changes on the disk and in the model.
class WALK
{
public:
    explicit WALK(quint32 seed)
        : m_random(seed), m_gox(m_disk), m_runs(m_disk, {}), m_children(m_disk, {"forks"})
    {
        m_disk.lay_out_program();
        QFile::copy(GOX_RUNNER, m_disk.path(RUNNER));
        m_plugin = FILES::bytes(QStringLiteral(GOX_TOOL_DIR "/plugins/") + PLUGIN.section('/', 1));
        m_disk.write("raw_data/db/schema.xml",
                     "<database><table name='units'><field name='name'/></table></database>");
        m_tree.script =
            SCRIPT::parse(QString::fromUtf8(FILES::bytes(GOX_SOURCE_DIR "/tests/record/walk.txt")), "");
        if (!m_tree.script.errors.isEmpty())
            qFatal("%s", qPrintable(m_tree.script.errors.join('\n')));
        m_tree.configuration.silent = m_tree.configuration.no_progress_dialog = true;
        m_tree.configuration.global_rules = {"one.rules.gox"};
        for (const char* place : {"<raw>", "<raw>/unit", "one.rules.gox", "two.rules.gox"})
            m_tree.rules[place] = {};
        for (const SCRIPT_PROCESSOR& processor : qAsConst(m_tree.script.processors))
            for (const SCRIPT_PART& part : processor.actions)
                for (const QString& path :
                     part.all("reads").filter(QRegularExpression("<raw>/(?!absent|sheet)")))
                    for (const char* root : {"old_raw_data", "raw_data"}) // companions of some
                        if (*root == 'r' || in_one_of(3))
                            put(QString(path).replace("<raw>", root), part.name.toUtf8());
        m_gone["raw_data/absent.txt"] = {"raw_data/absent.txt", "absent", 0};
        put("old_working_data/ship.txt", "shipped");
    }

    /// What went wrong; empty when nothing did.
    QString step(int number)
    {
        m_log = m_log.right(2000) + QString("\nstep %1").arg(number);
        for (int changes = 1 + m_random.bounded(3); changes > 0; --changes)
            change();
        if (number % 50 == 0 || m_memories.size() > 1)
            mend();
        lay_out();
        QThread::msleep(ulong(m_rest.remainingTime()));
        QString fault = run(number);
        m_rest.setRemainingTime(LONGEST_STEP);
        if (fault.isEmpty() && number % 50 == 0)
            fault = difference(lower(clean_build()), lower(targets_in(m_disk)));
        return fault.isEmpty() ? fault : fault + m_log + '\n' + m_gox.report();
    }

private:
    template <typename LIST>
    auto any_of(const LIST& list)
    {
        return list.at(m_random.bounded(list.size()));
    }
    bool in_one_of(int cases) { return m_random.bounded(cases) == 0; }

    SCRIPT_PART& any_action()
    {
        SCRIPT_PROCESSOR& processor =
            m_tree.script.processors[m_random.bounded(m_tree.script.processors.size())];
        return processor.actions[m_random.bounded(processor.actions.size())];
    }

    QByteArray any_text() { return QByteArray::number(m_random.bounded(1000)); }

    const MODEL_FILE& put(const QString& spelling, const QByteArray& bytes, int version = 0)
    {
        MODEL_FILE& file = m_tree.files[spelling.toLower()];
        file = {spelling, bytes, version ? version : ++m_tree.last_version};
        put_on_disk(file);
        return file;
    }

    // Each version has a time of its own, all of them long ago but for the young.
    void put_on_disk(const MODEL_FILE& file) const
    {
        m_disk.write(file.spelling, file.bytes, FILES::hour(0).addSecs(file.version * qint64(2)));
    }

    void change()
    {
        static void (WALK::*const changes[])() = {
            &WALK::change_file,   &WALK::change_file,    &WALK::change_file,  &WALK::change_rule,
            &WALK::change_rule,   &WALK::change_service, &WALK::change_links, &WALK::change_action,
            &WALK::change_choice, &WALK::change_choice,  &WALK::break_action, &WALK::mend_action};
        (this->*changes[m_random.bounded(12)])();
    }

    void change_file()
    {
        const QString key = any_of(QStringList(m_tree.files.keys() + m_gone.keys()));
        const MODEL_FILE file = m_tree.files.value(key, m_gone.value(key));
        const QString how = any_of(QStringList{"touched", "edited", "edited", "older", "same size", "removed",
                                               "respelled", "young"});
        m_log += ", " + key + ' ' + how;
        QByteArray bytes = how == "edited" ? any_text() : file.bytes;
        if (how == "older" || how == "same size" || how == "young")
            bytes[0] = char('a' + m_random.bounded(26));
        QString name = file.spelling.section('/', -1);
        if (how == "respelled")
            name = name == name.toLower() ? name.toUpper() : name.toLower();
        m_disk.remove(file.spelling);
        m_tree.files.remove(key);
        m_gone.insert(key, file);
        if (how == "removed")
            return;
        m_gone.remove(key);
        put(file.spelling.section('/', 0, -2) + '/' + name, bytes,
            how == "older"   ? -++m_tree.last_version
            : how == "young" ? YOUNG
                             : 0);
    }

    void change_rule()
    {
        const QString place = any_of(QStringList{"<raw>", "<raw>/unit", "one.rules.gox", "two.rules.gox"});
        const QString what = any_of(QStringList{"gone", "width", "height", "width", "height", "ending",
                                                "other kind", "inherits", "listed"});
        m_log += ", rules of " + place + ' ' + what;
        if (what == "gone")
            m_tree.rules.remove(place);
        else if (what == "ending")
            m_tree.rules[place].ending = any_of(QStringList{"", "mid.txt", "paint.txt", "folder", "nothing"});
        else if (what == "other kind")
            m_tree.rules[place].other = any_text();
        else if (what == "inherits")
            m_tree.rules[place].inherits ^= true;
        else if (what == "listed" && place.startsWith('<'))
            std::reverse(m_tree.configuration.global_rules.begin(), m_tree.configuration.global_rules.end());
        else if (what == "listed")
            turn(m_tree.configuration.global_rules, place);
        else
            m_tree.rules[place].values[what] = any_text();
    }

    void change_service()
    {
        const QString what = any_of(QStringList{"house", "unit", "plugin", "virtual file"});
        m_log += ", " + what;
        if (what == "plugin")
            ++m_tree.plugin;
        else if (what == "house")
            m_tree.house = any_text();
        else if (what == "unit")
            m_tree.unit = any_text();
        else
            m_tree.script.processors[0].lines = {{"virtual", any_time() + " <raw>/sheet/row"}};
    }

    // The actions that come in front of others stay there.
    void change_links()
    {
        SCRIPT_PART& part = any_action();
        const QString file = any_of(QStringList{"<raw>/main.txt", "<raw>/unit/mid.txt", "<raw>/absent.txt"});
        const QString what = any_of(QStringList{"reads", "reads", "depends"});
        m_log += ", " + part.name + ' ' + what;
        turn(part.lines, {what, what == "reads" ? file : m_tree.script.processors[0].actions[0].name});
        if (&part == &m_tree.script.processors[0].actions[0])
            take_out(part, {"depends"});
    }

    void change_action()
    {
        SCRIPT_PART& part = any_action();
        m_log += ", stamp of " + part.name;
        take_out(part, {"stamp"});
        if (!in_one_of(4))
            part.lines.append(qMakePair(QString("stamp"), any_time()));
    }

    QString any_time() { return FILES::hour(m_random.bounded(100000)).toString(Qt::ISODate); }

    // A reason to run comes along, but for errors of before.
    void break_action()
    {
        SCRIPT_PART& part = any_action();
        const QPair<QString, QString> fault = any_of(QVector<QPair<QString, QString>>{{"ends", "4"},
                                                                                      {"ends", "6"},
                                                                                      {"ends", "3"},
                                                                                      {"preset", "broken"},
                                                                                      {"needs_review", ""},
                                                                                      {"review_fails", ""}});
        m_log += ", " + part.name + ' ' + fault.first + ' ' + fault.second;
        if (fault.first == "review_fails")
            part.lines.append(qMakePair(QString("needs_review"), QString()));
        part.lines.append(fault);
        if (fault.first != "preset")
            part.lines.append(qMakePair(QString("stamp"), any_time()));
    }

    void mend_action()
    {
        for (SCRIPT_PROCESSOR& processor : m_tree.script.processors)
            for (SCRIPT_PART& part : processor.actions)
                if (in_one_of(2))
                    take_out(part, FAULTS);
        m_log += ", some mended";
    }

    // The maker of <working>/ship.txt is not found by it while only the companion has it.
    void change_choice()
    {
        CONFIGURATION& by = m_tree.configuration;
        const QString what = any_of(QStringList{"makers", "users", "all", "all", "retail", "processors"});
        m_log += ", chosen by " + what;
        if (what == "all")
            by.selected_consumers.clear(), by.selected_providers.clear();
        else if (what == "retail")
            by.retail ^= true;
        else if (what == "processors" && by.processors.isEmpty())
            by.processors = {any_of(QStringList{"pictures", "packs"})}, by.directories = {"..."};
        else if (what == "processors")
            by.processors.clear();
        else if (what == "users")
            turn(by.selected_consumers, any_of(any_action().all("reads") + QStringList("<raw>/main.txt")));
        else
            turn(by.selected_providers,
                 any_of(any_action().all("writes").filter(QRegularExpression("^<.*(?<!ship.txt)$")) +
                        QStringList("<working>/end.pak")));
    }

    void mend()
    {
        for (SCRIPT_PROCESSOR& processor : m_tree.script.processors)
            for (SCRIPT_PART& part : processor.actions)
                take_out(part, FAULTS);
        CONFIGURATION& by = m_tree.configuration;
        by.selected_consumers.clear(), by.selected_providers.clear(), by.processors.clear();
        by.retail = true;
    }

    void write_if_new(const QString& path, const QByteArray& bytes)
    {
        if (m_laid_out.value(path) == bytes)
            return;
        m_laid_out[path] = bytes;
        m_disk.remove(path); // a library may be in use
        m_disk.write(path, bytes, FILES::hour(0).addSecs(++m_tree.last_version));
    }

    // Puts what is derived from the model on the disk.
    void lay_out()
    {
        if (std::exchange(m_laid_out_plugin, m_tree.plugin) != m_tree.plugin)
            write_if_new(PLUGIN, m_plugin + QByteArray::number(1000000 + m_tree.plugin));
        write_if_new("tool/script.txt", text_of(m_tree.script));
        write_if_new("raw_data/x.agf",
                     "<agf><asset name='house'><uses name='" + m_tree.house.toUtf8() + "'/></asset></agf>");
        write_if_new("raw_data/db/units.xml",
                     "<table name='units'><record name='" + m_tree.unit.toUtf8() + "'/></table>");
        for (const char* place : {"<raw>", "<raw>/unit", "one.rules.gox", "two.rules.gox"})
            if (m_tree.rules.contains(place))
                write_if_new(place_of_rules(place), text_of(m_tree.rules[place]));
            else if (m_laid_out.remove(place_of_rules(place)))
                m_disk.remove(place_of_rules(place));
        write_configuration(m_disk, "ci", m_tree.configuration);
        m_disk.remove("tool/trace.txt");
        m_disk.remove("tool/go");
    }

    QString run(int number)
    {
        BUILD_MODEL::RUN how;
        how.only_out_of_date = number % 50 == 0 || m_memories.size() > 1 || !in_one_of(6);
        const QStringList would = BUILD_MODEL(m_model).run(how).executed;
        if (!would.isEmpty() && m_memories.size() == 1 && number % 50 > 0 && in_one_of(4))
            return run_with_a_stop(how, would);
        const int status = in_one_of(10)   ? shards(how, 1 + m_random.bounded(3), in_one_of(4))
                           : in_one_of(20) ? alone(how)
                                           : quick(how);
        return check(how, status);
    }

    // By processes that know nothing of each other, in any order or at the same time.
    int shards(const BUILD_MODEL::RUN& how, int count, bool at_once)
    {
        m_log += QString("; %1 shards %2 ").arg(count).arg(at_once ? "at once" : "") + options(how).last();
        int status = 0;
        QVector<QSharedPointer<PROGRAM_RUN>> runs;
        for (int first = m_random.bounded(count), turn = 0; turn < count; ++turn) {
            const int number = (first + turn) % count + 1;
            if (!at_once) {
                status |= quick(how, number, count);
                continue;
            }
            runs.append(QSharedPointer<PROGRAM_RUN>::create(m_disk));
            runs.last()->start(options(how) + QStringList(QString("--shard=%1/%2").arg(number).arg(count)));
        }
        for (const auto& run : runs)
            status |= run->wait();
        return status;
    }

    static QStringList options(const BUILD_MODEL::RUN& how)
    {
        return {"--configuration=ci", "--dont_stop_on_error", "--explain",
                how.only_out_of_date ? "--only_out_of_date" : "--explain"};
    }

    int alone(const BUILD_MODEL::RUN& how)
    {
        m_log += "; alone " + options(how).last();
        return m_gox.run(options(how));
    }

    int quick(const BUILD_MODEL::RUN& how, int number = 0, int count = 0)
    {
        m_log += "; " + options(how).last();
        QUICK_RUNS& runs = count > 0 ? m_children : m_runs;
        runs.start(how, number, count);
        return runs.wait();
    }

    // What each target holds is what a run of all actions would make of it, and no other
    // actions ran than had to.
    QString check(const BUILD_MODEL::RUN& how, int status)
    {
        BUILD_MODEL whole = m_model;
        BUILD_MODEL::RUN all = how;
        all.only_out_of_date = all.obeys = false;
        all.adds_again = !how.only_out_of_date;
        const int expected_status = whole.run(all).status;
        QString fault = difference(targets_in(whole.tree), targets_in(m_disk));
        if (status != expected_status)
            fault += QString("\nstatus %1, not %2").arg(status).arg(expected_status);
        for (const auto& memory : qAsConst(m_memories)) {
            BUILD_MODEL model = m_model;
            model.memory = memory;
            m_expected = model.run(how).executed;
            if (sorted(m_expected) == sorted(executed()) && fault.isEmpty()) {
                m_model = model;
                m_memories = {model.memory};
                return QString();
            }
        }
        return fault + "\nexecuted: " + sorted(executed()).join(", ") +
               "\nexpected: " + sorted(m_expected).join(", ");
    }

    QStringList executed() const
    {
        QStringList names;
        for (const QString& line : QString::fromUtf8(m_disk.read("tool/trace.txt")).split('\n'))
            if (line.startsWith("build execute "))
                names.append(line.mid(14));
        return names;
    }

    // The run meets with something while an action is at work, before or after it writes.
    QString run_with_a_stop(BUILD_MODEL::RUN how, const QStringList& would)
    {
        const QString name = any_of(would), script = QString::fromUtf8(text_of(m_tree.script));
        const bool is_late = in_one_of(2);
        const QString word = is_late ? "lingers" : "awaits";
        const QString end =
            script.contains("\npreset") ? "edit" : any_of(QStringList{"edit", "stop", "kill"});
        m_log += "; " + end + ' ' + word + ' ' + name;
        m_disk.write_script(QString(script)
                                .replace("action " + name + '\n', "action " + name + '\n' + word + " go\n")
                                .toUtf8());
        m_laid_out.remove("tool/script.txt");
        m_children.start(how);
        const bool is_met = m_children.wait_for_text("tool/trace.txt", (word + ' ' + name + '\n').toUtf8());
        if (is_met && end != "edit")
            return stop(how, name, is_late, end == "kill", would);
        const QStringList own = m_tree.own_sources(name);
        if (is_met && !own.isEmpty()) {
            const QString key = any_of(own);
            const MODEL_FILE edited{m_tree.files[key].spelling, any_text(), ++m_tree.last_version};
            put_on_disk(edited);
            m_log += ' ' + key;
            how.meanwhile = [=](MODEL_TREE& tree, const QString& action, bool has_written) {
                if (action == name && has_written == is_late)
                    tree.files[key] = edited;
            };
        }
        m_disk.write("tool/go", "");
        return check(how, m_children.wait());
    }

    // A kill loses what was not yet in the record: the last ones of the actions.
    QString stop(BUILD_MODEL::RUN how, const QString& name, bool is_late, bool is_kill,
                 const QStringList& would)
    {
        if (is_kill && in_one_of(16))
            QThread::msleep(1000); // there was a commit
        m_children.send_signal(is_kill ? SIGKILL : SIGTERM);
        m_children.wait();
        how.is_cut_short = true;
        how.only = executed();
        if (is_kill && !is_late)
            how.only.removeLast();
        if (!is_kill)
            how.stopped = name, how.stops_late = is_late;
        auto memory = m_model.memory;
        m_model.run(how);
        m_memories = {is_kill ? memory : m_model.memory};
        for (int kept = 0; is_kill && kept < how.only.size() - is_late; ++kept) {
            memory[how.only[kept]] = m_model.memory.value(how.only[kept]);
            m_memories.append(memory);
        }
        for (const QString& action : executed())
            if (!would.contains(action))
                return action + " was executed";
        return difference(targets_in(m_tree), targets_in(m_disk));
    }

    CONTENTS clean_build() const
    {
        TEMPORARY_TREE other;
        other.lay_out_program();
        for (const char* folder : {"raw_data", "old_raw_data", "old_working_data", "tool/GOX"})
            for (const QString& file : FILES::below(m_disk.path(folder)))
                other.write(folder + ('/' + file), m_disk.read(folder + ('/' + file)));
        for (const QString& file : {QString("tool/script.txt"), PLUGIN})
            other.write(file, m_disk.read(file));
        PROGRAM_RUN gox(other);
        gox.run({"--configuration=ci", "--dont_stop_on_error"});
        return targets_in(other);
    }

    static QString difference(const CONTENTS& expected, const CONTENTS& actual)
    {
        for (const QString& file : expected.keys() + actual.keys())
            if (expected.value(file) != actual.value(file))
                return file + ":\n" + actual.value(file) + "instead of:\n" + expected.value(file);
        return QString();
    }

    QRandomGenerator m_random;
    TEMPORARY_TREE m_disk;
    PROGRAM_RUN m_gox;
    QUICK_RUNS m_runs, m_children;
    QDeadlineTimer m_rest; // of the files' times
    QByteArray m_plugin;
    int m_laid_out_plugin = -1;
    CONTENTS m_laid_out;
    QMap<QString, MODEL_FILE> m_gone;
    BUILD_MODEL m_model;
    MODEL_TREE& m_tree = m_model.tree;
    QVector<QMap<QString, BUILD_MODEL::MEMORY>> m_memories{{}}; ///< one of them is that of the record
    QStringList m_expected;
    QString m_log;
};

/// Incremental builds of the real program, after changes of all kinds.
class TST_INCREMENTAL_WALK : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    /// By hand with the variables GOX_WALK_SEED and GOX_WALK_STEPS.
    void walk()
    {
        bool is_set = false;
        const int steps = qEnvironmentVariableIntValue("GOX_WALK_STEPS", &is_set);
        WALK walk(quint32(qEnvironmentVariableIntValue("GOX_WALK_SEED")));
        for (int step = 1; step <= (is_set ? steps : 300); ++step) {
            const QString fault = walk.step(step);
            std::fputs(qPrintable(fault), stderr); // at full length
            QVERIFY(fault.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(TST_INCREMENTAL_WALK)
#include "tst_incremental_walk.moc"
