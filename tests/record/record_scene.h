#pragma once

#include <QtCore/QDir>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>

#include <sqlite3.h>

#include "record/record_reader.h"
#include "record/record_writer.h"
#include "tests/support/files.h"

/// What is put for an action: other things for each action and each of its runs, with all
/// that is hard to keep.
class MADE_ACTION
{
public:
    MADE_ACTION(int action, int run) : m_random(quint32(action * 10007 + run))
    {
        made.entry.key = key_of(action);
        made.entry.state = {quint64(action), quint64(run)};
        made.entry.rules = {m_random.generate64(), m_random.generate64() % 2};
        made.entry.duration = int(m_random.generate() / 2);
        made.entry.had_warnings = m_random.bounded(2) == 1;
        made.surroundings.library = QString(m_random.bounded(3), 'l');
        made.surroundings.asked_graph = m_random.bounded(2) == 1;
        for (int i = m_random.bounded(3); i > 0; --i)
            made.surroundings.tables.append({text(), {m_random.generate64(), m_random.generate64()}});
        made.details = details();
        made.details.name = QString("action %1, run %2, ä").arg(action).arg(run);
    }

    static quint64 key_of(int action) { return hash_64(QString::number(action)); }

    RECORDED_ACTION made;

private:
    QString text()
    {
        static const QStringList texts{"",
                                       QChar(0xD800) + QString("a"),
                                       "a/ä",
                                       QChar(0xFEFF),
                                       "<raw>/",
                                       "raw_data/a/ä",
                                       QChar(0) + QString("b"),
                                       "a/b.c"};
        const QString text = texts.at(m_random.bounded(texts.size()));
        return m_random.bounded(40) == 0 ? text.repeated(2000) : text;
    }

    QVector<RECORDED_FILE> files()
    {
        QVector<RECORDED_FILE> files;
        for (int i = m_random.bounded(5); i > 0; --i)
            files.append({text(), text() + text(), {qint64(m_random.generate64()), m_random.bounded(3) - 1}});
        return files;
    }

    BUILD_ENTRY_DETAILS details()
    {
        BUILD_ENTRY_DETAILS details;
        details.stamp = m_random.bounded(3) - 1;
        details.inputs = files();
        details.targets = files();
        for (int i = m_random.bounded(3); i > 0; --i)
            details.answers.append(
                {text(), text(), m_random.bounded(2) == 1, {{text(), text()}, {text(), text()}}});
        details.warning = text();
        return details;
    }

    QRandomGenerator m_random;
};

/// A folder with records.
class RECORD_SCENE
{
public:
    static constexpr int ACTIONS = 40;

    struct JOB : RECORD_JOB
    {
        explicit JOB(const RECORDED_ACTION& action) : made(action) {}
        void complete(RECORDED_ACTION& action) override { action = made; }
        const RECORDED_ACTION made;
    };

    QString path(const QString& file) const { return folder.filePath(file); }
    QString record() const { return path(name); }

    QString put(const QVector<RECORDED_ACTION>& actions, const QVector<KNOWN_FILE>& libraries = {},
                const std::shared_ptr<const RECORD_CONTENT>& content = nullptr) const
    {
        RECORD_WRITER writer(folder.path(), name, content || !is_read_first ? content : read(), libraries);
        for (const RECORDED_ACTION& action : actions)
            writer.put(std::make_unique<JOB>(action));
        if (meanwhile) {
            meanwhile();
            writer.put(std::make_unique<JOB>(actions.last()));
        }
        return writer.finish();
    }

    std::shared_ptr<const RECORD_CONTENT> read(RECORD_ACCESS access = RECORD_ACCESS::READ_AND_WRITE) const
    {
        return read_records(folder.path(), name, access);
    }

    /// A letter an action: its run, "x" a tombstone, "-" an entry without details, "." none,
    /// "?" one that nobody put; then all problems.
    static QString text_of(const RECORD_CONTENT& content)
    {
        QString letters;
        QStringList problems = content.problems();
        for (int i = 0; i < ACTIONS; ++i) {
            const BUILD_ENTRY* const entry = content.find(MADE_ACTION::key_of(i));
            QString problem;
            letters += entry ? letter(content, i, *entry, problem) : QChar('.');
            problems += problem.isEmpty() ? QStringList() : QStringList(problem);
        }
        while (letters.endsWith('.'))
            letters.chop(1);
        return (QStringList(letters) + problems).join('\n');
    }

    QString run_sql(const QString& sql)
    {
        if (!m_database)
            sqlite3_open(record().toUtf8().constData(), &m_database);
        char* error = nullptr;
        sqlite3_exec(m_database, sql.toUtf8().constData(), nullptr, nullptr, &error);
        const QString text = QString::fromUtf8(error);
        sqlite3_free(error);
        if (sqlite3_get_autocommit(m_database))
            sqlite3_close(std::exchange(m_database, nullptr));
        return text;
    }

    std::function<void()> meanwhile; ///< done while a writer writes, which gets the last action again
    const QTemporaryDir folder;
    QString name = "gox_build_record.sqlite";
    bool is_read_first = true;

private:
    static QChar letter(const RECORD_CONTENT& content, int action, const BUILD_ENTRY& entry, QString& problem)
    {
        const int run = int(entry.state.low);
        const RECORDED_ACTION wanted = MADE_ACTION(action, run).made;
        BUILD_ENTRY plain = entry;
        plain.ended = 0;
        plain.surroundings = 0;
        plain.is_gone = false;
        if (!(plain == wanted.entry && content.surroundings_of(entry) == wanted.surroundings))
            return '?';
        const auto details = content.details_of(entry, problem);
        if (!details)
            return '-';
        return !(*details == wanted.details) ? '?' : entry.is_gone ? 'x' : QChar('0' + run % 10);
    }

    sqlite3* m_database = nullptr; // while a transaction is open
};
