#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>

#include "contracts/rules/rule.h"

/// What an answer says, without the rules that it comes from: the texts of its
/// properties by their lower-case names. Two answers that are both found or both not
/// and have the same texts are the same to whoever asked for texts.
inline QMap<QString, QString> texts_of_answer(const RULE& answer)
{
    QMap<QString, QString> texts;
    for (auto value = answer.values.cbegin(); value != answer.values.cend(); ++value)
        texts.insert(texts.constEnd(), value.key(), value->value.toString());
    return texts;
}
