#pragma once

#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QOperatingSystemVersion>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtTest/QTest>

constexpr bool IS_WINDOWS = QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;

/// A case of a case file: its name and the texts under its keys.
///
///     # what the cases below have in common
///     == name of the row
///     key: text of one line
///     other key:
///         text of many lines, each behind four spaces
///
/// In every file "unix: REASON" leaves the case out on Windows, and a key with
/// " (windows)" behind it takes the place of the key there.
class TEST_CASE
{
public:
    /// Empty when the case lacks the key. Lines end with "\n", but for the last.
    QString operator[](const char* key) const { return m_texts.value(QLatin1String(key)); }
    QByteArray bytes(const char* key) const { return (*this)[key].toUtf8(); }
    QStringList lines(const char* key) const; ///< without those that are empty
    bool has(const char* key) const { return m_texts.contains(QLatin1String(key)); }
    /// What stands behind `beginning` in the keys that have it, sorted, and their texts.
    QMap<QString, QString> behind(const char* beginning) const;

private:
    friend void add_cases(const char* file, const QStringList& keys);

    QMap<QString, QString> m_texts;
};

Q_DECLARE_METATYPE(TEST_CASE)

/// Adds a row to the data of a test function for each case of "tests/<file>". A
/// line that is neither a case nor a key out of `keys` ends the test program: a
/// misspelt key would be a check that never looks. One of `keys` that ends with a
/// blank stands for all keys that begin so: "write " for "write raw_data/a.txt".
void add_cases(const char* file, const QStringList& keys);

/// The case of the row whose turn it is.
TEST_CASE current_case();

/// The text with line ends as Unix has them, and its "No such file or directory" and the
/// like for the system's own words.
QString in_words_of_unix(QString text);

/// Nothing when the texts are equal, in words of Unix; else the first line that differs
/// and the whole of `actual`, as a case file has it.
QByteArray text_difference(const QString& actual, const QString& expected);

/// Compares texts of many lines.
#define GOX_COMPARE_TEXT(actual, expected)                                                                   \
    do {                                                                                                     \
        const QByteArray the_difference = text_difference(actual, expected);                                 \
        QVERIFY2(the_difference.isEmpty(), the_difference.constData());                                      \
    } while (false)
