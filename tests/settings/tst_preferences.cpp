#include "contracts/services/user_settings.h"
#include "settings/preferences_editor_dialog.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_transcript.h"

class PREFERENCES_SCRIPT : public WINDOW_TRANSCRIPT
{
public:
    PREFERENCES_SCRIPT()
    {
        add("make", [&](const QString&) {
            m_dialog.reset(new PREFERENCES_EDITOR_DIALOG(nullptr, {}));
            window = m_dialog.data();
        });
        add("store",
            [](const QString& s) { user_settings().setValue(s.section(' ', 0, 0), s.section(' ', 1)); });
        add("stored", [](const QString&) {
            const QSettings store = user_settings();
            QStringList lines;
            for (const QString& key : store.allKeys())
                lines += key + ' ' + store.value(key).toString();
            return lines.join('\n');
        });
        add("popup", [&](const QString&) { return m_dialog->show_action_selection_popup() ? "yes" : "no"; });
    }

private:
    QScopedPointer<PREFERENCES_EDITOR_DIALOG> m_dialog;
};

class TST_PREFERENCES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void talks_data() { add_cases("settings/preferences.cases", {"script"}); }
    void talks()
    {
        const QTemporaryDir folder;
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
        PREFERENCES_SCRIPT script;
        const QString wanted = current_case()["script"];
        GOX_COMPARE_TEXT(script.play(wanted), wanted);
    }
};

QTEST_MAIN(TST_PREFERENCES)
#include "tst_preferences.moc"
