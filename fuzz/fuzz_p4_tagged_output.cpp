#include "fuzz/fuzz_target.h"
#include "session/file_entry.h"
#include "session/perforce_reading.h"

// Both readers of Perforce's answers, line by line.
void take_input(const QByteArray& input)
{
    const PERFORCE_ROOTS roots{QStringLiteral("//depot"), QStringLiteral("/work")};
    FILE_ENTRY entry;
    PERFORCE_STATUS_READER states(roots, [&](const PERFORCE_FILE& file) {
        require(static_cast<const QString&>(file.path).startsWith(roots.workspace + '/'),
                QStringLiteral("a file outside the workspace"));
        require(file.local_state >= 0 && file.local_state <= FILE_STATE_MODIFIED && file.p4_state >= 0 &&
                    file.p4_state <= FILE_STATE_NO_PERFORCE,
                QStringLiteral("a state that does not exist"));
        entry.p4_state = file.p4_state;
        entry.head_time = file.head_time;
    });
    PERFORCE_READING::s_failed = false;
    const QList<QByteArray> lines = input.split('\n');
    QString cause;
    for (const QByteArray& line : lines)
        cause += states.add_line(line);
    cause += states.finish();
    require(PERFORCE_READING::s_failed != cause.isEmpty(), QStringLiteral("failed without a cause"));

    PERFORCE_READING::s_failed = false;
    PERFORCE_HISTORY_READER history(
        roots, [&](const PHYSICAL_PATH&) { return &entry; }, 3600);
    for (const QByteArray& line : lines)
        history.add_line(line);
}
