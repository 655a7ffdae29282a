#include "contracts/services/command_line_options.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

#include "contracts/services/nearest_name.h"

namespace {

// All options, in the order of the help.
struct OPTION
{
    const char* name;
    const char* value;   // what the help calls its value; null for an option that takes none
    const char* letters; // each of them is the option too
    bool any_case;       // looked up by the lower-case key
    const char* help;
};

const OPTION OPTIONS[] = {
    {"configuration", "NAME", "", true,
     "run GOX/NAME_configuration.xml; \"choose\" asks for one (default: \"default\")"},
    {"dont_stop_on_error", nullptr, "", false, "an unattended run stays quiet where it would stop and ask"},
    {"build_server", nullptr, "", false, "open the database read-only"},
    {"workspace", "NAME", "", false, "the workspace that is handed to the database"},
    {"changelist", "NAME", "", false, "accepted; nothing reads it"},
    {"nosplashscreen", nullptr, "", false, "do not show the splash"},
    {"swallow_startup_asserts", nullptr, "", false, "assertions during the start show no box"},
    {"offline", nullptr, "", false, "work without Perforce"},
    {"assert_at_startup", nullptr, "", true, "accepted and ignored"},
    {"handle_crash", nullptr, "", true, "delete call_stack.txt in the current folder"},
    {"help", nullptr, "h?", false, "show this text"},
    {"version", nullptr, "v", false, "show the version"},
};

bool is_called(const OPTION& option, const QString& key)
{
    const QLatin1String name(option.name);
    return key == name || (option.any_case && key.toLower() == name) ||
           (key.size() == 1 && QLatin1String(option.letters).contains(key.at(0)));
}

const OPTION* find_option(const QString& key)
{
    for (const OPTION& option : OPTIONS)
        if (is_called(option, key))
            return &option;
    return nullptr;
}

QString no_such_option(const QString& key)
{
    QStringList names;
    for (const OPTION& option : OPTIONS)
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
    PARSER(QMap<QString, QString>& options, QStringList& errors) : m_options(options), m_errors(errors) {}

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
        const OPTION* const option = find_option(typed);
        m_key = option && typed.size() == 1 ? QString(QLatin1String(option->name)) : typed;
        m_takes_value = !option || option->value; // of an unknown one nobody can tell
        if (typed.isEmpty())
            m_errors.append(QStringLiteral("'%1' names no option.").arg(argument));
        else if (!option)
            m_errors.append(no_such_option(typed));
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

    QMap<QString, QString>& m_options;
    QStringList& m_errors;
    QString m_key; // that the next argument may be the value of; empty for none
    bool m_takes_value = false;
};

// "--help, -h, -?" or "--workspace=NAME".
QString forms_of(const OPTION& option)
{
    QString forms = "--" + QString(QLatin1String(option.name));
    if (option.value)
        forms += '=' + QString(QLatin1String(option.value));
    for (const char* letter = option.letters; *letter; ++letter)
        forms += QStringLiteral(", -") + QLatin1Char(*letter);
    return forms;
}

} // namespace

void COMMAND_LINE_OPTIONS::initialise(int argc, char** argv, QStringList& errors)
{
    PARSER parser(m_options, errors);
    for (const QString& argument : arguments_of(argc, argv))
        parser.take(argument);
}

QString COMMAND_LINE_OPTIONS::help_text()
{
    int width = 0;
    for (const OPTION& option : OPTIONS)
        width = std::max(width, forms_of(option).size());
    QString text = QStringLiteral("Usage: gox [options], started in the tool folder of a data tree\n\n");
    for (const OPTION& option : OPTIONS)
        text += "  " + forms_of(option).leftJustified(width) + "  " + QLatin1String(option.help) + '\n';
    return text;
}
