#pragma once

/// Ends the process at once with this exit status: no destructor runs, neither
/// of statics nor of anything else. What was written to standard output and
/// standard error still gets there. Any thread.
[[noreturn]] void terminate_process(int status);
