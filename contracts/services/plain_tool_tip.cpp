#include "contracts/services/plain_tool_tip.h"

QString plain_tool_tip(const QString& text)
{
    if (text.isEmpty())
        return QString();
    return QStringLiteral("<p style=\"white-space: pre-wrap\">%1</p>").arg(text.toHtmlEscaped());
}
