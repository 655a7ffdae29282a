#include "contracts/rules/cached_rule.h"

QString CACHED_RULE::get_file_filters() const
{
    return m_file_filters.text();
}

void CACHED_RULE::set_file_filters(const QString& text)
{
    m_file_filters = FILE_FILTER_LIST::from_text(text);
}
