#include "progress/remaining_time.h"

namespace {

struct STEP
{
    qint64 above; // the values that are rounded
    qint64 to;    // a multiple of this
};

// The first step that the value is above; as it is when there is none.
qint64 rounded_down(qint64 value, STEP coarse, STEP fine)
{
    for (const STEP& step : {coarse, fine})
        if (value > step.above)
            return value - value % step.to;
    return value;
}

void append(QString& text, qint64 number, const char* one, const char* many)
{
    if (number != 0)
        text += QString::number(number) + ' ' + QLatin1String(number > 1 ? many : one) + ' ';
}

} // namespace

qint64 remaining_seconds(int elapsed, int done, int total)
{
    return qint64(elapsed) * total / done - elapsed;
}

QString remaining_time_text(qint64 seconds)
{
    const qint64 hours = seconds / 3600;
    qint64 minutes = seconds % 3600 / 60;
    seconds %= 60;
    if (hours > 0 || minutes > 0)
        seconds = 0;
    if (hours > 3)
        minutes = 0;
    else if (hours > 0)
        minutes -= minutes % 15;
    minutes = hours > 0 ? minutes : rounded_down(minutes, {30, 10}, {10, 5});
    seconds = rounded_down(seconds, {30, 10}, {10, 5});

    QString text;
    append(text, hours, "hr", "hrs");
    append(text, minutes, "min", "mins");
    append(text, seconds, "seSc", "secs");
    return text;
}
