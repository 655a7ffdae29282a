#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include "app/unattended_boxes.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

// buttons, "name:role" each, with "*" the default and "!" escape's; details; what is pressed
using BOXES = ROWS<QStringList, QString, QString>;

namespace {

struct STUBBORN_DIALOG : QDialog
{
    void reject() override {}
};

} // namespace

/// What is answered for a person who is not there.
class tst_unattended_boxes : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void buttons_data()
    {
        const BOXES row;
        row("default", {"no:1", "*yes:0", "!cancel:1"}, "", "yes");
        row("escape", {"no:1", "yes:0", "!later:3"}, "", "later");
        row("only one", {"ok:0"}, "", "ok");
        row("only one beside the details", {"ok:0"}, "details", "ok");
        row("rejects before it says no", {"yes:5", "no:6", "cancel:1"}, "", "cancel");
        row("says no", {"yes:5", "delete:2", "no:6"}, "", "no");
        row("one of two that reject", {"yes:5", "no:1", "never:1"}, "", "no");
        row("rather does something else than destroy", {"delete:2", "skip:3", "yes:5"}, "", "skip");
        row("rather discards than agrees", {"save:0", "discard:2"}, "", "discard");
        row("only agrees", {"yes:5", "yes to all:5", "apply:8"}, "", "");
        row("only agrees, with details", {"yes:5", "yes to all:5"}, "details", "");
    }
    void buttons()
    {
        const auto [buttons, details, pressed] = BOXES::values();
        QMessageBox box(QMessageBox::Question, "GOX", "May I?");
        box.setDetailedText(details);
        for (QString button : buttons) {
            const QString name = button.remove('*').remove('!').section(':', 0, 0);
            const auto role = QMessageBox::ButtonRole(button.section(':', 1).toInt());
            QPushButton* const added = box.addButton(name, role);
            if (buttons.contains('*' + button))
                box.setDefaultButton(added);
            if (buttons.contains('!' + button))
                box.setEscapeButton(added);
        }
        const UNATTENDED_BOXES answers(qApp);
        box.exec();
        QCOMPARE(box.clickedButton() ? box.clickedButton()->text() : QString(), pressed);
    }

    void dialogs_go()
    {
        const UNATTENDED_BOXES answers(qApp);
        QDialog dialog;
        STUBBORN_DIALOG stubborn;
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(stubborn.exec(), int(QDialog::Rejected));
    }
};

QTEST_MAIN(tst_unattended_boxes)
#include "tst_unattended_boxes.moc"
