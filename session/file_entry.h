#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QVector>

#include "contracts/paths/physical_path.h"

class ACTION_INTERFACE;

/// What the workspace or the depot has to say about a file: the values of
/// FILE_ENTRY::local_state and FILE_ENTRY::p4_state.
enum FILE_STATE : int
{
    FILE_STATE_NO_CHANGE = 0,
    FILE_STATE_DELETED = 1,
    FILE_STATE_ADDED = 2,
    FILE_STATE_MODIFIED = 3,
    FILE_STATE_NO_PERFORCE = 4, ///< no Perforce information: every file that only the disk knows
    FILE_STATE_UNKNOWN = 5,     ///< just constructed
};

/// The record of one file, one per logical path. The session's file map and
/// file lookup point at the same record; nothing frees it once actions exist.
/// Written on the GUI thread during start-up and by the build thread while a
/// build runs. Times are null where nothing is known.
struct FILE_ENTRY
{
    PHYSICAL_PATH physical;                    ///< where the file lies, in its folder's letter case
    QDateTime have_time;                       ///< of the revision in the workspace
    QDateTime head_time;                       ///< of the latest revision in the depot
    QDateTime local_time;                      ///< modification time on disk
    qint64 local_size = -1;                    ///< bytes when it was scanned; -1: unknown, or `local_time`
                                               ///< is that of another file with this logical path
    int local_state = FILE_STATE_UNKNOWN;      ///< workspace copy, a FILE_STATE
    int p4_state = FILE_STATE_UNKNOWN;         ///< depot copy, a FILE_STATE
    QVector<ACTION_INTERFACE*> consumers;      ///< actions that read the file; not owned
    QVector<ACTION_INTERFACE*> providers;      ///< actions that write the file; not owned
    ACTION_INTERFACE* main_provider = nullptr; ///< last provider whose target was not secondary
    bool intermediate = false;                 ///< only carries data between actions
    bool virtual_file = false;                 ///< announced by a processor; need not be on disk
    bool out_of_date_target = false;           ///< as a target, by local dates
    bool out_of_date_source = false;           ///< as a source, by local dates
    bool out_of_date_target_latest = false;    ///< as a target, by latest revisions
    bool out_of_date_source_latest = false;    ///< as a source, by latest revisions
};
