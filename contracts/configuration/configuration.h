#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/export.h"

/// How a run is to go: which processors and folders take part, whether a person
/// is present, what is selected without asking.
///
/// A plain record that is read and written directly. One is loaded at start-up
/// and stays as it is for the whole process, so any thread may read it; others,
/// such as the configuration editor's, belong to one thread.
class GOX_CONTRACTS_EXPORT CONFIGURATION
{
public:
    QVector<QString> processors;     ///< names; empty means all
    QVector<QString> directories;    ///< logical folders to scan besides; "..." means all roots
    QVector<QString> global_rules;   ///< rule files, relative to the folder GOX beside the program
    bool retail = false;             ///< retail output takes part
    bool silent = false;             ///< no person is present
    bool no_progress_dialog = false; ///< build without the dialog; the database opens as on a build server
    bool p4_option = false;          ///< third argument of P4_CONNECTION
    bool scan_perforce = false;      ///< stored and edited only
    int merge_db_for_checkin = 3;    ///< 1 always, 2 never, 3 ask; other numbers are kept as they stand
    bool keep_output = true;         ///< output of an action stays in memory once it is logged
    bool load_asset_graph = true;    ///< the start-up step of that name runs
    bool clean_asset_graph = false;  ///< the start-up step of that name runs
    bool get_latest = false;         ///< where the check box "get latest" starts
    QStringList selected_providers;  ///< patterns of files whose makers a silent run selects
    QStringList selected_consumers;  ///< patterns of files whose users a silent run selects

    /// Reads the file into the record. A member whose element is absent stays
    /// as it was, unknown elements are skipped. False, with `error` set to file,
    /// line, column and cause, when the file can't be read or holds a value that
    /// means nothing; then the whole record stays as it was.
    bool load(const QString& path, QString& error);

    /// The same, which also puts a line into `passed_over` for each unknown element,
    /// with its place and the nearest name that would have been known. Beyond 100 a
    /// last line says that there are more.
    bool load(const QString& path, QString& error, QStringList& passed_over);

    /// Writes the record, whole or not at all: a file that is there stays as it
    /// was when false comes back. The folder must exist. With `only_if_changed`
    /// a file that holds the very same bytes already is not written again, so
    /// its date stays.
    bool save(const QString& path, bool only_if_changed) const;

    /// The same, and with false the file and the cause in `error`.
    bool save(const QString& path, bool only_if_changed, QString& error) const;
};
