#pragma once

/// As long as it lives, the program's texts are UTF-8, whatever locale and code page
/// say: file names on Unix, logs, and what a console shows. One at a time, in main, ahead
/// of whoever deals with console events: one that nobody deals with ends the process.
class UTF8_TEXTS
{
public:
    UTF8_TEXTS();
    ~UTF8_TEXTS();
    UTF8_TEXTS(const UTF8_TEXTS&) = delete;
    UTF8_TEXTS& operator=(const UTF8_TEXTS&) = delete;

    /// A console of Windows belongs to others too and outlives the process: it gets its
    /// code page back. For an end of the process that runs no destructors.
    static void give_console_back();
};
