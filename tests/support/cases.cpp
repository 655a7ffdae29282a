#include "tests/support/cases.h"

#include <cstdio>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

#include "tests/support/files.h"

namespace {

const char INDENT[] = "    ";
const char UNIX[] = "unix", OF_WINDOWS[] = " (windows)";

[[noreturn]] void give_up(const QString& file, int line, const char* why)
{
    qFatal("%s:%d: %s", qPrintable(file), line + 1, why);
    Q_UNREACHABLE();
}

bool is_among(const QStringList& keys, QString key)
{
    key.remove(OF_WINDOWS);
    return key == UNIX || keys.contains(key) || keys.contains(key.section(' ', 0, 0) + ' ');
}

} // namespace

QMap<QString, QString> TEST_CASE::behind(const char* beginning) const
{
    QMap<QString, QString> found;
    for (auto text = m_texts.cbegin(); text != m_texts.cend(); ++text)
        if (text.key().startsWith(QLatin1String(beginning)))
            found.insert(text.key().mid(int(qstrlen(beginning))), text.value());
    return found;
}

QStringList TEST_CASE::lines(const char* key) const
{
    return (*this)[key].split('\n', Qt::SkipEmptyParts);
}

void add_cases(const char* file, const QStringList& keys)
{
    const QString path = QLatin1String(GOX_SOURCE_DIR "/tests/") + file;
    const QStringList lines = QString::fromUtf8(FILES::bytes(path)).split('\n');
    QTest::addColumn<TEST_CASE>("case");
    QString name, key;
    TEST_CASE one;
    int blank_lines = 0; // that count once a line of the same text follows
    const auto add_row = [&] {
        for (const QString& of_windows : one.m_texts.keys().filter(OF_WINDOWS)) {
            const QString text = one.m_texts.take(of_windows);
            if (IS_WINDOWS)
                one.m_texts[QString(of_windows).remove(OF_WINDOWS)] = text;
        }
        if (IS_WINDOWS && one.has(UNIX))
            std::printf("SKIP   : %s(%s) %s\n", QTest::currentTestFunction(), qPrintable(name),
                        one.bytes(UNIX).constData());
        else if (!name.isNull())
            QTest::newRow(qPrintable(name)) << one;
        one = TEST_CASE();
        key.clear();
    };
    for (int i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.startsWith(QLatin1String("== "))) {
            add_row();
            name = line.mid(3);
        } else if (!key.isNull() && line.startsWith(QLatin1String(INDENT))) {
            QString& text = one.m_texts[key];
            text += (text.isNull() ? QString("") : QString(blank_lines + 1, '\n')) + line.mid(4);
            blank_lines = 0;
        } else if (line.isEmpty()) {
            ++blank_lines;
        } else if (!line.startsWith('#')) {
            const int colon = line.indexOf(':');
            key = line.left(colon);
            if (name.isNull() || colon < 0 || !is_among(keys, key) || one.m_texts.contains(key))
                give_up(path, i, "neither a case nor a key that it may have once");
            blank_lines = 0;
            one.m_texts[key] = colon + 1 < line.size() ? line.mid(colon + 1).trimmed() : QString();
        }
    }
    add_row();
    if (name.isNull())
        give_up(path, 0, "no cases");
}

TEST_CASE current_case()
{
    return *static_cast<TEST_CASE*>(QTest::qData("case", qMetaTypeId<TEST_CASE>()));
}

QString in_words_of_unix(QString text)
{
#ifdef Q_OS_WIN
    const std::pair<int, const char*> words[] = {{ERROR_FILE_NOT_FOUND, "No such file or directory"},
                                                 {ERROR_PATH_NOT_FOUND, "No such file or directory"},
                                                 {ERROR_DIRECTORY, "Not a directory"},
                                                 {ERROR_ACCESS_DENIED, "Permission denied"}};
    for (const auto& [number, word] : words)
        text.replace(qt_error_string(number), word);
    text.replace("\r\n", "\n");
#endif
    return text;
}

QByteArray text_difference(const QString& actual, const QString& expected)
{
    const QString in_words = in_words_of_unix(actual);
    if (in_words == expected)
        return {};
    const QStringList is = in_words.split('\n'), wanted = expected.split('\n');
    int line = 0;
    while (line < is.size() && line < wanted.size() && is[line] == wanted[line])
        ++line;
    const QString whole = INDENT + is.join(QString("\n") + INDENT);
    std::fprintf(stderr, "%s\n", qPrintable(whole)); // Qt Test cuts what it tells
    return QString("line %1 is \"%2\" where \"%3\" is expected, in\n%4")
        .arg(QString::number(line + 1), is.value(line, "no more"), wanted.value(line, "no more"), whole)
        .toUtf8();
}
