#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QPluginLoader>
#include <QtCore/QTextStream>

#include "contracts/actions/plugin_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/command_line_options.h"
#include "session/build_session.h"
#include "session/error_box.h"
#include "session/plugin_files.h"
#include "session/run_report.h"

namespace {

// Two plugins that this program never takes part with, whatever the
// configuration says.
bool is_excluded(const QString& path)
{
    const QString name = path.section('/', -1, -1).split('.').first().toLower();
    return name == QLatin1String("gox_cleanretail") || name == QLatin1String("gox_variantmeshpart");
}

// Why a plugin must not be entered: it was built against another level of the
// plugin kit, so its calls would go astray. Empty when it tells this level or none.
// The metadata is read without loading the library.
QString level_fault(const QPluginLoader& loader)
{
    const QJsonArray levels = loader.metaData().value(QLatin1String("GOX_SDK_LEVEL")).toArray();
    const QString level = levels.isEmpty() ? QString() : levels.last().toString();
    if (levels.isEmpty() || level == QString::number(GOX_SDK_LEVEL))
        return QString();
    return QStringLiteral("Cannot load library %1: (it was built for level %2 of the plugin kit, this "
                          "program has level %3)")
        .arg(loader.fileName(), level, QString::number(GOX_SDK_LEVEL));
}

// Whatever kept a library from taking part, an unattended run names it.
void report_not_loaded(const QString& path, const QString& cause)
{
    const bool names_it = cause.contains(QFileInfo(path).fileName());
    RUN_REPORT::remark("A library was not loaded: " + (names_it ? cause : path + ": " + cause));
}

// The plugin's root object, or null. A library that the system could not load
// leaves its words in `failures`, and so does one that must not be entered; one
// that merely is no plugin is reported and leaves nothing.
PLUGIN_INTERFACE* load_plugin(const QString& path, QStringList& failures)
{
    // A relative path would be looked for beside the program, wherever that lies.
    QPluginLoader loader(QFileInfo(path).absoluteFilePath());
    // A missing symbol is to be found now, not when an action first calls it.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    const QString fault = level_fault(loader);
    if (!fault.isEmpty()) {
        report_not_loaded(loader.fileName(), fault);
        failures.append(fault);
        return nullptr;
    }
    QObject* const root = loader.instance();
    void* const plugin = root ? root->qt_metacast("PLUGIN_INTERFACE") : nullptr;
    if (plugin)
        return static_cast<PLUGIN_INTERFACE*>(plugin);
    const QString error = loader.errorString();
    report_not_loaded(loader.fileName(),
                      root ? QStringLiteral("its root object is no PLUGIN_INTERFACE") : error);
    if (error.contains(QLatin1String("Cannot load")))
        failures.append(error);
    loader.unload();
    return nullptr;
}

// A link that leads nowhere is no file, so the walk over the plugins passes it.
void report_broken_links(const QString& pattern)
{
    for (const QFileInfo& entry : QDir().entryInfoList({pattern}, QDir::System))
        if (entry.isSymLink() && !entry.exists())
            report_not_loaded(entry.absoluteFilePath(),
                              "it is a link to " + entry.symLinkTarget() + ", which does not exist");
}

} // namespace

QString plugin_file_pattern()
{
    return "GOX_*." + QCoreApplication::applicationFilePath().section('.', -2, -2) + ".dll";
}

bool BUILD_SESSION::load_plugins(QTextStream& log)
{
    const QString pattern = plugin_file_pattern();
    QStringList failures;
    QDirIterator files(QStringLiteral("."), {pattern}, QDir::Files);
    while (files.hasNext()) {
        const QString path = files.next();
        if (is_excluded(path))
            continue;
        const QString file = files.fileInfo().absoluteFilePath();
        library_stamps.insert(file, stamp_of_file(file));
        if (PLUGIN_INTERFACE* const plugin = load_plugin(path, failures)) {
            plugins.append(plugin);
            m_plugin_files.append(file);
        }
    }
    report_broken_links(pattern);

    if (plugins.isEmpty()) {
        const QString text = QStringLiteral("GOX plugins could not be loaded for some reason!");
        show_error_box(text, is_unattended(*configuration, *options));
        RUN_REPORT::line("There is no plugin among the files " + pattern + " in " + QDir::currentPath());
        log << text;
        return false;
    }
    if (!failures.isEmpty()) {
        const QString text =
            "The following plugins were not loaded (missing dependencies?):\n\n" + failures.join('\n');
        show_error_box(text, configuration->silent);
        log << text;
        return options->exists(QStringLiteral("dont_stop_on_error"));
    }
    return true;
}
