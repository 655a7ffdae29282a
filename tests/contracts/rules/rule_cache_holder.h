#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include "contracts/rules/rule_cache.h"
#include "tests/support/temporary_tree.h"

/// A cache without a session.
struct RULE_CACHE_HOLDER
{
    RULE_CACHE cache;

    RULE_CACHE* operator->() { return &cache; }

    /// Adds a file of the tree; paths in the error become relative to the tree.
    QString add(const TEMPORARY_TREE& tree, const QString& file)
    {
        return cache.add_rules(PHYSICAL_PATH(tree.path(file))).remove(tree.path() + '/');
    }
    QString add_global(const TEMPORARY_TREE& tree, const QString& file)
    {
        return cache.add_global_rules(PHYSICAL_PATH(tree.path(file))).remove(tree.path() + '/');
    }

    /// What applies to `path`, as "property=value" in the order of the names,
    /// with a space between; "none" when no rule does.
    QString answer(const QString& path, const QString& kind = QStringLiteral("Texture")) const
    {
        const RULE rule = cache.get(LOGICAL_PATH(path), kind);
        if (!rule.found)
            return QStringLiteral("none");
        QStringList parts;
        for (auto value = rule.values.cbegin(); value != rule.values.cend(); ++value)
            parts.append(value.key() + '=' + value->value.toString());
        return parts.join(' ');
    }
};
