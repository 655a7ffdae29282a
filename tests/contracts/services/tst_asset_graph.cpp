#include <QtCore/QCryptographicHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>
#include <QtTest/QTest>

#include <memory>

#include "contracts/services/asset_graph.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/noted.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/watched_test.h"

namespace {

// An .agf file from assets such as "house:brick,roof".
QByteArray agf(const QStringList& assets)
{
    QByteArray bytes = "<agf>";
    for (const QString& asset : assets) {
        const QString uses = asset.section(':', 1).replace(',', "'/><uses name='");
        bytes +=
            ("<asset name='" + asset.section(':', 0, 0) + "'><uses name='" + uses + "'/></asset>").toUtf8();
    }
    return bytes.replace("<uses name=''/>", "") + "</agf>";
}

// A cache of these contents, with a checksum that is right.
QByteArray cache_of(const QByteArray& payload)
{
    QByteArray size(8, '\0');
    qToLittleEndian(quint64(payload.size()), size.data());
    return "GOXAGRPH" + QByteArray("\1\0\0\0", 4) + size +
           QCryptographicHash::hash(payload, QCryptographicHash::Sha1) + payload;
}

constexpr int HEADER = 8 + 4 + 8 + 20;

// Numbers and 'texts' as a cache has them.
QByteArray packed(const QString& parts)
{
    QByteArray bytes;
    for (auto part = QRegularExpression("'([^']*)'|(\\d+)").globalMatch(parts); part.hasNext();) {
        const QRegularExpressionMatch found = part.next();
        char number[4];
        qToLittleEndian(found.captured(2).toUInt(), number);
        bytes +=
            spelled_bytes(found.captured(1)) + (found.captured(2).isEmpty() ? "" : QByteArray(number, 4));
    }
    return bytes;
}

// A graph over files in a temporary folder, which texts leave out.
class SCENE
{
public:
    SCENE()
    {
        name_by([this](QString path) { return path.remove(folder.path() + '/'); });
    }
    ~SCENE() { name_by(nullptr); }

    static void name_by(const std::function<QString(QString)>& callback)
    {
        QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(callback);
    }

    // All files are equally old.
    QString add(const QString& file, const QByteArray& bytes)
    {
        FILES::write(folder.filePath(file), bytes, FILES::hour(1));
        QString error = "left over";
        const bool is_added = graph->add(folder.filePath(file), error);
        return outcome(is_added, error);
    }

    QString save(const QString& file)
    {
        QString error = "left over";
        const bool is_saved = graph->save_binary(folder.filePath(file), error);
        kept = FILES::bytes(folder.filePath(file));
        return outcome(is_saved, error);
    }

    QString load_file(const QString& file, bool keep_known = false)
    {
        QStringList errors;
        const bool is_loaded = graph->load_binary(folder.filePath(file), errors, keep_known);
        return outcome(is_loaded || file == "none", errors.join('\n'))
            .remove(file + ": the asset graph cache is ignored: ");
    }
    QString load(const QByteArray& bytes)
    {
        QFile::remove(folder.filePath("loaded")); // writing over a file costs a wait for the disk
        FILES::write(folder.filePath("loaded"), bytes);
        return load_file("loaded");
    }

    QStringList text() const
    {
        QStringList lines{"files " + graph->get_all_agf_filenames().join(' ')};
        for (const QString& asset : graph->assets())
            lines.append(asset + ": " + graph->dependencies_of(asset).join(' '));
        return lines;
    }

    QStringList take(const QString& step)
    {
        const QString word = step.section(' ', 0, 0), rest = step.section(' ', 1);
        const QString file = rest.section(' ', 0, 0), bytes = rest.section(' ', 1);
        QStringList problems;
        if (word == "new")
            graph = std::make_unique<QTSHARED::ASSET_GRAPH>();
        else if (word == "remove")
            graph->remove_fragments_by_agf_filename(rest);
        else if (word == "names")
            name_by([rest](const QString& path) { return rest + path.section('/', -1); });
        else if (word == "problems")
            graph->check_dependencies(problems);
        return word == "graph"     ? text()
               : word == "digest"  ? QStringList(letters.of(graph->digest()))
               : word == "noted"   ? QStringList(noted([&] { take(rest); }))
               : word == "add"     ? QStringList(add(file, agf(bytes.split(' '))))
               : word == "write"   ? QStringList(add(file, spelled_bytes(bytes)))
               : word == "payload" ? QStringList(load(cache_of(packed(rest))))
               : word == "save"    ? QStringList(save(file))
               : word == "load"    ? QStringList(load_file(file, bytes == "too"))
                                   : problems.filter(rest);
    }

    const QTemporaryDir folder;
    std::unique_ptr<QTSHARED::ASSET_GRAPH> graph = std::make_unique<QTSHARED::ASSET_GRAPH>();
    LETTERS letters; // of digests
    QByteArray kept; // the cache that was saved last

private:
    QString outcome(bool is_well, QString error) const
    {
        return is_well == error.isEmpty() ? error.remove(folder.path() + '/') : "this contradicts: " + error;
    }
};

} // namespace

class TST_ASSET_GRAPH : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void says_data() { add_cases("contracts/services/asset_graph.cases", {"do", "said"}); }
    void says()
    {
        SCENE scene;
        QStringList said;
        for (const QString& step : current_case().lines("do"))
            said += scene.take(step);
        said.removeAll(QString());
        const QString expected = QString::fromUtf8(spelled_bytes(current_case()["said"]));
        GOX_COMPARE_TEXT(said.replaceInStrings(QRegularExpression(" $"), "").join('\n'), expected);
    }

    void ignores_damaged_cache()
    {
        SCENE scene;
        scene.add("a.agf", agf({"x:y", "y"}));
        scene.save("saved");
        const QStringList before = scene.text();
        const QByteArray cache = scene.kept;
        for (int bit = 0; bit < cache.size() * 8; ++bit) {
            const int byte = bit / 8;
            QByteArray damaged = cache;
            damaged[byte] = char(damaged.at(byte) ^ (1 << bit % 8));
            const QRegularExpression cause(byte < 8    ? "^it is no asset graph cache$"
                                           : byte < 12 ? "^it has version \\d+, this program reads version 1$"
                                           : byte < 20
                                               ? "^it is cut off after 115 bytes|it goes on behind its end$"
                                               : "^its checksum is wrong$");
            QVERIFY2(scene.load(damaged).contains(cause), cause.pattern().toUtf8());
        }
        for (int length = 1; length < cache.size(); ++length) {
            QCOMPARE(scene.load(cache.left(length)), QString("it is cut off after %1 bytes").arg(length));
            // With a checksum of its own, so that its lists are looked at.
            if (length >= HEADER)
                QVERIFY(!scene.load(cache_of(cache.mid(HEADER, length - HEADER))).isEmpty());
        }
        QCOMPARE(scene.load(cache + 'x'), QString("it goes on behind its end"));
        const QString large = scene.folder.filePath("large");
        FILES::write(large, "GOXAGRPH" + packed("1 4294967255 0") + QByteArray(20, '\0'));
        QVERIFY(QFile::resize(large, 4294967295));
        QCOMPARE(scene.load_file("large"), QString("it is larger than 1073741824 bytes"));
        QCOMPARE(scene.text(), before);
    }
};

QTEST_GUILESS_MAIN(TST_ASSET_GRAPH)
#include "tst_asset_graph.moc"
