#pragma once

#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <memory>

/// A log beside the program, which opening empties. One that can't be opened
/// swallows what is written to it, and so does one whose name belongs to a pipe,
/// since that would wait for a reader. Only the console of an unattended run
/// hears of that, and of a log that was cut off. In a run that leaves no files
/// every log swallows what it gets. One thread uses a log.
class LOG_FILE
{
public:
    /// `usual_name` without a folder, such as "gox.log"; RUN_FILES has the last word.
    explicit LOG_FILE(const QString& usual_name);
    ~LOG_FILE(); ///< closes it

    /// Takes away the log of an earlier run, if this run leaves files at all.
    static void remove(const QString& usual_name);

    static QString path_of(const QString& name);

    const QString& name() const { return m_name; } ///< as it lies on disk

    QTextStream& text() { return m_text; }

    /// Writes what `text` still holds. False when not all of the log is on disk;
    /// once closed, always the same.
    bool close();

private:
    Q_DISABLE_COPY(LOG_FILE)

    void tell(const QString& cause) const;

    QString m_name;
    QFile m_file;
    std::unique_ptr<QIODevice> m_nowhere; // in place of a file that is not open
    QTextStream m_text;
    bool m_is_whole = true;
};
