#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <functional>

#include "contracts/paths/physical_path.h"
#include "contracts/services/p4_tagged_output.h"
#include "session/perforce_roots.h"

struct FILE_ENTRY;

/// What the two readers of Perforce's answers share: their calls give an error,
/// empty on success. What they have delivered before a failure stays delivered;
/// whoever reads gives up the whole result. GUI thread.
class PERFORCE_READING
{
public:
    /// Set by the first answer, of any reader, that means nothing. From then on
    /// no reader of the process reads on.
    static bool s_failed;

protected:
    static QString fail(const QString& cause); // `cause`
    static QString refusal();                  // empty while reading may go on
};

/// One file of the depot that counts in the workspace.
struct PERFORCE_FILE
{
    PHYSICAL_PATH path;
    QDateTime head_time; ///< UTC; null when the depot has no revision
    int local_state = 0; ///< a FILE_STATE
    int p4_state = 0;    ///< a FILE_STATE
};

/// Reads what workspace and depot know of files from the tagged output of the
/// file-status command. Files that are opened for delete, and files that are
/// deleted in the depot and not in the workspace, are left out.
class PERFORCE_STATUS_READER : public PERFORCE_READING
{
public:
    /// `take_file` is called for each file, in the order of the output.
    PERFORCE_STATUS_READER(const PERFORCE_ROOTS& roots, std::function<void(const PERFORCE_FILE&)> take_file);

    /// The next line, without its line end.
    QString add_line(const QByteArray& line);

    /// To be called behind the last line: the last record needs no empty line.
    QString finish();

private:
    QString take(P4_TAGGED_OUTPUT::STEP step);
    QString take_record(const P4_TAGGED_OUTPUT::RECORD& record);

    PERFORCE_ROOTS m_roots;
    std::function<void(const PERFORCE_FILE&)> m_take_file;
    P4_TAGGED_OUTPUT m_output;
};

/// Reads the history of files: a line that begins with the depot root names a
/// file, lines that begin with "#" tell of its revisions. The time of the last
/// of these becomes the file's `have_time`; a file whose depot copy is unchanged
/// takes its `head_time` instead. Files outside the depot root play no part.
class PERFORCE_HISTORY_READER : public PERFORCE_READING
{
public:
    /// `file_at` gives the record of a place, or null for a file that plays no
    /// part. `time_offset`: how many seconds the times of the history are ahead
    /// of UTC.
    PERFORCE_HISTORY_READER(const PERFORCE_ROOTS& roots,
                            std::function<FILE_ENTRY*(const PHYSICAL_PATH&)> file_at, int time_offset);

    /// The next line, without its line end.
    QString add_line(const QByteArray& line);

private:
    QString take_revision(const QByteArray& line);

    PERFORCE_ROOTS m_roots;
    std::function<FILE_ENTRY*(const PHYSICAL_PATH&)> m_file_at;
    int m_time_offset;
    bool m_has_file = false;      // a line has named one
    FILE_ENTRY* m_file = nullptr; // not owned; null for one that plays no part
};
