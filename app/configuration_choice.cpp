#include "app/configuration_choice.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtWidgets/QInputDialog>

#include "contracts/services/command_line_options.h"
#include "contracts/services/plain_message_box.h"
#include "session/run_files.h"
#include "session/run_options.h"

namespace {

const QString& default_name()
{
    static const QString name = QStringLiteral("default");
    return name;
}

bool is_option(const QString& key, const char* name)
{
    return key.toLower() == QLatin1String(name);
}

} // namespace

QString configuration_name_of(const COMMAND_LINE_OPTIONS& options)
{
    QString name = default_name();
    const QMap<QString, QString>& all = options.get_all();
    for (auto option = all.cbegin(); option != all.cend(); ++option)
        if (is_option(option.key(), "configuration") && !option.value().isEmpty())
            name = option.value();
    return name;
}

bool CHOSEN_CONFIGURATION::is_refused() const
{
    return !is_loaded && !name.isEmpty() && name != default_name();
}

CHOSEN_CONFIGURATION load_configuration(const QString& name)
{
    CHOSEN_CONFIGURATION chosen;
    chosen.name = name;
    chosen.record.retail = true;
    chosen.is_loaded = chosen.record.load(chosen.file(), chosen.error, chosen.remarks);
    return chosen;
}

void check_options(const COMMAND_LINE_OPTIONS& options, const RUN_OPTIONS& asked)
{
    const QMap<QString, QString>& all = options.get_all();
    for (auto option = all.cbegin(); option != all.cend(); ++option) {
        if (is_option(option.key(), "configuration") && option.value().isEmpty())
            show_plain_box(QMessageBox::Warning, nullptr,
                           "Missing value for parameter '" + option.key() + "'!");
        if (is_option(option.key(), "handle_crash") && !asked.dry_run)
            QFile::remove(
                RUN_FILES::name_for_share(QStringLiteral("call_stack.txt"), asked.shard, asked.shards));
    }
}

bool ask_for_configuration(QString& name)
{
    const QString ending = QStringLiteral("_configuration.xml");
    QStringList names{default_name()};
    QDirIterator files(QStringLiteral("GOX"), {'*' + ending}, QDir::Files);
    while (files.hasNext()) {
        files.next();
        const QString found = files.fileName().chopped(ending.size());
        if (found != default_name())
            names.append(found);
    }
    bool is_chosen = false;
    const QString chosen = QInputDialog::getItem(
        nullptr, QStringLiteral("GOX"), QStringLiteral("Choose configuration:"), names, 0, false, &is_chosen);
    if (is_chosen)
        name = chosen;
    return is_chosen;
}
