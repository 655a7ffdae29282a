#include <QtTest/QtTest>
#include <QtWidgets/QDialog>

#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

/// What other tests lean on must itself be right.
class TST_SUPPORT : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void unexpected_dialogs_are_rejected()
    {
        DIALOG_ANSWERS answers;
        QDialog dialog;
        dialog.setWindowTitle("a title");
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(answers.unexpected, 1);
        QCOMPARE(answers.texts, QStringList{"a title"});
    }

    void case_files_are_read_data() { add_cases("support/tst_support.cases", {"text", "lines", "file "}); }
    void case_files_are_read()
    {
        const QMap<QString, QString> expected{
            {"one line", "a: b"}, {"many lines", "first\n\n third, behind a blank"}, {"nothing", ""}};
        const TEST_CASE one = current_case();
        GOX_COMPARE_TEXT(one["text"], expected.value(QTest::currentDataTag()));
        QCOMPARE(one["text"].count('\n') + 1, one["lines"].toInt());
        QVERIFY(one.has("text") && !one.has("none"));
        QCOMPARE(one.behind("file ").value("a/b.txt"), one.has("file a/b.txt") ? "held" : QString());
        QVERIFY(!text_difference("a\nb", "a\nc").isEmpty());
    }
};

QTEST_MAIN(TST_SUPPORT)
#include "tst_support.moc"
