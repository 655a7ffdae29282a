#include <QtCore/QSettings>

#include "settings/preferences_editor_dialog.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_script.h"

class PREFERENCES_SCRIPT : public WINDOW_SCRIPT<>
{
public:
    PREFERENCES_SCRIPT()
    {
        m_does["make"] = [&](const QString&) { m_window.reset(new PREFERENCES_EDITOR_DIALOG(nullptr, {})); };
        m_does["store"] = [](const QString& s) {
            QSettings("The Ferrule Works", "GOX").setValue(s.section(' ', 0, 0), s.section(' ', 1));
        };
        m_tells["stored"] = [](const QString&) {
            const QSettings store("The Ferrule Works", "GOX");
            QStringList lines;
            for (const QString& key : store.allKeys())
                lines += key + ' ' + store.value(key).toString();
            return lines.join('\n');
        };
        m_tells["popup"] = [&](const QString&) {
            return qobject_cast<PREFERENCES_EDITOR_DIALOG*>(m_window.data())->show_action_selection_popup()
                       ? "yes"
                       : "no";
        };
    }
};

class TST_PREFERENCES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void talks_data() { add_cases("settings/preferences.cases", {"script"}); }
    void talks()
    {
        const QTemporaryDir folder;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
        PREFERENCES_SCRIPT script;
        const QString wanted = current_case()["script"];
        GOX_COMPARE_TEXT(script.play(wanted), wanted);
    }
};

QTEST_MAIN(TST_PREFERENCES)
#include "tst_preferences.moc"
