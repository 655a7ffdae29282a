#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/export.h"
#include "contracts/rules/file_pattern.h"

/// A list of wildcard patterns that chooses files by their paths.
///
///   ?    any one character, a slash included
///   *    any number of characters of one file or folder name
///   ...  any number of characters, sub-folders included
///   -    in front of a pattern: files that match it are taken away
///
/// The last pattern that matches a path decides. Where none matches, the answer
/// is yes exactly when the list is `empty` or `subtractive`. A pattern speaks of
/// the whole path, case does not count, and there is no way to quote a wildcard.
///
/// Spaces round a pattern, and round its "-", do not count. An entry that is
/// empty then names no file and is left out, so a list of nothing but such
/// entries is `empty`.
///
/// A value class, as cheap to copy as its shared data. The patterns are made
/// ready once, at construction; asking changes nothing, so any thread may ask.
class GOX_CONTRACTS_EXPORT FILE_FILTER_LIST
{
public:
    /// The empty list, which lets everything pass.
    FILE_FILTER_LIST() = default;

    /// One pattern per entry. An entry is not split: a comma in it is a comma.
    FILE_FILTER_LIST(const QStringList& patterns);

    /// The list that a user types: patterns with commas between them, as in
    /// "*.txt, -design_*.txt". A name with a comma is met with "?".
    static FILE_FILTER_LIST from_text(const QString& text);

    /// The opposite of `from_text`, with ", " between the patterns.
    QString text() const;

    bool empty() const { return m_entries.isEmpty(); } ///< no pattern at all

    /// The list works by taking files away from the rest: its first pattern
    /// begins with "-".
    bool subtractive() const { return m_subtractive; }

    /// Whether `path` passes. For a rule that is the path below the rule's
    /// folder, in a configuration the whole logical path.
    bool matching(const QString& path) const;

private:
    struct ENTRY
    {
        bool takes_away = false;
        FILE_PATTERN pattern;
    };

    QStringList m_patterns; // as written, spaces and empty ones removed
    QVector<ENTRY> m_entries;
    bool m_subtractive = false;
};
