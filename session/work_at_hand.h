#pragma once

#include <QtCore/QString>

/// What the process is at, kept where a signal handler can read it, so that a
/// crash can say in which step or action it happened.
namespace WORK_AT_HAND {

/// From now on the calling thread is at this: "<processor> / <action>" or a
/// step. Cut at 1000 bytes. One thread at a time: the GUI thread, and the build
/// thread while a build runs.
void note(const QString& text);

/// The latest note in UTF-8, "the start" before the first. Safe in a signal
/// handler, any thread.
const char* text();

/// Whether the calling thread is the one that noted it. Safe in a signal handler.
bool is_of_this_thread();

} // namespace WORK_AT_HAND
