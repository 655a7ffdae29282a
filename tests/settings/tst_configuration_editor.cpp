#include <QtCore/QDir>
#include <QtTest/QTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include <memory>

#include "settings/configuration_editor_dialog.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/files.h"
#include "tests/support/watched_test.h"

class TST_CONFIGURATION_EDITOR : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_editor.reset(); }

    void all_follows_and_leads();
    void saved_and_loaded();
    void completed_name_of_another_file();
    void failed_load_and_save();
    void global_rules_data();
    void global_rules();
    void every_closing_warns();

private:
    template <typename WIDGET = QWidget>
    WIDGET* child(const char* name) const
    {
        return m_editor->findChild<WIDGET*>(name);
    }
    QString checks() const;
    void open(const CONFIGURATION& record);
    QString press(const char* button, const QString& file = QString(),
                  QMessageBox::StandardButton answer = QMessageBox::NoButton);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CONFIGURATION_EDITOR_DIALOG> m_editor;
};

// Each member that has a widget differs from its default.
static CONFIGURATION full_record()
{
    CONFIGURATION record;
    record.processors = {"textures", "<i>packs</i>"};
    record.directories = {"<raw>/shared", QString::fromUtf8("<raw>/no\u00a0break")};
    record.global_rules = {"sub/b.rules.gox", "a.rules.gox"};
    record.retail = record.scan_perforce = record.get_latest = true;
    record.keep_output = record.load_asset_graph = false;
    record.merge_db_for_checkin = 2;
    record.selected_providers = QStringList{"<working>/...", "-....tmp"};
    record.selected_consumers = QStringList{"<raw>/a"};
    return record;
}

static QByteArray text_of(const CONFIGURATION& record)
{
    return record.save("expected", false) ? FILES::bytes("expected") : QByteArray();
}

void TST_CONFIGURATION_EDITOR::init()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    m_folder.reset(new QTemporaryDir);
    QDir::setCurrent(m_folder->path());
    QDir().mkdir("GOX");
}

QString TST_CONFIGURATION_EDITOR::checks() const
{
    QString text;
    for (const QListWidgetItem* item : child<QListWidget>("processors")->findItems("", Qt::MatchContains))
        text += item->checkState() == Qt::Checked ? '1' : '0';
    return text + (child("directories")->isEnabled() ? " open" : " closed");
}

void TST_CONFIGURATION_EDITOR::open(const CONFIGURATION& record)
{
    m_editor.reset(new CONFIGURATION_EDITOR_DIALOG(record, {"textures", "sounds", "<i>packs</i>"}, nullptr));
    m_editor->show();
}

// Clicks, names `file` in the file dialog if there is one, gives `answer` if it is
// one to the question that must follow, and gives the text of the last box.
QString TST_CONFIGURATION_EDITOR::press(const char* button, const QString& file,
                                        QMessageBox::StandardButton answer)
{
    DIALOG_ANSWERS answers;
    if (!file.isNull())
        answers.answer_with([file](QDialog* dialog) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(file);
            dialog->accept();
        });
    if (answer != QMessageBox::NoButton)
        answers.answer_with([answer](QDialog* dialog) {
            QMessageBox* const box = qobject_cast<QMessageBox*>(dialog);
            QVERIFY(box && box->button(answer) && box->focusWidget() == box->button(QMessageBox::No));
            QVERIFY(box->text().contains(QDir::currentPath() + "/GOX/night_configuration.xml"));
            QTest::mouseClick(box->button(answer), Qt::LeftButton);
        });
    answers.answer_with([](QDialog* dialog) {
        QMessageBox* const box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box && box->windowTitle() == "GOX" && box->textFormat() == Qt::PlainText);
        QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    });
    QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton);
    return answers.waiting() ? QString() : answers.texts.last();
}

void TST_CONFIGURATION_EDITOR::all_follows_and_leads()
{
    open(CONFIGURATION());
    QListWidget* const list = child<QListWidget>("processors");
    const auto toggle = [&](int row) {
        list->setCurrentRow(row);
        QTest::keyClick(list, Qt::Key_Space);
        return checks();
    };
    QCOMPARE(checks(), QString("1111 closed"));
    QCOMPARE(toggle(2), QString("0101 open"));
    QCOMPARE(toggle(2), QString("0111 open")); // the last open row does not close "<All>"
    QCOMPARE(toggle(0), QString("1111 closed"));
    QCOMPARE(toggle(0), QString("0000 open"));
}

void TST_CONFIGURATION_EDITOR::saved_and_loaded()
{
    CONFIGURATION record = full_record();
    record.processors.append("gone");
    record.no_progress_dialog = true;
    record.merge_db_for_checkin = 9;
    open(record);
    QCOMPARE(checks(), QString("0101 open"));
    QWidget* const consumers = child("selected_consumers");
    QVERIFY(!consumers->isEnabled());
    QTest::keyClick(child("silent"), Qt::Key_Space);
    QTest::keyClick(consumers, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClicks(consumers, "   ");
    QTest::keyClick(consumers, Qt::Key_Return, Qt::ShiftModifier);
    QTest::keyClicks(consumers, " <b>b</b> ");
    QTest::keyClick(child("silent"), Qt::Key_Space);
    QCOMPARE(press("pushButton_2", "night.xml"), QString("Configuration file has been saved."));
    CONFIGURATION expected = full_record();
    expected.merge_db_for_checkin = 3; // no radio button: the default
    expected.selected_consumers.append("<b>b</b>");
    QCOMPARE(FILES::bytes("GOX/night_configuration.xml"), text_of(expected));

    FILES::write("GOX/plain_configuration.xml", text_of(CONFIGURATION()));
    QCOMPARE(press("pushButton", "plain_configuration.xml"), QString("Configuration file has been loaded."));
    QCOMPARE(checks(), QString("1111 closed"));
    press("pushButton_5");
    QCOMPARE(FILES::bytes("GOX/default_configuration.xml"), text_of(CONFIGURATION()));
}

// The file dialog asks about the name that is typed, which no file has.
void TST_CONFIGURATION_EDITOR::completed_name_of_another_file()
{
    open(full_record());
    FILES::write("GOX/night_configuration.xml", "mine");
    press("pushButton_2", "night.xml", QMessageBox::No);
    QCOMPARE(FILES::bytes("GOX/night_configuration.xml"), QByteArray("mine"));
    press("pushButton_2", "night.xml", QMessageBox::Yes);
    QCOMPARE(FILES::bytes("GOX/night_configuration.xml"), text_of(full_record()));
}

void TST_CONFIGURATION_EDITOR::failed_load_and_save()
{
    open(full_record());
    FILES::write("GOX/<b>_configuration.xml", "<configuration version=\"1\"><silent>maybe</silent>");
    const QString text = press("pushButton", "<b>_configuration.xml");
    QVERIFY2(text.startsWith("Failed to load configuration file!\n"), qPrintable(text));
    QVERIFY2(text.contains("/GOX/<b>_configuration.xml:1:"), qPrintable(text));
    press("pushButton_5");
    QCOMPARE(FILES::bytes("GOX/default_configuration.xml"), text_of(full_record()));
    QDir("GOX").removeRecursively();
    const QString file = QDir::currentPath() + "/GOX/default_configuration.xml";
    QCOMPARE(press("pushButton_5"),
             "Failed to save configuration file!\n" + file + ": can't be written: No such file or directory");
}

void TST_CONFIGURATION_EDITOR::global_rules_data()
{
    QTest::addColumn<QString>("file"); // below the folder of the program
    QTest::addColumn<QString>("row");  // empty: refused
    QTest::newRow("in a sub-folder") << "GOX/Sub/b.rules.gox"
                                     << "Sub/b.rules.gox";
    QTest::newRow("other case") << "gox/c.rules.gox"
                                << "c.rules.gox";
    QTest::newRow("elsewhere") << "GOX_old/d.rules.gox" << QString();
    QTest::newRow("out of the folder again") << "GOX/../d.rules.gox" << QString();
}

void TST_CONFIGURATION_EDITOR::global_rules()
{
    QFETCH(QString, file);
    QFETCH(QString, row);
    const QString beside = QCoreApplication::applicationDirPath() + '/';
    FILES::write(beside + file, "");
    open(full_record());
    const QString text = press("pushButton_6", beside + file);
    QFile::remove(beside + file);
    QDir(beside + file.section('/', 0, 0)).removeRecursively();
    QCOMPARE(text, row.isEmpty() ? "You are only allowed to use global rules from " + beside + "GOX/!" : "");
    QListWidget* const list = child<QListWidget>("global_rules");
    press("pushButton_7"); // without a current row
    list->setCurrentRow(0);
    press("pushButton_7");
    QCOMPARE(list->item(0)->text(), QString("a.rules.gox"));
    QCOMPARE(list->item(1) ? list->item(1)->text() : QString(), row);
}

void TST_CONFIGURATION_EDITOR::every_closing_warns()
{
    open(full_record());
    m_editor->hide(); // exec makes only a window modal that it shows itself
    for (const char* focus : {"", "directories", "processors"}) {
        DIALOG_ANSWERS answers;
        answers.answer_with([&](QDialog* dialog) {
            if (*focus)
                QTest::keyClick(child(focus), Qt::Key_Escape);
            else
                dialog->close();
        });
        answers.press_default();
        m_editor->exec();
        QCOMPARE(answers.texts.last(),
                 QString("Changes you have made do not affect your active configuration.\n"
                         "You need to restart GOX if you want them to be used."));
        QVERIFY(!m_editor->isVisible());
    }
}

QTEST_MAIN(TST_CONFIGURATION_EDITOR)
#include "tst_configuration_editor.moc"
