#pragma once

#include <QtCore/QString>

/// The key of RULE_CACHE::rules: folder and kind of a rule, in lower case.
/// `path` is the text of CACHED_RULE::path. Any thread.
inline QString rule_key(const QString& path, const QString& name)
{
    return QString(path + QLatin1Char('*') + name).toLower();
}

/// A name of a kind of rule or of a property as it is compared: names are the
/// same whatever their letter case and the spaces at their ends. Any thread.
inline QString name_key(const QString& name)
{
    return name.trimmed().toLower();
}
