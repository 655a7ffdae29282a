// gox_bench [--quick] [--trees FOLDER] [SECTION]...
//
// Measures the program's own way beside the plain one. Without a section, or
// with several, each runs in a process of its own.

#include <QtCore/QCommandLineParser>
#include <QtCore/QLoggingCategory>
#include <QtCore/QProcess>
#include <QtWidgets/QApplication>

#include "app/memory.h"
#include "bench/measure.h"

namespace {

struct SECTION
{
    const char* name;
    void (*run)(const BENCH_OPTIONS& options, FIGURES& figures);
};

const SECTION SECTIONS[] = {
    {"scan", bench_scan},
    {"start-up", bench_start_up},
    {"peer", bench_peer},
    {"planning", bench_planning},
    {"build-thread", bench_build_thread},
    {"report", bench_report},
    {"selection", bench_selection},
    {"progress", bench_progress},
    {"database", bench_database},
    {"graph", bench_graph},
    {"record", bench_record},
    {"incremental", bench_incremental},
};

QString names_of_sections()
{
    QStringList names;
    for (const SECTION& section : SECTIONS)
        names.append(QLatin1String(section.name));
    return names.join(QLatin1String(", "));
}

const SECTION& section_of(const QString& name)
{
    for (const SECTION& section : SECTIONS)
        if (name == QLatin1String(section.name))
            return section;
    give_up("there is no section \"" + name + "\"");
}

int run_alone(const SECTION& section, const BENCH_OPTIONS& options)
{
    FIGURES figures;
    section.run(options, figures);
    return figures.missed() ? 1 : 0;
}

int run_each(QStringList names, const BENCH_OPTIONS& options)
{
    if (names.isEmpty())
        for (const SECTION& section : SECTIONS)
            names.append(QLatin1String(section.name));
    int status = 0;
    for (const QString& name : qAsConst(names)) {
        QStringList arguments{"--trees", options.trees, "--alone", section_of(name).name};
        if (options.quick)
            arguments.append("--quick");
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QCoreApplication::applicationFilePath(), arguments);
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
            give_up(name + ": " + process.errorString());
        status = qMax(status, process.exitCode());
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    prepare_heap(); // as the program does
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform has a remark on each window.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption quick("quick", "Smaller trees and fewer rounds.");
    const QCommandLineOption trees("trees", "Where synthetic trees are kept.", "folder", "bench-trees");
    QCommandLineOption alone("alone", "Runs the one section in this process.");
    alone.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({quick, trees, alone});
    parser.addPositionalArgument("section", names_of_sections(), "[section...]");
    parser.process(application);

    BENCH_OPTIONS options;
    options.trees = parser.value(trees);
    options.quick = parser.isSet(quick);
    const QStringList names = parser.positionalArguments();
    if (parser.isSet(alone) && names.size() == 1)
        return run_alone(section_of(names.first()), options);
    FIGURES::print_head();
    return run_each(names, options);
}
