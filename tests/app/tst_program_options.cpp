#include <QtTest/QtTest>

#include "app/program_options.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

/// What the program makes of its command line.
class TST_PROGRAM_OPTIONS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void command_lines_data()
    {
        add_cases("app/command_lines.cases", {"arguments", "parsed", "errors", "help"});
    }
    void command_lines()
    {
        const TEST_CASE one = current_case();
        QList<QByteArray> arguments{"gox"};
        for (const QString& argument : one.lines("arguments"))
            arguments.append(argument.toLocal8Bit());
        QVector<char*> argv;
        for (QByteArray& argument : arguments)
            argv.append(argument.data());
        COMMAND_LINE_OPTIONS options(program_options()), options_of_nobody;
        QStringList errors, found, none;
        options.initialise(argv.size(), argv.data(), errors);
        for (auto option = options.get_all().cbegin(); option != options.get_all().cend(); ++option)
            found.append(option.key() + '=' + options.value(option.key()));
        GOX_COMPARE_TEXT(found.join('\n'), one["parsed"]);
        GOX_COMPARE_TEXT(errors.join('\n'), one["errors"]);
        if (one.has("help"))
            GOX_COMPARE_TEXT(help_text(), one["help"] + '\n');
        options_of_nobody.initialise(argv.size(), argv.data(), none);
        QVERIFY(!none.join('\n').contains("There is no option")); // to whom none is known
    }
};

QTEST_GUILESS_MAIN(TST_PROGRAM_OPTIONS)
#include "tst_program_options.moc"
