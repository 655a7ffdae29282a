#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>

/// What a file loses and gets when it is written next, by lines of rules (see
/// RULE_IDENTITY).
struct RULE_MOVES
{
    QVector<quint64> leaving;
    QVector<quint64> arriving;
};

/// A file that could not be written, or not to the end.
struct UNWRITTEN_FILE
{
    QString cause;
    int because_of; ///< the file that failed: itself, or one that its rules move to
};

/// Writes a file. With `keeps_leaving`, what leaves it stays in it beside what
/// arrives. Returns why that could not be done, empty on success.
using RULE_FILE_WRITE = std::function<QString(int file, bool keeps_leaving)>;

/// Calls `write` for each file, in an order in which a rule that moves is at no
/// time in none of them: first for those that a file's rules move to, and for the
/// file only when all of these were written. Where files wait for each other in a
/// ring, one of them is written twice, first with what leaves it. Returns the
/// files that were not written; one in whose place another is named was not
/// tried, or still holds what leaves it.
QMap<int, UNWRITTEN_FILE> write_without_loss(const QMap<int, RULE_MOVES>& files,
                                             const RULE_FILE_WRITE& write);
