#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

/// What a build leaves of an action beside its state.
struct ACTION_RESULT
{
    int duration = -1; ///< milliseconds that it ran; -1: it was not executed
    QString output;    ///< all that it had to say, the closing lines of the log included, if kept
    int said = 0;      ///< letters of `output` ahead of those closing lines
};

/// What the last build left. The build thread writes it, others read it once the
/// build has ended.
struct BUILD_RESULTS
{
    bool keep_output = false;       ///< set ahead of a build: outputs are wanted afterwards
    QVector<ACTION_RESULT> actions; ///< in the order of the plan, those that had their turn
};
