#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/export.h"

/// An option that a program looks at.
struct COMMAND_LINE_OPTION
{
    const char* name;
    const char* value;   ///< what the help calls its value; null for an option that takes none
    const char* letters; ///< each of them is the option too
    bool any_case;       ///< looked up by the lower-case key
    const char* help;
};

/// The parsed command line: `--name`, `-name`, `--name=value`, `--name value`,
/// on Windows `/name` too. A key keeps its spelling, but for the letters that stand
/// for a whole name, as in `-h`; the last of equal keys counts. Written once by
/// `initialise`, then read by any thread.
class GOX_CONTRACTS_EXPORT COMMAND_LINE_OPTIONS
{
public:
    /// `known`: all that the program looks at. Without any, no key is unknown and
    /// each may have a value.
    explicit COMMAND_LINE_OPTIONS(const QVector<COMMAND_LINE_OPTION>& known = {}) : m_known(known) {}

    /// Parses the arguments behind the program's name. Appends a line to
    /// `errors` for a value without a key in front, a value of an option that
    /// takes none, and a key that is not known; all are otherwise without effect.
    /// May be called before there is an application.
    void initialise(int argc, char** argv, QStringList& errors);

    bool exists(const QString& name) const { return m_options.contains(name); }

    /// Empty for an option without a value, or that does not exist.
    QString value(const QString& name) const { return m_options.value(name); }

    /// Everything that was parsed, in the order of the keys.
    const QMap<QString, QString>& get_all() const { return m_options; }

private:
    QVector<COMMAND_LINE_OPTION> m_known;
    QMap<QString, QString> m_options;
};
