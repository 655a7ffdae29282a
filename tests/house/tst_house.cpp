#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/watched_test.h"

namespace {

// Arrows go one way: the rooms and single headers that a room may include besides its
// own. app, tests, bench, fuzz and scripts may include everything and have no row.
const QMap<QString, QString> ROOMS = {
    {"contracts", "session/file_entry.h session/lockable_map.h"},
    {"session", "contracts settings"},
    {"record", "contracts session"},
    {"execution", "contracts session record"},
    {"selection", "contracts session rules settings graph"},
    {"progress", "contracts session"},
    {"rules", "contracts session/file_entry.h session/lockable_map.h"},
    {"settings", "contracts"},
    {"graph", "contracts session"},
    {"examples", "contracts session/file_entry.h session/lockable_map.h"},
};

// Outside authors keep their own headers together; these are found below here.
const QStringList EXAMPLE_PROJECTS = {"examples/plugins/", "examples/minimal-plugin/"};

const QStringList FREE_ROOMS = {"app", "tests", "bench", "fuzz", "scripts"};

const int MOST_LINES = 600;

QStringList sources_of(const QString& room)
{
    QStringList files;
    for (const QString& file : FILES::below(QStringLiteral(GOX_SOURCE_DIR "/") + room))
        if (file.endsWith(".h") || file.endsWith(".cpp"))
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
    return include.endsWith(".moc") || include.startsWith("ui_");
}

// Empty when the room may include the file.
QString fault_of(const QString& room, const QString& include)
{
    if (is_generated(include))
        return QString();
    for (const QString& project : EXAMPLE_PROJECTS)
        if (room == "examples" && is_header_of_house(project + include))
            return QString();
    if (!is_header_of_house(include))
        return "is not a path from the root";
    const QString other = include.section('/', 0, 0);
    const QStringList allowed = ROOMS.value(room).split(' ') + QStringList(room);
    if (FREE_ROOMS.contains(room) || allowed.contains(other) || allowed.contains(include))
        return QString();
    return QStringLiteral("is an arrow that %1 may not have").arg(room);
}

} // namespace

class TST_HOUSE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void arrows_go_one_way()
    {
        static const QRegularExpression include(QStringLiteral("^\\s*#\\s*include\\s+([\"<])([^\">]+)[\">]"),
                                                QRegularExpression::MultilineOption);
        QStringList faults, sources;
        for (const QString& room : ROOMS.keys() + FREE_ROOMS)
            sources += sources_of(room);
        for (const QString& source : sources) {
            const QString room = source.section('/', 0, 0);
            QRegularExpressionMatchIterator hits = include.globalMatch(text_of(source));
            while (hits.hasNext()) {
                const QRegularExpressionMatch hit = hits.next();
                const QString name = hit.captured(2);
                const bool is_ours = hit.captured(1) == "\"" || is_header_of_house(name);
                const QString fault = is_ours ? fault_of(room, name) : QString();
                if (!fault.isEmpty())
                    faults.append(QStringLiteral("%1: \"%2\" %3").arg(source, name, fault));
            }
        }
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join('\n')));
    }

    void every_folder_with_sources_is_known()
    {
        const QStringList known = ROOMS.keys() + FREE_ROOMS + QStringList{"build"};
        for (const QString& room :
             QDir(QStringLiteral(GOX_SOURCE_DIR)).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            if (!known.contains(room))
                QVERIFY2(sources_of(room).isEmpty(), qPrintable(room));
    }

    // Operator new of the program gives null, which a plain vector would write to. The
    // layout program has the library's own.
    void sources_keep_to_the_rules()
    {
        const QRegularExpression free("^(tests|bench|fuzz|examples|graph/layout_program.cpp)|fw_memory.h$");
        for (const QString& room : ROOMS.keys() + FREE_ROOMS)
            for (const QString& source : sources_of(room)) {
                const QString text = text_of(source);
                QVERIFY2(text.count('\n') <= MOST_LINES, qPrintable(source));
                QVERIFY2(source.contains(free) || !text.contains("std::vector<"), qPrintable(source));
            }
    }
};

QTEST_GUILESS_MAIN(TST_HOUSE)
#include "tst_house.moc"
