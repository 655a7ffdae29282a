#include "contracts/rules/cached_rule.h"

#include <atomic>

#include "contracts/rules/rule_key.h"

namespace {

quint64 new_number()
{
    static std::atomic<quint64> s_last{0};
    return ++s_last;
}

} // namespace

RULE_IDENTITY::RULE_IDENTITY() : m_number(new_number()), m_line(m_number) {}

RULE_IDENTITY::RULE_IDENTITY(const RULE_IDENTITY& other) : m_number(new_number()), m_line(other.m_line) {}

RULE_IDENTITY& RULE_IDENTITY::operator=(const RULE_IDENTITY& other)
{
    m_line = other.m_line;
    return *this;
}

QString CACHED_RULE::property(const QString& name) const
{
    const QString key = name_key(name);
    for (auto place = properties.cbegin(); place != properties.cend(); ++place)
        if (name_key(place.key()) == key)
            return place->toString();
    return QString();
}

void CACHED_RULE::set_property(const QString& name, const QString& value)
{
    const QString key = name_key(name);
    for (auto place = properties.begin(); place != properties.end();)
        place = name_key(place.key()) == key ? properties.erase(place) : ++place;
    if (!value.isEmpty())
        properties.insert(name, value);
}

QString CACHED_RULE::get_file_filters() const
{
    return m_file_filters.text();
}

void CACHED_RULE::set_file_filters(const QString& text)
{
    m_file_filters = FILE_FILTER_LIST::from_text(text);
}
