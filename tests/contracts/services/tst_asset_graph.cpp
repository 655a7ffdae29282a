#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>
#include <QtTest/QTest>

#include "contracts/services/asset_graph.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

using QTSHARED::ASSET_GRAPH;

namespace {

// An .agf file from lines such as "house: brick, roof".
QByteArray agf(const QStringList& assets)
{
    QByteArray bytes = "<agf>";
    for (const QString& line : assets) {
        bytes += "<asset name=\"" + line.section(':', 0, 0).toUtf8() + "\">";
        const QStringList uses = line.section(':', 1).split(',', Qt::SkipEmptyParts);
        for (const QString& used : uses)
            bytes += "<uses name=\"" + used.trimmed().toUtf8() + "\"/>";
        bytes += "</asset>";
    }
    return bytes + "</agf>";
}

// A graph over files in a temporary folder; names are without that folder.
class SCENE : public ASSET_GRAPH
{
public:
    ~SCENE() { QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(nullptr); }

    void name_files_from_here() const
    {
        const QString folder = m_folder.path() + '/';
        QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(
            [folder](QString path) { return path.remove(folder); });
    }

    QString path(const QString& file) const { return m_folder.filePath(file); }

    // The error of `add`, without the folder.
    QString add_file(const QString& file, const QByteArray& bytes)
    {
        name_files_from_here();
        return add_under_any_name(file, bytes);
    }

    QString add_under_any_name(const QString& file, const QByteArray& bytes)
    {
        FILES::write(path(file), bytes);
        QString error = "left over";
        const bool added = add(path(file), error);
        if (added != error.isEmpty())
            return "the result contradicts the error";
        return error.remove(m_folder.path() + '/');
    }

    QStringList problems() const
    {
        QStringList lines;
        check_dependencies(lines);
        return lines;
    }

    // Everything that the graph says.
    QStringList text() const
    {
        QStringList lines = get_all_agf_filenames();
        const QStringList names = assets();
        for (const QString& asset : names)
            lines.append(asset + " in " + agf_filenames_of(asset).join(',') + ": " +
                         dependencies_of(asset).join(',') + " < " + used_by(asset).join(','));
        return lines;
    }

    QByteArray cache() const
    {
        QString error;
        return save_binary(path("saved.bin"), error) ? FILES::bytes(path("saved.bin")) : error.toUtf8();
    }

    // The line that loading these bytes adds, without its beginning.
    QString load(const QByteArray& bytes, bool keep_known = false)
    {
        QFile::remove(path("asset_graph.bin")); // writing over a file costs a wait for the disk
        FILES::write(path("asset_graph.bin"), bytes);
        QStringList errors("before");
        const bool loaded = load_binary(path("asset_graph.bin"), errors, keep_known);
        if (errors.size() != (loaded ? 1 : 2) || errors.first() != "before")
            return "wrong number of lines: " + errors.join('\n');
        const QString beginning = path("asset_graph.bin") + ": the asset graph cache is ignored: ";
        return loaded                                ? QString()
               : errors.last().startsWith(beginning) ? errors.last().mid(beginning.size())
                                                     : "odd line: " + errors.last();
    }

private:
    QTemporaryDir m_folder;
};

constexpr int HEADER = 8 + 4 + 8 + 20;

// A cache of this payload, with a checksum that is right.
QByteArray cache_of(const QByteArray& payload)
{
    QByteArray length(8, '\0');
    qToLittleEndian(quint64(payload.size()), length.data());
    return "GOXAGRPH" + QByteArray("\1\0\0\0", 4) + length +
           QCryptographicHash::hash(payload, QCryptographicHash::Sha1) + payload;
}

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

using CACHES = ROWS<QByteArray, QString>;                     // payload, expected_cause
using PROBLEMS = ROWS<QStringList, QStringList, QStringList>; // first, second, lines

using BROKEN_FILES = ROWS<QByteArray, QString>; // bytes, expected_error

} // namespace

class TST_ASSET_GRAPH : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void answers_questions()
    {
        SCENE graph;
        QCOMPARE(graph.text() + graph.problems(), QStringList());
        QCOMPARE(graph.add_file("z.agf", agf({"house: wood, brick, wood", "wood"})), QString());
        QCOMPARE(graph.add_file("sub/a.agf", agf({QString::fromUtf8("\xC3\xA4: wood"), "house: glass"})),
                 QString());
        QCOMPARE(graph.text(),
                 QStringList({"sub/a.agf", "z.agf", "house in sub/a.agf,z.agf: glass,wood,brick < ",
                              "wood in z.agf:  < house," + QString::fromUtf8("\xC3\xA4"),
                              QString::fromUtf8("\xC3\xA4 in sub/a.agf: wood < ")}));
        QCOMPARE(graph.used_by("glass"), QStringList("house"));
        QCOMPARE(graph.used_by("none") + graph.dependencies_of("none") + graph.dependencies_of("glass") +
                     graph.agf_filenames_of("glass"),
                 QStringList());
    }

    void takes_names_from_callback()
    {
        SCENE graph;
        QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(
            [](const QString& path) { return "<" + path.section('/', -1) + ">"; });
        graph.add_under_any_name("one/a.agf", agf({"x"}));
        QCOMPARE(graph.get_all_agf_filenames(), QStringList("<a.agf>"));
        graph.add_under_any_name("two/a.agf", agf({"y"})); // the same name: it takes over
        QCOMPARE(graph.assets(), QStringList("y"));
        QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(nullptr);
        graph.add_under_any_name("b.agf", agf({"z"}));
        QCOMPARE(graph.get_all_agf_filenames(), QStringList({graph.path("b.agf"), "<a.agf>"}));
    }

    void refreshes_and_removes()
    {
        SCENE graph;
        graph.add_file("a.agf", agf({"old: used", "both"}));
        graph.add_file("b.agf", agf({"used"}));
        QCOMPARE(graph.used_by("used"), QStringList("old"));
        graph.add_file("a.agf", agf({"both: used"}));
        QCOMPARE(graph.text(),
                 QStringList({"a.agf", "b.agf", "both in a.agf: used < ", "used in b.agf:  < both"}));

        // A file that can't be read leaves what was known.
        QCOMPARE(graph.add_file("a.agf", "<agf>").section(':', 0, 2), QString("a.agf:1:6"));
        QCOMPARE(graph.assets(), QStringList({"both", "used"}));

        graph.remove_fragments_by_agf_filename("none.agf");
        graph.remove_fragments_by_agf_filename(graph.path("b.agf"));
        QCOMPARE(graph.get_all_agf_filenames(), QStringList({"a.agf", "b.agf"}));
        graph.remove_fragments_by_agf_filename("b.agf");
        QCOMPARE(graph.text(), QStringList({"a.agf", "both in a.agf: used < "}));
        QCOMPARE(graph.add_file("b.agf", agf({"used"})), QString());
        QCOMPARE(graph.problems(), QStringList());
    }

    void sees_every_change()
    {
        SCENE graph;
        graph.name_files_from_here();
        const QDateTime old_time = FILES::hour(1);
        // Equal size and time, one right after the other.
        for (const char* asset : {"a", "b", "c"}) {
            FILES::write(graph.path("x.agf"), agf({asset}), old_time);
            QString error;
            QVERIFY(graph.add(graph.path("x.agf"), error));
            QCOMPARE(graph.assets(), QStringList(asset));
        }
        // The file that the cache knows, written anew.
        const QByteArray cache = graph.cache();
        FILES::write(graph.path("x.agf"), agf({"d"}), old_time);
        QCOMPARE(graph.load(cache), QString());
        QString error;
        QVERIFY(graph.add(graph.path("x.agf"), error));
        QCOMPARE(graph.assets(), QStringList("d"));
    }

    void refuses_broken_files_data()
    {
        const BROKEN_FILES row;
        row("cut off", "<agf><asset name='a'>\n<uses", "2:6: ");
        row("other root", "<graph/>", "1:9: the outermost element must be <agf>, not <graph>");
        row("unknown element", "<agf><asset name='a'><used/></asset></agf>",
            "1:29: <asset> can't hold <used>");
        row("unknown attribute", "<agf><asset nam='a'/></agf>", "1:22: <asset> has no attribute \"nam\"");
        row("no name", "<agf><asset name='a'><uses/></asset></agf>", "1:29: <uses> must have a name");
        row("twice", agf({"a", "b", "a"}), "1:70: asset \"a\" is defined twice in this file");
        row("nested uses", "<agf><asset name='a'><uses name='b'><uses name='c'/></uses></asset></agf>",
            "1:53: <uses> can't hold <uses>");
    }

    void refuses_broken_files()
    {
        const auto [bytes, expected_error] = BROKEN_FILES::values();
        SCENE graph;
        graph.add_file("known.agf", agf({"known: a", "a"}));
        const QStringList before = graph.text();
        const QString error = graph.add_file("a.agf", bytes);
        QVERIFY2(error.startsWith("a.agf:" + expected_error), qPrintable(error));
        QCOMPARE(graph.text(), before);
        QString missing;
        QVERIFY(!graph.add(graph.path("none.agf"), missing));
        QVERIFY2(missing.startsWith(graph.path("none.agf") + ": can't be opened: "), qPrintable(missing));
    }

    void finds_problems_data()
    {
        const QString cycle = "assets use each other in a cycle: ";
        const QStringList none;
        const PROBLEMS row;
        row("sound", {"a: b, c", "b: c"}, {"c"}, none);
        row("defined twice", {"b", "a"}, {"a", "b"},
            {"asset \"a\" is defined by several files: 1.agf, 2.agf",
             "asset \"b\" is defined by several files: 1.agf, 2.agf"});
        row("not defined", {"b: y, x", "a: x"}, {"c: x"},
            QStringList({"1.agf: asset \"b\" uses \"y\", which no .agf file defines",
                         "1.agf: asset \"b\" uses \"x\", which no .agf file defines",
                         "1.agf: asset \"a\" uses \"x\", which no .agf file defines",
                         "2.agf: asset \"c\" uses \"x\", which no .agf file defines"}));
        row("itself", {"a: a"}, none, QStringList(cycle + "\"a\" -> \"a\""));
        row("named from the lowest", {"a: d", "d: c", "c: b"}, {"b: d"},
            QStringList(cycle + "\"b\" -> \"d\" -> \"c\" -> \"b\""));
        row("two through one asset", {"a: b, c", "b: a"}, {"c: a"},
            {cycle + "\"a\" -> \"b\" -> \"a\"", cycle + "\"a\" -> \"c\" -> \"a\""});
        row("once, though reached twice", {"a: b", "b: c", "c: b"}, {"d: c", "e: b"},
            QStringList(cycle + "\"b\" -> \"c\" -> \"b\""));
        row("once, though used in both files", {"a: b", "b: a"}, {"a: b"},
            {"asset \"a\" is defined by several files: 1.agf, 2.agf", cycle + "\"a\" -> \"b\" -> \"a\""});
    }

    void finds_problems()
    {
        const auto [first, second, lines] = PROBLEMS::values();
        SCENE graph;
        graph.add_file("1.agf", agf(first));
        graph.add_file("2.agf", agf(second));
        QCOMPARE(graph.problems(), lines);
    }

    void bounds_what_it_lists()
    {
        constexpr int COUNT = 1200;
        QStringList assets;
        for (int i = 0; i < COUNT; ++i)
            assets.append(QStringLiteral("%1: %2, %1").arg(i).arg((i + 1) % COUNT));
        SCENE graph;
        graph.add_file("a.agf", agf(assets));
        const QStringList lines = graph.problems();
        QCOMPARE(lines.size(), 1001);
        QCOMPARE(lines.last(), QString("201 more cycles are not listed")); // each asset's own, and the ring
        const QStringList ring = lines.filter("more)");
        QCOMPARE(ring.size(), 1);
        QVERIFY(ring.first().startsWith("assets use each other in a cycle: \"0\" -> \"1\" -> \"2\" -> "));
        QVERIFY(ring.first().endsWith("\"99\" -> (1100 more) -> \"0\""));
    }

    void bears_large_graphs()
    {
        // A chain far longer than any stack, each link with four more uses ahead.
        constexpr int COUNT = 200000;
        QStringList assets;
        for (int i = 0; i < COUNT; ++i) {
            QStringList uses;
            for (int step = 1; step <= 5 && i + step < COUNT; ++step)
                uses.append(QString::number(i + step));
            assets.append(QString::number(i) + ':' + uses.join(','));
        }
        SCENE graph;
        QCOMPARE(graph.add_file("a.agf", agf(assets)), QString());
        QCOMPARE(graph.problems(), QStringList());
        SCENE copy;
        QCOMPARE(copy.load(graph.cache()), QString());
        QCOMPARE(copy.used_by("100000"), QStringList({"99995", "99996", "99997", "99998", "99999"}));
    }

    void keeps_cache()
    {
        SCENE graph;
        graph.add_file("b.agf", agf({"gone"}));
        graph.add_file("b.agf", agf({QString::fromUtf8("\xE2\x82\xAC: x, y"), "x"}));
        graph.add_file("a.agf", agf({"y: x"}));
        const QByteArray cache = graph.cache();
        QVERIFY(!cache.contains("gone"));
        SCENE copy;
        copy.add_file("other.agf", agf({"other"}));
        QCOMPARE(copy.load(cache), QString());
        QCOMPARE(copy.text(), graph.text());
        QCOMPARE(copy.cache(), cache);
        SCENE empty;
        QCOMPARE(copy.load(empty.cache()), QString());
        QCOMPARE(copy.text(), QStringList());
    }

    void merges_cache()
    {
        SCENE cached, graph;
        cached.add_file("a.agf", agf({"old"}));
        cached.add_file("b.agf", agf({"b: y, x"}));
        graph.add_file("a.agf", agf({"new: x", "x"}));
        QCOMPARE(graph.load(cached.cache(), true), QString());
        QCOMPARE(graph.text(), QStringList({"a.agf", "b.agf", "b in b.agf: y,x < ", "new in a.agf: x < ",
                                            "x in a.agf:  < b,new"}));
    }

    void ignores_damaged_cache()
    {
        SCENE graph;
        graph.add_file("a.agf", agf({"x: y", "y"}));
        const QStringList before = graph.text();
        const QByteArray cache = graph.cache();
        for (int bit = 0; bit < cache.size() * 8; ++bit) {
            const int byte = bit / 8;
            QByteArray damaged = cache;
            damaged[byte] = char(damaged.at(byte) ^ (1 << bit % 8));
            const QString cause = graph.load(damaged);
            const bool is_right =
                byte < 8    ? cause == "it is no asset graph cache"
                : byte < 12 ? cause.startsWith("it has version ")
                : byte < 20 ? cause.startsWith("it is cut off after ") || cause == "it goes on behind its end"
                            : cause == "its checksum is wrong";
            QVERIFY2(is_right, qPrintable(cause));
        }
        for (int length = 1; length < cache.size(); ++length) {
            QCOMPARE(graph.load(cache.left(length)),
                     QStringLiteral("it is cut off after %1 bytes").arg(length));
            // With a checksum of its own, so that its lists are looked at.
            if (length >= HEADER)
                QVERIFY(!graph.load(cache_of(cache.mid(HEADER, length - HEADER))).isEmpty());
        }
        QCOMPARE(graph.load(""), QString("it is empty"));
        QCOMPARE(graph.load(cache + 'x'), QString("it goes on behind its end"));
        QCOMPARE(graph.text(), before);
    }

#ifdef Q_OS_LINUX
    // How much is read is asked of the system.
    void wrong_file_is_not_read_whole()
    {
        const auto read_so_far = [] {
            return FILES::bytes("/proc/self/io").mid(7).split('\n').first().toLongLong();
        };
        constexpr qint64 MEGABYTE = 1 << 20;
        SCENE graph;
        QFile large(graph.path("large.bin"));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.write("BM") == 2 && large.resize(512 * MEGABYTE));
        QStringList errors;
        const qint64 before = read_so_far();
        QVERIFY(!graph.load_binary(large.fileName(), errors, false));
        QVERIFY(read_so_far() - before < MEGABYTE);
        QVERIFY2(errors.value(0).endsWith(": it is no asset graph cache"), qPrintable(errors.value(0)));
    }
#endif

    void ignores_false_cache_data()
    {
        const QByteArray names = number(1) + number(1) + "a";
        const QByteArray file = number(1) + number(1) + "f" + QByteArray(24, '\0');
        const CACHES row;
        row("many names", number(0xffffffff) + number(0),
            "a list of 4294967295 elements does not fit into it");
        row("long name", number(1) + number(0x7fffffff) + "a",
            "a list of 2147483647 elements does not fit into it");
        row("empty name", number(1) + number(0) + number(0), "asset number 0 has no name of its own");
        row("equal names", number(2) + number(1) + "a" + number(1) + "a" + number(0),
            "asset number 1 has no name of its own");
        row("unknown asset", names + file + number(1) + number(1) + number(0), "there is no asset number 1");
        row("unknown use", names + file + number(1) + number(0) + number(1) + number(0x80000000),
            "there is no asset number 2147483648");
        row("many uses", names + file + number(1) + number(0) + number(2) + number(0),
            "a list of 2 elements does not fit into it");
        row("equal files", names + number(2) + (file.mid(4) + number(0)).repeated(2),
            "file \"f\" is in it twice");
        row("more behind", names + file + number(0) + "x", "there is more in it than its lists");
    }

    void ignores_false_cache()
    {
        const auto [payload, expected_cause] = CACHES::values();
        SCENE graph;
        graph.add_file("a.agf", agf({"x"}));
        QCOMPARE(graph.load(cache_of(payload)), expected_cause);
        QCOMPARE(graph.assets(), QStringList("x"));
    }

    void missing_cache_is_no_problem()
    {
        SCENE graph;
        graph.add_file("a.agf", agf({"x"}));
        QStringList errors;
        QVERIFY(!graph.load_binary(graph.path("none.bin"), errors, false));
        QCOMPARE(errors, QStringList());
        QCOMPARE(graph.assets(), QStringList("x"));
        QVERIFY(!graph.load_binary(graph.path("."), errors, false));
        QCOMPARE(errors,
                 QStringList(graph.path(".") + ": the asset graph cache is ignored: it is not a file"));
    }

    void tells_why_cache_is_not_written()
    {
        SCENE graph;
        QString error;
        QVERIFY(!graph.save_binary(graph.path("none/asset_graph.bin"), error));
        QCOMPARE(error, graph.path("none/asset_graph.bin") + ": can't be written: No such file or directory");
        QVERIFY(graph.save_binary(graph.path("asset_graph.bin"), error));
        QCOMPARE(error, QString());
    }
};

QTEST_GUILESS_MAIN(TST_ASSET_GRAPH)
#include "tst_asset_graph.moc"
