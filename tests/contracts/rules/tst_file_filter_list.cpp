#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include "contracts/rules/file_filter_list.h"
#include "tests/support/watched_test.h"

// The pattern language as one would tell it, at whatever cost.
static bool plain_match(const QStringRef& pattern, const QStringRef& path)
{
    if (pattern.isEmpty())
        return path.isEmpty();
    if (pattern.startsWith(QLatin1String("..."))) {
        for (int i = 0; i <= path.size(); ++i)
            if (plain_match(pattern.mid(3), path.mid(i)))
                return true;
        return false;
    }
    if (pattern.at(0) == '*') {
        for (int i = 0; i <= path.size(); ++i) {
            if (plain_match(pattern.mid(1), path.mid(i)))
                return true;
            if (i < path.size() && path.at(i) == '/')
                return false;
        }
        return false;
    }
    const bool fits = !path.isEmpty() && (pattern.at(0) == '?' || pattern.at(0) == path.at(0));
    return fits && plain_match(pattern.mid(1), path.mid(1));
}

static QString random_text(QRandomGenerator& random, const QStringList& parts, int most)
{
    QString text;
    for (int i = random.bounded(most + 1); i > 0; --i)
        text += parts.at(random.bounded(parts.size()));
    return text;
}

class TST_FILE_FILTER_LIST : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void matching_data()
    {
        QTest::addColumn<QString>("filters");
        QTest::addColumn<QStringList>("passing");
        QTest::addColumn<QStringList>("others");
        const auto row = [](const QString& filters, const QStringList& passing, const QStringList& others) {
            QTest::newRow(qPrintable(filters)) << filters << passing << others;
        };
        row("", {"anything/at.all"}, {});
        row("  , ,- ,-", {"anything"}, {});
        row("*.txt, -design_*.txt, design_todo_*.txt", {"code.txt", "design_todo_x.txt"},
            {"design_info.txt", "picture.png"});
        row("-*.bak,-*.tmp", {"a.png"}, {"a.tmp"});        // only taking away: everything else passes
        row("-*.bak, a*", {"b.png", "ab.bak"}, {"b.bak"}); // what comes first makes the list subtractive
        row("a*, - *.bak", {"a.png"}, {"b.png", "ab.bak"});
        row("*.png", {"a.png"}, {"sub/a.png"}); // a star stays in one name
        row("*", {"a"}, {"a/b"});
        row("*/*", {"a/b"}, {});
        row("a?b", {"axb", "a/b"}, {"ab", "axxb"}); // "?" may be a slash
        row("....png", {"sub/deep/a.png", "a.png"}, {"apng"});
        row("...", {"", "a/b"}, {});
        row("...a...", {"xx/yay/z"}, {"xx/z"});
        row("<raw>/textures/...", {"<raw>/textures/a/b.png"}, {"<raw>/textures"});
        row("<raw>/*/walls/...x?.png", {"<raw>/t/walls/s/x1.png"}, {"<raw>/t/s/walls/x1.png"});
        row("a.png", {"a.png"}, {"ba.png", "a.png.bak"}); // both ends hold
        row("ab*ba", {"abba"}, {"aba"});                  // the ends must not share a letter
        row("..", {".."}, {"ab"});                        // two dots are dots
        row("....", {"a."}, {"a"});
        row("A*.PNG", {"aBc.png", "ABC.PNG"}, {});
        row("*[1].png", {"a[1].png"}, {"a1.png"}); // nothing else is a wildcard
        row(QString::fromUtf8("\u00c4*.png"), {QString::fromUtf8("\u00e4pfel.PNG")}, {});
        row("?.png", {QString::fromUtf8("\U0001F3AE.png")}, {}); // one character of two units
        row("??.png", {}, {QString::fromUtf8("\U0001F3AE.png")});
    }
    void matching()
    {
        QFETCH(QString, filters);
        QFETCH(QStringList, passing);
        QFETCH(QStringList, others);
        const FILE_FILTER_LIST list = FILE_FILTER_LIST::from_text(filters);
        for (const QString& path : qAsConst(passing))
            QVERIFY2(list.matching(path), qPrintable(path));
        for (const QString& path : qAsConst(others))
            QVERIFY2(!list.matching(path), qPrintable(path));
    }

    void reads_and_writes_text()
    {
        const auto check = [](const QString& text, const QString& written, bool empty, bool subtractive) {
            const FILE_FILTER_LIST list = FILE_FILTER_LIST::from_text(text);
            QCOMPARE(list.text(), written);
            QCOMPARE(FILE_FILTER_LIST::from_text(written).text(), written);
            QCOMPARE(list.empty(), empty);
            QCOMPARE(list.subtractive(), subtractive);
        };
        check("", "", true, false);
        check(" ,, - ,", "", true, false);
        check("  *.txt ,-  Design_*.txt ", "*.txt, -Design_*.txt", false, false);
        check(", -a b ,c", "-a b, c", false, true);
        const FILE_FILTER_LIST list(QStringList{"a,b", "", "  "}); // an entry is not split
        QVERIFY(list.matching("a,b") && !list.matching("a"));
    }

    void agrees_with_plain_matcher()
    {
        QRandomGenerator random(7);
        const QStringList wild{"a", "b", "a", "/", ".", "*", "?", "...", QString(QChar(0xe9))};
        const QStringList plain{"a", "b", "a", "/", ".", QString(QChar(0xe9))};
        int yes = 0;
        for (int i = 0; i < 100000; ++i) {
            const QString pattern = random_text(random, wild, 7);
            const QString path = random_text(random, plain, 9);
            if (pattern.isEmpty())
                continue;
            const bool expected = plain_match(QStringRef(&pattern), QStringRef(&path));
            yes += expected;
            QVERIFY2(FILE_FILTER_LIST(QStringList(pattern)).matching(path) == expected,
                     qPrintable(pattern + " and " + path));
        }
        QVERIFY(yes > 1000);
    }

    void endures_hard_patterns()
    {
        const QString path(100000, 'a');
        const auto passes = [&](const QString& pattern) {
            return FILE_FILTER_LIST(QStringList(pattern)).matching(path);
        };
        QVERIFY(!passes(QString("*a").repeated(200) + "*b"));
        QVERIFY(passes(QString("*a").repeated(200) + "*"));
        QVERIFY(!passes(QString("...a").repeated(200) + "...b?"));
        QVERIFY(!passes(QString("*a...a?").repeated(100) + "...b..."));
        // Longer than a machine word, so that places are carried between words.
        for (int length = 60; length < 200; ++length) {
            const FILE_FILTER_LIST list(QStringList('?' + QString(length, 'x') + "?*"));
            QVERIFY(list.matching('a' + QString(length, 'x') + "bcd"));
            QVERIFY(!list.matching('a' + QString(length - 1, 'x') + "ybcd"));
            QVERIFY(!list.matching('a' + QString(length, 'x')));
        }
    }
};

QTEST_GUILESS_MAIN(TST_FILE_FILTER_LIST)
#include "tst_file_filter_list.moc"
