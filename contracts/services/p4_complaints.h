#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// What the Perforce client writes to standard error, however much that is: it is
/// looked at line by line as it comes, and only its beginning and its end are
/// kept. One thread at a time.
class P4_COMPLAINTS
{
public:
    static constexpr int MAX_KEPT = 8 << 10; ///< bytes of the beginning, and again of the end

    /// The next bytes, in pieces of any size.
    void add(QByteArray bytes);

    /// To be called behind the last `add`.
    void finish();

    /// Whether a line is a refusal, or tells of a matter of login, server, workspace
    /// or the like: no success, whatever the client's exit status.
    bool tell_of_failure() const { return !m_failure.isEmpty(); }

    /// Whether it told of names that stand for no file of the depot or the
    /// workspace, which is an answer to a question and no success otherwise.
    bool tell_of_no_files() const { return m_has_no_files; }

    /// Whether it told of that and of nothing else.
    bool tell_of_no_files_only() const { return m_has_no_files && !m_has_more; }

    /// The text without spaces at its ends; where its middle is left out, it
    /// says so. A known complaint is always in it.
    QString text() const;

private:
    void take_line();

    QByteArray m_beginning;
    QByteArray m_end;
    qint64 m_left_out = 0; // bytes between the two
    QByteArray m_line;     // the beginning of the last one
    QByteArray m_failure;  // the first such line
    bool m_has_no_files = false;
    bool m_has_more = false;
};

/// The complaints of the client as an error text that names the cause and, where
/// it is a matter of login, server, workspace or the like, what to do.
QString explain_p4_complaints(const QString& complaints);
