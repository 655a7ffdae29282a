#include "contracts/services/command_line_options.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

#include "contracts/services/nearest_name.h"

namespace {

bool is_called(const COMMAND_LINE_OPTION& option, const QString& key)
{
    const QLatin1String name(option.name);
    return key == name || (option.any_case && key.toLower() == name) ||
           (key.size() == 1 && QLatin1String(option.letters).contains(key.at(0)));
}

QString no_such_option(const QString& key, const QVector<COMMAND_LINE_OPTION>& known)
{
    QStringList names;
    for (const COMMAND_LINE_OPTION& option : known)
        names.append(QLatin1String(option.name));
    const QString suggestion = suggestion_for(key, names, QStringLiteral("--"));
    return QStringLiteral("There is no option '%1'%2 --help lists the options.")
        .arg(key, suggestion.isEmpty() ? QString(';') : suggestion);
}

// The length of what makes an argument a key: "--", "-", on Windows "/"; 0 for a value.
int prefix_length(const QString& argument)
{
    if (argument.startsWith(QLatin1String("--")))
        return 2;
    if (argument.startsWith('-'))
        return 1;
#ifdef Q_OS_WIN
    if (argument.startsWith('/'))
        return 1;
#endif
    return 0;
}

QStringList arguments_of(int argc, char** argv)
{
    // The application object knows the arguments as the system spells them,
    // and argc and argv are what it has left over of them.
    const QStringList all = QCoreApplication::instance() ? QCoreApplication::arguments() : QStringList();
    if (all.size() == argc)
        return all.mid(1);
    QStringList result;
    for (int i = 1; i < argc; ++i)
        result.append(QString::fromLocal8Bit(argv[i]));
    return result;
}

// Takes the arguments one after the other.
class PARSER
{
public:
    PARSER(const QVector<COMMAND_LINE_OPTION>& known, QMap<QString, QString>& options, QStringList& errors)
        : m_known(known), m_options(options), m_errors(errors)
    {
    }

    void take(const QString& argument)
    {
        const int prefix = prefix_length(argument);
        if (prefix == 0)
            return take_value(argument);
        const int equals = argument.indexOf('=');
        take_key(argument, argument.mid(prefix, equals < 0 ? -1 : equals - prefix));
        if (equals >= 0 && !m_key.isEmpty())
            take_value(argument.mid(equals + 1));
    }

private:
    void take_key(const QString& argument, const QString& typed)
    {
        const auto option = std::find_if(m_known.cbegin(), m_known.cend(),
                                         [&](const auto& one) { return is_called(one, typed); });
        const bool is_known = option != m_known.cend();
        m_key = is_known && typed.size() == 1 ? QString(QLatin1String(option->name)) : typed;
        m_takes_value = !is_known || option->value; // of an unknown one nobody can tell
        if (typed.isEmpty())
            m_errors.append(QStringLiteral("'%1' names no option.").arg(argument));
        else if (!is_known && !m_known.isEmpty())
            m_errors.append(no_such_option(typed, m_known));
        if (!typed.isEmpty())
            m_options.insert(m_key, QString());
    }

    void take_value(const QString& value)
    {
        if (m_key.isEmpty())
            m_errors.append(QStringLiteral("The value '%1' has no option in front of it.").arg(value));
        else if (m_takes_value)
            m_options.insert(m_key, value);
        else if (!value.isEmpty())
            m_errors.append(
                QStringLiteral("The option '%1' takes no value; '%2' is passed over.").arg(m_key, value));
        m_key.clear();
    }

    const QVector<COMMAND_LINE_OPTION>& m_known;
    QMap<QString, QString>& m_options;
    QStringList& m_errors;
    QString m_key; // that the next argument may be the value of; empty for none
    bool m_takes_value = false;
};

} // namespace

void COMMAND_LINE_OPTIONS::initialise(int argc, char** argv, QStringList& errors)
{
    PARSER parser(m_known, m_options, errors);
    for (const QString& argument : arguments_of(argc, argv))
        parser.take(argument);
}
