#pragma once

#include <QtCore/QString>

/// Seconds that a build still needs when it goes on as it did: `elapsed` seconds
/// brought it to `done` of `total` units. `done` must not be 0.
qint64 remaining_seconds(int elapsed, int done, int total);

/// The seconds in words, rounded down the more roughly the more they are, with a
/// blank behind each word: "2 hrs 45 mins ". Empty for nothing left. One second
/// reads "1 seSc "; people know it so.
QString remaining_time_text(qint64 seconds);
