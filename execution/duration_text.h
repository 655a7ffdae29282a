#pragma once

#include <QtCore/QString>

/// The time that an action took, as its log section tells it. From one hour on
/// the remaining minutes set the width of the hours field and do not show: 90
/// minutes read as 29 blanks and "1 hr(s) %2 min(s)". Tools that read the logs
/// know it so.
QString duration_text(int milliseconds);
