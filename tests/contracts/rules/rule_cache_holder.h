#pragma once

#include "contracts/rules/rule_cache.h"

/// A cache without a session.
struct RULE_CACHE_HOLDER
{
    RULE_CACHE cache;
};
