#include "tests/support/build_log.h"

#include <QtCore/QRegularExpression>

namespace {

const QString COUNT_LINE_END = QStringLiteral(" action(s) were selected for execution.\n\n");

bool is_heading(const QString& line)
{
    return line.startsWith(QLatin1String("=== ")) && line.endsWith(QLatin1String(" ==="));
}

} // namespace

BUILD_LOG::BUILD_LOG(const QByteArray& bytes)
{
    QString text = QString::fromLocal8Bit(without_durations(bytes));
    const int count_end = text.indexOf(COUNT_LINE_END);
    bool is_number = false;
    const int number = text.left(qMax(0, count_end)).toInt(&is_number);
    if (is_number) {
        count = number;
        text.remove(0, count_end + COUNT_LINE_END.size());
    }
    for (const QString& line : text.split('\n')) {
        if (is_heading(line)) {
            headings.append(line.mid(4, line.size() - 8));
            m_bodies.append(QString());
        } else if (!m_bodies.isEmpty()) {
            m_bodies.last() += line + '\n';
        }
    }
    // Each body's last line end is the section's own, and the split gives one line too many at the end.
    for (int i = 0; i < m_bodies.size(); ++i)
        m_bodies[i].chop(i + 1 < m_bodies.size() ? 1 : 2);
}

QStringList BUILD_LOG::actions() const
{
    QStringList result;
    for (const QString& heading : headings)
        result.append(heading.mid(heading.indexOf(QLatin1String(" / ")) + 3));
    return result;
}

QString BUILD_LOG::body(const QString& action) const
{
    const int index = actions().indexOf(action);
    return index < 0 ? QString() : m_bodies.at(index);
}

QByteArray without_durations(const QByteArray& log)
{
    static const QRegularExpression duration(QStringLiteral("^Duration: .*$"),
                                             QRegularExpression::MultilineOption);
    return QString::fromUtf8(log).replace(duration, QStringLiteral("Duration: *")).toUtf8();
}

QString end_of_executed_section()
{
    return QStringLiteral("\n=====================================\nDuration: *\n");
}
