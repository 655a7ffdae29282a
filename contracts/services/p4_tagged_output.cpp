#include "contracts/services/p4_tagged_output.h"

P4_TAGGED_OUTPUT::STEP P4_TAGGED_OUTPUT::add_line(const QByteArray& line)
{
    if (!m_error.isEmpty())
        return BROKEN;
    if (m_is_complete) {
        m_record.clear();
        m_is_complete = false;
    }
    if (line.isEmpty()) {
        m_is_complete = !m_record.isEmpty();
        return m_is_complete ? RECORD_END : IN_RECORD;
    }
    if (line.size() > MAX_LINE)
        return fail(QStringLiteral("a line of %1 bytes").arg(line.size()));
    if (!line.startsWith("... "))
        return fail(QStringLiteral("the line \"%1\"").arg(QString::fromUtf8(line.left(200))));
    if (line.startsWith("... ... "))
        return IN_RECORD;
    const int blank = line.indexOf(' ', 4);
    m_record.insert(line.mid(4, blank < 0 ? -1 : blank - 4), blank < 0 ? QByteArray() : line.mid(blank + 1));
    if (m_record.size() > MAX_FIELDS)
        return fail(QStringLiteral("a record of more than %1 fields").arg(MAX_FIELDS));
    return IN_RECORD;
}

P4_TAGGED_OUTPUT::STEP P4_TAGGED_OUTPUT::fail(const QString& cause)
{
    m_record.clear();
    m_error = QStringLiteral("The answer of the Perforce client is not tagged output: %1").arg(cause);
    return BROKEN;
}
