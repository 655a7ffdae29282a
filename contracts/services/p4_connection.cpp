#include "contracts/services/p4_connection.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <iterator>
#include <limits>

#include "contracts/services/p4_client.h"
#include "contracts/services/p4_tagged_output.h"
#include "contracts/services/p4_text.h"

namespace {

const int BATCH = 1000; // files in one call, so that its time limit means something
const int READING_FACTOR = 10;
const int MAX_NAMED = 5; // files that an error text lists

struct SPECIAL_CHARACTER
{
    char plain;
    const char* encoded;
};
const SPECIAL_CHARACTER SPECIAL_CHARACTERS[] = {{'@', "%40"}, {'#', "%23"}, {'%', "%25"}, {'*', "%2A"}};

QString absolute_path(const QString& file)
{
    return QDir::cleanPath(QFileInfo(file).absoluteFilePath());
}

QStringList native_names(const QStringList& files)
{
    QStringList names;
    for (const QString& file : files)
        names.append(QDir::toNativeSeparators(absolute_path(file)));
    return names;
}

// Names that would mean something else to the client than this one file.
QString why_not_nameable(const QStringList& files)
{
    for (const QString& file : files) {
        if (file.contains('\n') || file.contains('\r'))
            return QStringLiteral("%1: Perforce takes no name with a line end in it.").arg(file);
        if (absolute_path(file).contains(QLatin1String("...")))
            return QStringLiteral("%1: Perforce takes no name with \"...\" in it.").arg(file);
    }
    return QString();
}

bool is_writable(const QString& file)
{
    // A privileged user may write whatever the file says of itself, and still
    // the file is marked as one that is not to be written.
    const QFileInfo info(file);
    return info.isWritable() &&
           (info.permissions() & (QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther));
}

QString why_not_writable(const QStringList& files, const QString& remarks)
{
    QStringList names;
    for (const QString& file : files)
        if (!is_writable(file))
            names.append(file);
    if (names.isEmpty())
        return QString();
    const int count = names.size();
    if (count > MAX_NAMED) {
        names = names.mid(0, MAX_NAMED);
        names.append(QStringLiteral("and %1 more").arg(count - MAX_NAMED));
    }
    return QStringLiteral("Perforce opened for edit, and yet can't be written: %1. Somebody else may hold "
                          "the file, or it is not there.%2")
        .arg(names.join(QStringLiteral(", ")), remarks.isEmpty() ? QString() : " Perforce says: " + remarks);
}

// Why the answer is none to go by; empty when all was well.
QString fault_of(const P4_ANSWER& answer, const QString& command)
{
    if (!answer.failure.isEmpty())
        return answer.failure;
    if (answer.exit_code == 0 && !answer.complaints.tell_of_failure())
        return QString();
    const QString complaints = answer.complaints.text();
    if (!complaints.isEmpty())
        return explain_p4_complaints(complaints);
    return QStringLiteral("The Perforce client ended with status %1 and gave no cause (p4 %2).")
        .arg(answer.exit_code)
        .arg(command);
}

// "2020/01/31 12:00:00 +0100 CET" to 3600.
bool offset_of_date(const QByteArray& date, int& seconds)
{
    const QByteArray zone = date.split(' ').value(2);
    bool is_number = false;
    const int value = zone.mid(1).toInt(&is_number);
    if (zone.size() != 5 || !is_number || value < 0 || value > 1400 || value % 100 > 59)
        return false;
    if (zone[0] != '+' && zone[0] != '-')
        return false;
    seconds = (value / 100 * 60 + value % 100) * 60 * (zone[0] == '-' ? -1 : 1);
    return true;
}

} // namespace

P4_CONNECTION::P4_CONNECTION(bool, bool, bool enabled) : m_enabled(enabled) {}

P4_CONNECTION::~P4_CONNECTION() = default;

QString P4_CONNECTION::open_for_edit(const QStringList& files)
{
    QStringList names;
    for (const QString& file : native_names(files))
        names.append(specification(file));
    return open_files(QStringLiteral("edit"), {}, files, names);
}

QString P4_CONNECTION::open_for_add(const QStringList& files)
{
    // This command alone wants the name as it is on disk, and "-f" to accept
    // the special characters in it.
    return open_files(QStringLiteral("add"), {QStringLiteral("-f")}, files, native_names(files));
}

QString P4_CONNECTION::open_files(const QString& command, const QStringList& options,
                                  const QStringList& files, const QStringList& names) const
{
    if (!m_enabled)
        return why_disabled();
    const QString unnameable = why_not_nameable(files);
    if (!unnameable.isEmpty())
        return unnameable;
    for (int at = 0; at < names.size(); at += BATCH) {
        const QString error = open_batch(command, options, names.mid(at, BATCH), files.mid(at, BATCH));
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

QString P4_CONNECTION::open_batch(const QString& command, const QStringList& options,
                                  const QStringList& names, const QStringList& files) const
{
    P4_COMPLAINTS remarks; // those that Perforce says as if they were a success
    P4_CLIENT client;
    client.time_limit = m_time_limit;
    const P4_ANSWER answer =
        client.run({{QStringLiteral("-ztag")}, command, options, names}, [&](const QByteArray& line) {
            if (line.isEmpty() || line.startsWith("... "))
                return QString();
            remarks.add(line + '\n');
            return QString();
        });
    const QString fault = fault_of(answer, command);
    if (!fault.isEmpty())
        return fault;
    remarks.finish();
    for (const P4_COMPLAINTS& said : {answer.complaints, remarks})
        if (said.tell_of_failure() || said.tell_of_no_files())
            return explain_p4_complaints(said.text());
    return command == QLatin1String("edit")
               ? why_not_writable(files, (answer.complaints.text() + '\n' + remarks.text()).trimmed())
               : QString();
}

QString P4_CONNECTION::read_file_states(const QStringList& specifications, const LINE_SINK& take_line)
{
    const QString fields = QStringLiteral("action,depotFile,haveRev,headAction,headRev,headTime");
    return specifications.isEmpty() ? QString()
                                    : read({QStringLiteral("-ztag")}, QStringLiteral("fstat"),
                                           {QStringLiteral("-T"), fields}, specifications, take_line);
}

QString P4_CONNECTION::read_history(const QStringList& specifications, const LINE_SINK& take_line)
{
    if (specifications.isEmpty())
        return QString();
    QStringList names;
    for (const QString& specification : specifications)
        names.append(specification + "#have");
    // The plain form marks the lines below a file with dots, once for a revision
    // and twice for what is said about it.
    const LINE_SINK take_revision = [&](const QByteArray& line) {
        return take_line(line.startsWith("... ") ? line.mid(4) : line);
    };
    return read({}, QStringLiteral("filelog"),
                {QStringLiteral("-t"), QStringLiteral("-m"), QStringLiteral("1")}, names, take_revision);
}

QString P4_CONNECTION::read_server_time_offset(int& seconds)
{
    P4_TAGGED_OUTPUT output;
    QByteArray date;
    const QString error =
        read({QStringLiteral("-ztag")}, QStringLiteral("info"), {}, {}, [&](const QByteArray& line) {
            output.add_line(line);
            date = output.record().value("serverDate", date);
            return output.error();
        });
    if (!error.isEmpty())
        return error;
    if (offset_of_date(date, seconds))
        return QString();
    return QStringLiteral("The Perforce client does not tell the server's time (p4 info): \"%1\"")
        .arg(P4_TEXT::decode(date.left(200)));
}

QString P4_CONNECTION::read(const QStringList& global_options, const QString& command,
                            const QStringList& options, const QStringList& names,
                            const LINE_SINK& take_line) const
{
    if (!m_enabled)
        return why_disabled();
    P4_CLIENT client;
    client.time_limit =
        int(qMin<qint64>(qint64(m_time_limit) * READING_FACTOR, std::numeric_limits<int>::max()));
    const P4_ANSWER answer = client.run({global_options, command, options, names}, take_line);
    if (answer.failure.isEmpty() && answer.complaints.tell_of_no_files_only())
        return QString();
    return fault_of(answer, command);
}

QString P4_CONNECTION::specification(const QString& path)
{
    QString result;
    for (const QChar c : path) {
        const auto* const special =
            std::find_if(std::begin(SPECIAL_CHARACTERS), std::end(SPECIAL_CHARACTERS),
                         [c](const SPECIAL_CHARACTER& known) { return c == QLatin1Char(known.plain); });
        if (special != std::end(SPECIAL_CHARACTERS))
            result += QLatin1String(special->encoded);
        else
            result += c;
    }
    return result;
}

QString P4_CONNECTION::plain_name(const QString& specification)
{
    QString result;
    for (int at = 0; at < specification.size(); ++at) {
        QChar c = specification[at];
        for (const SPECIAL_CHARACTER& special : SPECIAL_CHARACTERS)
            if (c == '%' && specification.midRef(at, 3).compare(QLatin1String(special.encoded),
                                                                Qt::CaseInsensitive) == 0) {
                c = QLatin1Char(special.plain);
                at += 2;
                break;
            }
        result += c;
    }
    return result;
}

QString P4_CONNECTION::why_disabled() const
{
    return QStringLiteral("Perforce takes no part in this run: its configuration does not set p4_option.");
}
