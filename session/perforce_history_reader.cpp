#include <utility>

#include "contracts/services/p4_text.h"
#include "session/file_entry.h"
#include "session/perforce_reading.h"

namespace {

// `size` digits at `at`; -1 for anything else.
int number_at(const QByteArray& text, int at, int size)
{
    int number = 0;
    for (int i = at; i < at + size; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9')
            return -1;
        number = 10 * number + (text[i] - '0');
    }
    return number;
}

// "2020/01/31 12:00:00" at `at`. By hand, since a large depot has a million of
// them and QDateTime takes its time over a format.
QDateTime time_at(const QByteArray& text, int at)
{
    const QByteArray marks = text.mid(at, 19);
    if (marks.size() != 19 || marks[4] != '/' || marks[7] != '/' || marks[10] != ' ' || marks[13] != ':' ||
        marks[16] != ':')
        return QDateTime();
    const QDate date(number_at(marks, 0, 4), number_at(marks, 5, 2), number_at(marks, 8, 2));
    const QTime time(number_at(marks, 11, 2), number_at(marks, 14, 2), number_at(marks, 17, 2));
    return date.isValid() && date.year() > 0 && time.isValid() ? QDateTime(date, time, Qt::UTC) : QDateTime();
}

} // namespace

PERFORCE_HISTORY_READER::PERFORCE_HISTORY_READER(const PERFORCE_ROOTS& roots,
                                                 std::function<FILE_ENTRY*(const PHYSICAL_PATH&)> file_at,
                                                 int time_offset)
    : m_roots(roots), m_file_at(std::move(file_at)), m_time_offset(time_offset)
{
}

QString PERFORCE_HISTORY_READER::add_line(const QByteArray& line)
{
    const QString error = refusal();
    if (!error.isEmpty())
        return error;
    if (line.startsWith('#'))
        return take_revision(line);
    if (!line.startsWith("//"))
        return QString();
    const PHYSICAL_PATH path = m_roots.physical_path(P4_TEXT::decode(line));
    m_file = static_cast<const QString&>(path).isEmpty() ? nullptr : m_file_at(path);
    m_has_file = true;
    return QString();
}

QString PERFORCE_HISTORY_READER::take_revision(const QByteArray& line)
{
    if (!m_has_file)
        return fail(QStringLiteral("Perforce's history has a revision and no file ahead of it: %1")
                        .arg(P4_TEXT::decode(line.left(200))));
    if (!m_file)
        return QString();
    if (m_file->p4_state == FILE_STATE_NO_CHANGE) {
        m_file->have_time = m_file->head_time;
        return QString();
    }
    const int at = line.indexOf(" on ");
    const QDateTime time = at < 0 ? QDateTime() : time_at(line, at + 4);
    if (!time.isValid())
        return fail(QStringLiteral("Perforce's history has a revision without \" on \" and a time: %1")
                        .arg(P4_TEXT::decode(line.left(200))));
    m_file->have_time = time.addSecs(-m_time_offset);
    return QString();
}
