#include "contracts/services/command_line_options.h"

#include <QtCore/QCoreApplication>

namespace {

struct OPTION
{
    const char* name;
    bool any_case; // looked up by the lower-case key
    const char* help;
};

const OPTION OPTIONS[] = {
    {"configuration", true,
     "=NAME  run GOX/NAME_configuration.xml; \"choose\" asks for one (default: \"default\")"},
    {"dont_stop_on_error", false, "    an unattended run stays quiet where it would stop and ask"},
    {"build_server", false, "          open the database read-only"},
    {"workspace", false, "=NAME      the workspace that is handed to the database"},
    {"changelist", false, "=NAME     accepted; nothing reads it"},
    {"nosplashscreen", false, "        do not show the splash"},
    {"swallow_startup_asserts", false, "  assertions during the start show no box"},
    {"offline", false, "               work without Perforce"},
    {"assert_at_startup", true, "     accepted and ignored"},
    {"handle_crash", true, "          delete call_stack.txt in the current folder"},
    {"help", false, "                  show this text"},
    {"version", false, "               show the version"},
};

bool is_known(const QString& key)
{
    for (const OPTION& option : OPTIONS)
        if (key == QLatin1String(option.name) ||
            (option.any_case && key.toLower() == QLatin1String(option.name)))
            return true;
    return false;
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

} // namespace

void COMMAND_LINE_OPTIONS::initialise(int argc, char** argv, QStringList& errors)
{
    QString open_key; // a key that the next argument may be the value of
    for (const QString& argument : arguments_of(argc, argv)) {
        const int prefix = prefix_length(argument);
        if (prefix == 0) {
            if (open_key.isEmpty())
                errors.append(QStringLiteral("The value '%1' has no option in front of it.").arg(argument));
            else
                m_options.insert(open_key, argument);
            open_key.clear();
            continue;
        }
        const int equals = argument.indexOf('=');
        const QString key = argument.mid(prefix, equals < 0 ? -1 : equals - prefix);
        open_key = equals < 0 ? key : QString();
        if (key.isEmpty()) {
            errors.append(QStringLiteral("'%1' names no option.").arg(argument));
            continue;
        }
        if (!is_known(key))
            errors.append(QStringLiteral("There is no option '%1'; --help lists the options.").arg(key));
        m_options.insert(key, equals < 0 ? QString() : argument.mid(equals + 1));
    }
}

QString COMMAND_LINE_OPTIONS::help_text()
{
    QString text = QStringLiteral("Usage: gox [options], started in the tool folder of a data tree\n\n");
    for (const OPTION& option : OPTIONS)
        text += QStringLiteral("  --%1%2\n").arg(QLatin1String(option.name), QLatin1String(option.help));
    return text;
}
