#pragma once

#include <QtCore/QTemporaryDir>

#include <memory>

class VIRTUAL_DISPLAY;

/// Adds a row for each scenario of "tests/program/<file>": a data tree, a run of
/// the program in it, and what the run leaves. What a scenario does not tell is as
/// it mostly is.
///
///     tree: NAME           the folder of the tree, in a temporary one
///     write FILE: TEXT     a file of the tree; "{3 * x}" is "xxx"
///     plugins:             a line each: a built plugin, and its file in tool/
///     configuration: TEXT  elements of the configuration "ci", which is silent and
///                          without a progress window unless they tell
///     script: TEXT         of the scripted plugin; otherwise an action "a" of "p"
///     as: WORDS            "nobody": permissions count; "plain locale"; "closed console"; "full disk",
///                          which takes 100 bytes of each file; "display", or "display by TCP", with nobody
///                          at it; "watched", so that seen.txt tells what a person sees
///     environment:         a line each: NAME=VALUE
///     folder: NAME         the current folder, otherwise tool
///     options: WORDS       behind "--configuration=ci --dont_stop_on_error"
///     arguments: WORDS     in place of all of these
///     stop: TEXT           ask the run to end once trace.txt has this text in it; a line each time
///
/// Between the preparations and the run come the steps of "before", a line "> STEP"
/// each, that write files and replace in them (texts as in spelled_bytes.h), remove, move
/// and copy them, make them read-only or years old, and make folders. "run OPTIONS" is
/// another run of the program; or it is started, until a file has a text, and then ended
/// or killed. Commands of sh, in the tree, are for what only Unix has.
///
///     > write FILE TEXT, replace FILE OLD|NEW, sh COMMAND
///     > remove FILE, move FILE FILE, copy FILE FILE, protect FILE, old FILE, folder NAME
///     > run OPTIONS, start OPTIONS, await FILE TEXT, end, kill
///
/// A step answers with what went wrong, and a run with its status unless it is 0.
///
/// What is compared, line by line: "*" is any text in a line, a line "..." any
/// number of lines, TREE the path of the tree, ".TAG." the tag of plugin files,
/// "process OTHER;" the number of the process that a step has started, and "(ran)" what
/// the log says behind the output of an action that ran.
///
///     status: TEXT         0 unless told; "crashed N" by signal N
///     error: TEXT          standard error; nothing unless told
///     remarks: TEXT        of standard output, sorted, without "Remark: "; none unless told
///     console: TEXT        standard output
///     packets: TEXT        which it sends of itself, a line each; where the test has a network alone
///     see FILE: TEXT       what the file holds, or which files the folder; "(none)" when it
///                          is not there
///
/// Without a word of it, gox_startup_error.log and gox_plugin_error.log are empty.
void add_scenarios(const char* file);

/// What the scenarios of a test program share.
class STAGE
{
public:
    STAGE();
    ~STAGE();

    /// Plays the scenario whose row it is. Fails the test where anything differs.
    void play();

    /// What is wrong by their schemas with the reports that were compared so far; nothing
    /// but on Unix.
    QString faults_of_reports() const;

private:
    QString display_name();

    std::unique_ptr<VIRTUAL_DISPLAY> m_display; // once there was need of one
    const QTemporaryDir m_reports;
};
