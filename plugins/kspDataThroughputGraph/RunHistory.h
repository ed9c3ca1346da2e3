// The whole run of one camera, however long, in bounded memory: what the sample store forgets
// within seconds on a fast link is folded here frame by frame as the worker stores it.
//
// - Buckets of 10 ms for the last 10 minutes and of 1 s for the whole run. A bucket keeps the
//   minimum link speed and the highest modelled buffer level of every sample in it (a 1 ms
//   dip still shows at 1 s), the bytes and link time, the overflowing frames; in the
//   acquisition mode the increase of each counter.
// - Events: dips (the link below a threshold between two samples, or between two frames),
//   frames whose modelled buffer ran full, counter increases; every one up to kMaxEvents,
//   then counted only. The worst events keep the samples around their start (snapshots),
//   so that they can be looked at sample by sample long after the store moved on.
// - Totals, exact: frames, bytes over link time, the lowest speed and the highest level and
//   when they happened.
// - What arrived, on the host's clock: frames and bytes handed over by the camera API, the
//   frame numbers that never came, and what the camera is set to send; per second too. The
//   link average says how fast a frame crossed the link once it was on its way; only these
//   say whether the camera's data got here at all.
// - Whether the camera went silent or stopped answering, and the statistics of a GigE Vision
//   stream (missing and resent packets, underruns), with their bursts as events.
//
// Times are microseconds after the run's first sample (64-bit, so nothing wraps); host times
// are microseconds after begin(). The worker writes, the GUI thread reads; `mutex` guards
// everything.
#pragma once

#include <QMutex>
#include <QString>
#include <QVector>
#include <algorithm>
#include <deque>
#include <vector>

class QFile;

class CxRunHistory
{
public:
    static constexpr qint64 kFineUs = 10000;     // 10 ms
    static constexpr int kFineBuckets = 60000;   // 10 minutes of them
    static constexpr qint64 kCoarseUs = 1000000; // 1 s
    static constexpr int kMaxEvents = 100000;
    static constexpr int kMaxSnapshots = 128;
    static constexpr int kSnapshotSamples = 4096; // around an event's start
    static constexpr int kCounters = 5;           // transport skip, API skip, overlap, overflow x2
    // A GigE Vision stream's statistics, in this order; the last in bytes.
    static constexpr int kStreamStats = 7;
    enum ExStreamStat : int
    {
        StreamMissingPackets,
        StreamResendRequests,
        StreamResentPackets,
        StreamUnderruns,
        StreamFailures,
        StreamTimeouts,
        StreamTransferredBytes,
    };
    // No image for this long is a failure of the run.
    static constexpr qint64 kSilenceUs = 10000000;
    // A delivered rate this far below the one asked for is short of it; closer is measurement.
    static constexpr double kRateTolerance = 0.02;

    enum ExEventKind : quint8
    {
        EventDip,
        EventOverflow,
        EventCounter,
        EventLost,   // the camera stopped answering; starts at its last frame
        EventSilent, // no image for kSilenceUs or more
        EventStream, // seconds in a row with missing packets or underruns; `counter` says which
    };

    struct SxBucket
    {
        float minSpeed = 3.4e38f; // MB/s
        float maxLevel = 0.0f;    // %
        float megabytes = 0.0f;
        float linkSeconds = 0.0f;
        quint32 overflows = 0; // frames; in the acquisition mode unused
        bool empty() const { return linkSeconds == 0.0f && overflows == 0; }
        void merge(const SxBucket& other)
        {
            minSpeed = std::min(minSpeed, other.minSpeed);
            maxLevel = std::max(maxLevel, other.maxLevel);
            megabytes += other.megabytes;
            linkSeconds += other.linkSeconds;
            overflows += other.overflows;
        }
    };
    struct SxCounterBucket
    {
        quint32 increase[kCounters] = {};
    };

    struct SxEvent
    {
        ExEventKind kind = EventDip;
        qint8 counter = -1; // EventCounter: 0..4 as in SxTotals::counterIncrease; EventStream: ExStreamStat
        qint64 startUs = 0; // after the run's first sample
        qint64 durationUs = 0;
        double depth = 0.0; // the lowest speed (MB/s), the highest level (%), or the count
        quint64 count = 1;  // frames or counter increase
    };

    // One acquisition record as a snapshot keeps it.
    struct SxCounterRecord
    {
        qint64 atUs = 0;
        qint32 counters[kCounters] = {};
    };
    static constexpr int kSnapshotRecords = 32; // before and with an acquisition event

    struct SxSnapshot
    {
        SxEvent event;
        qint64 firstUs = 0;                   // time of samples[0], after the run's first sample
        std::vector<quint64> samples;         // device ticks
        std::vector<SxCounterRecord> records; // the acquisition mode's instead
    };

    struct SxTotals
    {
        bool acquisition = false;
        qint64 startOfDayUs = -1; // the run's first sample, microseconds since midnight; -1: none yet
        qint64 durationUs = 0;
        quint64 frames = 0;
        double bytes = 0.0;
        double linkUs = 0.0;
        double lowestSpeed = 0.0; // MB/s; 0 with no step
        qint64 lowestSpeedAtUs = 0;
        double highestLevel = 0.0;
        qint64 highestLevelAtUs = 0;
        quint64 overflows = 0; // frames whose modelled buffer ran full
        quint64 counterIncrease[kCounters] = {};
        qint32 firstCounters[kCounters] = {}; // as the run's first record read them
        quint64 events = 0;                   // all found, kept or not
        quint64 dips = 0;                     // of them, dips; the deepest one's speed and time
        double deepestDip = 0.0;
        qint64 deepestDipAtUs = 0;
        quint32 samplePeriod = 0;
        qint32 required = 0;
        qint32 bufferSize = 0;
        double dipThreshold = 0.0;
        // What arrived through the camera API, on the host's clock.
        quint64 delivered = 0; // frames
        double deliveredBytes = 0.0;
        double firstFrameBytes = 0.0;
        qint64 firstArrivalUs = -1; // host time; -1: nothing arrived
        qint64 lastArrivalUs = -1;
        qint64 hostDurationUs = 0; // host time of the last thing noted
        quint64 lostFrames = 0;    // frame numbers skipped between two that arrived
        double setRate = 0.0;      // MB/s the camera is set to send, as it was told; 0: unknown
        double setFrames = 0.0;    // frames/s it is set to send, where that was told instead
        qint64 lostAtUs = -1;      // host time the camera was last heard of before it vanished
        qint64 silentAtUs = -1;    // host time from which the first silence of kSilenceUs lasted
        qint64 silentForUs = 0;    // and how long
        QString waitingFor;        // why the camera sent nothing, where its transport knows
        bool hasStream = false;
        quint64 stream[kStreamStats] = {};
        double linkAverage() const { return linkUs > 0.0 ? bytes / linkUs : 0.0; }
        // Bytes and frames per second from the first arrival to the last; 0 with fewer than two.
        double deliveredRate() const;
        double deliveredFrameRate() const;
        // What the camera is set to send, in MB/s and frames/s, for the frames that arrived
        // where only one of the two was told; 0 unknown.
        double askedRate() const;
        double askedFrameRate() const;
    };

    // What the totals prove; numbers for reports and a sentence that shows the arithmetic.
    struct SxVerdict
    {
        // The answer in words: "Keeps up", "Keeps up, with dips the buffer absorbed", "Falls
        // behind", "Camera lost" or "Too short to tell", and the sentence that makes it so.
        QString word;
        QString reason;
        bool fallsBehind = false; // the run did not keep up: it fell behind, or lost its camera
        quint64 events = 0;       // overflows, or counter increases in the acquisition mode
        double hours = 0.0;
        double upperPerHour = 0.0;        // 95 % upper bound of the event rate
        double headroom = 0.0;            // link average over required throughput; 0: unknown
        double bufferLastsSeconds = -1.0; // -1: the link keeps up
        QString text;
    };

    CxRunHistory();
    ~CxRunHistory();
    CxRunHistory(const CxRunHistory&) = delete;
    CxRunHistory& operator=(const CxRunHistory&) = delete;

    // A new run: everything before is dropped. A threshold of 0 takes `required`.
    void begin(bool acquisition, quint32 samplePeriod, qint32 required, qint32 bufferSize,
               double dipThreshold = 0.0);
    // Worker: one stored throughput frame (samples in device ticks, timestamp in microseconds
    // since midnight), or one acquisition record with its five counters.
    // What the camera API handed over, on the host's clock, whatever the mode.
    struct SxArrival
    {
        qint64 hostUs = 0;
        quint32 frameNumber = 0;
        quint64 bytes = 0;
    };
    // `arrival`, when given, is noted under the same lock.
    void addFrame(quint32 frameNumber, qint64 timestamp, const quint64* samples, quint64 sampleCount,
                  const SxArrival* arrival = nullptr);
    void addCounters(quint32 frameNumber, qint64 timestamp, const qint32 counters[kCounters],
                     const SxArrival* arrival = nullptr);
    // Worker: a frame handed over that nothing else was made of.
    void noteArrival(const SxArrival& arrival);
    // No image at `hostUs`: a silence since the last one becomes an event once it lasts
    // kSilenceUs. True when that made a new silence.
    bool noteNoImage(qint64 hostUs);
    // What the camera waits for (a trigger), as its transport says; part of the verdict.
    void setWaitingFor(const QString& what);
    // A GigE Vision stream's statistics as the camera counts them since its start.
    void noteStream(qint64 hostUs, const quint64 values[kStreamStats]);
    // GUI thread: the camera stopped answering; the run ends at its last frame.
    void noteLost(qint64 hostUs);
    // What the camera is set to send: MB/s, or frames/s (then MB/s follow from the frames).
    void setAsked(double rate, double frames = 0.0);
    // Microseconds on the host's clock since begin().
    qint64 hostUs() const;
    // Closes an open dip, as the run ends.
    void finish();
    // Forgets the run, as if none had been: nothing to show, nothing to draw.
    void clear();

    SxTotals totals() const;
    QVector<SxEvent> events() const;
    // Both from one read, so that they agree while the worker goes on.
    void read(SxTotals* totals, QVector<SxEvent>* events) const;
    // Fine buckets when [fromUs, toUs) lies in the last 10 minutes, coarse ones otherwise;
    // returns the bucket length used and fills `out` (bucket start times in `starts`).
    qint64 buckets(qint64 fromUs, qint64 toUs, QVector<qint64>* starts, QVector<SxBucket>* out,
                   QVector<SxCounterBucket>* counters = nullptr) const;
    // Copies of the snapshots that overlap [fromUs, toUs).
    std::vector<SxSnapshot> snapshots(qint64 fromUs, qint64 toUs) const;
    // Bytes held; grows by the coarse buckets only.
    qint64 memoryBytes() const;

    static SxVerdict verdict(const SxTotals& totals);
    // Below this many events an hour (95 % bound) a run proves its link keeps up.
    static constexpr double kProvenPerHour = 1.0;
    // The 95 % upper bound of a Poisson mean with `k` events seen.
    static double poissonUpper95(quint64 k);
    static QString durationText(qint64 us);
    static QString streamStatName(int stat);
    // Per second of host time: frames that arrived, frame numbers skipped, and the stream's
    // statistics' increases (transferred bytes in kB), where the camera has them.
    struct SxDeliverySecond
    {
        quint32 frames = 0;
        quint32 lost = 0;
    };
    struct SxStreamSecond
    {
        quint32 increase[kStreamStats] = {};
    };
    void deliverySeconds(std::vector<SxDeliverySecond>* delivery, std::vector<SxStreamSecond>* stream) const;

    // The run log: one line per call (each second) with the totals, and the events that ended
    // since the last call; flushed at once. Empty `path` closes it.
    bool openLog(const QString& path, const QString& cameraName, QString* error = nullptr);
    void writeLogLine();
    // Reads a log back: its totals (last complete line) and events.
    static bool readLog(const QString& path, SxTotals* totals, QVector<SxEvent>* events, QString* cameraName,
                        QString* error);

    mutable QMutex mutex;

private:
    void closeFineBucket();
    SxBucket& coarse(qint64 atUs);
    // Where the event was kept, or -1.
    int addEvent(const SxEvent& event);
    // The kept event that a worse one may replace: not one that still goes on.
    int leastBadEvent() const;
    void endDip();
    static SxVerdict arithmetic(const SxTotals& totals);
    static void sayWord(const SxTotals& totals, SxVerdict* verdict);
    qint64 runUs(qint64 hostUs) const;
    void arrive(const SxArrival& arrival);
    // False when the snapshots kept are all worse than `event`; otherwise drops the least bad
    // one if they are full.
    bool makeRoomFor(const SxEvent& event);
    // The samples of a frame around `index`.
    static SxSnapshot window(const SxEvent& event, const quint64* samples, quint64 count, quint64 index,
                             qint64 baseUs);

    SxTotals m_totals;
    std::vector<SxBucket> m_coarse;
    std::vector<SxCounterBucket> m_coarseCounters;
    std::vector<SxBucket> m_fine;
    std::vector<SxCounterBucket> m_fineCounters;
    std::vector<qint64> m_fineIndex; // which 10 ms bucket a slot holds; -1: none
    QVector<SxEvent> m_events;
    int m_eventsLogged = 0;
    std::vector<int> m_rewrite;    // kept events replaced since the last log line
    std::vector<int> m_openLogged; // events the last log line wrote while they went on
    int m_leastBad = -1;
    std::vector<SxSnapshot> m_snapshots;

    // The open dip and the frame-level state the next frame continues from.
    bool m_inDip = false;
    SxEvent m_dip;
    SxSnapshot m_pending; // samples around the open dip's start
    // The frame the open dip started in, while it is being folded: copied only when needed.
    const quint64* m_pendingFrame = nullptr;
    quint64 m_pendingCount = 0;
    quint64 m_pendingIndex = 0;
    qint64 m_pendingBaseUs = 0;
    int m_openOverflow = -1; // the event of the last frame's overflow while it goes on, or -1
    SxBucket m_cur;          // the 10 ms bucket filling now
    qint64 m_curIndex = -1;
    bool m_haveLast = false;
    quint32 m_lastFrame = 0;
    quint64 m_lastTick = 0;
    qint64 m_lastUs = 0;
    qint32 m_lastCounters[kCounters] = {};
    std::deque<SxCounterRecord> m_recentRecords; // the last kSnapshotRecords
    double m_lastFill = 0.0;                     // the modelled buffer as the last frame ended

    qint64 m_clockStartUs = -1; // the coarse monotonic clock at begin(); -1: no run yet
    bool m_haveArrival = false;
    quint32 m_lastArrivalFrame = 0;
    bool m_silent = false;  // no image for kSilenceUs, and none since
    int m_openSilence = -1; // its event, or -1
    std::vector<SxDeliverySecond> m_delivery;
    std::vector<SxStreamSecond> m_streamSeconds;
    bool m_haveStream = false;
    quint64 m_lastStream[kStreamStats] = {};
    qint64 m_lastStreamUs = 0;
    int m_openStream[2] = {-1, -1}; // bursts of missing packets and of underruns going on

    QFile* m_log = nullptr;
};
