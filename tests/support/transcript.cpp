#include "tests/support/transcript.h"

#include <QtTest/QTest>

#include <algorithm>

#include "tests/support/cases.h"

namespace {

const int PATIENCE = 10000; // milliseconds
const QString REST = QStringLiteral("...");

QStringList without(QStringList lines, const QStringList& others)
{
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const QString& line) { return others.contains(line); }),
                lines.end());
    return lines;
}

} // namespace

QString TRANSCRIPT::carry_out(const QString& command)
{
    const auto word = m_words.constFind(command.section(' ', 0, 0));
    if (word == m_words.constEnd())
        qFatal("no command: %s", qPrintable(command));
    return in_words_of_unix(told((*word)(command.section(' ', 1))));
}

QString TRANSCRIPT::play(const QString& wanted)
{
    for (QStringList* lines : {&m_played, &m_told, &m_expected})
        lines->clear();
    for (const QString& part : ('\n' + wanted).split(QStringLiteral("\n> ")).mid(1))
        m_steps += QStringList("> " + part) + steps_of(part.section('\n', 0, 0));
    play_on([] { return true; });
    finish_line();
    return m_played.join('\n');
}

void TRANSCRIPT::play_on(const std::function<bool()>& may)
{
    while (!m_steps.isEmpty() && may()) {
        const QString step = m_steps.takeFirst();
        if (!step.startsWith(QStringLiteral("> "))) {
            tell(carry_out(step));
        } else if (finish_line()) {
            m_expected = step.split('\n');
            m_played += m_expected.takeFirst();
        }
    }
}

void TRANSCRIPT::tell(const QString& text)
{
    if (!text.isEmpty())
        m_told += told(text).split('\n');
}

QStringList TRANSCRIPT::news(const QStringList& now) const
{
    const QStringList events = m_events.isEmpty() ? QStringList() : QStringList("~ " + m_events.join(", "));
    return events + without(now, m_seen);
}

void TRANSCRIPT::look()
{
    const QStringList now = seen();
    m_told += news(now);
    m_seen = now;
    m_events.clear();
}

// With an answer that is another one, the conversation is over.
bool TRANSCRIPT::finish_line()
{
    if (m_played.isEmpty())
        return true;
    QStringList answer, now = seen();
    const int patience = now.isEmpty() ? 0 : PATIENCE;
    const auto is_as_expected = [&] {
        now = seen();
        answer = m_told + news(now);
        if (m_expected.endsWith(REST) && without(m_expected, answer) == QStringList(REST))
            answer = m_expected;
        return answer == m_expected;
    };
    const bool is_right = QTest::qWaitFor(is_as_expected, patience);
    m_played += answer;
    m_seen = now;
    for (QStringList* lines : {&m_told, &m_events, &m_expected})
        lines->clear();
    if (!is_right)
        m_steps.clear();
    return is_right;
}
