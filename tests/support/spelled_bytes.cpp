#include "tests/support/spelled_bytes.h"

#include <QtCore/QRegularExpression>

QByteArray spelled_bytes(const QString& text)
{
    static const QRegularExpression spelling(R"(\\x([0-9a-f]{2})|\\([nr\\])|\{(\d+) x ([^}]*)\})");
    QByteArray bytes;
    int from = 0;
    for (auto hits = spelling.globalMatch(text); hits.hasNext();) {
        const QRegularExpressionMatch hit = hits.next();
        bytes += text.mid(from, hit.capturedStart() - from).toUtf8();
        from = hit.capturedEnd();
        const QByteArray repeated = spelled_bytes(hit.captured(4));
        const int count = hit.captured(3).toInt();
        if (!hit.captured(1).isEmpty())
            bytes += char(hit.captured(1).toInt(nullptr, 16));
        else if (!hit.captured(2).isEmpty())
            bytes += hit.captured(2) == "n" ? '\n' : hit.captured(2) == "r" ? '\r' : '\\';
        else if (!repeated.contains('%'))
            bytes += repeated.repeated(count);
        else
            for (int i = 0; i < count; ++i)
                bytes += QByteArray(repeated)
                             .replace("%+", QByteArray::number(i + 1))
                             .replace('%', QByteArray::number(i));
    }
    return bytes + text.mid(from).toUtf8();
}
