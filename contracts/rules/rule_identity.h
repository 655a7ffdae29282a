#pragma once

#include <QtCore/QtGlobal>

#include "contracts/export.h"

/// Tells one rule from every other that there has been in the process, which its
/// address does not: a new rule may lie where one lay that is gone.
///
/// A copy gets a number of its own and stays in the line of what it was copied
/// from, as a rule does that was cut here and pasted there. Numbers begin with 1
/// and are never given again. Any thread.
class GOX_CONTRACTS_EXPORT RULE_IDENTITY
{
public:
    RULE_IDENTITY();
    RULE_IDENTITY(const RULE_IDENTITY& other);
    RULE_IDENTITY& operator=(const RULE_IDENTITY& other); ///< takes over the line only

    quint64 number() const { return m_number; }
    quint64 line() const { return m_line; } ///< the number of the first in it

private:
    quint64 m_number;
    quint64 m_line;
};
