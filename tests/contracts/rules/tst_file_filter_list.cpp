#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include "contracts/rules/file_filter_list.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

static const QStringList WILDCARDS{"?", "*", "..."};
static const QStringList LETTERS{"a", "b", "A", "/", ".", "\u00e9", "\U0001F3AE"};

// The pattern language as one would tell it: `met[i]` is whether the tokens so far
// stand for the first i characters of the path.
static bool plain_match(const QString& pattern, const QString& path)
{
    const QVector<uint> letters = path.toLower().toUcs4();
    QVector<bool> met(letters.size() + 1, false);
    met[0] = true;
    static const QRegularExpression token_of_pattern("[.]{3}|.");
    QRegularExpressionMatchIterator tokens = token_of_pattern.globalMatch(pattern.toLower());
    while (tokens.hasNext()) {
        const QString token = tokens.next().captured();
        QVector<bool> next(met.size(), false);
        const bool is_star = token == "*" || token == "...";
        next[0] = is_star && met[0];
        for (int i = 0; i < letters.size(); ++i) {
            if (is_star)
                next[i + 1] = met[i + 1] || (next[i] && (token == "..." || letters[i] != '/'));
            else
                next[i + 1] = met[i] && (token == "?" || token.toUcs4().first() == letters[i]);
        }
        met = next;
    }
    return met.last();
}

class TST_FILE_FILTER_LIST : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void chooses_files_data()
    {
        add_cases("contracts/rules/file_filters.cases", {"filters", "answers", "reads"});
    }
    void chooses_files()
    {
        const TEST_CASE one = current_case();
        const FILE_FILTER_LIST list = FILE_FILTER_LIST::from_text(one["filters"]);
        QStringList answers;
        for (const QString& line : one.lines("answers"))
            answers += (list.matching(line.section(' ', 1)) ? "yes " : "no ") + line.section(' ', 1);
        GOX_COMPARE_TEXT(answers.join('\n'), one["answers"]);
        if (one.has("reads"))
            QCOMPARE('<' + list.text() + '>' + (list.empty() ? " empty" : "") +
                         (list.subtractive() ? " subtractive" : ""),
                     one["reads"]);
    }

    void splits_no_entry()
    {
        const FILE_FILTER_LIST list(QStringList{"a,b", "", "  "});
        QVERIFY(list.matching("a,b") && !list.matching("a"));
    }

    // Every other path is made from its pattern, so that many match or almost do;
    // some patterns are longer than a machine word has bits.
    void agrees_with_plain_matcher()
    {
        QRandomGenerator random(7);
        const auto any_of = [&](const QStringList& texts) { return texts.at(random.bounded(texts.size())); };
        int yes = 0;
        for (int i = 0; i < 20000; ++i) {
            QString pattern;
            QStringList path;
            for (int length = random.bounded(i % 50 ? 8 : 200); length >= 0; --length) {
                const QString token = any_of(random.bounded(3) ? LETTERS : WILDCARDS);
                const bool is_star = token == "*" || token == "...";
                pattern += token;
                for (int count = is_star ? random.bounded(3) : 1; count > 0; --count)
                    path += LETTERS.contains(token) && i % 2 ? token : any_of(LETTERS);
            }
            if (random.bounded(2) && !path.isEmpty())
                path[random.bounded(path.size())] = any_of(LETTERS);
            const QString text = path.join(QString());
            const bool expected = plain_match(pattern, text);
            yes += expected;
            QVERIFY2(FILE_FILTER_LIST(QStringList(pattern)).matching(text) == expected,
                     qPrintable(pattern + " and " + text));
        }
        QVERIFY2(yes > 4000 && yes < 16000, qPrintable(QString::number(yes)));
    }

    void endures_hard_patterns()
    {
        const QString path(100000, 'a');
        for (const char* piece : {"*a", "...a", "*a...a?"})
            QVERIFY(!FILE_FILTER_LIST({QString(piece).repeated(200) + "...b..."}).matching(path));
    }
};

QTEST_GUILESS_MAIN(TST_FILE_FILTER_LIST)
#include "tst_file_filter_list.moc"
