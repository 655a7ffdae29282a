#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

#include "contracts/export.h"

/// The connection to Perforce, through its command line client `p4`. The
/// program builds one and hands it to what saves files under version control;
/// the build flow itself asks nothing of it.
///
/// Server, user, workspace and login are those of the environment and of the
/// client's own settings. Nothing is ever asked: a call that would need an
/// answer fails. A call blocks until the client has ended, at most for the time
/// limit. An error text names the cause and, where it is known, what to do; it
/// may have several lines. After an error some of the files may have been opened
/// and others not.
///
/// Used by one thread at a time, in the program by the GUI thread; no event loop
/// is needed and none is run.
class GOX_CONTRACTS_EXPORT P4_CONNECTION
{
public:
    /// `use_environment` and `never_prompt` say what always holds: there is no
    /// other way to connect. `enabled`: without it the client is never run, and
    /// each operation gives an error that says so.
    P4_CONNECTION(bool use_environment, bool never_prompt, bool enabled);
    ~P4_CONNECTION();

    /// Whether files are under version control in this run.
    bool is_enabled() const { return m_enabled; }

    /// Opens files of the depot for edit. Empty on success, and then every one
    /// of them can be written on disk. A file that stays read-only is an error
    /// and stays as it is.
    QString open_for_edit(const QStringList& files);

    /// Opens files that the depot does not have for add. Empty on success.
    QString open_for_add(const QStringList& files);

    /// Takes a line of an answer. A text that is not empty ends the reading and
    /// is its error.
    using LINE_SINK = std::function<QString(const QByteArray& line)>;

    /// What workspace and depot know of the files of these specifications: the
    /// tagged output of "fstat", line by line, with the fields action,
    /// depotFile, haveRev, headAction, headRev and headTime. A specification
    /// that names no file of the depot gives none.
    QString read_file_states(const QStringList& specifications, const LINE_SINK& take_line);

    /// The revision that the workspace has of each file of the specifications.
    /// A line gives the file in the depot, and the lines behind it, up to the
    /// next file, tell of its revisions: "#3 change 12 edit on 2020/01/31
    /// 12:00:00 by ...", in the server's time.
    QString read_history(const QStringList& specifications, const LINE_SINK& take_line);

    /// How many seconds the server's time is ahead of UTC now.
    QString read_server_time_offset(int& seconds);

    /// A file or folder on disk as Perforce specifications name it: "@", "#",
    /// "%" and "*" have a meaning there and are written as "%40" and so on.
    static QString specification(const QString& path);

    /// The opposite, for a name in an answer. A "%" that begins none of the four
    /// stands for itself.
    static QString plain_name(const QString& specification);

    /// Of one call on named files, in milliseconds; a reading, which may speak
    /// of a whole depot, has ten times as long. One minute when nothing is set.
    void set_time_limit(int milliseconds) { m_time_limit = milliseconds; }

private:
    Q_DISABLE_COPY(P4_CONNECTION)

    QString open_files(const QString& command, const QStringList& options, const QStringList& files,
                       const QStringList& names) const;
    QString open_batch(const QString& command, const QStringList& options, const QStringList& names,
                       const QStringList& files) const;
    QString read(const QStringList& global_options, const QString& command, const QStringList& options,
                 const QStringList& names, const LINE_SINK& take_line) const;
    QString why_disabled() const;

    bool m_enabled;
    int m_time_limit = 60000;
};
