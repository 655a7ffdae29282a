#include "contracts/rules/file_filter_list.h"

#include <algorithm>

#include "contracts/paths/letter_case.h"

namespace {

// Logical paths are in lower case already and need no copy.
QString lower_case(const QString& text)
{
    return is_plainly_lower_case(text.constData(), text.size()) ? text : lower_case_by_letter(text);
}

} // namespace

FILE_FILTER_LIST::FILE_FILTER_LIST(const QStringList& patterns)
{
    for (const QString& pattern : patterns) {
        QString wildcards = pattern.trimmed();
        const bool takes_away = wildcards.startsWith('-');
        if (takes_away)
            wildcards = wildcards.mid(1).trimmed();
        if (wildcards.isEmpty())
            continue;
        m_patterns.append(takes_away ? '-' + wildcards : wildcards);
        m_entries.append({takes_away, FILE_PATTERN(lower_case(wildcards))});
    }
    m_subtractive = !m_entries.isEmpty() && m_entries.first().takes_away;
}

FILE_FILTER_LIST FILE_FILTER_LIST::from_text(const QString& text)
{
    return FILE_FILTER_LIST(text.split(','));
}

QString FILE_FILTER_LIST::text() const
{
    return m_patterns.join(QLatin1String(", "));
}

bool FILE_FILTER_LIST::matching(const QString& path) const
{
    if (m_entries.isEmpty())
        return true;
    const QString lower = lower_case(path);
    const auto decides = [&](const ENTRY& entry) { return entry.pattern.matches(lower); };
    const auto entry = std::find_if(m_entries.rbegin(), m_entries.rend(), decides);
    return entry == m_entries.rend() ? m_subtractive : !entry->takes_away;
}
