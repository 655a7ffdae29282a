#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

/// The place of the first letter from `from` on that no XML can hold, not even escaped: a
/// control letter, half of a letter; -1 when there is none. Any thread.
GOX_CONTRACTS_EXPORT int first_not_for_xml(const QString& text, int from = 0);
