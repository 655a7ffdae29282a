#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/rules/cached_rule.h"

/// Why `text`, which is to hold these rules, must not take the place of the file
/// `path`: it would not be read as them, in their order. Names the rule and the
/// property where one is at fault; empty when all is well.
QString why_not_readable(const QString& path, const QByteArray& text,
                         const QVector<const CACHED_RULE*>& rules);
