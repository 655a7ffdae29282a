#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include "contracts/export.h"

/// The parsed command line: `--name`, `-name`, `--name=value`, `--name value`,
/// on Windows `/name` too. A key keeps its spelling, but for the letters that stand
/// for a whole name, as in `-h`; the last of equal keys counts. Written once by
/// `initialise`, then read by any thread.
class GOX_CONTRACTS_EXPORT COMMAND_LINE_OPTIONS
{
public:
    /// Parses the arguments behind the program's name. Appends a line to
    /// `errors` for a value without a key in front, a value of an option that
    /// takes none, and a key that no part of the program looks at; all are
    /// otherwise without effect. May be called before there is an application.
    void initialise(int argc, char** argv, QStringList& errors);

    bool exists(const QString& name) const { return m_options.contains(name); }

    /// Empty for an option without a value, or that does not exist.
    QString value(const QString& name) const { return m_options.value(name); }

    /// Everything that was parsed, in the order of the keys.
    const QMap<QString, QString>& get_all() const { return m_options; }

    /// What `--help` prints.
    static QString help_text();

private:
    QMap<QString, QString> m_options;
};
