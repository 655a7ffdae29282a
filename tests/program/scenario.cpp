#include "tests/program/scenario.h"

#include <QtCore/QRegularExpression>
#include <QtNetwork/QUdpSocket>

#include <csignal>

#ifdef Q_OS_LINUX
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/transcript.h"
#include "tests/support/virtual_display.h"
#include "tests/support/watched_test.h"

namespace {

const QString TAG = QStringLiteral("." GOX_BUILD_TAG ".");
const QString SEE = QStringLiteral("see ");

const QStringList PREPARATIONS{"tree",        "write ", "plugins", "configuration", "script", "as",
                               "environment", "folder", "options", "arguments",     "stop"};
const QStringList OUTCOMES{"before", "status", "error", "remarks", "console", "packets", SEE};

// What is expected without a word of it.
const QMap<QString, QString> USUAL{{"status", "0"},
                                   {"error", ""},
                                   {"remarks", ""},
                                   {"see tool/gox_startup_error.log", ""},
                                   {"see tool/gox_plugin_error.log", ""}};

// Runs send packets to a fixed port, and others on this machine do as well: where the
// system allows it, this process and its runs get a network of their own, which has to
// be before there is a second thread.
bool enter_own_network()
{
#ifdef Q_OS_LINUX
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    ifreq loopback{};
    loopback.ifr_name[0] = 'l', loopback.ifr_name[1] = 'o';
    loopback.ifr_flags = IFF_UP;
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const bool is_up = ioctl(socket, SIOCSIFFLAGS, &loopback) == 0;
    close(socket);
    return is_up;
#else
    return false;
#endif
}

const bool IS_ALONE = enter_own_network();

class SCENARIO
{
public:
    SCENARIO(const TEST_CASE& one, const QString& display) : m_case(one), m_scene(one["tree"])
    {
        if (!display.isEmpty())
            m_scene.gox.extra.insert("DISPLAY", display);
        write_files();
        add_plugins();
        if (m_case["as"].contains("nobody"))
            m_scene.tree.open_to_everybody();
        m_before = take_steps(read(m_case["before"]));
        run();
    }

    /// A part for each thing that is compared: what the case expects and how the run
    /// has left it.
    std::pair<QString, QString> outcome() const
    {
        QStringList expected, actual;
        const QMap<QString, QString> parts = expected_parts();
        for (auto part = parts.cbegin(); part != parts.cend(); ++part) {
            expected.append(part.key() + ":\n" + part.value());
            actual.append(part.key() + ":\n" + left(part.key()));
        }
        return {expected.join('\n'), actual.join('\n')};
    }

    void keep_reports(const QString& folder) const
    {
        for (const QString& part : expected_parts().keys())
            if (part.contains("/report"))
                QFile::copy(file_of(part), folder + '/' + QString(QTest::currentDataTag()).replace('/', ' ') +
                                               ", " + part.section('/', -1));
    }

private:
    QString file_of(const QString& part) const { return m_scene.tree.path(read(part.section(' ', 1))); }

    QString read(QString text) const
    {
        static const QRegularExpression repeat(QStringLiteral("\\{(\\d+) \\* ([^}]*)\\}"));
        for (auto found = repeat.match(text); found.hasMatch(); found = repeat.match(text))
            text.replace(found.capturedStart(), found.capturedLength(),
                         found.captured(2).repeated(found.captured(1).toInt()));
        return text.replace("TREE", m_scene.tree.path()).replace(".TAG.", TAG);
    }

    QString told(const QByteArray& bytes) const
    {
        static const QRegularExpression ran(QStringLiteral("\n={37}\nDuration: \\d+ msec\\(s\\)\n"));
        // Of displays without a window manager or icons, and of memory that is refused on purpose.
        static const QRegularExpression noise(
            "(?m)^(qt.qpa.xcb: |QPixmap::fromWinHICON|.*AddressSanitizer failed to all).*\\n");
        QString text = in_words_of_unix(QString::fromUtf8(bytes));
        text.replace(m_scene.tree.path(), "TREE").replace(TAG, ".TAG.");
        text.remove(noise);
        text.replace(ran, QStringLiteral("(ran)\n"));
        text.replace(QStringLiteral("process %1;").arg(m_other_number), QStringLiteral("process OTHER;"));
        while (text.endsWith('\n'))
            text.chop(1);
        return text;
    }

    void add_plugins() const
    {
        if (m_case.has("plugins"))
            m_scene.tree.remove("tool/GOX_scripted" + TAG + "dll");
        for (const QString& line : m_case.lines("plugins"))
            m_scene.tree.add_plugin(line.section(' ', 0, 0), read(line.section(' ', 1)));
    }

    void write_files() const
    {
        QString elements = read(m_case["configuration"]);
        for (const char* element : {"silent", "no_progress_dialog"})
            if (!elements.contains('<' + QString(element) + '>'))
                elements += QStringLiteral("<%1>true</%1>").arg(element);
        m_scene.tree.write("tool/GOX/ci_configuration.xml",
                           "<configuration>" + elements.toUtf8() + "</configuration>");
        m_scene.tree.write_script(m_case.has("script") ? read(m_case["script"]).toUtf8()
                                                       : "processor p\naction a");
        const QMap<QString, QString> files = m_case.behind("write ");
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            m_scene.tree.write(read(file.key()), read(file.value()).toUtf8());
    }

    QStringList words(const QString& options) const
    {
        return ("--configuration=ci --dont_stop_on_error " + options).split(' ', Qt::SkipEmptyParts);
    }

    QString take_steps(const QString& wanted)
    {
        const TEMPORARY_TREE& tree = m_scene.tree;
        const auto at = [&](const QString& text, int i) { return tree.path(text.section(' ', i, i)); };
        const auto rest = [](const QString& text) { return spelled_bytes(text.section(' ', 1)); };
        TRANSCRIPT steps;
        steps.add("remove", [&](const QString& file) { tree.remove(file); });
        steps.add("folder", [&](const QString& name) { tree.make_folder(name); });
        steps.add("old", [&](const QString& file) { FILES::set_time(tree.path(file), FILES::hour(1)); });
        steps.add("protect", [&](const QString& file) { tree.set_permissions(file, 0444); });
        steps.add("write", [&](const QString& text) { FILES::write(at(text, 0), rest(text)); });
        steps.add("move", [&](const QString& files) { QFile::rename(at(files, 0), at(files, 1)); });
        steps.add("copy", [&](const QString& files) { QFile::copy(at(files, 0), at(files, 1)); });
        steps.add("replace", [&](const QString& text) {
            const QList<QByteArray> parts = rest(text).split('|');
            FILES::write(at(text, 0), FILES::bytes(at(text, 0)).replace(parts[0], parts[1]));
        });
        steps.add("sh", [&](const QString& command) {
            return QProcess::execute("sh", {"-ec", "cd '" + tree.path() + "'\n" + command}) ? "failed" : "";
        });
        steps.add("start", [&](const QString& options) {
            m_other = std::make_unique<PROGRAM_RUN>(tree);
            m_other->start(words(options));
            m_other_number = m_other->number();
        });
        steps.add("await", [&](const QString& text) {
            return m_other->wait_for_text(at(text, 0), rest(text)) ? "" : "not there";
        });
        steps.add("kill", [&](const QString&) { m_other.reset(); });
        steps.add("end", [&](const QString&) {
            const int status = m_other->wait();
            return status ? QString("status %1").arg(status) : QString();
        });
        steps.add("run", [&](const QString& options) {
            steps.carry_out("start " + options);
            return steps.carry_out("end");
        });
        return steps.play(wanted);
    }

    void run()
    {
        PROGRAM_RUN& gox = m_scene.gox;
        gox.unprivileged = m_case["as"].contains("nobody");
        gox.plain_locale = m_case["as"].contains("plain locale");
        gox.closed_console = m_case["as"].contains("closed console");
        for (const QString& variable : m_case.lines("environment"))
            gox.extra.insert(variable.section('=', 0, 0), variable.section('=', 1));
        if (m_case["as"].contains("watched")) {
            gox.extra.insert("QT_PLUGIN_PATH", QFileInfo(GOX_QT_PLUGINS).absoluteFilePath());
            gox.extra.insert("QT_QPA_GENERIC_PLUGINS", "gox_watcher");
            gox.extra.insert("GOX_TEST_SEEN", m_scene.tree.path("seen.txt"));
        }
        if (m_case.has("folder"))
            gox.folder = m_case["folder"];
        if (m_case["as"].contains("full console"))
            gox.output_file = "/dev/full";
        QUdpSocket server;
        server.bind(QHostAddress::LocalHost, 12345);
        {
            const FULL_DISK full_for_children(m_case["as"].contains("full disk"));
            gox.start(m_case.has("arguments") ? m_case["arguments"].split(' ', Qt::SkipEmptyParts)
                                              : words(m_case["options"]));
        }
        for (const QString& text : m_case.lines("stop"))
            if (gox.wait_for_text(m_scene.tree.path("tool/trace.txt"), text.toUtf8()))
                gox.send_signal(SIGTERM);
        m_status = gox.wait();
        for (char packet[200]; server.hasPendingDatagrams();)
            m_packets.append(packet, int(server.readDatagram(packet, sizeof packet)));
    }

    QMap<QString, QString> expected_parts() const
    {
        QMap<QString, QString> parts = m_case.behind("");
        for (const QString& key : parts.keys())
            if (!OUTCOMES.contains(key) && !key.startsWith(SEE))
                parts.remove(key);
        for (auto part = USUAL.cbegin(); part != USUAL.cend(); ++part)
            if (!parts.contains(part.key()) && !(part.key() == "remarks" && parts.contains("console")))
                parts.insert(part.key(), part.value());
        return parts;
    }

    QString left(const QString& part) const
    {
        if (part == "status")
            return m_status == PROGRAM_RUN::CRASHED ? "crashed " + QString::number(m_scene.gox.signal)
                                                    : QString::number(m_status);
        if (part == "before")
            return told(m_before.toUtf8());
        if (part == "packets")
            return IS_ALONE ? told(m_packets) : m_case["packets"];
        if (part == "error")
            return told(m_scene.gox.err);
        if (part == "console")
            return told(m_scene.gox.out);
        if (part == "remarks")
            return remarks().join('\n');
        const QString file = file_of(part);
        if (QFileInfo(file).isDir())
            return told(FILES::below(file).join('\n').toUtf8());
        if (QFileInfo(file).isFile())
            return told(FILES::bytes(file));
        return m_case.behind("").contains(part) ? QStringLiteral("(none)") : QString();
    }

    QStringList remarks() const
    {
        static const QRegularExpression beginning(QStringLiteral("^Remark: "));
        QStringList lines = told(m_scene.gox.out).split('\n').filter(beginning);
        lines.sort();
        return lines.replaceInStrings(beginning, QString());
    }

    const TEST_CASE m_case;
    SCRIPTED_SCENE m_scene;
    std::unique_ptr<PROGRAM_RUN> m_other; // that a step has started
    qint64 m_other_number = 0;
    QString m_before;
    QByteArray m_packets;
    int m_status = 0;
};

bool fits(const QString& line, const QString& pattern)
{
    const QString expression = QRegularExpression::escape(pattern).replace("\\*", ".*");
    return line == pattern ||
           QRegularExpression(QRegularExpression::anchoredPattern(expression)).match(line).hasMatch();
}

// The text with what fits a line of the pattern replaced by that line.
QString in_words_of(const QString& pattern_text, const QString& text)
{
    const QStringList patterns = pattern_text.split('\n');
    QStringList lines = text.split('\n');
    for (int i = 0; i < qMin(lines.size(), patterns.size()); ++i) {
        if (patterns[i] == "...") {
            int end = i;
            while (end < lines.size() && (i + 1 == patterns.size() || !fits(lines[end], patterns[i + 1])))
                ++end;
            lines = lines.mid(0, i) + QStringList("...") + lines.mid(end);
        } else if (fits(lines[i], patterns[i])) {
            lines[i] = patterns[i];
        }
    }
    return lines.join('\n');
}

} // namespace

void add_scenarios(const char* file)
{
    add_cases(QByteArray("program/") + file, PREPARATIONS + OUTCOMES);
}

STAGE::STAGE() = default;
STAGE::~STAGE() = default;

void STAGE::play()
{
    const TEST_CASE one = current_case();
#ifdef GOX_SANITIZED // the sanitizer tells of the signals
    if (one["status"].startsWith("crashed"))
        GOX_SKIP("the sanitizer tells of crashes");
#endif
    QString display = one["as"].contains("display") ? display_name() : QString();
    if (one["as"].contains("display by TCP"))
        display.prepend("localhost");
    const SCENARIO scenario(one, display);
    scenario.keep_reports(m_reports.path());
    const auto [expected, actual] = scenario.outcome();
    GOX_COMPARE_TEXT(in_words_of(expected, actual), expected);
}

QString STAGE::faults_of_reports() const
{
    QProcess check;
    check.start("sh", {GOX_SOURCE_DIR "/tests/program/check-report.sh", m_reports.path()});
    check.waitForFinished(-1);
    return QString::fromUtf8(check.readAllStandardOutput());
}

QString STAGE::display_name()
{
    if (!m_display)
        m_display = std::make_unique<VIRTUAL_DISPLAY>();
    return m_display->name();
}
