#include <QtCore/QDeadlineTimer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <csignal>
#include <memory>
#include <vector>

#include "tests/record/build_model.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const QString PLUGIN = QStringLiteral("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
const int LONGEST_STEP = 20; // ms of the times that a system gives to files, and some more

// With one more line for an action.
QByteArray script_of(const MODEL_TREE& tree, const QString& action = QString(),
                     const QString& more = QString())
{
    QString text = "trace +trace.txt\n";
    for (const SCRIPT_PART& part : tree.parts)
        if (part.name.startsWith("processor ") || part.name.startsWith("action ")) {
            text += part.name + '\n' + (part.name == "action " + action ? more + '\n' : QString());
            for (const auto& [word, argument] : part.lines)
                text += word + ' ' + argument + '\n';
        }
    return text.toUtf8();
}

QByteArray rule_file_of(const SCRIPT_PART& rule)
{
    QString text = QString("<rules><rule name='Size' inherit='%1'><files>%2</files>")
                       .arg(rule.has("alone") ? "false" : "true", rule.text("files"));
    for (const QString& word : QStringList{"width", "height"})
        if (rule.has(word))
            text += QString("<property name='%1'>%2</property>").arg(word, rule.text(word));
    return QString("%1</rule><rule name='other'><property name='width'>%2</property></rule></rules>")
        .arg(text, rule.text("other"))
        .toUtf8();
}

} // namespace

/// A random walk over a data tree and all else that builds rest on. What it changes, it
/// changes on the disk and in the model.
class WALK
{
    template <typename LIST>
    auto any_of(const LIST& list)
    {
        return list.at(m_random.bounded(list.size()));
    }

public:
    explicit WALK(quint32 seed)
        : m_random(seed),
          m_gox(m_disk),
          m_model(QString::fromUtf8(FILES::bytes(GOX_SOURCE_DIR "/tests/record/walk.txt")))
    {
        m_disk.lay_out_program();
        m_plugin = FILES::bytes(QStringLiteral(GOX_TOOL_DIR "/plugins/") + PLUGIN.section('/', 1));
        m_disk.write("raw_data/db/schema.xml",
                     "<database><table name='units'><field name='name'/></table></database>");
        for (const auto& [often, what] : m_tree.part("changes").lines)
            for (int i = often.toInt(); i > 0; --i)
                m_changes.append(what);
        for (const SCRIPT_PART& part : qAsConst(m_tree.parts)) {
            if (part.name.startsWith("action "))
                m_actions.append(part.name);
            for (const QString& path : part.all("reads").filter(QRegularExpression("<raw>/(?!absent|sheet)")))
                for (const char* root : {"old_raw_data", "raw_data"}) // companions of some
                    if (*root == 'r' || in_one_of(3))
                        put(QString(path).replace("<raw>", root), part.name.toUtf8());
        }
        m_gone["raw_data/absent.txt"] = {"raw_data/absent.txt", "absent"};
        put("old_working_data/ship.txt", "shipped");
    }

    /// What went wrong; empty when nothing did.
    QString step(int number)
    {
        m_log = m_log.right(2000) + QString("\nstep %1").arg(number);
        for (int changes = 1 + m_random.bounded(3); changes > 0; --changes)
            change(any_of(m_changes));
        if (m_memories.size() > 1)
            for (const auto& [often, what] : m_tree.part("mends").lines)
                change(what);
        lay_out();
        QThread::msleep(ulong(m_rest.remainingTime()));
        const QString fault = run();
        m_rest.setRemainingTime(LONGEST_STEP);
        return fault.isEmpty() ? fault : fault + m_log + '\n' + m_gox.report();
    }

private:
    bool in_one_of(int cases) { return m_random.bounded(cases) == 0; }
    QString any_text() { return QString::number(m_random.bounded(1000)); }

    void put(const QString& spelling, const QByteArray& bytes, int version = 0)
    {
        MODEL_FILE& file = m_tree.files[spelling.toLower()];
        file = {spelling, bytes, version ? version : ++m_tree.last_version};
        put_on_disk(file);
    }

    // Each version has a time of its own, all of them long ago but for the young.
    void put_on_disk(const MODEL_FILE& file) const
    {
        m_disk.write(file.spelling, file.bytes, FILES::hour(0).addSecs(file.version * qint64(2)));
    }

    // As walk.txt tells it.
    void change(QString what)
    {
        static const QRegularExpression choice("\\{([^}]*)\\}");
        for (auto found = choice.match(what); found.hasMatch(); found = choice.match(what))
            what.replace(found.capturedStart(), found.capturedLength(), any_of(found.captured(1).split('|')));
        what.replace("#", any_text());
        what.replace("@", FILES::hour(m_random.bounded(100000)).toString(Qt::ISODate));
        what.replace("ACTION", any_of(m_actions));
        if (!m_order_is_known && what.endsWith("depends paint"))
            return;
        m_log += ", " + what;
        const QString subject = what.section(": ", 0, 0);
        const QStringList steps = what.section(": ", 1).split("; ");
        if (subject == "file")
            return change_file(steps.first());
        for (SCRIPT_PART& part : m_tree.parts)
            if (part.name == subject ||
                (m_actions.contains(part.name) &&
                 (subject == "all actions" || (subject == "half of the actions" && in_one_of(2)))))
                for (const QString& step : steps)
                    change(part, step);
    }

    static void change(SCRIPT_PART& part, const QString& step)
    {
        const QString how = step.section(' ', 0, 0);
        const QStringList words = step.split(' ').mid(1);
        const QPair<QString, QString> line(step.section(' ', 1, 1), step.section(' ', 2));
        const bool is_new = !part.lines.contains(line);
        const auto goes = [&](const QPair<QString, QString>& other) {
            return how == "turn"  ? other == line
                   : how == "set" ? other.first == line.first
                                  : how == "out" && (words.isEmpty() || words.contains(other.first));
        };
        part.lines.erase(std::remove_if(part.lines.begin(), part.lines.end(), goes), part.lines.end());
        if (how == "set" || how == "add" || (how == "turn" && is_new))
            part.lines.append(line);
    }

    void change_file(const QString& how)
    {
        const QString key = any_of(QStringList(m_tree.files.keys() + m_gone.keys()));
        MODEL_FILE file = m_tree.files.contains(key) ? m_tree.files.take(key) : m_gone.take(key);
        m_log += ' ' + key;
        m_disk.remove(file.spelling);
        if (how == "removed") {
            m_gone.insert(key, file);
            return;
        }
        const QString name = file.spelling.section('/', -1);
        if (how == "respelled")
            file.spelling = file.spelling.chopped(name.size()) +
                            (name == name.toLower() ? name.toUpper() : name.toLower());
        if (how == "edited")
            file.bytes = any_text().toUtf8();
        if (how == "older" || how == "same size" || how == "young")
            file.bytes[0] = char('a' + m_random.bounded(26));
        put(file.spelling, file.bytes, how == "older" ? -++m_tree.last_version : how == "young" ? YOUNG : 0);
    }

    void write_if_new(const QString& path, const QByteArray& bytes, const QByteArray& in_front = QByteArray())
    {
        if (m_laid_out.value(path) == bytes)
            return;
        m_laid_out[path] = bytes;
        m_disk.remove(path); // a library may be in use
        m_disk.write(path, in_front + bytes, FILES::hour(0).addSecs(++m_tree.last_version));
    }

    // Puts what is derived from the model on the disk.
    void lay_out()
    {
        const SCRIPT_PART services = m_tree.part("services");
        write_if_new(PLUGIN, services.text("plugin").rightJustified(4, '0').toUtf8(), m_plugin);
        write_if_new("tool/script.txt", script_of(m_tree));
        write_if_new("raw_data/x.agf", "<agf><asset name='house'><uses name='" +
                                           services.text("house").toUtf8() + "'/></asset></agf>");
        write_if_new("raw_data/db/units.xml",
                     "<table name='units'><record name='" + services.text("unit").toUtf8() + "'/></table>");
        for (const SCRIPT_PART& part : qAsConst(m_tree.parts)) {
            if (!part.name.startsWith("rules "))
                continue;
            const QString place = part.name.section(' ', 1),
                          folder = QString(place).replace("<raw>", "raw_data");
            const QString path = place == folder ? "tool/GOX/" + place : folder + "/rules.gox";
            if (!part.lines.isEmpty())
                write_if_new(path, rule_file_of(part));
            else if (m_laid_out.remove(path))
                m_disk.remove(path);
        }
        write_configuration(m_disk, "ci", m_tree.configuration());
        m_disk.remove("tool/trace.txt");
        m_disk.remove("tool/go");
    }

    QString run()
    {
        const bool is_sure = m_memories.size() == 1; // of what is in the record
        BUILD_MODEL::RUN how;
        how.only_out_of_date = !is_sure || !in_one_of(6);
        m_log += how.only_out_of_date ? "; incremental" : "; whole";
        if (is_sure && in_one_of(4)) {
            BUILD_MODEL would = m_model;
            would.run(how);
            if (!would.executed.isEmpty())
                return run_with_a_stop(how, would);
        }
        if (in_one_of(8))
            return check(how, run_shards(how, 1 + m_random.bounded(3), in_one_of(3)));
        const QString fault = check(how, m_gox.run(options(how)));
        m_order_is_known |= m_model.executed.contains("paint");
        return fault;
    }

    static QStringList options(const BUILD_MODEL::RUN& how)
    {
        return {"--configuration=ci", "--dont_stop_on_error", "--explain",
                how.only_out_of_date ? "--only_out_of_date" : "--explain"};
    }

    // By processes that know nothing of each other, in any order or at the same time.
    int run_shards(const BUILD_MODEL::RUN& how, int count, bool at_once)
    {
        m_log += QString(" in %1 shards%2").arg(count).arg(at_once ? " at once" : "");
        m_order_is_known &= count == 1;
        std::vector<std::unique_ptr<PROGRAM_RUN>> runs;
        int status = 0;
        for (int first = m_random.bounded(count), turn = 0; turn < count; ++turn) {
            const QString share = QString("--shard=%1/%2").arg((first + turn) % count + 1).arg(count);
            runs.push_back(std::make_unique<PROGRAM_RUN>(m_disk));
            runs.back()->start(options(how) + QStringList(share));
            status |= at_once ? 0 : runs.back()->wait();
        }
        for (const auto& run : runs)
            status |= run->wait();
        return status;
    }

    // What each target holds is what a run of all actions would make of it, and no other
    // actions ran than had to.
    QString check(const BUILD_MODEL::RUN& how, int status)
    {
        BUILD_MODEL whole = m_model;
        BUILD_MODEL::RUN all = how;
        all.only_out_of_date = all.obeys = false;
        all.adds_again = !how.only_out_of_date;
        whole.run(all);
        QString fault = difference(whole.tree);
        if (status != whole.status)
            fault += QString("\nstatus %1, not %2").arg(status).arg(whole.status);
        QStringList ran = executed();
        ran.sort();
        fault += "\nexecuted: " + ran.join(", ");
        const bool is_right = fault.startsWith("\nexecuted");
        for (const auto& memory : qAsConst(m_memories)) {
            BUILD_MODEL model = m_model;
            model.memory = memory;
            model.run(how);
            model.executed.sort();
            if (model.executed == ran && is_right) {
                m_memories = {model.memory};
                m_model = std::move(model);
                return QString();
            }
            fault += "\nexpected: " + model.executed.join(", ");
        }
        return fault;
    }

    QStringList executed() const
    {
        return QString::fromUtf8(m_disk.read("tool/trace.txt"))
            .split('\n')
            .filter("build execute ")
            .replaceInStrings("build execute ", QString());
    }

    // The run meets with something while an action is at work, before or after it writes.
    QString run_with_a_stop(BUILD_MODEL::RUN how, const BUILD_MODEL& would)
    {
        const QString name = any_of(would.executed);
        const bool is_late = in_one_of(2);
        const QString word = is_late ? "lingers" : "awaits";
        const QByteArray script = script_of(m_tree, name, word + " go");
        const QString end =
            script.contains("\npreset") ? "edit" : any_of(QStringList{"edit", "stop", "kill"});
        m_log += " with " + end + ", " + word + ' ' + name;
        m_disk.write_script(script);
        m_laid_out.remove("tool/script.txt");
        m_gox.start(options(how));
        const bool is_met =
            m_gox.wait_for_text(m_disk.path("tool/trace.txt"), (word + ' ' + name + '\n').toUtf8());
        if (is_met && end != "edit")
            return stop(how, name, is_late, end == "kill", would.executed);
        const QStringList own = would.own_sources(name);
        if (is_met && !own.isEmpty()) {
            const QString key = any_of(own);
            const MODEL_FILE edited{m_tree.files[key].spelling, any_text().toUtf8(), ++m_tree.last_version};
            put_on_disk(edited);
            m_log += ' ' + key;
            how.meanwhile = [=](MODEL_TREE& tree, const QString& action, bool has_written) {
                if (action == name && has_written == is_late)
                    tree.files[key] = edited;
            };
        }
        m_disk.write("tool/go", "");
        return check(how, m_gox.wait());
    }

    // A kill loses what was not yet in the record: the last ones of the actions.
    QString stop(BUILD_MODEL::RUN how, const QString& name, bool is_late, bool is_kill,
                 const QStringList& would)
    {
        if (is_kill && in_one_of(16))
            QThread::msleep(1000); // there was a commit
        m_gox.send_signal(is_kill ? SIGKILL : SIGTERM);
        m_gox.wait();
        QStringList ended = executed();
        for (const QString& action : qAsConst(ended))
            if (!would.contains(action))
                return action + " was executed";
        if (is_kill && !is_late)
            ended.removeLast();
        if (!is_kill)
            how.stopped = name, how.stops_late = is_late;
        how.only = ended;
        auto memory = m_model.memory;
        m_model.run(how);
        m_memories = {is_kill ? memory : m_model.memory};
        for (int kept = 0; is_kill && kept < ended.size() - is_late; ++kept) {
            memory[ended[kept]] = m_model.memory.value(ended[kept]);
            m_memories.append(memory);
        }
        m_model.memory = m_memories.first();
        return difference(m_tree);
    }

    // Of the targets on the disk from those of the model.
    QString difference(const MODEL_TREE& expected) const
    {
        QMap<QString, QByteArray> found;
        for (const char* root : {"working_data/", "retail_build/"})
            for (const QString& file : FILES::below(m_disk.path(root)))
                found.insert(root + file, m_disk.read(root + file));
        for (const MODEL_FILE& file : expected.files) {
            const QByteArray bytes = found.take(file.spelling);
            const QString root = file.spelling.section('/', 0, 0);
            if (bytes != file.bytes && (root == "working_data" || root == "retail_build"))
                return file.spelling + ":\n" + bytes + "instead of:\n" + file.bytes;
        }
        return QStringList(found.keys()).join(" is there, ");
    }

    QRandomGenerator m_random;
    TEMPORARY_TREE m_disk;
    PROGRAM_RUN m_gox;
    QDeadlineTimer m_rest; // of the files' times
    QByteArray m_plugin;
    QStringList m_actions; // names of parts
    QStringList m_changes; // each as often as it is to come
    QMap<QString, QByteArray> m_laid_out;
    QMap<QString, MODEL_FILE> m_gone;
    BUILD_MODEL m_model;
    MODEL_TREE& m_tree = m_model.tree;
    QVector<QMap<QString, BUILD_MODEL::MEMORY>> m_memories{{}}; ///< one of them is that of the record
    bool m_order_is_known = true; ///< in which paint and others ended, which shards may run in any
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
