#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/services/digest.h"
#include "contracts/services/file_stamp.h"

// What the build record holds: plain values. None of them knows what they are
// for; whether an action is up to date is decided by who compares them with what
// there is now.

struct RECORDED_FILE
{
    QString logical; ///< as LOGICAL_PATH spells it
    QString place;   ///< on disk: relative to the parent of the tool folder, absolute outside of it
    FILE_STAMP stamp;

    bool operator==(const RECORDED_FILE& other) const
    {
        return logical == other.logical && place == other.place && stamp == other.stamp;
    }
};

/// What the rules said about a path.
struct RECORDED_ANSWER
{
    QString path;
    QString kind;
    bool found = false;            ///< a rule applied
    QMap<QString, QString> values; ///< property to text

    bool operator==(const RECORDED_ANSWER& other) const
    {
        return path == other.path && kind == other.kind && found == other.found && values == other.values;
    }
};

/// A database table that was read; a digest that is null never holds.
struct RECORDED_TABLE
{
    QString name;
    DIGEST digest;

    bool operator==(const RECORDED_TABLE& other) const
    {
        return name == other.name && digest == other.digest;
    }
};

/// What an action shares with many others: few distinct ones in a record, which keeps
/// each once.
struct SURROUNDINGS
{
    QString library; ///< file of the plugin
    DIGEST library_digest;
    bool asked_graph = false;
    DIGEST graph_digest; ///< of the asset graph; null when it was not asked
    QVector<RECORDED_TABLE> tables;

    bool operator==(const SURROUNDINGS& other) const
    {
        return library == other.library && library_digest == other.library_digest &&
               asked_graph == other.asked_graph && graph_digest == other.graph_digest &&
               tables == other.tables;
    }
};

/// What is needed of each action to decide whether it is up to date: small, all of
/// them are in memory.
struct BUILD_ENTRY
{
    quint64 key = 0;          ///< of the action
    DIGEST state;             ///< of stamp, inputs and targets, opaque here
    DIGEST rules;             ///< of all rules when it ran; null: it asked none
    qint64 ended = 0;         ///< ms since 1970, UTC: later than that of every action that ended before.
                              ///< In what goes to the writer, 0 for the end right now
    quint32 surroundings = 0; ///< number in RECORD_CONTENT; without a meaning in what goes to the writer
    qint32 duration = 0;      ///< of the run, ms
    bool had_warnings = false;
    bool is_gone = false; ///< it failed or was stopped then: whatever older entries say, there is none

    bool operator==(const BUILD_ENTRY& other) const
    {
        return key == other.key && state == other.state && rules == other.rules && ended == other.ended &&
               surroundings == other.surroundings && duration == other.duration &&
               had_warnings == other.had_warnings && is_gone == other.is_gone;
    }
};

Q_DECLARE_TYPEINFO(BUILD_ENTRY, Q_MOVABLE_TYPE);

/// The rest, which is looked up only where somebody asks.
struct BUILD_ENTRY_DETAILS
{
    QString name; ///< processor and action, for people; what is no Unicode in it is replaced
    qint64 stamp = NO_TIME;
    QVector<RECORDED_FILE> inputs;
    QVector<RECORDED_FILE> targets;
    QVector<RECORDED_ANSWER> answers;
    QString warning; ///< last message line of a run with warnings

    bool operator==(const BUILD_ENTRY_DETAILS& other) const
    {
        return name == other.name && stamp == other.stamp && inputs == other.inputs &&
               targets == other.targets && answers == other.answers && warning == other.warning;
    }
};
