#include <QtTest/QSignalSpy>

#include <thread>

#include "contracts/rules/rule_schema.h"
#include "tests/contracts/rules/rule_script.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

class TST_RULE_CACHE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void answers_data() { add_cases("contracts/rules/rule_cache.cases", {"script"}); }
    void answers() { play(); }
    void saves_data() { add_cases("contracts/rules/rule_saving.cases", {"script", "text"}); }
    void saves() { play(); }

    void questions_of_all_threads_are_noted_once()
    {
        ASKED_QUESTIONS asked;
        QUESTION_LOG::listen(&asked);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&, i] {
                for (int k = 0; k < 1000; ++k)
                    m_holder.cache.get(LOGICAL_PATH(QString::number(k / 10 + 50 * i)), "Kind");
            });
        for (std::thread& thread : threads)
            thread.join();
        QUESTION_LOG::listen(nullptr);
        const QVector<RULE_QUESTION> rules = asked.rules;
        asked.settle();
        asked.add(ASKED_QUESTIONS(asked));
        QCOMPARE(rules.size(), 250);
        QVERIFY(asked.rules == rules);
    }

    void schemas_are_registered_once()
    {
        RULE_SCHEMA* const first =
            RULE_SCHEMA::register_schema("Texture", "pictures", {{"Max size", "pixels"}});
        QCOMPARE(
            RULE_SCHEMA::register_schema("TEXTURE", "other", {{" max SIZE", "other"}, {"Format", "of it"}}),
            first);
        QCOMPARE(RULE_SCHEMA::s_schemas.value("texture"), first);
        QString text = first->name + ", " + first->description;
        for (auto place = first->properties.cbegin(); place != first->properties.cend(); ++place)
            text += '|' + place.key() + ": " + place->name + ", " + place->description;
        QCOMPARE(text, QString("Texture, pictures|format: Format, of it|max size: Max size, pixels"));
    }

    void schemas_call_for_the_editor()
    {
        RULE_SCHEMA schema;
        schema.name = "Sound";
        for (const QByteArray operation : {"add", "add_above", "add_below"}) {
            QSignalSpy spy(&schema, '2' + operation + "(QString)");
            QVERIFY(QMetaObject::invokeMethod(&schema, operation)); // by name, as menus connect them
            QCOMPARE(spy, QList<QVariantList>{{"Sound"}});
        }
    }

private:
    RULE_CACHE_HOLDER m_holder;

    static void play()
    {
        const TEST_CASE one = current_case();
        RULE_SCRIPT script(QString(one["text"] + '\n').replace('\n', "\r\n").toUtf8());
        GOX_COMPARE_TEXT(script.play(one["script"]), one["script"]);
    }
};

QTEST_GUILESS_MAIN(TST_RULE_CACHE)
#include "tst_rule_cache.moc"
