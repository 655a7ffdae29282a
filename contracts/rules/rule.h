#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include "contracts/rules/rule_key.h"

class CACHED_RULE;

/// A resolved property and the rule that it comes from.
struct RULE_VALUE
{
    QVariant value;                ///< holds a QString
    CACHED_RULE* origin = nullptr; ///< owned by the cache, alive as long as the rule stays in it
};

/// What the rules say about one file in one respect: the answer of
/// RULE_CACHE::get. A value class; any thread may use its own copies.
struct RULE
{
    /// Null when no rule of the kind applies at the path. Test for null only.
    const void* found = nullptr;

    /// The properties that some rule sets. Key: the property's name in lower case.
    QMap<QString, RULE_VALUE> values;

    /// The text of a property, `fallback` where no rule sets it. `property` in
    /// any case.
    QString value(const QString& property, const QString& fallback = QString()) const
    {
        const auto place = values.constFind(name_key(property));
        return place == values.constEnd() ? fallback : place->value.toString();
    }
};
