#include <utility>

#include "contracts/services/p4_text.h"
#include "session/file_entry.h"
#include "session/perforce_reading.h"

namespace {

enum ACTION : int
{
    ACTION_ADD = 0,
    ACTION_DELETE = 1,
    ACTION_EDIT = 2,
    ACTION_OTHER = 3,
    ACTION_NONE = 4,
};

const qint64 LATEST_TIME = 253402300799; // the last second of the year 9999

// One record of the output, its fields read.
struct STATUS
{
    QString depot_file;
    int action = ACTION_NONE; // what the file is opened for
    int head_action = ACTION_NONE;
    int have_revision = 0; // 0 for none
    int head_revision = 0;
    qint64 head_time = -1; // seconds since 1970; below 0 for none
};

int action_of(const QByteArray& word)
{
    if (word.isEmpty())
        return ACTION_NONE;
    if (word == "add" || word == "branch" || word == "move/add")
        return ACTION_ADD;
    if (word == "delete" || word == "move/delete")
        return ACTION_DELETE;
    if (word == "edit" || word == "integrate")
        return ACTION_EDIT;
    return ACTION_OTHER;
}

bool read_revision(const QByteArray& word, int& revision)
{
    if (word.isEmpty() || word == "none")
        return true;
    bool is_number = false;
    revision = word.toInt(&is_number);
    return is_number && revision >= 0;
}

bool read_time(const QByteArray& word, qint64& seconds)
{
    if (word.isEmpty())
        return true;
    bool is_number = false;
    seconds = word.toLongLong(&is_number);
    return is_number && seconds >= 0 && seconds <= LATEST_TIME;
}

bool read_status(const P4_TAGGED_OUTPUT::RECORD& record, STATUS& status)
{
    status.depot_file = P4_TEXT::decode(record.value("depotFile"));
    status.action = action_of(record.value("action"));
    status.head_action = action_of(record.value("headAction"));
    return !status.depot_file.isEmpty() && read_revision(record.value("haveRev"), status.have_revision) &&
           read_revision(record.value("headRev"), status.head_revision) &&
           read_time(record.value("headTime"), status.head_time);
}

bool is_dropped(const STATUS& status)
{
    return status.action == ACTION_DELETE ||
           (status.head_action == ACTION_DELETE && status.have_revision == 0);
}

// By what a file of the workspace is opened for; -1 where that means nothing.
int state_of_opened(int action)
{
    switch (action) {
    case ACTION_ADD:
        return FILE_STATE_ADDED;
    case ACTION_DELETE:
        return FILE_STATE_DELETED;
    case ACTION_EDIT:
        return FILE_STATE_MODIFIED;
    case ACTION_NONE:
        return FILE_STATE_NO_CHANGE;
    default:
        return -1;
    }
}

// False for a combination that means nothing.
bool read_states(const STATUS& status, PERFORCE_FILE& file)
{
    if (status.have_revision != 0) {
        file.p4_state = status.head_revision <= status.have_revision ? FILE_STATE_NO_CHANGE
                        : status.head_action == ACTION_DELETE        ? FILE_STATE_DELETED
                                                                     : FILE_STATE_MODIFIED;
        file.local_state = state_of_opened(status.action);
        return file.local_state >= 0;
    }
    if (status.action == ACTION_ADD) {
        file.local_state = FILE_STATE_ADDED;
        file.p4_state = status.head_revision != 0 ? FILE_STATE_NO_CHANGE : FILE_STATE_NO_PERFORCE;
        return true;
    }
    file.local_state = FILE_STATE_NO_CHANGE;
    file.p4_state = FILE_STATE_ADDED;
    return status.head_revision != 0;
}

QString text_of(const P4_TAGGED_OUTPUT::RECORD& record)
{
    QStringList fields;
    for (const char* field : {"depotFile", "action", "haveRev", "headAction", "headRev", "headTime"})
        if (record.contains(field))
            fields.append(QStringLiteral("%1 %2").arg(QLatin1String(field),
                                                      P4_TEXT::decode(record.value(field).left(200))));
    return fields.join(QStringLiteral(", "));
}

} // namespace

bool PERFORCE_READING::s_failed = false;

QString PERFORCE_READING::fail(const QString& cause)
{
    s_failed = true;
    return cause;
}

QString PERFORCE_READING::refusal()
{
    return s_failed
               ? QStringLiteral("An answer of Perforce made no sense before, so no more of them are read.")
               : QString();
}

PERFORCE_STATUS_READER::PERFORCE_STATUS_READER(const PERFORCE_ROOTS& roots,
                                               std::function<void(const PERFORCE_FILE&)> take_file)
    : m_roots(roots), m_take_file(std::move(take_file))
{
}

QString PERFORCE_STATUS_READER::add_line(const QByteArray& line)
{
    const QString error = refusal();
    return error.isEmpty() ? take(m_output.add_line(line)) : error;
}

QString PERFORCE_STATUS_READER::finish()
{
    const QString error = refusal();
    return error.isEmpty() ? take(m_output.finish()) : error;
}

QString PERFORCE_STATUS_READER::take(P4_TAGGED_OUTPUT::STEP step)
{
    switch (step) {
    case P4_TAGGED_OUTPUT::IN_RECORD:
        return QString();
    case P4_TAGGED_OUTPUT::RECORD_END:
        return take_record(m_output.record());
    default:
        return fail(m_output.error());
    }
}

QString PERFORCE_STATUS_READER::take_record(const P4_TAGGED_OUTPUT::RECORD& record)
{
    STATUS status;
    PERFORCE_FILE file;
    if (!read_status(record, status))
        return fail(QStringLiteral("Perforce's status of a file can't be read: %1").arg(text_of(record)));
    if (is_dropped(status))
        return QString();
    file.path = m_roots.physical_path(status.depot_file);
    if (static_cast<const QString&>(file.path).isEmpty())
        return fail(QStringLiteral("Perforce's status speaks of a file outside %1: %2")
                        .arg(m_roots.depot, status.depot_file));
    if (!read_states(status, file))
        return fail(QStringLiteral("Perforce's status of a file makes no sense: %1").arg(text_of(record)));
    if (status.head_time >= 0)
        file.head_time = QDateTime::fromSecsSinceEpoch(status.head_time, Qt::UTC);
    m_take_file(file);
    return QString();
}
