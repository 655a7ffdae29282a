#include <QtTest/QtTest>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QMessageBox>

#include "tests/support/build_log.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

/// What other tests lean on must itself be right.
class tst_support : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void message_boxes_are_answered();
    void unexpected_dialogs_are_rejected();
    void other_dialogs_are_handed_over();
    void logs_are_taken_apart();
    void allowed_warnings_pass();
};

void tst_support::message_boxes_are_answered()
{
    DIALOG_ANSWERS answers;
    answers.press_default();
    answers.press_default();
    QCOMPARE(
        QMessageBox::question(nullptr, "t", "first?", QMessageBox::Yes | QMessageBox::No, QMessageBox::No),
        QMessageBox::No);
    QCOMPARE(QMessageBox::critical(nullptr, "t", "second", QMessageBox::Ok), QMessageBox::Ok);
    QCOMPARE(answers.texts, QStringList({"first?", "second"}));
    QCOMPARE(answers.unexpected, 0);
    QCOMPARE(answers.waiting(), 0);
}

void tst_support::unexpected_dialogs_are_rejected()
{
    DIALOG_ANSWERS answers;
    QDialog dialog;
    dialog.setWindowTitle("a title");
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QCOMPARE(answers.unexpected, 1);
    QCOMPARE(answers.texts, QStringList{"a title"});
}

void tst_support::other_dialogs_are_handed_over()
{
    DIALOG_ANSWERS answers;
    answers.answer_with([](QDialog* dialog) {
        qobject_cast<QInputDialog*>(dialog)->setTextValue("b");
        dialog->accept();
    });
    bool is_accepted = false;
    QCOMPARE(QInputDialog::getItem(nullptr, "t", "l", {"a", "b"}, 0, false, &is_accepted), QString("b"));
    QVERIFY(is_accepted);
}

void tst_support::logs_are_taken_apart()
{
    const BUILD_LOG log("2 action(s) were selected for execution.\n\n"
                        "=== p / a / b ===\nline\n\nDuration: 12 msec(s)\n\n"
                        "=== q / c ===\n\n");
    QCOMPARE(log.count, 2);
    QCOMPARE(log.headings, QStringList({"p / a / b", "q / c"}));
    QCOMPARE(log.actions(), QStringList({"a / b", "c"}));
    QCOMPARE(log.body("a / b"), QString("line\n\nDuration: *\n"));
    QVERIFY(log.body("c").isEmpty() && !log.body("c").isNull());
    QVERIFY(log.body("none").isNull());
    QCOMPARE(BUILD_LOG("").count, -1);
    QCOMPARE(BUILD_LOG("=== q / c ===\nx\n\n").body("c"), QString("x\n"));
}

void tst_support::allowed_warnings_pass()
{
    allow_warning("No such slot");
    QObject sender;
    QVERIFY(!connect(&sender, SIGNAL(destroyed()), this, SLOT(misspelt())));
}

QTEST_MAIN(tst_support)
#include "tst_support.moc"
