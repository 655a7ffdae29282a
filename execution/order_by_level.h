#pragma once

#include "contracts/services/fw_memory.h"

/// Sorts by level, the lower first, and gives the sorted indices of `levels`.
///
/// Equal levels come in the order of an exchange sort: each place in turn is
/// swapped with every later element of a lower level. That order decides how
/// unrelated actions stand in logs and windows. It is worked out here in about
/// n log n steps.
FW::VECTOR<int> order_by_level(const FW::VECTOR<int>& levels);
