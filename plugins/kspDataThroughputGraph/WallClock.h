// The wall clock that sample times and the panel's time axis are read from: microseconds
// since a midnight that stays put for as long as a run goes on, so that a run across midnight
// keeps counting past 24 h instead of starting over. Tests put a clock of their own in.
#pragma once

#include <QtGlobal>

namespace wallclock {

using Source = qint64 (*)(); // milliseconds since the epoch

// Null puts the system clock back.
void setSource(Source source);
qint64 nowMs();
// The local midnight that begins the day of `epochMs`.
qint64 midnightBeforeMs(qint64 epochMs);
// Microseconds now after `midnightMs`, or after today's midnight when it is 0.
qint64 sinceMidnightUs(qint64 midnightMs = 0);

} // namespace wallclock
