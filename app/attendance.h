#pragma once

struct CHOSEN_CONFIGURATION;
class COMMAND_LINE_OPTIONS;

/// Who is there while the program runs. The process entry works it out and hands
/// it down.
struct ATTENDANCE
{
    bool has_display = true;        ///< a person can see a window
    bool has_person = true;         ///< and answers what comes up; UNATTENDED_BOXES does otherwise
    bool tells_the_console = false; ///< RUN_REPORT is on
};

/// Nobody is to be asked anything where nothing is seen, nor in a run that is
/// unattended by its configuration and options; a configuration that can't be
/// read can't say that it is not. Whoever chooses one by hand is there.
ATTENDANCE attendance(bool has_display, const CHOSEN_CONFIGURATION& configuration,
                      const COMMAND_LINE_OPTIONS& options);
