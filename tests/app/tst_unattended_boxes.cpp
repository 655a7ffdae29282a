#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include "app/unattended_boxes.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

namespace {

struct STUBBORN_DIALOG : QDialog
{
    void reject() override { was_asked = true; }

    bool was_asked = false;
};

} // namespace

/// What is answered for a person who is not there.
class TST_UNATTENDED_BOXES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void buttons_data() { add_cases("app/unattended_boxes.cases", {"buttons", "details", "pressed"}); }
    void buttons()
    {
        const TEST_CASE one = current_case();
        QMessageBox box(QMessageBox::Question, "GOX", "May I?");
        box.setDetailedText(one["details"]);
        for (const QString& button : one.lines("buttons")) {
            const QStringList words = button.split(", ");
            QPushButton* const added = box.addButton(words[0], QMessageBox::ButtonRole(words[1].toInt()));
            if (words.contains("default"))
                box.setDefaultButton(added);
            if (words.contains("escape"))
                box.setEscapeButton(added);
        }
        const UNATTENDED_BOXES answers(qApp);
        box.exec();
        QCOMPARE(box.clickedButton() ? box.clickedButton()->text() : QString(), one["pressed"]);
    }

    void dialogs_go()
    {
        const UNATTENDED_BOXES answers(qApp);
        QDialog dialog;
        STUBBORN_DIALOG stubborn;
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(stubborn.exec(), int(QDialog::Rejected));
        QVERIFY(stubborn.was_asked);
        const QPointer<QMessageBox> passing(new QMessageBox);
        connect(passing->addButton(QMessageBox::Yes), &QPushButton::clicked, [&] { delete passing; });
        passing->open();
        QTRY_VERIFY(!passing);
    }
};

QTEST_MAIN(TST_UNATTENDED_BOXES)
#include "tst_unattended_boxes.moc"
