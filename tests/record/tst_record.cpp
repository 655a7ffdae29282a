#include <QtCore/QRegularExpression>
#include <QtCore/QThread>

#include <csignal>
#include <optional>

#ifdef Q_OS_UNIX
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "record/dealings.h"
#include "record/record_file.h"
#include "tests/record/record_scene.h"
#include "tests/support/cases.h"
#include "tests/support/full_disk.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/transcript.h"
#include "tests/support/watched_test.h"

namespace {

QMap<QString, QByteArray> files_of(const QString& folder)
{
    QMap<QString, QByteArray> files;
    for (const QString& file : FILES::below(folder))
        files.insert(file, FILES::bytes(folder + '/' + file));
    return files;
}

} // namespace

class RECORD_SCRIPT : public TRANSCRIPT, public RECORD_SCENE
{
public:
    RECORD_SCRIPT()
    {
        add("put", [&](const QString& s) { return put(actions_of(s, false), m_libraries); });
        add("late", [&](const QString& s) {
            const auto content = read();
            const QString error = put(actions_of(s.section(" | ", 0, 0), false));
            return error + put(actions_of(s.section(" | ", 1), false), {}, content);
        });
        add("fail", [&](const QString& s) { return put(actions_of(s, true)); });
        add("read", [&](const QString&) { return text_of(*read()); });
        add("look", [&](const QString&) { return look_only(); });
        add("as", [&](const QString& s) { name = "gox_build_record" + s + ".sqlite"; });
        add("unread", [&](const QString&) { is_read_first = false; });
        add("sql", [&](const QString& s) { return run_sql(s); });
        add("unlock", [&](const QString& s) {
            meanwhile = [this, s] {
                QThread::msleep(s.toULong());
                run_sql("COMMIT");
            };
        });
        add("meanwhile", [&](const QString& s) {
            meanwhile = [this, s] {
                for (int tries = 0; read()->last_end() == 0 && tries < 500; ++tries)
                    QThread::msleep(10);
                run_sql(s);
            };
        });
        add("files", [&](const QString&) { return files_of(folder.path()).keys().join(' '); });
        add("open", [&](const QString&) { return open_files(); });
        add("write", [&](const QString& s) {
            FILES::write(path(s.section(' ', 0, 0)), spelled_bytes(s.section(' ', 1)));
        });
        add("copy",
            [&](const QString& s) { QFile::copy(path(s.section(' ', 0, 0)), path(s.section(' ', 1))); });
        add("folder", [&](const QString& s) { QDir(folder.path()).mkpath(s); });
        add("disk", [&](const QString& s) { m_disk.emplace(s != "free", s.toUInt()); });
        add("flip", [&](const QString& s) { return damage_all(s.toInt(), &flip); });
        add("cut", [&](const QString& s) { return damage_all(s.toInt(), &cut); });
        add("kill", [&](const QString& s) { return kill_often(s.toInt()); });
        add_commands_of_pieces();
    }

protected:
    QString told(QString said) override { return said.remove(folder.path() + '/'); }

private:
    // "3-5 1": run 1 of the actions 3 to 5.
    static QVector<RECORDED_ACTION> actions_of(const QString& text, bool are_gone)
    {
        const QString range = text.section(' ', 0, 0);
        QVector<RECORDED_ACTION> actions;
        for (int i = range.section('-', 0, 0).toInt(); i <= range.section('-', -1).toInt(); ++i) {
            actions.append(MADE_ACTION(i, text.section(' ', 1).toInt()).made);
            actions.last().entry.is_gone = are_gone;
        }
        return actions;
    }

    // None where the system does not tell.
    QString open_files() const
    {
        QStringList files;
        for (const QFileInfo& file : QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System))
            if (file.symLinkTarget().startsWith(folder.path()))
                files.append(file.symLinkTarget());
        return files.join('\n');
    }

    QString look_only()
    {
        const auto before = files_of(folder.path());
        const QString text = text_of(*read(RECORD_ACCESS::READ_ONLY));
        return before == files_of(folder.path()) ? text : "something was written: " + text;
    }

    static void flip(QByteArray& bytes, int place)
    {
        bytes[place] = char(bytes.at(place) ^ (1 << place % 8));
    }
    static void cut(QByteArray& bytes, int place) { bytes.truncate(place); }

    // What can be read of a file that is damaged at some place must be what was put, or
    // nothing at all and a line; and a writer must come to a record that is whole. Of the
    // zeros that fill pages up, few are of interest.
    QString damage_all(int step, void (*damage)(QByteArray&, int))
    {
        const QByteArray whole = FILES::bytes(record());
        const QString wanted = text_of(*read());
        for (int place = step - 1; place < whole.size(); place += step) {
            if (whole.at(place) == 0 && place % 64 != 63)
                continue;
            QByteArray bytes = whole;
            damage(bytes, place);
            write_anew(bytes);
            const QString found = text_of(*read());
            if (!is_part_of(found, wanted))
                return QString("at %1: ").arg(place) + found;
            if (place % 512 == 511) {
                const QString error = put(actions_of("0-39 5", false));
                const QString now = text_of(*read());
                const QRegularExpression all("^[5-]{40}(\n|$)");
                if (!(error.isEmpty() ? all.match(now).hasMatch() : now.isEmpty()))
                    return QString("written at %1: ").arg(place) + error + now;
            }
        }
        write_anew(whole);
        return text_of(*read()) == wanted ? "whole or told" : "the record is lost";
    }

    static bool is_part_of(const QString& found, const QString& wanted)
    {
        const QString letters = found.section('\n', 0, 0);
        for (int i = 0; i < letters.size(); ++i)
            if (letters.size() != wanted.size() || (letters.at(i) != wanted.at(i) && letters.at(i) != '-'))
                return false;
        return letters == wanted || found.count('\n') == 1;
    }

    // Writing over a file costs a wait for the disk.
    void write_anew(const QByteArray& bytes) const
    {
        for (const QString& file : FILES::below(folder.path()))
            QFile::remove(path(file));
        FILES::write(record(), bytes);
    }

    // Processes that record without an end, each killed at some moment after its first
    // commit. Whatever was committed is there then, also for who may write nothing.
    QString kill_often(int count)
    {
#ifdef Q_OS_UNIX
        for (int i = 0; i < count; ++i) {
            const qint64 before = read()->last_end();
            const pid_t child = fork();
            if (child == 0)
                record_for_ever();
            while (read()->last_end() == before)
                if (usleep(1000); waitpid(child, nullptr, WNOHANG) != 0)
                    return QString("nothing was committed");
            usleep(QRandomGenerator::global()->bounded(60000));
            ::kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            const QString looked = look_only();
            const QString found = text_of(*read());
            if (looked != found || !QRegularExpression("^[0-9]{40}$").match(found).hasMatch())
                return looked + '\n' + found;
        }
#endif
        return QString("alive %1").arg(count);
    }

#ifdef Q_OS_UNIX
    [[noreturn]] void record_for_ever() const
    {
        alarm(10);
        RECORD_WRITER writer(folder.path(), name, nullptr);
        for (int i = 0;; ++i)
            writer.put(std::make_unique<JOB>(MADE_ACTION(i % ACTIONS, i / ACTIONS).made));
    }
#endif

    void add_commands_of_pieces()
    {
        add("renew", [&](const QString& s) {
            const auto content = read();
            RECORDED_ACTION action = actions_of(s, false).first();
            action.entry.ended = content->find(action.entry.key)->ended;
            const QString error = put({action});
            const auto now = read();
            return now->find(action.entry.key)->ended == action.entry.ended ? error : "it has another end";
        });
        add("ends", [&](const QString&) {
            QSet<qint64> ends;
            for (const BUILD_ENTRY& entry : read()->entries_of(name))
                ends.insert(entry.ended);
            return QString("%1 ends").arg(ends.size());
        });
        add("library", [&](const QString& s) {
            FILE_DIGESTS digests(read()->libraries());
            const DIGEST digest = digests.of(path("library")).digest;
            m_libraries = digests.asked();
            return digest == digest_of(s.toUtf8()) ? "yes" : digest.is_null() ? "none" : "no";
        });
        add("old", [&](const QString& s) {
            FILES::write(path("library"), s.section(' ', 0, 0).toUtf8(),
                         FILES::hour(s.section(' ', 1).toInt()));
        });
        add("deal", [&](const QString& s) {
            return write_dealings(folder.path(), {{quint64(s.toInt()) << 60, s.toInt()}});
        });
        add("dealings", [&](const QString&) {
            QString text;
            for (const ACTION_DURATION& action : read_dealings(folder.path(), text))
                text += QString("%1: %2").arg(action.key >> 60).arg(action.duration);
            return text;
        });
    }

    std::optional<FULL_DISK> m_disk;
    QVector<KNOWN_FILE> m_libraries;
};

class TST_RECORD : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        RECORD_FILE::s_lock_patience = 100;
        RECORD_WRITER::s_commit_interval = 20;
    }
    void tells_data() { add_cases("record/record.cases", {"script"}); }
    void tells()
    {
        RECORD_SCRIPT script;
        const QString wanted = current_case()["script"];
        GOX_COMPARE_TEXT(script.play(wanted), wanted);
    }
};

QTEST_GUILESS_MAIN(TST_RECORD)
#include "tst_record.moc"
