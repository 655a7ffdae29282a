#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include "contracts/rules/cached_rule.h"

constexpr int NO_PLACE = -1;

/// A rule that a file is to hold.
struct RULE_IN_FILE
{
    const CACHED_RULE* rule;
    int place; ///< among the rules that stand in the file, from 0; NO_PLACE for one that it does not hold yet
};

/// `text`, a rule file that was read as `old_rules`, changed so that it holds
/// `rules`: those of one kind stand together in it, the oldest first. On return
/// `rules` stands in the order of the new text.
///
/// The text itself is changed, not written anew: a person may have laid it out,
/// commented it, or put elements in it that a later program reads. Rules that
/// stay and say the same keep their bytes; in one that says something else only
/// the values that differ are replaced. What is new takes over the file's line
/// ends and indents. Empty when the text is not laid out as `old_rules` says.
QByteArray edited_rule_file(const QByteArray& text, const QVector<CACHED_RULE>& old_rules,
                            QVector<RULE_IN_FILE>& rules);
