#pragma once

#include <QtCore/QString>

/// Told what a long operation of the database is doing. Implemented by whoever
/// shows it; the database owns none and calls on the thread of its caller.
class PROGRESS_CALLBACK
{
public:
    virtual ~PROGRESS_CALLBACK() = default;

    /// `text` names what comes next, step `done` (from 0) of `total`.
    virtual void progress(const QString& text, int done, int total) = 0;
};
