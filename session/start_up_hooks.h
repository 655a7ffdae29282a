#pragma once

#include <QtCore/QMap>
#include <QtCore/QThread>

#include "contracts/services/fw_message_box.h"

class ACTION_INTERFACE;

/// What the program plugs into its base libraries: thread numbers for the memory
/// tracker and the hook that sees message boxes. All of it is plain shared data
/// without a lock: written where told, read from any thread.

extern int next_thread_number;               ///< number for the next thread, from 1 up
extern QMap<Qt::HANDLE, int> thread_numbers; ///< number of each registered thread
extern bool shutting_down;                   ///< the session is going away
extern bool silent_mode;                     ///< copy of CONFIGURATION::silent
extern ACTION_INTERFACE* current_action;     ///< the action that the build thread runs, or null

/// Gives the calling thread the next number; a thread that has one gets a new
/// one. Main thread, and the build thread at the start of a build.
void register_current_thread();

/// The memory tracker's callback: 0 for a thread without a number, and for
/// every thread once the session is going away.
unsigned int thread_number_of_current_thread();

/// Takes the text of a message box into the output of the current action, if
/// there is one, in place of showing it. `show_box` becomes false. The result is
/// false in silent mode.
bool startup_message_hook(bool is_assertion, const FW::UniString& text, bool& show_box,
                          bool& break_in_debugger);
