#include "RunHistory.h"

#include "SampleModel.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <memory>

namespace {

const char* const kEventKindNames[] = {"dip", "overflow", "counter"};

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

// Room for whole hours of 1 s buckets at a time: a vector left to double its capacity would
// hold up to twice the run's buckets.
template <typename T> void growByTheHour(std::vector<T>& buckets, size_t index)
{
    if (index >= buckets.capacity())
        buckets.reserve((index / 3600 + 1) * 3600);
}

QString tr(const char* text)
{
    return QCoreApplication::translate("CxRunHistory", text);
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
    m_snapshots.clear();
    m_inDip = false;
    m_haveLast = false;
    m_recentRecords.clear();
    m_openOverflow = -1;
    m_cur = SxBucket();
    m_curIndex = -1;
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
    const size_t index = size_t(std::max<qint64>(atUs, 0) / kCoarseUs);
    if (index >= m_coarse.size()) {
        growByTheHour(m_coarse, index);
        m_coarse.resize(index + 1);
    }
    return m_coarse[index];
}

void CxRunHistory::addEvent(const SxEvent& event)
{
    ++m_totals.events;
    if (m_events.size() < kMaxEvents)
        m_events.append(event);
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

void CxRunHistory::endDip()
{
    if (!m_inDip)
        return;
    m_inDip = false;
    addEvent(m_dip);
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
                            quint64 sampleCount)
{
    if (!samples || sampleCount < 2)
        return;
    QMutexLocker lock(&mutex);
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
    // previous frame to the first of this one. A stall there is a dip too.
    if (m_haveLast && frameNumber == m_lastFrame + 1 && samples[0] > m_lastTick && threshold > 0.0) {
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
    const bool quiet = firstIndex == lastIndex && longestStep <= dipTicks &&
                       (size <= 0.0 || double(longestStep) * gainPerTick <= period);
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
            if (size > 0.0) {
                fill += double(delta) * gainPerTick - period;
                if (fill < 0.0) {
                    fill = 0.0;
                } else if (fill > size) {
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
            const bool kept = m_events.size() < kMaxEvents;
            addEvent(event);
            m_openOverflow = kept ? int(m_events.size()) - 1 : -1;
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

void CxRunHistory::addCounters(quint32 frameNumber, qint64 timestamp, const qint32 counters[kCounters])
{
    QMutexLocker lock(&mutex);
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
        const size_t coarseIndex = size_t(at / kCoarseUs);
        if (coarseIndex >= m_coarseCounters.size()) {
            growByTheHour(m_coarseCounters, coarseIndex);
            m_coarseCounters.resize(coarseIndex + 1);
        }
        for (int k = 0; k < kCounters; ++k) {
            // A counter that went back (the camera reset it) starts over from its new value.
            const qint64 increase = qint64(counters[k]) - qint64(m_lastCounters[k]);
            if (increase <= 0)
                continue;
            m_totals.counterIncrease[k] += quint64(increase);
            m_fineCounters[size_t(slot)].increase[k] += quint32(increase);
            m_coarseCounters[coarseIndex].increase[k] += quint32(increase);
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

void CxRunHistory::finish()
{
    QMutexLocker lock(&mutex);
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
    QMutexLocker lock(&mutex);
    QVector<SxEvent> events = m_events;
    // The dip still going on is shown as far as it got.
    if (m_inDip && events.size() < kMaxEvents)
        events.append(m_dip);
    return events;
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
    if (toUs <= fromUs)
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
               m_fineCounters.capacity() * sizeof(SxCounterBucket) +
               m_fineIndex.capacity() * sizeof(qint64)) +
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

CxRunHistory::SxVerdict CxRunHistory::verdict(const SxTotals& totals)
{
    SxVerdict verdict;
    if (totals.frames == 0 || totals.durationUs <= 0) {
        verdict.text = tr("Nothing measured yet.");
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
    QStringList lines;
    lines << tr("%1 in %2: fewer than %3 per hour at 95 % confidence (%4 / %5 h).")
                 .arg(what.arg(verdict.events), durationText(totals.durationUs))
                 .arg(verdict.upperPerHour, 0, verdict.upperPerHour >= 100.0 ? 'f' : 'g',
                      verdict.upperPerHour >= 100.0 ? 0 : 2)
                 .arg(upper, 0, 'f', 2)
                 .arg(verdict.hours, 0, 'g', 4);
    const double average = totals.linkAverage();
    if (!totals.acquisition && totals.required > 0 && average > 0.0) {
        verdict.headroom = average / double(totals.required);
        lines << tr("Link average %1 MB/s against %2 MB/s required: headroom %3 (%1 / %2).")
                     .arg(average, 0, 'f', 1)
                     .arg(totals.required)
                     .arg(verdict.headroom, 0, 'f', 2);
        if (average < double(totals.required)) {
            const double deficit = double(totals.required) - average;
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
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
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
            "missed trg overlap,missed trg overflow,buffer overflow\n"
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
    text += QLatin1Char('\n');
    for (; m_eventsLogged < m_events.size(); ++m_eventsLogged) {
        const SxEvent& e = m_events[m_eventsLogged];
        text += QStringLiteral("event,%1,%2,%3,%4,%5\n")
                    .arg(double(e.startUs) / 1e6, 0, 'f', 6)
                    .arg(double(e.durationUs) / 1e6, 0, 'f', 6)
                    .arg(e.kind == EventCounter ? QStringLiteral("counter %1").arg(e.counter)
                                                : QLatin1String(kEventKindNames[e.kind]))
                    .arg(e.depth, 0, 'g', 8)
                    .arg(e.count);
    }
    // One write and a flush: a process killed now loses at most this second.
    m_log->write(text.toUtf8());
    m_log->flush();
}

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
        } else if (f.size() == 15 && f[0] == "second" && f[1] != "time [s]") {
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
            sawLine = true;
        } else if (f.size() == 6 && f[0] == "event" && f[1] != "start [s]") {
            SxEvent e;
            e.startUs = qint64(text(1).toDouble() * 1e6);
            e.durationUs = qint64(text(2).toDouble() * 1e6);
            const QString kind = text(3);
            e.kind = kind == QLatin1String("dip")        ? EventDip
                     : kind == QLatin1String("overflow") ? EventOverflow
                                                         : EventCounter;
            if (e.kind == EventCounter)
                e.counter = qint8(kind.section(QLatin1Char(' '), 1).toInt());
            e.depth = text(4).toDouble();
            e.count = text(5).toULongLong();
            events->append(e);
        }
    }
    totals->events = quint64(events->size());
    if (!sawLine) {
        *error = QStringLiteral("no complete second in the run log");
        return false;
    }
    return true;
}
