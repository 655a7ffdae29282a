#pragma once

#include <QtCore/QStringList>

#include "contracts/services/digest.h"
#include "contracts/services/question_log.h"

/// "Texture <raw>/a.png, table units, asset graph", in the order of the questions;
/// empty for none.
inline QString text_of(const ASKED_QUESTIONS& asked)
{
    QStringList parts;
    for (const RULE_QUESTION& question : asked.rules)
        parts.append(question.kind + ' ' + question.path);
    for (const QString& table : asked.tables)
        parts.append("table " + table);
    if (asked.asset_graph)
        parts.append("asset graph");
    return parts.join(", ");
}

/// What is asked while `does` runs.
template <typename DOES>
QString noted(const DOES& does)
{
    ASKED_QUESTIONS asked;
    QUESTION_LOG::listen(&asked);
    does();
    QUESTION_LOG::listen(nullptr);
    does(); // which nobody hears
    return text_of(asked);
}

/// Names things by the order in which they come first: A, B, and so on.
class LETTERS
{
public:
    QString of(const QByteArray& thing)
    {
        if (!m_met.contains(thing))
            m_met.append(thing);
        return QChar('A' + m_met.indexOf(thing));
    }
    QString of(const DIGEST& digest)
    {
        return of(QByteArray::number(digest.high, 16) + '-' + QByteArray::number(digest.low, 16));
    }

private:
    QList<QByteArray> m_met;
};
