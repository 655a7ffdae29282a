#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// A build log taken apart: the count line of the main log and one section an
/// action.
class BUILD_LOG
{
public:
    explicit BUILD_LOG(const QByteArray& bytes);

    int count = -1; ///< of the count line; -1 when there is none

    /// What stands between "=== " and " ===" of each section, in order.
    QStringList headings;

    /// The same without the processor: the actions in the order of the log.
    QStringList actions() const;

    /// The text of the action's section, with the time behind "Duration: "
    /// replaced by "*"; null when the action has none.
    QString body(const QString& action) const;

private:
    QStringList m_bodies;
};
