// The measurement engine of one camera: the settings of a run, its sample stores and
// statistics, the camera parameters saved for restore, and the worker thread that captures.
//
// Threads and locks:
// - The GUI thread creates and deletes the object, starts and stops runs, writes the
//   settings fields between runs and reads the stores (graph series, CSV export).
// - CxAcquisitionThread runs one capture loop per run. It captures, samples and reads the
//   camera's counters outside any lock, and takes `dataMutex` only to append a record,
//   update the frame-time statistics and trim the store. It emits no signals: the form
//   polls on its refresh timer.
// - `dataMutex` (non-recursive) guards the stores, the statistics and the run state. The
//   GUI thread holds it for the whole of startMeasurement and for the camera stop and
//   restore in stopMeasurement, and while it computes graph series. An export takes it only
//   to pick its frames and to let them go: it writes the file, and runs its progress
//   dialog's event loop, without it.
//   GetCounterValue takes it itself, so never call it with the mutex held.
// - `stopRequested` is set by the GUI thread and read by the worker without the mutex once
//   per captured image; stopMeasurement waits for the worker before it stops the camera.
#pragma once

#include "RunHistory.h"
#include "ksApi.h"

#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>
#include <atomic>

class QCPGraph;
class QCPRange;
class QWidget;
class CxAcquisitionThread;

// What a run measures. Values other than these two are refused where a mode is acted on.
enum MeasureMode : int
{
    MeasureModeDataThroughput = 0,
    MeasureModeStandardAcquisition = 1,
};

// Writes `value` as the CSV report holds it, byte for byte what QString::number(value, 'g', 6)
// gives, into at least 32 chars at `out`; returns the end.
char* formatReportNumber(double value, char* out);

class CxCameraLineData
{
public:
    // One throughput frame: the sampled words of an image of the counter pattern.
    class CxFrameData
    {
    public:
        CxFrameData() = default;
        ~CxFrameData();
        CxFrameData(const CxFrameData&) = delete;
        CxFrameData& operator=(const CxFrameData&) = delete;

        // Per sample i >= 1: the link speed since sample i-1 (MB/s), what the camera's
        // buffer gains meanwhile against `requiredThroughput` (bytes) and the sample's
        // offset from the frame's first sample (microseconds). Null outputs are skipped.
        // Returns the entries written: sampleCount - 1, or 0.
        unsigned int calculateFrameSpeeds(unsigned int samplePeriod, double requiredThroughput,
                                          double* speeds, double* bufferDeltas,
                                          unsigned long long* offsets) const;

        // What a graph refresh needs of a run of kChunkSteps consecutive samples of a frame:
        // a frame that a pixel boundary cuts is walked sample by sample only in the chunk
        // the boundary falls in.
        static constexpr quint64 kChunkSteps = 256;
        struct SxChunk
        {
            double minSpeed;
            double minPositiveSpeed;
            double maxLevel;
            double fillAfter; // the modelled buffer after the chunk's last sample
            bool overflow;
        };

        // What a graph refresh needs of the whole frame, for one sample period, required
        // throughput and buffer size. Stored frames never change, so it is worked out once
        // and a refresh walks the samples only where a pixel boundary cuts a frame.
        struct SxSummary
        {
            bool valid = false;
            quint32 period = 0;
            qint32 required = 0;
            qint32 bufferSize = 0;
            // False when a level is not a number or an offset falls back: such frames are
            // always walked sample by sample, so that the results stay those of the walk.
            bool plain = false;
            bool overflow = false;
            double minSpeed = 1.7976931348623157e308;
            double minPositiveSpeed = 1.7976931348623157e308;
            double maxLevel = 0.0;
            quint64 firstOffset = 0; // microseconds of sample 1 after sample 0
            quint64 lastOffset = 0;  // and of the last sample
        };
        // Under the owner's dataMutex. Frames with fewer than two samples have no summary.
        const SxSummary& summarise(unsigned int samplePeriod, qint32 requiredThroughput, qint32 bufferSize);

        quint32 frameNumber = 0;
        qint64 timestamp = 0;       // microseconds since midnight
        quint64* samples = nullptr; // owned
        quint64 sampleCount = 0;
        quint64 sampleSpan = 0; // last minus first sample, ticks of 4 ns
        SxSummary summary;
        // Owned; one per kChunkSteps steps of a plain summary of a frame longer than that.
        SxChunk* chunks = nullptr;
    };

    // One acquisition frame: the camera's counters when it arrived.
    struct CxCounterData
    {
        quint32 frameNumber = 0;
        qint64 timestamp = 0;
        qint32 transportSkip = 0;
        qint32 apiSkip = 0;
        qint32 missedTrgOverlap = 0;
        qint32 missedTrgOverflow = 0;
        qint32 bufferOverflow = 0;
    };

    // One camera counter.
    struct CxCounterInfo
    {
        KS_COUNTER_SELECTOR selector = KS_CNT_TRANSPORT_SKIP;
        bool supported = false;
        int value = 0;
        QString name;
    };

    CxCameraLineData();
    // Waits for a running worker without stopping it: call stopMeasurement() first.
    ~CxCameraLineData();
    CxCameraLineData(const CxCameraLineData&) = delete;
    CxCameraLineData& operator=(const CxCameraLineData&) = delete;

    // Store and counter table.
    void clearData();
    // Besides the store, the statistics and the history of the last run: what a new mode must
    // not show.
    void clearRun();
    bool isMeasurementRunning();
    bool IsCounterSupported(KS_COUNTER_SELECTOR selector) const;
    int GetCounterValue(KS_COUNTER_SELECTOR selector);

    // Camera preparation and restore (GUI thread).
    bool setupCameraParameters();
    void restoreCameraParameters();
    void readDefaultAvgTransportSpeed();
    int readInternalCameraBufferSize();

    // Run control (GUI thread).
    bool startMeasurement(unsigned int samplePeriod, int maxSamples);
    bool stopMeasurement();

    // Capture loops (worker thread).
    void runMeasureLoopThrougput();
    void runMeasureLoopAcquisition();
    void ReadCounterValues();

    // Graph series for a visible time range (GUI thread, under dataMutex).
    bool calculateGraphsThrougput(QCPGraph* minThroughputGraph, QCPGraph* bufferLevelGraph,
                                  const QCPRange* timeRange, long long start, long long end,
                                  double msPerPixel);
    bool calculateGraphsAcquisition(QCPGraph* graph0, QCPGraph* graph1, QCPGraph* graph3, QCPGraph* graph4,
                                    QCPGraph* graph5, const QCPRange* timeRange, long long start,
                                    long long end, double msPerPixel);

    // Bytes over link time of every stored frame, in MB/s: the link's own average, which
    // weights each frame by its duration (avgThroughput averages the frames' speeds).
    double linkAverage();

    // When the oldest and the newest stored sample were taken (microseconds since midnight,
    // as the stores hold them) and the newest one's frame; false when nothing is stored.
    bool storedSpan(qint64* oldest, qint64* newest, quint32* newestFrame);

    // CSV report of the throughput samples in [start, end] (GUI thread).
    void exportDataToFile(const QString& fileName, QWidget* parent, long long start, long long end);

    KSCORE_HANDLE hCam = nullptr;
    QString cameraName;
    MeasureMode measureMode = MeasureModeDataThroughput;
    QList<CxFrameData*> frames;
    QList<CxCounterData*> counterSamples;
    QList<CxCounterInfo*> counters;
    quint32 samplePeriod = 4096;
    qint32 maxSamples = 3000000;
    // How long the worker waits for one image; tests shorten it.
    unsigned int captureTimeoutMs = 5000;
    qint32 cameraBufferSize = 0;
    bool plotEnabled = true;
    qint32 requiredThroughput = 0;
    bool autoTransport = true;
    double frameTimeAvg = 0.0;
    double frameTimeMax = 2.2250738585072014e-308;
    double frameTimeMin = 1.7976931348623157e308;
    quint64 frameTimeCount = 0;
    int savedImgDataFormat = 0;
    int savedOutputBitDepth = 0;
    int savedOutputBitPacking = 0;
    int savedBufferPolicy = 0;
    int savedColumnFpnCorrection = 0;
    int savedRowFpnCorrection = 0;
    int savedLutEnable = 0;
    int savedTestPatternGeneratorSelector = 0;
    int savedTestPattern = 0;
    bool frameBufferModeChanged = false;
    bool deviceRegisterChanged = false;
    double avgThroughput = 0.0;
    double minThroughput = 0.0;
    double maxBufferLevel = 0.0;
    quint64 bufferOverflowCount = 0;
    QMutex dataMutex;
    // The whole run, beyond what the store keeps; it has its own lock.
    CxRunHistory history;
    // Where a run appends its log, one line a second; empty: no log. Set between runs.
    QString runLogPath;
    // Why the last run has no log, for a host's report; empty when it has one or none was asked.
    QString runLogError;
    // The local midnight (milliseconds since the epoch) a run's times count from; 0: the one
    // before the run starts. The panel gives every camera of a session the same one.
    qint64 dayStartMs = 0;
    // Link speeds below this count as dips (MB/s); 0: the required throughput.
    double dipThreshold = 0.0;
    // Exports reading the store now, and the frames trimmed or cleared meanwhile, freed when
    // the last export ends (under dataMutex).
    int exportsRunning = 0;
    QList<CxFrameData*> retiredFrames;
    // Set on the GUI thread when the camera goes during its own export: the export ends.
    std::atomic<bool> exportAbort{false};
    std::atomic<bool> measurementRunning{false};
    std::atomic<bool> stopRequested{false};
    CxAcquisitionThread* acquisitionThread = nullptr;

private:
    // What an export reads of the settings, taken with its frames.
    struct CxExportSettings
    {
        quint32 samplePeriod = 0;
        qint32 requiredThroughput = 0;
        qint32 bufferSize = 0;
    };
    void retireFrame(CxFrameData* frame);
    void resetFrameTimes();
    void addFrameTime(double microseconds);
    bool captureImage(KS_IMG* image);
    // What the worker tells the history of each capture besides the frame itself: what
    // arrived, a silence and what the camera waits for, and once a second the stream's
    // statistics where the camera keeps them.
    void noteCapture(const KS_IMG* image);
    void pollStream(qint64 now);
    qint64 m_nextStreamPollUs = 0;
    bool m_streamStats = false;
    bool m_askedWaiting = false;
    CxRunHistory::SxArrival m_arrival; // the image captured last, for the history
    // True when no point of the graph can fall inside the frame, so that its summary serves.
    bool wholeFrameInOneBin(CxFrameData* frame, const QCPRange* timeRange, long long start, long long end,
                            double lastX, double minGap);
};

// The worker of one run: runs the capture loop of its mode on its camera line.
class CxAcquisitionThread : public QThread
{
public:
    CxAcquisitionThread(CxCameraLineData* lineData, MeasureMode mode);
    ~CxAcquisitionThread() override;

    // Returns once run() has returned; everything the worker wrote is then visible here.
    void join();
    // True once run() has returned.
    bool hasReturned() const { return runReturned.load(std::memory_order_acquire); }

    CxCameraLineData* lineData;
    MeasureMode mode;

protected:
    void run() override;

private:
    std::atomic<bool> runReturned{false};
};
