#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QPushButton>

#include "settings/preferences_editor_dialog.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

class TST_PREFERENCES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void stored_and_closed_data();
    void stored_and_closed();
};

// The check boxes in the order of their keys, and the combo box.
static QString shown(const QWidget& dialog)
{
    QString text;
    for (const char* name :
         {"setting_revertunchanged", "setting_debugoutput", "setting_actionselection", "source_to_gox"})
        text += dialog.findChild<QCheckBox*>(name)->isChecked() ? "1" : "0";
    return text + dialog.findChild<QComboBox*>()->currentText();
}

void TST_PREFERENCES::stored_and_closed_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("after");
    QTest::newRow("save") << QVariant() << "1010Ask"
                          << "button_save"
                          << "0101Always";
    QTest::newRow("cancel, too large") << QVariant(7) << "1010Never"
                                       << "button_cancel"
                                       << "1010Never";
    QTest::newRow("Escape, negative") << QVariant(-5) << "1010"
                                      << ""
                                      << "1010";
    QTest::newRow("save, garbage") << QVariant("many") << "1010Ask"
                                   << "button_save"
                                   << "0101Always";
}

void TST_PREFERENCES::stored_and_closed()
{
    QFETCH(QVariant, stored);
    QFETCH(QString, way);
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    if (stored.isValid())
        QSettings("The Ferrule Works", "GOX").setValue("GetLatestDatabaseNotification", stored);
    PREFERENCES_EDITOR_DIALOG editor(nullptr, Qt::WindowFlags());
    QTEST(shown(editor), "before");
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog* dialog) {
        for (QCheckBox* box : dialog->findChildren<QCheckBox*>())
            QTest::keyClick(box, Qt::Key_Space);
        dialog->findChild<QComboBox*>()->setCurrentIndex(1);
        QVERIFY(!editor.show_action_selection_popup());
        answers.press_default();
        if (QPushButton* const button = dialog->findChild<QPushButton*>(way))
            QTest::mouseClick(button, Qt::LeftButton);
        else
            QTest::keyClick(dialog->findChild<QCheckBox*>(), Qt::Key_Escape);
    });
    editor.exec();
    QTEST(shown(editor), "after");
    QTEST(shown(PREFERENCES_EDITOR_DIALOG(nullptr, Qt::WindowFlags())), "after");
    QCOMPARE(answers.texts.mid(1).join('|'),
             QString(answers.waiting() ? "" : "Preferences have been saved."));
    QCOMPARE(answers.waiting(), way == "button_save" ? 0 : 1);
}

QTEST_MAIN(TST_PREFERENCES)
#include "tst_preferences.moc"
