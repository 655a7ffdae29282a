#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

/// A conversation with what is tested, as a case file has it: a line with "> " in
/// front is a command, and the lines behind it are what must come of it.
///
///     > save
///     raw_data/rules.gox: not saved, it is read-only
///     > ask <raw>/a.png
///     none
class SCRIPT
{
public:
    SCRIPT() = default;
    virtual ~SCRIPT() = default;

    /// What the command says; its name is the first word, and the others are what
    /// it is given. One that nobody knows ends the test program.
    QString carry_out(const QString& command)
    {
        const QString name = command.section(' ', 0, 0), rest = command.section(' ', 1);
        if (!m_does.contains(name) && !m_tells.contains(name))
            qFatal("no command: %s", qPrintable(command));
        if (m_does.contains(name))
            m_does[name](rest);
        return told(m_tells.contains(name) ? m_tells[name](rest) : QString());
    }

    /// Carries out the commands of a conversation and gives it as it went, to be
    /// compared with `wanted`.
    QString play(const QString& wanted)
    {
        QStringList lines;
        for (const QString& line : wanted.split('\n'))
            if (line.startsWith(QLatin1String("> ")))
                lines += QStringList{line, carry_out(line.mid(2))};
        lines.removeAll(QString());
        return lines.join('\n');
    }

protected:
    /// A last change to what a command says.
    virtual QString told(QString said) { return said; }

    QMap<QString, std::function<void(const QString&)>> m_does;     // commands that say nothing
    QMap<QString, std::function<QString(const QString&)>> m_tells; // and those that do

private:
    Q_DISABLE_COPY(SCRIPT)
};
