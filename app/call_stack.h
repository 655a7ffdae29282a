#pragma once

/// What a process that is about to die can still write. Nothing here allocates;
/// all of it is safe in a signal handler, once `prepare` has been called.
namespace CALL_STACK {

/// Loads what the system needs for a stack, while that is still possible.
void prepare();

/// Opens the file for writing, which empties it; -1 when that can't be done.
/// `path` is in the encoding of the system.
int open_file(const char* path);
void close_file(int file);

void write(int file, const char* text);

/// The calls that led here, innermost first, a line each; nothing where the system
/// does not know. A place in a library is its file and the offset there.
void write_calls(int file);

} // namespace CALL_STACK
