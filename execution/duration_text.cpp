#include "execution/duration_text.h"

QString duration_text(int milliseconds)
{
    const int m = milliseconds;
    if (m < 1000)
        return QStringLiteral("%1 msec(s)").arg(m);
    if (m < 60000)
        return QStringLiteral("%1 sec(s)").arg(m / 1000);
    if (m < 3600000)
        return QStringLiteral("%1 min(s)").arg(m / 60 / 1000);
    return QStringLiteral("%1 hr(s) %2 min(s)").arg(m / 60 / 60 / 1000, m / 60 / 1000 % 60, 10, QChar(' '));
}
