#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include "contracts/rules/file_filter_list.h"
#include "tests/support/watched_test.h"

class TST_FILE_FILTER_LIST : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void matching_data();
    void matching();
    void reads_and_writes_text_data();
    void reads_and_writes_text();
    void does_not_split_entries();
    void agrees_with_plain_matcher();
    void endures_hard_patterns_data();
    void endures_hard_patterns();
    void tells_long_patterns_apart();
};

void TST_FILE_FILTER_LIST::matching_data()
{
    QTest::addColumn<QString>("filters");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("passes");
    const auto row = [](const char* filters, const char* path, bool passes) {
        QTest::addRow("'%s' and '%s'", filters, path) << QString(filters) << QString(path) << passes;
    };
    row("", "anything/at.all", true);
    row("  , ,- ,-", "anything", true);
    row("*.txt, -design_*.txt, design_todo_*.txt", "code.txt", true);
    row("*.txt, -design_*.txt, design_todo_*.txt", "design_info.txt", false);
    row("*.txt, -design_*.txt, design_todo_*.txt", "design_todo_x.txt", true);
    row("*.txt, -design_*.txt, design_todo_*.txt", "picture.png", false);
    row("-*.bak,-*.tmp", "a.png", true); // only taking away: everything else passes
    row("-*.bak,-*.tmp", "a.tmp", false);
    row("-*.bak, a*", "b.png", true); // what comes first makes the list subtractive
    row("a*, -*.bak", "b.png", false);
    row("a*, -*.bak", "ab.bak", false);
    row("- *.bak", "a.bak", false);
    row("*.png", "sub/a.png", false); // a star stays in one name
    row("*", "a/b", false);
    row("*/*", "a/b", true);
    row("?", "/", false);
    row("a?b", "a/b", false);
    row("....png", "sub/deep/a.png", true);
    row("....png", "a.png", true);
    row("....png", "apng", false);
    row("...", "", true);
    row("...a...", "xx/yay/z", true);
    row("<raw>/textures/...", "<raw>/textures/a/b.png", true);
    row("<raw>/textures/...", "<raw>/textures", false);
    row("<raw>/*/walls/...x?.png", "<raw>/t/walls/s/x1.png", true);
    row("<raw>/*/walls/...x?.png", "<raw>/t/s/walls/x1.png", false);
    row("png", "a.png", false); // both ends hold
    row("a.png", "a.png.bak", false);
    row("ab*ba", "aba", false); // the ends must not share a letter
    row("ab*ba", "abba", true);
    row("..", "..", true); // two dots are dots
    row("....", "a.", true);
    row("A*.PNG", "aBc.png", true);
    row("a*.png", "ABC.PNG", true);
    row("*[1].png", "a[1].png", true); // nothing else is a wildcard
    row("\xc3\x84*.png", "\xc3\xa4pfel.PNG", true);
    row("?.png", "\xf0\x9f\x8e\xae.png", true); // one character of two units
    row("??.png", "\xf0\x9f\x8e\xae.png", false);
    row("*?\xf0\x9f\x8e\xae*", "a\xf0\x9f\x8e\xae\xf0\x9f\x8e\xae", true);
}

void TST_FILE_FILTER_LIST::matching()
{
    QFETCH(QString, filters);
    QFETCH(QString, path);
    QTEST(FILE_FILTER_LIST::from_text(filters).matching(path), "passes");
}

void TST_FILE_FILTER_LIST::reads_and_writes_text_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("empty");
    QTest::addColumn<bool>("subtractive");
    QTest::newRow("nothing") << ""
                             << "" << true << false;
    QTest::newRow("empty entries") << " ,, - ,"
                                   << "" << true << false;
    QTest::newRow("spaces") << "  *.txt ,-  Design_*.txt "
                            << "*.txt, -Design_*.txt" << false << false;
    QTest::newRow("subtractive") << ", -a b ,c"
                                 << "-a b, c" << false << true;
}

void TST_FILE_FILTER_LIST::reads_and_writes_text()
{
    QFETCH(QString, text);
    QFETCH(QString, written);
    const FILE_FILTER_LIST list = FILE_FILTER_LIST::from_text(text);
    QCOMPARE(list.text(), written);
    QCOMPARE(FILE_FILTER_LIST::from_text(written).text(), written);
    QTEST(list.empty(), "empty");
    QTEST(list.subtractive(), "subtractive");
}

void TST_FILE_FILTER_LIST::does_not_split_entries()
{
    const FILE_FILTER_LIST list(QStringList{"a,b", "", "  "});
    QVERIFY(list.matching("a,b"));
    QVERIFY(!list.matching("a"));
    QVERIFY(FILE_FILTER_LIST(QStringList{"", " "}).empty());
}

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
    const bool fits =
        !path.isEmpty() && (pattern.at(0) == '?' ? path.at(0) != '/' : pattern.at(0) == path.at(0));
    return fits && plain_match(pattern.mid(1), path.mid(1));
}

static QString random_text(QRandomGenerator& random, const QStringList& parts, int most)
{
    QString text;
    for (int i = random.bounded(most + 1); i > 0; --i)
        text += parts.at(random.bounded(parts.size()));
    return text;
}

void TST_FILE_FILTER_LIST::agrees_with_plain_matcher()
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

void TST_FILE_FILTER_LIST::endures_hard_patterns_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("passes");
    QTest::newRow("stars, no end") << QString("*a").repeated(200) + "*b" << false;
    QTest::newRow("stars, an end") << QString("*a").repeated(200) + "*" << true;
    QTest::newRow("trees, no end") << QString("...a").repeated(200) + "...b?" << false;
    QTest::newRow("mixed") << QString("*a...a?").repeated(100) + "...b..." << false;
}

void TST_FILE_FILTER_LIST::endures_hard_patterns()
{
    QFETCH(QString, pattern);
    QTEST(FILE_FILTER_LIST(QStringList(pattern)).matching(QString(100000, 'a')), "passes");
}

void TST_FILE_FILTER_LIST::tells_long_patterns_apart()
{
    // Longer than a machine word, so that places are carried between words.
    for (int length = 60; length < 200; ++length) {
        const FILE_FILTER_LIST list(QStringList('?' + QString(length, 'x') + "?*"));
        QVERIFY(list.matching('a' + QString(length, 'x') + "bcd"));
        QVERIFY(!list.matching('a' + QString(length - 1, 'x') + "ybcd"));
        QVERIFY(!list.matching('a' + QString(length, 'x')));
    }
}

QTEST_GUILESS_MAIN(TST_FILE_FILTER_LIST)
#include "tst_file_filter_list.moc"
