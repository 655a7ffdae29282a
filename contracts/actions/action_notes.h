#pragma once

#include <QtCore/QtGlobal>

#include <limits>
#include <memory>

#include "contracts/export.h"

class ACTION_INTERFACE;
struct ASKED_QUESTIONS;

/// What the program keeps with an action to tell whether it has to run again. For
/// the program alone. There are as many as actions, so it is small. Written on the
/// GUI thread during start-up and by the build thread during a build.
struct ACTION_NOTES
{
    static constexpr qint64 NO_STAMP = std::numeric_limits<qint64>::min();

    /// Stands for the name of the processor and the logical paths of the targets, in
    /// whichever order they come; 0 for an action without targets. Two actions of one
    /// processor with the same targets have the same.
    quint64 key = 0;
    qint64 stamp = NO_STAMP; ///< of collect_files: milliseconds since 1970, UTC

    /// What it asked in collect_files and resolve_dependencies, and, of what its
    /// processor asked in collect_actions, the rules for its own files. Null: nothing.
    std::unique_ptr<ASKED_QUESTIONS> asked;

    bool has_run = false;     ///< executed in this build, and not passed over by itself
    bool keeps_entry = false; ///< it was told in this build that it is up to date

    /// A member, since not every compiler knows a friend that a library exports.
    GOX_CONTRACTS_EXPORT static ACTION_NOTES& of(ACTION_INTERFACE& action);
};

inline ACTION_NOTES& notes_of(ACTION_INTERFACE& action)
{
    return ACTION_NOTES::of(action);
}
