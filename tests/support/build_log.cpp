#include "tests/support/build_log.h"

#include <QtCore/QRegularExpression>

BUILD_LOG::BUILD_LOG(const QByteArray& bytes)
{
    static const QRegularExpression duration(QStringLiteral("^Duration: .*$"),
                                             QRegularExpression::MultilineOption);
    static const QRegularExpression first(
        QStringLiteral("^(\\d+) action\\(s\\) were selected for execution.\n\n"));
    static const QRegularExpression heading(QStringLiteral("^=== (.*) ===\n"),
                                            QRegularExpression::MultilineOption);
    const QString text = QString::fromUtf8(bytes).replace(duration, QStringLiteral("Duration: *"));
    if (const auto number = first.match(text); number.hasMatch())
        count = number.captured(1).toInt();
    int begin = 0; // of the section's output
    for (auto sections = heading.globalMatch(text); sections.hasNext();) {
        const QRegularExpressionMatch section = sections.next();
        if (!headings.isEmpty())
            m_bodies.append(text.mid(begin, section.capturedStart() - begin));
        headings.append(section.captured(1));
        begin = section.capturedEnd();
    }
    m_bodies.append(text.mid(begin));
    for (QString& body : m_bodies)
        body.chop(1); // the section's own line end
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
    return m_bodies.value(actions().indexOf(action));
}
