#include <QtCore/QDir>
#include <QtWidgets/QListWidget>

#include "settings/configuration_editor_dialog.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_transcript.h"

class CONFIGURATION_SCRIPT : public WINDOW_TRANSCRIPT
{
public:
    explicit CONFIGURATION_SCRIPT(const CONFIGURATION& configuration)
        : m_dialog(configuration, {"textures", "sounds", "<i>packs</i>"}, nullptr)
    {
        window = &m_dialog;
        add("rows", [&](const QString& name) {
            QStringList lines;
            for (const QListWidgetItem* const row : list(name).findItems({}, Qt::MatchContains))
                lines += (row->data(Qt::CheckStateRole).isNull() ? ""
                          : row->checkState()                    ? "[x] "
                                                                 : "[ ] ") +
                         row->text();
            return lines.join('\n');
        });
        add("row", [&](const QString& number) { list("global_rules").setCurrentRow(number.toInt()); });
        add("toggle", [&](const QString& number) {
            list("processors").setCurrentRow(number.toInt());
            QTest::keyClick(&list("processors"), Qt::Key_Space);
        });
        add("file", [](const QString& s) { FILES::write(s.section(' ', 0, 0), s.section(' ', 1).toUtf8()); });
        add("remove", [](const QString& folder) { QDir(folder).removeRecursively(); });
        add("show", [](const QString& s) {
            const QString text = QString::fromUtf8(FILES::bytes(s.section(' ', 0, 0))).trimmed();
            return text.split('\n').filter(s.section(' ', 1)).join('\n');
        });
    }

private:
    QString told(QString said) override
    {
        return WINDOW_TRANSCRIPT::told(said).remove(QDir::currentPath() + '/');
    }

    QListWidget& list(const QString& name) const { return *qobject_cast<QListWidget*>(widget(name)); }

    CONFIGURATION_EDITOR_DIALOG m_dialog;
};

class TST_CONFIGURATION_EDITOR : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void talks_data() { add_cases("settings/configuration_editor.cases", {"record", "script"}); }
    void talks()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        const TEST_CASE one = current_case();
        const QTemporaryDir folder;
        const QString former = QDir::currentPath();
        QDir::setCurrent(folder.path());
        FILES::write("GOX/start_configuration.xml", one.bytes("record"));
        CONFIGURATION configuration;
        QString error;
        QVERIFY2(configuration.load("GOX/start_configuration.xml", error) || !one.has("record"),
                 qPrintable(error));
        CONFIGURATION_SCRIPT script(configuration);
        const QString tool = QCoreApplication::applicationDirPath();
        const QString talk = script.play(one["script"].replace("<tool>", tool));
        QDir::setCurrent(former); // Windows removes no current folder
        GOX_COMPARE_TEXT(QString(talk).replace(tool, "<tool>"), one["script"]);
    }
};

QTEST_MAIN(TST_CONFIGURATION_EDITOR)
#include "tst_configuration_editor.moc"
