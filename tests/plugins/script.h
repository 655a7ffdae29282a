#pragma once

#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// What a whole run does, from a small text. One word and its argument a line;
/// "#" starts a comment line, and leading blanks do not count. The argument is
/// the rest of the line, so that names and texts may hold blanks.
///
///     trace [+]FILE             calls go into FILE, beside the script, with "+" behind what it holds
///     crashes CALL HOW          the first such call does not come back: a call as the trace
///                               names it, "display_text", or of the plugin, "load",
///                               "construct" or "processors_of_plugin"; HOW is a signal's
///                               number, "overflow", "throw", "throw_number", "terminate" or "exit:STATUS"
///     processor NAME            what follows belongs to it
///       order N                 0 by default
///       scan <raw>/folder       a scan directory
///       virtual [TIME] PATH     a virtual file; TIME is ISO 8601, now without
///       collecting_raises TEXT  a message box while actions are collected
///       collecting_warns TEXT   a Qt warning then
///       collecting_says TEXT    a line of standard output, as C's library holds it back
///       collecting_asks TEXT    a dialog with this text then, that is no message box
///       collecting_awaits FILE  goes on then once FILE is there, beside the script
///       asks QUESTION           while actions are collected; the answer goes into the targets
///                               of all actions that copy, too
///       virtual_asks QUESTION   while virtual files are
///     action NAME               of the processor above; names are unique
///       long TEXT               the long display text; NAME without
///       reads PATH              an input
///       writes [intermediate] [secondary] PATH
///       stamp TIME
///       group LABEL             one action group for all with this label
///       depends ACTION          add_dependency, without pulling it along
///       pulls ACTION            add_dependency, pulling it along
///       preset TEXT             a line of preset_errors
///       begins N                the state before the build
///       total N                 progress_total
///       ignores_dependencies    checks_dependencies is false
///       needs_review            sets review_needed
///       review_fails            review_is_failure is true
///       ignores_abort           goes on when it is asked to stop
///       collect_asks QUESTION   in collect_files; the answer goes into the targets, too
///       resolve_asks QUESTION   in resolve_dependencies
///       knows_when              returns 2 at once when is_up_to_date says so
///       copies                  its stamp, file names and bytes of its inputs go into the targets
///       adds                    to what a secondary target holds already
///       lingers FILE            once the targets are written, until FILE is there, beside the script
///       ends N                  the result of execute; 2 without
///     and what execute does, in this order, each as often as wanted:
///       says TEXT               an output line
///       warns TEXT              a Qt warning
///       raises TEXT             a message box of the base library
///       takes N                 N milliseconds
///       awaits_abort            until it is asked to stop
///       awaits FILE             the same, or until FILE is there, beside the script
///       progress N              progress_current
///       environment NAME        says what the variable is
///       streams                 says what the three of the process lead to, on Linux
///       services                says which services it was given
///       rule NAME PROPERTY      says what the rule gives for the first input
///       asks QUESTION           says the answer, which goes into the targets, too
///       files                   a line for each input and target: what its record knows
///
/// A processor or action of the name "null" is a null pointer.
///
/// A QUESTION is "rule KIND PATH", "table NAME", "sql STATEMENT" or "graph ASSET".
///
/// A PATH is logical, "<working>/a/b.txt", in the spelling that it is to have
/// on disk, or absolute.
struct SCRIPT_PART // a processor or an action
{
    QString name;
    QVector<QPair<QString, QString>> lines; ///< word and argument, in their order

    QStringList all(const QString& word) const;                                    ///< the word's arguments
    QString text(const QString& word, const QString& otherwise = QString()) const; ///< the last of them
    int number(const QString& word, const QString& otherwise = QString()) const
    {
        return text(word, otherwise).toInt();
    }
    bool has(const QString& word) const { return !all(word).isEmpty(); }
};

struct SCRIPT_PROCESSOR : SCRIPT_PART
{
    QVector<SCRIPT_PART> actions;
};

struct SCRIPT
{
    QVector<SCRIPT_PROCESSOR> processors;
    QString trace;      ///< a file name; empty for none
    QString crash;      ///< "CALL HOW"; empty for none
    QStringList errors; ///< "file:line: what is wrong"; a script with errors is not to be run

    /// Reads the text; `file_name` is for the errors.
    static SCRIPT parse(const QString& text, const QString& file_name);
};
