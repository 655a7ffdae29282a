#include "app/program_options.h"

#include <algorithm>

namespace {

// "--help, -h, -?" or "--workspace=NAME".
QString forms_of(const COMMAND_LINE_OPTION& option)
{
    QString forms = "--" + QString(QLatin1String(option.name));
    if (option.value)
        forms += '=' + QString(QLatin1String(option.value));
    for (const char* letter = option.letters; *letter; ++letter)
        forms += QStringLiteral(", -") + QLatin1Char(*letter);
    return forms;
}

} // namespace

QVector<COMMAND_LINE_OPTION> program_options()
{
    return {
        {"configuration", "NAME", "", true,
         "run GOX/NAME_configuration.xml; \"choose\" asks for one (default: \"default\")"},
        {"dont_stop_on_error", nullptr, "", false,
         "an unattended run stays quiet where it would stop and ask"},
        {"build_server", nullptr, "", false, "open the database read-only"},
        {"workspace", "NAME", "", false, "the workspace that is handed to the database"},
        {"changelist", "NAME", "", false, "accepted; nothing reads it"},
        {"nosplashscreen", nullptr, "", false, "do not show the splash"},
        {"swallow_startup_asserts", nullptr, "", false, "assertions during the start show no box"},
        {"offline", nullptr, "", false, "work without Perforce"},
        {"assert_at_startup", nullptr, "", true, "accepted and ignored"},
        {"handle_crash", nullptr, "", true, "delete call_stack.txt in the current folder"},
        {"only_out_of_date", nullptr, "", false, "silent runs: leave out the actions that are up to date"},
        {"explain", nullptr, "", false, "silent runs: tell of each action why it runs or does not"},
        {"dry_run", nullptr, "", false, "silent runs: tell what would run, and write nothing"},
        {"report", "FILE", "", false,
         "silent runs: write what became of each action, to .json or .xml (JUnit)"},
        {"shard", "K/N", "", false, "silent runs: build share K of N of the plan"},
        {"help", nullptr, "h?", false, "show this text"},
        {"version", nullptr, "v", false, "show the version"},
    };
}

QString help_text()
{
    int width = 0;
    for (const COMMAND_LINE_OPTION& option : program_options())
        width = std::max(width, forms_of(option).size());
    QString text = QStringLiteral("Usage: gox [options], started in the tool folder of a data tree\n\n");
    for (const COMMAND_LINE_OPTION& option : program_options())
        text += "  " + forms_of(option).leftJustified(width) + "  " + QLatin1String(option.help) + '\n';
#ifdef Q_OS_WIN
    text += QLatin1String("\nAn option may begin with / as well, such as /configuration=NAME.\n");
#endif
    return text;
}
