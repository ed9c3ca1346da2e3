#include "RunHistory.h"

#include "SampleModel.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <time.h>
#include <tuple>

namespace {

const char* const kEventKindNames[] = {"dip", "overflow", "counter", "camera lost", "no image", "stream"};
const char* const kStreamStatNames[CxRunHistory::kStreamStats] = {
    QT_TRANSLATE_NOOP("CxRunHistory", "missing packets"),
    QT_TRANSLATE_NOOP("CxRunHistory", "resend requests"),
    QT_TRANSLATE_NOOP("CxRunHistory", "resent packets"),
    QT_TRANSLATE_NOOP("CxRunHistory", "underruns"),
    QT_TRANSLATE_NOOP("CxRunHistory", "failures"),
    QT_TRANSLATE_NOOP("CxRunHistory", "timeouts"),
    QT_TRANSLATE_NOOP("CxRunHistory", "transferred bytes")};
// The acquisition counters as the run log names them, in the order of SxTotals::counterIncrease.
const char* const kLogCounterNames[CxRunHistory::kCounters] = {
    "transport skip", "API skip", "missed trg overlap", "missed trg overflow", "buffer overflow"};
// The stream statistics whose bursts are events, and the slot of each in m_openStream.
constexpr int kBurstStats[2] = {CxRunHistory::StreamMissingPackets, CxRunHistory::StreamUnderruns};

// How bad an event is, for the choice of snapshots: lower is worse. Overflows come first,
// then dips by how far below the threshold they went.
double badness(const CxRunHistory::SxEvent& event, double threshold)
{
    if (event.kind == CxRunHistory::EventOverflow)
        return -1.0;
    if (event.kind == CxRunHistory::EventCounter)
        return -double(event.count);
    return threshold > 0.0 ? event.depth / threshold : event.depth;
}

// The 1 s bucket of a time, made where it is not yet. Room is made for whole hours at a time:
// a vector left to double its capacity would hold up to twice the run's buckets.
template <typename T> T& secondOf(std::vector<T>& buckets, qint64 atUs)
{
    const size_t index = size_t(std::max<qint64>(atUs, 0) / CxRunHistory::kCoarseUs);
    if (index >= buckets.size()) {
        if (index >= buckets.capacity())
            buckets.reserve((index / 3600 + 1) * 3600);
        buckets.resize(index + 1);
    }
    return buckets[index];
}

QString tr(const char* text)
{
    return QCoreApplication::translate("CxRunHistory", text);
}

// The worker reads it with every image: the coarse clock costs a fifth of the fine one, and
// its few milliseconds are nothing against rates taken over seconds.
qint64 coarseMonotonicUs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return qint64(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

} // namespace

CxRunHistory::CxRunHistory() = default;

CxRunHistory::~CxRunHistory()
{
    delete m_log;
}

void CxRunHistory::begin(bool acquisition, quint32 samplePeriod, qint32 required, qint32 bufferSize,
                         double dipThreshold)
{
    QMutexLocker lock(&mutex);
    m_totals = SxTotals();
    m_totals.acquisition = acquisition;
    m_totals.samplePeriod = samplePeriod;
    m_totals.required = required;
    m_totals.bufferSize = bufferSize;
    m_totals.dipThreshold = dipThreshold > 0.0 ? dipThreshold : double(required);
    m_coarse.clear();
    m_coarseCounters.clear();
    m_fine.assign(acquisition ? 0 : kFineBuckets, SxBucket());
    m_fineCounters.assign(acquisition ? kFineBuckets : 0, SxCounterBucket());
    m_fineIndex.assign(kFineBuckets, -1);
    m_events.clear();
    m_eventsLogged = 0;
    m_rewrite.clear();
    m_leastBad = -1;
    m_snapshots.clear();
    m_inDip = false;
    m_haveLast = false;
    m_recentRecords.clear();
    m_openOverflow = -1;
    m_cur = SxBucket();
    m_curIndex = -1;
    m_lastFill = 0.0;
    m_clockStartUs = coarseMonotonicUs();
    m_haveArrival = false;
    m_openSilence = -1;
    m_silent = false;
    m_delivery.clear();
    m_streamSeconds.clear();
    m_haveStream = false;
    m_openStream[0] = m_openStream[1] = -1;
}

// ---------------------------------------------------------------------------------------
// Folding (worker thread)

void CxRunHistory::closeFineBucket()
{
    if (m_curIndex < 0)
        return;
    const int slot = int(m_curIndex % kFineBuckets);
    if (m_fineIndex[size_t(slot)] != m_curIndex) {
        m_fineIndex[size_t(slot)] = m_curIndex;
        m_fine[size_t(slot)] = SxBucket();
    }
    SxBucket& fine = m_fine[size_t(slot)];
    SxBucket& whole = coarse(m_curIndex * kFineUs);
    fine.merge(m_cur);
    whole.merge(m_cur);
    m_cur = SxBucket();
    m_curIndex = -1;
}

CxRunHistory::SxBucket& CxRunHistory::coarse(qint64 atUs)
{
    return secondOf(m_coarse, atUs);
}

int CxRunHistory::addEvent(const SxEvent& event)
{
    ++m_totals.events;
    if (m_events.size() < kMaxEvents) {
        m_events.append(event);
        return int(m_events.size()) - 1;
    }
    // Full: the least bad event that is over gives way to a worse one, so that a long run
    // keeps its worst events rather than its first.
    const double threshold = m_totals.dipThreshold;
    if (m_leastBad < 0)
        m_leastBad = leastBadEvent();
    if (m_leastBad < 0 || badness(m_events[m_leastBad], threshold) <= badness(event, threshold))
        return -1;
    const int slot = m_leastBad;
    m_events[slot] = event;
    m_rewrite.push_back(slot);
    m_leastBad = -1; // looked for again only when a later event needs the room
    return slot;
}

int CxRunHistory::leastBadEvent() const
{
    const double threshold = m_totals.dipThreshold;
    int least = -1;
    for (int i = 0; i < m_events.size(); ++i) {
        if (i == m_openOverflow || i == m_openSilence || i == m_openStream[0] || i == m_openStream[1])
            continue;
        if (least < 0 || badness(m_events[i], threshold) > badness(m_events[least], threshold))
            least = i;
    }
    return least;
}

bool CxRunHistory::makeRoomFor(const SxEvent& event)
{
    if (int(m_snapshots.size()) < kMaxSnapshots)
        return true;
    const double threshold = m_totals.dipThreshold;
    auto least = std::max_element(m_snapshots.begin(), m_snapshots.end(),
                                  [threshold](const SxSnapshot& a, const SxSnapshot& b) {
                                      return badness(a.event, threshold) < badness(b.event, threshold);
                                  });
    if (badness(least->event, threshold) <= badness(event, threshold))
        return false;
    m_snapshots.erase(least);
    return true;
}

CxRunHistory::SxSnapshot CxRunHistory::window(const SxEvent& event, const quint64* samples, quint64 count,
                                              quint64 index, qint64 baseUs)
{
    const quint64 half = kSnapshotSamples / 2;
    const quint64 first = index > half ? index - half : 0;
    const quint64 last = std::min(count, first + kSnapshotSamples);
    SxSnapshot snapshot;
    snapshot.event = event;
    snapshot.samples.assign(samples + first, samples + last);
    snapshot.firstUs = baseUs + qint64((samples[first] - samples[0]) / 250u);
    return snapshot;
}

// Counts a dip and keeps the deepest one's speed and time.
static void countDip(CxRunHistory::SxTotals* totals, const CxRunHistory::SxEvent& dip)
{
    if (totals->dips++ == 0 || dip.depth < totals->deepestDip) {
        totals->deepestDip = dip.depth;
        totals->deepestDipAtUs = dip.startUs;
    }
}

void CxRunHistory::endDip()
{
    if (!m_inDip)
        return;
    m_inDip = false;
    addEvent(m_dip);
    countDip(&m_totals, m_dip);
    if (!makeRoomFor(m_dip))
        return;
    // Started in the frame being folded: its samples are still at hand. Otherwise they were
    // copied as that frame ended.
    if (m_pendingFrame)
        m_pending = window(m_dip, m_pendingFrame, m_pendingCount, m_pendingIndex, m_pendingBaseUs);
    m_pending.event = m_dip;
    m_snapshots.push_back(std::move(m_pending));
    m_pending = SxSnapshot();
    m_pendingFrame = nullptr;
}

void CxRunHistory::addFrame(quint32 frameNumber, qint64 timestamp, const quint64* samples,
                            quint64 sampleCount, const SxArrival* arrival)
{
    QMutexLocker lock(&mutex);
    if (arrival)
        arrive(*arrival);
    if (!samples || sampleCount < 2)
        return;
    if (m_totals.startOfDayUs < 0)
        m_totals.startOfDayUs = timestamp;
    const qint64 base = timestamp - m_totals.startOfDayUs;
    const double period = double(m_totals.samplePeriod);
    const double required = double(m_totals.required);
    const double size = double(m_totals.bufferSize);
    const double threshold = m_totals.dipThreshold;
    // A dip open since an earlier frame has its samples copied already.
    m_pendingFrame = nullptr;

    // Between frames: the link carried about one sample period from the last word of the
    // previous frame to the first of this one. A stall there is a dip too, but only while the
    // camera had data waiting: a camera that sends slower than its link idles between frames.
    if (m_haveLast && frameNumber == m_lastFrame + 1 && samples[0] > m_lastTick && threshold > 0.0 &&
        m_lastFill > 0.0) {
        const double dtUs = double(samples[0] - m_lastTick) / kTicksPerUs;
        const double speed = period / dtUs;
        if (speed < threshold) {
            if (!m_inDip) {
                m_inDip = true;
                m_dip = SxEvent{EventDip, -1, m_lastUs, 0, speed, 1};
                m_pendingFrame = samples;
                m_pendingCount = sampleCount;
                m_pendingIndex = 0;
                m_pendingBaseUs = base;
            }
            m_dip.depth = std::min(m_dip.depth, speed);
            m_dip.durationUs = base - m_dip.startUs;
        } else {
            endDip();
        }
    } else {
        endDip();
    }

    // The worker folds every sample, so the loop stays on integers where it can: a step's
    // speed only matters as its tick count (the longest step is the slowest), and the buffer
    // gains ticks times the required bytes per tick, less the period. Divisions are left for
    // the rare dip and for each 10 ms bucket as it closes.
    const quint64 first = samples[0];
    const double gainPerTick = required / kTicksPerUs;
    const quint64 dipTicks =
        threshold > 0.0 ? quint64(std::min(period * kTicksPerUs / threshold, 1.8e19)) : ~quint64(0);
    double fill = 0.0;
    bool overflow = false;
    quint64 overflowAt = 0;
    double fullest = 0.0;
    quint64 fullestAt = 1;
    quint64 bucketEnd = 0; // the tick the 10 ms bucket being filled ends at
    quint64 bucketLongest = 0;
    double bucketFullest = 0.0;
    quint64 bucketSteps = 0;
    quint64 bucketTicks = 0;
    auto flushBucket = [&]() {
        if (bucketSteps == 0)
            return;
        m_cur.minSpeed = std::min(m_cur.minSpeed, float(period / (double(bucketLongest) / kTicksPerUs)));
        if (size > 0.0)
            m_cur.maxLevel = std::max(m_cur.maxLevel, float(bucketFullest / size * 100.0));
        m_cur.megabytes += float(double(bucketSteps) * period / 1e6);
        m_cur.linkSeconds += float(double(bucketTicks) / kTicksPerUs / 1e6);
        bucketLongest = 0;
        bucketFullest = 0.0;
        bucketSteps = 0;
        bucketTicks = 0;
    };
    // Most frames lie in one 10 ms bucket and are nowhere slower than required: then only
    // their longest step matters, which a loop the compiler vectorises finds.
    quint64 longestStep = 0;
    for (quint64 i = 1; i < sampleCount; ++i)
        longestStep = std::max(longestStep, samples[i] - samples[i - 1]);
    const qint64 firstIndex = std::max<qint64>(base + qint64((samples[1] - first) / 250u), 0) / kFineUs;
    const qint64 lastIndex =
        std::max<qint64>(base + qint64((samples[sampleCount - 1] - first) / 250u), 0) / kFineUs;
    const bool quiet =
        firstIndex == lastIndex && longestStep <= dipTicks && double(longestStep) * gainPerTick <= period;
    if (quiet) {
        endDip();
        if (firstIndex != m_curIndex) {
            closeFineBucket();
            m_curIndex = firstIndex;
        }
        bucketLongest = longestStep;
        bucketSteps = sampleCount - 1;
        bucketTicks = samples[sampleCount - 1] - first;
    } else {
        for (quint64 i = 1; i < sampleCount; ++i) {
            const quint64 tick = samples[i];
            const quint64 delta = tick - samples[i - 1];
            if (tick >= bucketEnd) {
                flushBucket();
                const qint64 index = std::max<qint64>(base + qint64((tick - first) / 250u), 0) / kFineUs;
                if (index != m_curIndex) {
                    closeFineBucket();
                    m_curIndex = index;
                }
                bucketEnd = first + quint64((index + 1) * kFineUs - base) * 250u;
            }
            bucketLongest = std::max(bucketLongest, delta);
            ++bucketSteps;
            bucketTicks += delta;
            // Without a known buffer size the fill still tells whether data waited.
            fill += double(delta) * gainPerTick - period;
            if (fill < 0.0)
                fill = 0.0;
            if (size > 0.0) {
                if (fill > size) {
                    fill = size;
                    if (!overflow)
                        overflowAt = i;
                    overflow = true;
                }
                bucketFullest = std::max(bucketFullest, fill);
                if (fill > fullest) {
                    fullest = fill;
                    fullestAt = i;
                }
            }
            if (delta > dipTicks) {
                const double dtUs = double(delta) / kTicksPerUs;
                const double speed = period / dtUs;
                const qint64 atUs = base + qint64((tick - first) / 250u);
                if (!m_inDip) {
                    m_inDip = true;
                    m_dip = SxEvent{EventDip, -1, atUs - qint64(dtUs), 0, speed, 1};
                    m_pendingFrame = samples;
                    m_pendingCount = sampleCount;
                    m_pendingIndex = i;
                    m_pendingBaseUs = base;
                }
                m_dip.depth = std::min(m_dip.depth, speed);
                m_dip.durationUs = atUs - m_dip.startUs;
            } else if (m_inDip) {
                endDip();
            }
        }
    }
    flushBucket();
    const qint64 atUs = base + qint64((samples[sampleCount - 1] - first) / 250u);
    const double slowest = period / (double(longestStep) / kTicksPerUs);
    if (slowest < m_totals.lowestSpeed || m_totals.frames == 0) {
        // Where the slowest step is, looked for only when the run needs it.
        quint64 longestAt = 1;
        while (longestAt + 1 < sampleCount && samples[longestAt] - samples[longestAt - 1] != longestStep)
            ++longestAt;
        m_totals.lowestSpeed = slowest;
        m_totals.lowestSpeedAtUs = base + qint64((samples[longestAt] - first) / 250u);
    }
    const double level = size > 0.0 ? fullest / size * 100.0 : 0.0;
    if (level > m_totals.highestLevel) {
        m_totals.highestLevel = level;
        m_totals.highestLevelAtUs = base + qint64((samples[fullestAt] - first) / 250u);
    }
    m_lastFill = fill;
    // A dip that goes on into the next frame takes its samples from this one now.
    if (m_inDip && m_pendingFrame == samples) {
        m_pending = window(m_dip, samples, sampleCount, m_pendingIndex, base);
        m_pendingFrame = nullptr;
    }

    if (overflow) {
        ++m_totals.overflows;
        const qint64 at = base + qint64((samples[overflowAt] - samples[0]) / 250u);
        const qint64 end = base + qint64((samples[sampleCount - 1] - samples[0]) / 250u);
        ++m_cur.overflows;
        if (m_openOverflow >= 0 && frameNumber == m_lastFrame + 1) {
            SxEvent& open = m_events[m_openOverflow];
            open.durationUs = end - open.startUs;
            ++open.count;
        } else {
            const SxEvent event{EventOverflow, -1, at, end - at, 100.0, 1};
            m_openOverflow = addEvent(event);
            if (makeRoomFor(event))
                m_snapshots.push_back(window(event, samples, sampleCount, overflowAt, base));
        }
    } else {
        m_openOverflow = -1;
    }
    ++m_totals.frames;
    m_totals.bytes += period * double(sampleCount - 1);
    m_totals.linkUs += double(samples[sampleCount - 1] - samples[0]) / kTicksPerUs;
    m_totals.durationUs = std::max(m_totals.durationUs, atUs);
    m_haveLast = true;
    m_lastFrame = frameNumber;
    m_lastTick = samples[sampleCount - 1];
    m_lastUs = atUs;
}

void CxRunHistory::addCounters(quint32 frameNumber, qint64 timestamp, const qint32 counters[kCounters],
                               const SxArrival* arrival)
{
    QMutexLocker lock(&mutex);
    if (arrival)
        arrive(*arrival);
    if (m_totals.startOfDayUs < 0)
        m_totals.startOfDayUs = timestamp;
    const qint64 at = std::max<qint64>(timestamp - m_totals.startOfDayUs, 0);
    SxCounterRecord record;
    record.atUs = at;
    std::copy(counters, counters + kCounters, record.counters);
    m_recentRecords.push_back(record);
    if (int(m_recentRecords.size()) > kSnapshotRecords)
        m_recentRecords.pop_front();
    if (m_haveLast) {
        const qint64 fineIndex = at / kFineUs;
        const int slot = int(fineIndex % kFineBuckets);
        if (m_fineIndex[size_t(slot)] != fineIndex) {
            m_fineIndex[size_t(slot)] = fineIndex;
            m_fineCounters[size_t(slot)] = SxCounterBucket();
        }
        SxCounterBucket& second = secondOf(m_coarseCounters, at);
        for (int k = 0; k < kCounters; ++k) {
            // A counter that went back (the camera reset it) starts over from its new value.
            const qint64 increase = qint64(counters[k]) - qint64(m_lastCounters[k]);
            if (increase <= 0)
                continue;
            m_totals.counterIncrease[k] += quint64(increase);
            m_fineCounters[size_t(slot)].increase[k] += quint32(increase);
            second.increase[k] += quint32(increase);
            const SxEvent event{EventCounter, qint8(k), at, 0, double(increase), quint64(increase)};
            addEvent(event);
            // The records that led up to it, to be seen one by one later.
            if (makeRoomFor(event)) {
                SxSnapshot snapshot;
                snapshot.event = event;
                snapshot.firstUs = m_recentRecords.front().atUs;
                snapshot.records.assign(m_recentRecords.begin(), m_recentRecords.end());
                m_snapshots.push_back(std::move(snapshot));
            }
        }
    } else {
        std::copy(counters, counters + kCounters, m_totals.firstCounters);
    }
    std::copy(counters, counters + kCounters, m_lastCounters);
    ++m_totals.frames;
    m_totals.durationUs = std::max(m_totals.durationUs, at);
    m_haveLast = true;
    m_lastFrame = frameNumber;
}

// ---------------------------------------------------------------------------------------
// What arrived (worker thread), and what the GUI thread learns of the camera

qint64 CxRunHistory::hostUs() const
{
    return m_clockStartUs >= 0 ? coarseMonotonicUs() - m_clockStartUs : 0;
}

// Host time as the run's own time: its first frame arrived about when its first sample was
// taken.
qint64 CxRunHistory::runUs(qint64 hostUs) const
{
    return std::max<qint64>(hostUs - std::max<qint64>(m_totals.firstArrivalUs, 0), 0);
}

void CxRunHistory::setAsked(double rate, double frames)
{
    QMutexLocker lock(&mutex);
    m_totals.setRate = std::max(rate, 0.0);
    m_totals.setFrames = std::max(frames, 0.0);
}

void CxRunHistory::noteArrival(const SxArrival& arrival)
{
    QMutexLocker lock(&mutex);
    arrive(arrival);
}

// Caller holds the mutex.
void CxRunHistory::arrive(const SxArrival& arrival)
{
    const qint64 hostUs = arrival.hostUs;
    const quint32 frameNumber = arrival.frameNumber;
    const quint64 bytes = arrival.bytes;
    SxTotals& t = m_totals;
    SxDeliverySecond& second = secondOf(m_delivery, hostUs);
    ++second.frames;
    if (m_haveArrival && frameNumber > m_lastArrivalFrame + 1) {
        const quint32 skipped = frameNumber - m_lastArrivalFrame - 1;
        t.lostFrames += skipped;
        second.lost += skipped;
    }
    if (!m_haveArrival) {
        t.firstArrivalUs = hostUs;
        t.firstFrameBytes = double(bytes);
    }
    if (m_silent) {
        // The silence ends here: it lasted from the last frame before it to this one.
        const qint64 since = m_haveArrival ? t.lastArrivalUs : 0;
        if (m_openSilence >= 0)
            m_events[m_openSilence].durationUs = hostUs - since;
        if (t.silentAtUs == since)
            t.silentForUs = hostUs - since;
    }
    m_openSilence = -1;
    m_silent = false;
    m_haveArrival = true;
    m_lastArrivalFrame = frameNumber;
    ++t.delivered;
    t.deliveredBytes += double(bytes);
    t.lastArrivalUs = hostUs;
    t.hostDurationUs = std::max(t.hostDurationUs, hostUs);
}

void CxRunHistory::setWaitingFor(const QString& what)
{
    QMutexLocker lock(&mutex);
    m_totals.waitingFor = what;
}

bool CxRunHistory::noteNoImage(qint64 hostUs)
{
    QMutexLocker lock(&mutex);
    SxTotals& t = m_totals;
    t.hostDurationUs = std::max(t.hostDurationUs, hostUs);
    const qint64 since = m_haveArrival ? t.lastArrivalUs : 0;
    if (hostUs - since < kSilenceUs || t.lostAtUs >= 0)
        return false;
    const bool began = !m_silent;
    if (began) {
        m_silent = true;
        if (t.silentAtUs < 0)
            t.silentAtUs = since;
        m_openSilence = addEvent(SxEvent{EventSilent, -1, m_haveArrival ? runUs(since) : 0, 0, 0.0, 0});
    }
    if (m_openSilence >= 0)
        m_events[m_openSilence].durationUs = hostUs - since;
    if (t.silentAtUs == since)
        t.silentForUs = hostUs - since;
    return began;
}

void CxRunHistory::noteLost(qint64 hostUs)
{
    QMutexLocker lock(&mutex);
    SxTotals& t = m_totals;
    if (t.lostAtUs >= 0)
        return;
    t.lostAtUs = m_haveArrival ? t.lastArrivalUs : 0;
    t.hostDurationUs = std::max(t.hostDurationUs, hostUs);
    m_openSilence = -1;
    m_silent = false;
    addEvent(SxEvent{EventLost, -1, m_haveArrival ? runUs(t.lostAtUs) : 0, hostUs - t.lostAtUs, 0.0, 0});
}

void CxRunHistory::noteStream(qint64 hostUs, const quint64 values[kStreamStats])
{
    QMutexLocker lock(&mutex);
    SxTotals& t = m_totals;
    t.hasStream = true;
    quint64 increase[kStreamStats] = {};
    if (m_haveStream) {
        for (int k = 0; k < kStreamStats; ++k)
            increase[k] = values[k] >= m_lastStream[k] ? values[k] - m_lastStream[k] : 0;
    } else {
        // A stream's statistics start with it, at the acquisition's start.
        std::copy(values, values + kStreamStats, increase);
    }
    SxStreamSecond& second = secondOf(m_streamSeconds, hostUs);
    for (int k = 0; k < kStreamStats; ++k) {
        t.stream[k] += increase[k];
        second.increase[k] += quint32(k == StreamTransferredBytes ? increase[k] / 1000u : increase[k]);
    }
    // Reads in a row that each found packets missing, or underruns, are one burst.
    for (int slot = 0; slot < 2; ++slot) {
        const int stat = kBurstStats[slot];
        int& open = m_openStream[slot];
        if (increase[stat] == 0) {
            open = -1;
            continue;
        }
        if (open >= 0) {
            SxEvent& burst = m_events[open];
            burst.durationUs = runUs(hostUs) - burst.startUs;
            burst.count += increase[stat];
            burst.depth = std::max(burst.depth, double(increase[stat]));
            continue;
        }
        const qint64 from = runUs(m_haveStream ? m_lastStreamUs : 0);
        open = addEvent(SxEvent{EventStream, qint8(stat), from, runUs(hostUs) - from, double(increase[stat]),
                                quint64(increase[stat])});
    }
    std::copy(values, values + kStreamStats, m_lastStream);
    m_lastStreamUs = hostUs;
    m_haveStream = true;
    t.hostDurationUs = std::max(t.hostDurationUs, hostUs);
}

void CxRunHistory::deliverySeconds(std::vector<SxDeliverySecond>* delivery,
                                   std::vector<SxStreamSecond>* stream) const
{
    QMutexLocker lock(&mutex);
    if (delivery)
        *delivery = m_delivery;
    if (stream)
        *stream = m_streamSeconds;
}

double CxRunHistory::SxTotals::deliveredRate() const
{
    const qint64 span = lastArrivalUs - firstArrivalUs;
    return delivered >= 2 && span > 0 ? (deliveredBytes - firstFrameBytes) / double(span) : 0.0;
}

double CxRunHistory::SxTotals::deliveredFrameRate() const
{
    const qint64 span = lastArrivalUs - firstArrivalUs;
    return delivered >= 2 && span > 0 ? double(delivered - 1) * 1e6 / double(span) : 0.0;
}

double CxRunHistory::SxTotals::askedRate() const
{
    if (setFrames > 0.0 && delivered > 0)
        return setFrames * deliveredBytes / double(delivered) / 1e6;
    return setRate;
}

double CxRunHistory::SxTotals::askedFrameRate() const
{
    if (setFrames > 0.0)
        return setFrames;
    return delivered > 0 && deliveredBytes > 0.0 ? setRate * 1e6 / (deliveredBytes / double(delivered)) : 0.0;
}

QString CxRunHistory::streamStatName(int stat)
{
    return stat >= 0 && stat < kStreamStats ? tr(kStreamStatNames[stat]) : QString();
}

void CxRunHistory::clear()
{
    begin(false, 0, 0, 0);
    QMutexLocker lock(&mutex);
    m_totals = SxTotals();
    m_fine.clear();
    m_fine.shrink_to_fit();
    m_fineIndex.clear();
    m_fineIndex.shrink_to_fit();
    m_clockStartUs = -1;
}

void CxRunHistory::finish()
{
    QMutexLocker lock(&mutex);
    m_totals.hostDurationUs = std::max(m_totals.hostDurationUs, hostUs());
    endDip();
    closeFineBucket();
}

// ---------------------------------------------------------------------------------------
// Reading (GUI thread)

CxRunHistory::SxTotals CxRunHistory::totals() const
{
    QMutexLocker lock(&mutex);
    return m_totals;
}

QVector<CxRunHistory::SxEvent> CxRunHistory::events() const
{
    QVector<SxEvent> events;
    read(nullptr, &events);
    return events;
}

void CxRunHistory::read(SxTotals* totals, QVector<SxEvent>* events) const
{
    QMutexLocker lock(&mutex);
    if (totals) {
        *totals = m_totals;
        // The dip still going on counts among the events as it is listed.
        if (m_inDip) {
            ++totals->events;
            countDip(totals, m_dip);
        }
    }
    if (events) {
        *events = m_events;
        // The dip still going on is shown as far as it got.
        if (m_inDip && events->size() < kMaxEvents)
            events->append(m_dip);
    }
}

qint64 CxRunHistory::buckets(qint64 fromUs, qint64 toUs, QVector<qint64>* starts, QVector<SxBucket>* out,
                             QVector<SxCounterBucket>* counters) const
{
    QMutexLocker lock(&mutex);
    starts->clear();
    if (out)
        out->clear();
    if (counters)
        counters->clear();
    const bool acquisition = m_totals.acquisition;
    const qint64 newestFine = std::max<qint64>(m_totals.durationUs, 0) / kFineUs;
    const qint64 oldestFine = newestFine - kFineBuckets + 1;
    fromUs = std::max<qint64>(fromUs, 0);
    // A history that never began has no buckets at all.
    if (toUs <= fromUs || m_fineIndex.empty())
        return kCoarseUs;
    if (fromUs / kFineUs >= oldestFine) {
        for (qint64 index = fromUs / kFineUs; index * kFineUs < toUs && index <= newestFine; ++index) {
            const size_t slot = size_t(index % kFineBuckets);
            SxBucket bucket = m_fineIndex[slot] == index && !acquisition ? m_fine[slot] : SxBucket();
            // The bucket still filling.
            if (index == m_curIndex)
                bucket.merge(m_cur);
            if (acquisition) {
                if (m_fineIndex[slot] != index || !counters)
                    continue;
                starts->append(index * kFineUs);
                counters->append(m_fineCounters[slot]);
            } else if (!bucket.empty() && out) {
                starts->append(index * kFineUs);
                out->append(bucket);
            }
        }
        return kFineUs;
    }
    const size_t count = acquisition ? m_coarseCounters.size() : m_coarse.size();
    for (size_t index = size_t(fromUs / kCoarseUs); index < count && qint64(index) * kCoarseUs < toUs;
         ++index) {
        if (acquisition) {
            if (counters) {
                starts->append(qint64(index) * kCoarseUs);
                counters->append(m_coarseCounters[index]);
            }
        } else if (!m_coarse[index].empty() && out) {
            starts->append(qint64(index) * kCoarseUs);
            out->append(m_coarse[index]);
        }
    }
    return kCoarseUs;
}

std::vector<CxRunHistory::SxSnapshot> CxRunHistory::snapshots(qint64 fromUs, qint64 toUs) const
{
    QMutexLocker lock(&mutex);
    std::vector<SxSnapshot> found;
    for (const SxSnapshot& snapshot : m_snapshots) {
        if (snapshot.samples.size() < 2 && snapshot.records.empty())
            continue;
        const qint64 last =
            snapshot.records.empty()
                ? snapshot.firstUs + qint64((snapshot.samples.back() - snapshot.samples.front()) / 250u)
                : snapshot.records.back().atUs;
        if (last >= fromUs && snapshot.firstUs < toUs)
            found.push_back(snapshot);
    }
    std::sort(found.begin(), found.end(),
              [](const SxSnapshot& a, const SxSnapshot& b) { return a.firstUs < b.firstUs; });
    return found;
}

qint64 CxRunHistory::memoryBytes() const
{
    QMutexLocker lock(&mutex);
    qint64 bytes =
        qint64(m_coarse.capacity() * sizeof(SxBucket) +
               m_coarseCounters.capacity() * sizeof(SxCounterBucket) + m_fine.capacity() * sizeof(SxBucket) +
               m_fineCounters.capacity() * sizeof(SxCounterBucket) + m_fineIndex.capacity() * sizeof(qint64) +
               m_delivery.capacity() * sizeof(SxDeliverySecond) +
               m_streamSeconds.capacity() * sizeof(SxStreamSecond)) +
        qint64(m_events.capacity()) * qint64(sizeof(SxEvent));
    for (const SxSnapshot& snapshot : m_snapshots)
        bytes += qint64(sizeof(SxSnapshot) + snapshot.samples.capacity() * sizeof(quint64) +
                        snapshot.records.capacity() * sizeof(SxCounterRecord));
    return bytes;
}

// ---------------------------------------------------------------------------------------
// The verdict

double CxRunHistory::poissonUpper95(quint64 k)
{
    // Beyond a few hundred events the Wilson-Hilferty form is exact to a few parts in 10^4.
    if (k > 300) {
        const double n = double(k) + 1.0;
        const double c = 1.0 - 1.0 / (9.0 * n) + 1.6448536269514722 / (3.0 * std::sqrt(n));
        return n * c * c * c;
    }
    // The mean at which seeing k or fewer events has a chance of 5 %.
    auto cdf = [k](double mean) {
        double sum = 0.0;
        for (quint64 i = 0; i <= k; ++i)
            sum += std::exp(-mean + double(i) * std::log(mean) - std::lgamma(double(i) + 1.0));
        return sum;
    };
    double low = double(k);
    double high = double(k) + 10.0 + 10.0 * std::sqrt(double(k) + 1.0);
    for (int i = 0; i < 100; ++i) {
        const double mid = 0.5 * (low + high);
        (cdf(mid) > 0.05 ? low : high) = mid;
    }
    return 0.5 * (low + high);
}

QString CxRunHistory::durationText(qint64 us)
{
    const qint64 seconds = us / 1000000;
    if (seconds < 60)
        return QStringLiteral("%1 s").arg(double(us) / 1e6, 0, 'f', 1);
    if (seconds < 3600)
        return QStringLiteral("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return QStringLiteral("%1 h %2 min").arg(seconds / 3600).arg((seconds % 3600) / 60);
}

namespace {

QString seconds(qint64 us)
{
    return QString::number(double(us) / 1e6, 'f', 1);
}

// What the camera API handed over against what the camera is set to send.
QString deliveryLine(const CxRunHistory::SxTotals& t, bool* short_)
{
    const double rate = t.deliveredRate();
    const QString delivered = QCoreApplication::translate("CxRunHistory", "Delivered %1 MB/s (%2 frames/s)")
                                  .arg(rate, 0, 'f', 1)
                                  .arg(t.deliveredFrameRate(), 0, 'f', 1);
    const double set = t.askedRate();
    if (set <= 0.0)
        return QCoreApplication::translate("CxRunHistory", "%1; what the camera is set to send is not known.")
            .arg(delivered);
    const QString asked = QCoreApplication::translate(
                              "CxRunHistory", "%1 of the %2 MB/s (%3 frames/s) the camera is set to send")
                              .arg(delivered)
                              .arg(set, 0, 'f', 0)
                              .arg(t.askedFrameRate(), 0, 'f', 1);
    *short_ = rate < set * (1.0 - CxRunHistory::kRateTolerance);
    if (!*short_)
        return asked + QLatin1Char('.');
    return QCoreApplication::translate("CxRunHistory", "%1: the link or the host carries %2 % of it.")
        .arg(asked)
        .arg(rate / set * 100.0, 0, 'f', 0);
}

} // namespace

CxRunHistory::SxVerdict CxRunHistory::verdict(const SxTotals& totals)
{
    SxVerdict verdict = arithmetic(totals);
    sayWord(totals, &verdict);
    if (!verdict.word.isEmpty())
        verdict.text = QStringLiteral("%1: %2").arg(verdict.word, verdict.reason) +
                       (verdict.text.isEmpty() ? QString() : QLatin1Char('\n') + verdict.text);
    return verdict;
}

// The one word, from the figures the arithmetic already worked out: a lost camera first, then
// anything short of what was asked, then whether the run was long enough to prove the rest.
void CxRunHistory::sayWord(const SxTotals& t, SxVerdict* v)
{
    if (t.hostDurationUs <= 0 && t.frames == 0)
        return;
    const double required = double(t.required);
    const double average = t.linkAverage();
    if (t.lostAtUs >= 0) {
        v->word = tr("Camera lost");
        v->reason = tr("it stopped answering at %1 s, and the run ended there.").arg(seconds(t.lostAtUs));
    } else if (t.silentAtUs >= 0 || (t.delivered == 0 && t.frames == 0)) {
        // A run folded without its arrivals (an older log) has frames but no delivery to judge.
        v->word = tr("Falls behind");
        v->reason =
            t.silentAtUs >= 0
                ? tr("no image came for %1 s from %2 s on").arg(seconds(t.silentForUs), seconds(t.silentAtUs))
                : tr("no image arrived in %1 s").arg(seconds(t.hostDurationUs));
        v->reason += t.waitingFor.isEmpty() ? QStringLiteral(".") : QStringLiteral(": %1.").arg(t.waitingFor);
    } else if (!t.acquisition && required > 0.0 && average > 0.0 && average < required) {
        v->word = tr("Falls behind");
        v->reason = tr("the link averaged %1 MB/s over the run against %2 MB/s required.")
                        .arg(average, 0, 'f', 1)
                        .arg(t.required);
    } else if (t.delivered >= 2 && t.askedRate() > 0.0 &&
               t.deliveredRate() < t.askedRate() * (1.0 - kRateTolerance)) {
        v->word = tr("Falls behind");
        v->reason = tr("%1 MB/s arrived of the %2 MB/s the camera is set to send.")
                        .arg(t.deliveredRate(), 0, 'f', 1)
                        .arg(t.askedRate(), 0, 'f', 0);
    } else if (v->events > 0) {
        v->word = tr("Falls behind");
        v->reason =
            t.acquisition
                ? tr("the camera counted %1 skipped frames, missed triggers and overflows.").arg(v->events)
                : tr("%1 frames filled the camera's buffer.").arg(v->events);
    } else if (t.lostFrames > 0) {
        v->word = tr("Falls behind");
        v->reason = tr("%1 frames the camera sent never arrived.").arg(t.lostFrames);
    } else if (v->upperPerHour > kProvenPerHour) {
        v->word = tr("Too short to tell");
        v->reason =
            tr("nothing went wrong in %1, but only a run of %2 without a fault proves fewer than one "
               "an hour.")
                .arg(durationText(t.durationUs),
                     durationText(qint64(std::ceil(poissonUpper95(0) / kProvenPerHour * 60.0) * 6e7)));
    } else if (t.dips > 0) {
        v->word = tr("Keeps up, with dips the buffer absorbed");
        v->reason = tr("%1 dips, the deepest to %2 MB/s at %3 s, never filled the camera's buffer.")
                        .arg(t.dips)
                        .arg(t.deepestDip, 0, 'f', 1)
                        .arg(seconds(t.deepestDipAtUs));
    } else {
        v->word = tr("Keeps up");
        v->reason = tr("everything the camera sent arrived, without a dip or an overflow in %1.")
                        .arg(durationText(t.durationUs));
    }
    v->fallsBehind = !v->word.startsWith(tr("Keeps up")) && v->word != tr("Too short to tell");
}

CxRunHistory::SxVerdict CxRunHistory::arithmetic(const SxTotals& totals)
{
    SxVerdict verdict;
    QStringList lines;
    // The word says the silence, unless the camera's loss took its place.
    if (totals.lostAtUs >= 0 && totals.silentAtUs >= 0)
        lines << tr("No image came for %1 s from %2 s on.")
                     .arg(seconds(totals.silentForUs), seconds(totals.silentAtUs));
    if (totals.frames == 0 || totals.durationUs <= 0) {
        if (totals.hostDurationUs <= 0 && lines.isEmpty())
            lines << tr("Nothing measured yet.");
        verdict.text = lines.join(QLatin1Char('\n'));
        return verdict;
    }
    verdict.hours = double(totals.durationUs) / 3.6e9;
    verdict.events = totals.overflows;
    if (totals.acquisition) {
        verdict.events = 0;
        for (quint64 increase : totals.counterIncrease)
            verdict.events += increase;
    }
    const double upper = poissonUpper95(verdict.events);
    verdict.upperPerHour = upper / verdict.hours;
    const QString what =
        totals.acquisition ? tr("%1 skipped frames, missed triggers and overflows") : tr("%1 overflows");
    lines << tr("%1 in %2: fewer than %3 per hour at 95 % confidence (%4 / %5 h).")
                 .arg(what.arg(verdict.events), durationText(totals.durationUs))
                 .arg(verdict.upperPerHour, 0, verdict.upperPerHour >= 100.0 ? 'f' : 'g',
                      verdict.upperPerHour >= 100.0 ? 0 : 2)
                 .arg(upper, 0, 'f', 2)
                 .arg(verdict.hours, 0, 'g', 4);
    bool deliveredShort = false;
    if (totals.delivered >= 2)
        lines << deliveryLine(totals, &deliveredShort);
    if (totals.lostFrames > 0)
        lines << tr("%1 of the %2 frames the camera sent never arrived (%3 %).")
                     .arg(totals.lostFrames)
                     .arg(totals.lostFrames + totals.delivered)
                     .arg(double(totals.lostFrames) / double(totals.lostFrames + totals.delivered) * 100.0, 0,
                          'g', 3);
    if (totals.stream[StreamMissingPackets] > 0)
        lines << tr("%1 packets went missing on the way; %2 resend requests brought back %3.")
                     .arg(totals.stream[StreamMissingPackets])
                     .arg(totals.stream[StreamResendRequests])
                     .arg(totals.stream[StreamResentPackets]);
    const double average = totals.linkAverage();
    if (!totals.acquisition && totals.required > 0 && average > 0.0) {
        const double required = double(totals.required);
        const double delivered = totals.deliveredRate();
        // Fast inside frames is no headroom when the frames themselves do not come often enough.
        const bool short_ =
            average >= required && totals.delivered >= 2 && delivered < required * (1.0 - kRateTolerance);
        const double carried = short_ ? std::min(average, delivered) : average;
        if (short_) {
            lines << tr("Link average %1 MB/s inside frames, but %2 MB/s delivered against %3 MB/s "
                        "required: no headroom.")
                         .arg(average, 0, 'f', 1)
                         .arg(delivered, 0, 'f', 1)
                         .arg(totals.required);
        } else {
            verdict.headroom = average / required;
            lines << tr("Link average %1 MB/s against %2 MB/s required: headroom %3 (%1 / %2).")
                         .arg(average, 0, 'f', 1)
                         .arg(totals.required)
                         .arg(verdict.headroom, 0, 'f', 2);
        }
        if (carried < required) {
            const double deficit = required - carried;
            if (totals.bufferSize <= 0) {
                lines << tr("The link falls behind by %1 MB/s; the camera's buffer size is not known.")
                             .arg(deficit, 0, 'f', 1);
                verdict.text = lines.join(QLatin1Char('\n'));
                return verdict;
            }
            verdict.bufferLastsSeconds = double(totals.bufferSize) / (deficit * 1e6);
            lines << tr("The link falls behind by %1 MB/s: the camera's buffer of %2 MB lasts %3 s of "
                        "continuous acquisition (%2 MB / %1 MB/s).")
                         .arg(deficit, 0, 'f', 1)
                         .arg(double(totals.bufferSize) / 1e6, 0, 'f', 1)
                         .arg(verdict.bufferLastsSeconds, 0, 'g', 3);
        }
    }
    verdict.text = lines.join(QLatin1Char('\n'));
    return verdict;
}

// ---------------------------------------------------------------------------------------
// The run log

bool CxRunHistory::openLog(const QString& path, const QString& cameraName, QString* error)
{
    QMutexLocker lock(&mutex);
    delete m_log;
    m_log = nullptr;
    if (path.isEmpty())
        return true;
    QDir().mkpath(QFileInfo(path).absolutePath());
    auto file = std::make_unique<QFile>(path);
    // Never over another run's log: its writer may still be at it.
    if (!file->open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Text)) {
        if (error)
            *error = file->errorString();
        return false;
    }
    const QString header =
        QStringLiteral(
            "# camera: %1\n# started: %2\n# mode: %3\n# sample period [B]: %4\n"
            "# required throughput [MB/s]: %5\n# camera buffer size [B]: %6\n"
            "# dip threshold [MB/s]: %7\n"
            "second,time [s],frames,bytes,link average [MB/s],lowest speed [MB/s],lowest speed at [s],"
            "highest level [%],highest level at [s],overflows,transport skip,API skip,"
            "missed trg overlap,missed trg overflow,buffer overflow,host time [s],delivered frames,"
            "delivered bytes,delivered [MB/s],delivered [frames/s],lost frames,set rate [MB/s],"
            "camera lost at [s],silent from [s],silent for [s],missing packets,resend requests,"
            "resent packets,underruns,stream failures,stream timeouts,stream bytes,waiting for,events found\n"
            "event,start [s],duration [s],kind,depth,count\n")
            .arg(cameraName, QDateTime::currentDateTime().toString(Qt::ISODate),
                 m_totals.acquisition ? QStringLiteral("acquisition") : QStringLiteral("throughput"))
            .arg(m_totals.samplePeriod)
            .arg(m_totals.required)
            .arg(m_totals.bufferSize)
            .arg(m_totals.dipThreshold);
    file->write(header.toUtf8());
    file->flush();
    m_log = file.release();
    return true;
}

void CxRunHistory::writeLogLine()
{
    QMutexLocker lock(&mutex);
    if (!m_log)
        return;
    const SxTotals& t = m_totals;
    QString text = QStringLiteral("second,%1,%2,%3,%4,%5,%6,%7,%8,%9")
                       .arg(double(t.durationUs) / 1e6, 0, 'f', 3)
                       .arg(t.frames)
                       .arg(t.bytes, 0, 'f', 0)
                       .arg(t.linkAverage(), 0, 'f', 3)
                       .arg(t.lowestSpeed, 0, 'f', 3)
                       .arg(double(t.lowestSpeedAtUs) / 1e6, 0, 'f', 6)
                       .arg(t.highestLevel, 0, 'f', 3)
                       .arg(double(t.highestLevelAtUs) / 1e6, 0, 'f', 6)
                       .arg(t.overflows);
    for (quint64 increase : t.counterIncrease)
        text += QLatin1Char(',') + QString::number(increase);
    auto optionalSeconds = [](qint64 us) {
        return us >= 0 ? QString::number(double(us) / 1e6, 'f', 3) : QString();
    };
    text += QStringLiteral(",%1,%2,%3,%4,%5,%6,%7,%8,%9")
                .arg(double(t.hostDurationUs) / 1e6, 0, 'f', 3)
                .arg(t.delivered)
                .arg(t.deliveredBytes, 0, 'f', 0)
                .arg(t.deliveredRate(), 0, 'f', 3)
                .arg(t.deliveredFrameRate(), 0, 'f', 3)
                .arg(t.lostFrames)
                .arg(t.askedRate(), 0, 'f', 3)
                .arg(optionalSeconds(t.lostAtUs), optionalSeconds(t.silentAtUs));
    text += QLatin1Char(',') + (t.silentAtUs >= 0 ? optionalSeconds(t.silentForUs) : QString());
    for (quint64 value : t.stream)
        text += QLatin1Char(',') + (t.hasStream ? QString::number(value) : QString());
    // The camera's own words, kept to one field.
    text += QLatin1Char(',') + QString(t.waitingFor).replace(QLatin1Char(','), QLatin1Char(';'));
    text += QLatin1Char(',') + QString::number(t.events + (m_inDip ? 1 : 0));
    text += QLatin1Char('\n');
    // New events, those that replaced others, and those still going on as far as they got:
    // a reader keeps the latest line of each, so a killed run loses at most this second.
    auto line = [](const SxEvent& e) {
        return QStringLiteral("event,%1,%2,%3,%4,%5\n")
            .arg(double(e.startUs) / 1e6, 0, 'f', 6)
            .arg(double(e.durationUs) / 1e6, 0, 'f', 6)
            .arg(e.kind == EventCounter
                     ? QLatin1String(kLogCounterNames[qBound(0, int(e.counter), kCounters - 1)])
                 : e.kind == EventStream
                     ? QLatin1String(kStreamStatNames[qBound(0, int(e.counter), kStreamStats - 1)])
                     : QLatin1String(kEventKindNames[e.kind]))
            .arg(e.depth, 0, 'g', 8)
            .arg(e.count);
    };
    std::vector<int> again = m_rewrite;
    again.insert(again.end(), m_openLogged.begin(), m_openLogged.end());
    m_openLogged.clear();
    for (int open : {m_openOverflow, m_openSilence, m_openStream[0], m_openStream[1]})
        if (open >= 0) {
            again.push_back(open);
            m_openLogged.push_back(open);
        }
    std::sort(again.begin(), again.end());
    again.erase(std::unique(again.begin(), again.end()), again.end());
    for (int index : again)
        if (index < m_eventsLogged)
            text += line(m_events[index]);
    m_rewrite.clear();
    for (; m_eventsLogged < m_events.size(); ++m_eventsLogged)
        text += line(m_events[m_eventsLogged]);
    if (m_inDip)
        text += line(m_dip);
    // One write and a flush: a process killed now loses at most this second.
    m_log->write(text.toUtf8());
    m_log->flush();
}

namespace {

constexpr int kLogSecondFields = 34;

// The columns after the counters of a log's "second" line.
void readDelivery(const QList<QByteArray>& f, CxRunHistory::SxTotals* t)
{
    auto number = [&f](int i) { return QString::fromUtf8(f[i]).trimmed(); };
    auto optionalUs = [&number](int i) {
        const QString text = number(i);
        return text.isEmpty() ? qint64(-1) : qint64(text.toDouble() * 1e6);
    };
    t->hostDurationUs = qint64(number(15).toDouble() * 1e6);
    t->delivered = number(16).toULongLong();
    t->deliveredBytes = number(17).toDouble();
    // The rates come back through the span they were measured over.
    const double rate = number(18).toDouble();
    const double frameRate = number(19).toDouble();
    if (frameRate > 0.0 && t->delivered >= 2) {
        const double span = double(t->delivered - 1) * 1e6 / frameRate;
        t->firstArrivalUs = 0;
        t->lastArrivalUs = qint64(span + 0.5);
        t->firstFrameBytes = t->deliveredBytes - rate * span;
    }
    t->lostFrames = number(20).toULongLong();
    t->setRate = number(21).toDouble();
    t->lostAtUs = optionalUs(22);
    t->silentAtUs = optionalUs(23);
    t->silentForUs = std::max<qint64>(optionalUs(24), 0);
    t->hasStream = !number(25).isEmpty();
    for (int k = 0; k < CxRunHistory::kStreamStats; ++k)
        t->stream[k] = number(25 + k).toULongLong();
    t->waitingFor = number(32);
    t->events = number(33).toULongLong();
}

} // namespace

bool CxRunHistory::readLog(const QString& path, SxTotals* totals, QVector<SxEvent>* events,
                           QString* cameraName, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        *error = file.errorString();
        return false;
    }
    *totals = SxTotals();
    events->clear();
    bool sawLine = false;
    std::map<std::tuple<int, int, qint64>, int> written; // each event's place in `events`
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        // A line cut by a crash has no newline: what is whole is read, the rest ignored.
        if (!line.endsWith('\n'))
            break;
        const QList<QByteArray> f = line.trimmed().split(',');
        auto text = [&f](int i) { return i < f.size() ? QString::fromUtf8(f[i]).trimmed() : QString(); };
        auto header = [&line](const char* key) {
            return QString::fromUtf8(line.mid(qsizetype(qstrlen(key)))).trimmed();
        };
        if (line.startsWith("# camera: ")) {
            *cameraName = header("# camera: ");
        } else if (line.startsWith("# mode: ")) {
            totals->acquisition = header("# mode: ") == QLatin1String("acquisition");
        } else if (line.startsWith("# sample period [B]: ")) {
            totals->samplePeriod = header("# sample period [B]: ").toUInt();
        } else if (line.startsWith("# required throughput [MB/s]: ")) {
            totals->required = header("# required throughput [MB/s]: ").toInt();
        } else if (line.startsWith("# camera buffer size [B]: ")) {
            totals->bufferSize = header("# camera buffer size [B]: ").toInt();
        } else if (line.startsWith("# dip threshold [MB/s]: ")) {
            totals->dipThreshold = header("# dip threshold [MB/s]: ").toDouble();
        } else if ((f.size() == 15 || f.size() == kLogSecondFields) && f[0] == "second" &&
                   f[1] != "time [s]") {
            totals->durationUs = qint64(text(1).toDouble() * 1e6);
            totals->frames = text(2).toULongLong();
            totals->bytes = text(3).toDouble();
            const double average = text(4).toDouble();
            totals->linkUs = average > 0.0 ? totals->bytes / average : 0.0;
            totals->lowestSpeed = text(5).toDouble();
            totals->lowestSpeedAtUs = qint64(text(6).toDouble() * 1e6);
            totals->highestLevel = text(7).toDouble();
            totals->highestLevelAtUs = qint64(text(8).toDouble() * 1e6);
            totals->overflows = text(9).toULongLong();
            for (int k = 0; k < kCounters; ++k)
                totals->counterIncrease[k] = text(10 + k).toULongLong();
            totals->startOfDayUs = 0;
            if (f.size() == kLogSecondFields)
                readDelivery(f, totals);
            sawLine = true;
        } else if (f.size() == 6 && f[0] == "event" && f[1] != "start [s]") {
            SxEvent e;
            e.startUs = qint64(text(1).toDouble() * 1e6);
            e.durationUs = qint64(text(2).toDouble() * 1e6);
            const QString kind = text(3);
            e.kind = EventCounter;
            for (int k = 0; k < int(sizeof(kEventKindNames) / sizeof(*kEventKindNames)); ++k)
                if (kind == QLatin1String(kEventKindNames[k]))
                    e.kind = ExEventKind(k);
            for (int k = 0; k < kStreamStats; ++k)
                if (kind == QLatin1String(kStreamStatNames[k])) {
                    e.kind = EventStream;
                    e.counter = qint8(k);
                }
            for (int k = 0; k < kCounters; ++k)
                if (kind == QLatin1String(kLogCounterNames[k]))
                    e.counter = qint8(k);
            // Logs of earlier versions numbered the counters.
            if (e.kind == EventCounter && kind.startsWith(QLatin1String("counter ")))
                e.counter = qint8(kind.section(QLatin1Char(' '), 1).toInt());
            e.depth = text(4).toDouble();
            e.count = text(5).toULongLong();
            // An event written while it went on comes again with its later figures.
            const auto key = std::make_tuple(int(e.kind), int(e.counter), e.startUs);
            const auto seen = written.find(key);
            if (seen != written.end()) {
                (*events)[seen->second] = e;
            } else {
                written.emplace(key, events->size());
                events->append(e);
            }
        }
    }
    // Logs of earlier versions did not count the events they found.
    totals->events = std::max(totals->events, quint64(events->size()));
    if (!sawLine) {
        *error = QStringLiteral("no complete second in the run log");
        return false;
    }
    return true;
}
