#include "contracts/rules/rule_identity.h"

#include <atomic>

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
