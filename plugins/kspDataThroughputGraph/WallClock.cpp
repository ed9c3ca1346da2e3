#include "WallClock.h"

#include <QDateTime>
#include <atomic>

namespace wallclock {

namespace {

qint64 systemMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

// The worker reads it as a run starts, the GUI thread on every refresh.
std::atomic<Source> g_source{&systemMs};

} // namespace

void setSource(Source source)
{
    g_source = source ? source : &systemMs;
}

qint64 nowMs()
{
    return g_source.load()();
}

qint64 midnightBeforeMs(qint64 epochMs)
{
    return QDateTime::fromMSecsSinceEpoch(epochMs).date().startOfDay().toMSecsSinceEpoch();
}

qint64 sinceMidnightUs(qint64 midnightMs)
{
    const qint64 now = nowMs();
    return (now - (midnightMs > 0 ? midnightMs : midnightBeforeMs(now))) * 1000;
}

} // namespace wallclock
