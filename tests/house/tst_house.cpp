#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/watched_test.h"

namespace {

// What plugin signatures name, and what may therefore be included from below.
const QStringList PLUGIN_VISIBLE = {QStringLiteral("session/file_entry.h"),
                                    QStringLiteral("session/lockable_map.h")};

struct ROOM
{
    QStringList rooms; // whole folders that its files may include
    QStringList files; // single headers besides
};

// Arrows go one way. A room may always include its own files; app, tests, bench
// and fuzz may include everything and have no row.
const QMap<QString, ROOM> ROOMS = {
    {QStringLiteral("contracts"), {{}, PLUGIN_VISIBLE}},
    {QStringLiteral("session"), {{QStringLiteral("contracts"), QStringLiteral("settings")}, {}}},
    {QStringLiteral("execution"), {{QStringLiteral("session"), QStringLiteral("contracts")}, {}}},
    {QStringLiteral("selection"),
     {{QStringLiteral("session"), QStringLiteral("rules"), QStringLiteral("settings"),
       QStringLiteral("graph"), QStringLiteral("contracts")},
      {}}},
    {QStringLiteral("progress"), {{QStringLiteral("session"), QStringLiteral("contracts")}, {}}},
    {QStringLiteral("rules"), {{QStringLiteral("contracts")}, PLUGIN_VISIBLE}},
    {QStringLiteral("settings"), {{QStringLiteral("contracts")}, {}}},
    {QStringLiteral("graph"), {{QStringLiteral("session"), QStringLiteral("contracts")}, {}}},
    {QStringLiteral("examples"), {{QStringLiteral("contracts")}, PLUGIN_VISIBLE}},
};

// Outside authors keep their own headers together; these are found below here.
const QStringList EXAMPLE_PROJECTS = {QStringLiteral("examples/plugins/"),
                                      QStringLiteral("examples/minimal-plugin/")};

const QStringList FREE_ROOMS = {QStringLiteral("app"), QStringLiteral("tests"), QStringLiteral("bench"),
                                QStringLiteral("fuzz")};

const int MOST_LINES = 600;

QStringList sources_of(const QString& room)
{
    QStringList files;
    for (const QString& file : FILES::below(QStringLiteral(GOX_SOURCE_DIR "/") + room))
        if (file.endsWith(QLatin1String(".h")) || file.endsWith(QLatin1String(".cpp")))
            files.append(room + '/' + file);
    return files;
}

QString text_of(const QString& source)
{
    return QString::fromUtf8(FILES::bytes(QStringLiteral(GOX_SOURCE_DIR "/") + source));
}

bool is_header_of_house(const QString& include)
{
    return QFileInfo::exists(QStringLiteral(GOX_SOURCE_DIR "/") + include);
}

bool is_generated(const QString& include)
{
    return include.endsWith(QLatin1String(".moc")) || include.startsWith(QLatin1String("ui_"));
}

// Empty when the room may include the file.
QString fault_of(const QString& room, const QString& include)
{
    if (is_generated(include))
        return QString();
    for (const QString& project : EXAMPLE_PROJECTS)
        if (room == QLatin1String("examples") && is_header_of_house(project + include))
            return QString();
    if (!is_header_of_house(include))
        return QStringLiteral("is not a path from the root");
    const QString other = include.section('/', 0, 0);
    const ROOM& rule = ROOMS[room];
    if (FREE_ROOMS.contains(room) || other == room || rule.rooms.contains(other) ||
        rule.files.contains(include))
        return QString();
    return QStringLiteral("is an arrow that %1 may not have").arg(room);
}

} // namespace

class tst_house : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void arrows_go_one_way_data();
    void arrows_go_one_way();
    void every_folder_with_sources_is_known();
    void no_source_is_too_long();
    void memory_may_be_refused();
};

void tst_house::arrows_go_one_way_data()
{
    QTest::addColumn<QString>("room");
    for (const QString& room : ROOMS.keys() + FREE_ROOMS)
        QTest::newRow(qPrintable(room)) << room;
}

void tst_house::arrows_go_one_way()
{
    QFETCH(QString, room);
    static const QRegularExpression include(QStringLiteral("^\\s*#\\s*include\\s+([\"<])([^\">]+)[\">]"),
                                            QRegularExpression::MultilineOption);
    QStringList faults;
    for (const QString& source : sources_of(room)) {
        QRegularExpressionMatchIterator hits = include.globalMatch(text_of(source));
        while (hits.hasNext()) {
            const QRegularExpressionMatch hit = hits.next();
            const QString name = hit.captured(2);
            const bool is_ours = hit.captured(1) == QLatin1String("\"") || is_header_of_house(name);
            const QString fault = is_ours ? fault_of(room, name) : QString();
            if (!fault.isEmpty())
                faults.append(QStringLiteral("%1: \"%2\" %3").arg(source, name, fault));
        }
    }
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join('\n')));
}

void tst_house::every_folder_with_sources_is_known()
{
    const QStringList known = ROOMS.keys() + FREE_ROOMS + QStringList{QStringLiteral("build")};
    for (const QString& room :
         QDir(QStringLiteral(GOX_SOURCE_DIR)).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (!known.contains(room))
            QVERIFY2(sources_of(room).isEmpty(), qPrintable(room));
}

void tst_house::no_source_is_too_long()
{
    for (const QString& room : ROOMS.keys() + FREE_ROOMS)
        for (const QString& source : sources_of(room)) {
            const int lines = text_of(source).count('\n');
            QVERIFY2(lines <= MOST_LINES, qPrintable(QStringLiteral("%1: %2 lines").arg(source).arg(lines)));
        }
}

// Operator new of the program gives null, which a plain vector would write to. The
// layout program has the library's own.
void tst_house::memory_may_be_refused()
{
    for (const QString& room : ROOMS.keys() + QStringList{QStringLiteral("app")})
        for (const QString& source : sources_of(room))
            if (room != QLatin1String("examples") && !source.endsWith(QLatin1String("fw_memory.h")) &&
                source != QLatin1String("graph/layout_program.cpp"))
                QVERIFY2(!text_of(source).contains(QLatin1String("std::vector<")), qPrintable(source));
}

QTEST_GUILESS_MAIN(tst_house)
#include "tst_house.moc"
