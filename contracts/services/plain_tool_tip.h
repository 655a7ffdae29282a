#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

/// What to hand to QToolTip, or to a row or widget as its tool tip, so that the
/// person reads `text` letter for letter, with its blanks and line ends. A tool tip
/// guesses whether it was given markup: `<b>x</b>.png` would lose letters, and
/// text that is merely escaped would show `&amp;` where there is nothing else in it
/// that looks like markup. Empty for an empty text. Any thread.
GOX_CONTRACTS_EXPORT QString plain_tool_tip(const QString& text);
