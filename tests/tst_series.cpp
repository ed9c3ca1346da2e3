// Graph series and CSV export: points, statistics and file bytes from small stores built
// by hand, and one measurement of a simulated link with a known dip.

#include "EngineTestSupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <cfloat>
#include <cmath>
#include <memory>
#include <qcustomplot.h>
#include <random>
#include <vector>

using namespace enginetest;
using namespace simtest;

namespace {

constexpr qint64 kT0 = 10000000; // 10 s after midnight

struct SxPoint
{
    double x;
    double y;
};

QList<SxPoint> points(const QCPGraph* graph)
{
    QList<SxPoint> list;
    for (auto it = graph->data()->constBegin(); it != graph->data()->constEnd(); ++it)
        list.append({it->key, it->value});
    return list;
}

void addFrame(CxCameraLineData& line, quint32 number, qint64 timestamp, const QVector<quint64>& samples)
{
    auto* frame = new CxCameraLineData::CxFrameData;
    frame->frameNumber = number;
    frame->timestamp = timestamp;
    frame->sampleCount = quint64(samples.size());
    if (!samples.isEmpty()) {
        frame->samples = new quint64[samples.size()];
        std::copy(samples.begin(), samples.end(), frame->samples);
        frame->sampleSpan = samples.last() - samples.first();
    }
    line.frames.append(frame);
}

void addRecord(CxCameraLineData& line, qint64 timestamp, int base)
{
    auto* record = new CxCameraLineData::CxCounterData;
    record->timestamp = timestamp;
    record->transportSkip = base;
    record->apiSkip = base + 1;
    record->missedTrgOverlap = base + 3;
    record->missedTrgOverflow = base + 4;
    record->bufferOverflow = base + 5;
    line.counterSamples.append(record);
}

// 1000-byte samples, 500 MB/s required, a 1000-byte buffer.
void setKnownSettings(CxCameraLineData& line)
{
    line.samplePeriod = 1000;
    line.requiredThroughput = 500;
    line.cameraBufferSize = 1000;
}

// Two frames whose samples exercise draining, filling to the brim and overflowing the
// buffer of the known settings:
// frame 7 at T0: intervals of 1, 4, 10 and 1 us (1000, 250, 100, 1000 MB/s);
// frame 8 at T0 + 1000 us: two intervals of 2 us (500 MB/s).
void fillKnownStore(CxCameraLineData& line)
{
    setKnownSettings(line);
    line.frameTimeAvg = 20.0;
    line.frameTimeMin = 4.0;
    addFrame(line, 7, kT0, {1000000, 1000250, 1001250, 1003750, 1004000});
    addFrame(line, 8, kT0 + 1000, {2000000, 2000500, 2001000});
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

const QByteArray kHeader =
    "Frame number,Frame Time [ns], Offset [B], Data Time Stamp [ns], Req. throughput [MB/s], "
    "Link throughput [MB/s], Buffer filled [B], Max buffer level [%]\n";

// The series as the straightforward walk over every sample computes them: what the refresh
// must reproduce however it saves work.
struct SxSeries
{
    bool ok = false;
    QList<double> minPoints; // x, y, x, y, ...
    QList<double> levelPoints;
    double minThroughput = 0.0;
    double avgThroughput = 0.0;
    double maxBufferLevel = 0.0;
    quint64 overflows = 0;
};

double rel32(qint64 timestamp, long long end, quint64 offset)
{
    return double(qint32(quint32(quint64(timestamp)) - quint32(quint64(end)) + quint32(offset)));
}

SxSeries walkEverySample(CxCameraLineData& line, const QCPRange* range, long long start, long long end,
                         double msPerPixel)
{
    SxSeries out;
    const long long span = end - start;
    const long long margin = 2.0 * line.frameTimeAvg > double(span) ? (long long)line.frameTimeAvg : span;
    double lastX = -100000000.0, binMin = DBL_MAX, binMax = 0.0, overallMax = 0.0, speedSum = 0.0;
    bool first = true;
    quint64 frames = 0;
    out.minThroughput = DBL_MAX;
    for (CxCameraLineData::CxFrameData* frame : std::as_const(line.frames)) {
        if (frame->timestamp < start - margin)
            continue;
        if (frame->timestamp >= end + margin)
            break;
        const quint64 n = frame->sampleCount > 1 ? frame->sampleCount - 1 : 1;
        std::vector<double> speeds(n), deltas(n);
        std::vector<unsigned long long> offsets(n);
        const unsigned count = frame->calculateFrameSpeeds(line.samplePeriod, double(line.requiredThroughput),
                                                           speeds.data(), deltas.data(), offsets.data());
        bool overflow = false;
        double fill = 0.0;
        for (unsigned i = 0; i < count; ++i) {
            const double rel = rel32(frame->timestamp, end, offsets[i]);
            if (speeds[i] < out.minThroughput)
                out.minThroughput = speeds[i];
            fill += deltas[i];
            double level;
            if (fill < 0.0) {
                fill = 0.0;
                level = 0.0;
            } else if (fill > double(line.cameraBufferSize)) {
                fill = double(line.cameraBufferSize);
                overflow = true;
                level = 100.0;
            } else {
                level = fill / double(line.cameraBufferSize) * 100.0;
            }
            if (overflow)
                binMax = 100.0;
            binMax = std::max(level, binMax);
            overallMax = std::max(binMax, overallMax);
            if (first)
                lastX = rel;
            if (speeds[i] > 0.0 && speeds[i] < binMin)
                binMin = speeds[i];
            const qint64 time = frame->timestamp + qint64(offsets[i]);
            if (time >= start && time <= end && rel - lastX > 1000.0 * msPerPixel) {
                lastX = rel;
                if (range) {
                    const double x = range->upper + rel / 1000000.0;
                    out.minPoints << x << binMin;
                    out.levelPoints << x << binMax;
                    binMin = DBL_MAX;
                    binMax = 0.0;
                }
            }
            first = false;
        }
        if (overflow)
            ++out.overflows;
        speedSum +=
            double(quint64(line.samplePeriod) * frame->sampleCount) / double(frame->sampleSpan) * 250.0;
        ++frames;
    }
    out.ok = frames > 0;
    out.maxBufferLevel = overallMax;
    out.avgThroughput = out.ok ? speedSum / double(frames) : 0.0;
    return out;
}

QByteArray bits(const QList<double>& values)
{
    return QByteArray(reinterpret_cast<const char*>(values.constData()), int(values.size() * sizeof(double)));
}

QByteArray bits(double value)
{
    return bits(QList<double>{value});
}

// A link of 400 MB/s with 5 % jitter, a dip to 150 MB/s every 40 frames and a stall now and
// then; one frame holds two equal samples, one a single sample.
void fillRoughStore(CxCameraLineData& line, quint32 seed)
{
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> jitter(0.95, 1.05);
    line.samplePeriod = 1024;
    quint64 tick = 5000000000ull;
    for (quint32 f = 0; f < 600; ++f) {
        QVector<quint64> samples;
        // Every fifth frame is longer than a few summary chunks, with a short last chunk.
        const int count = f == 77      ? 1
                          : f % 5 == 0 ? 3 * int(CxCameraLineData::CxFrameData::kChunkSteps) + 40
                                       : 48;
        for (int i = 0; i < count; ++i) {
            samples << tick;
            const double rate = (f % 40 < 3 ? 150.0 : 400.0) * jitter(random);
            tick += quint64(1024.0 / rate * 250.0);
            if (random() % 300 == 0)
                tick += 250 * 200; // a stall of 200 us
            if (f == 123 && i == 10)
                samples << tick;
        }
        addFrame(line, f, qint64(tick / 250) - 1000, samples);
        tick += 2000;
    }
    line.frameTimeAvg = double(line.frames[1]->sampleSpan) / 250.0;
}

} // namespace

class TestSeries : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    // Frame speeds
    void frameSpeedsFromNeighbouringSamples();

    // Throughput series
    void knownStorePointsAndStatistics_data();
    void knownStorePointsAndStatistics();
    void statisticsWithoutGraphsOrFramesAndTheMargin();
    void degenerateFramesAndEqualSamples();
    void relativeTimeWrapsBeyond35Minutes();
    void clearDataEmptiesBothStores();
    void summariesGiveTheResultsOfTheFullWalk_data();
    void summariesGiveTheResultsOfTheFullWalk();

    // Acquisition series
    void acquisitionPointsAndTheirMargin();

    // CSV export
    void csvRows_data();
    void csvRows();
    void csvClosingTheDialogCancels();
    void csvOfARunningStoreKeepsTheFramesItReads();
    void csvWritesNothingInAcquisitionModeOrForAnUnopenableFile();
    void csvNumbersAreWrittenAsQtWritesThem();

    // End to end
    void measuredDipShowsInTheMinimumSeries();

private:
    QCustomPlot* m_plot = nullptr;
    QCPGraph* m_min = nullptr;
    QCPGraph* m_level = nullptr;
    QTemporaryDir m_dir;
};

void TestSeries::summariesGiveTheResultsOfTheFullWalk_data()
{
    QTest::addColumn<double>("spanSeconds"); // visible span, ending at the store's middle
    QTest::addColumn<double>("msPerPixel");
    QTest::addColumn<int>("required");
    QTest::addColumn<int>("bufferSize");
    QTest::newRow("whole store, coarse") << 10.0 << 10.0 << 380 << 20000;
    QTest::newRow("fine pixels") << 0.05 << 0.01 << 380 << 20000;
    QTest::newRow("overflowing buffer") << 0.5 << 1.0 << 700 << 4000;
    QTest::newRow("buffer never fills") << 0.5 << 0.7 << 100 << 1000000;
    QTest::newRow("empty buffer gives nan levels") << 0.5 << 0.5 << 380 << 0;
}

void TestSeries::summariesGiveTheResultsOfTheFullWalk()
{
    QFETCH(double, spanSeconds);
    QFETCH(double, msPerPixel);
    QFETCH(int, required);
    QFETCH(int, bufferSize);
    CxCameraLineData line;
    fillRoughStore(line, 7);
    line.cameraBufferSize = bufferSize;
    const qint64 middle = line.frames[line.frames.size() / 2]->timestamp + 37;
    const long long end = middle;
    const long long start = middle - qint64(spanSeconds * 1e6);
    const QCPRange range(-spanSeconds, 0.0);

    // Twice with one throughput, so that kept summaries serve, then with another.
    for (int required2 : {required, required, required + 150}) {
        line.requiredThroughput = required2;
        const SxSeries expected = walkEverySample(line, &range, start, end, msPerPixel);
        m_min->data()->clear();
        m_level->data()->clear();
        QCOMPARE(line.calculateGraphsThrougput(m_min, m_level, &range, start, end, msPerPixel), expected.ok);
        QList<double> minPoints, levelPoints;
        for (const SxPoint& p : points(m_min))
            minPoints << p.x << p.y;
        for (const SxPoint& p : points(m_level))
            levelPoints << p.x << p.y;
        QVERIFY(expected.minPoints.size() > 4);
        QCOMPARE(bits(minPoints), bits(expected.minPoints));
        QCOMPARE(bits(levelPoints), bits(expected.levelPoints));
        QCOMPARE(bits(line.minThroughput), bits(expected.minThroughput));
        QCOMPARE(bits(line.avgThroughput), bits(expected.avgThroughput));
        QCOMPARE(bits(line.maxBufferLevel), bits(expected.maxBufferLevel));
        QCOMPARE(line.bufferOverflowCount, expected.overflows);

        // Statistics alone, as a tick without "Live Graph" asks for them.
        QVERIFY(line.calculateGraphsThrougput(nullptr, nullptr, nullptr, start, end, 0.0) == expected.ok);
        QCOMPARE(bits(line.maxBufferLevel), bits(expected.maxBufferLevel));
        QCOMPARE(line.bufferOverflowCount, expected.overflows);
    }
}

void TestSeries::init()
{
    m_plot = new QCustomPlot;
    m_min = m_plot->addGraph();
    m_level = m_plot->addGraph();
}

void TestSeries::cleanup()
{
    delete m_plot;
    closeAll();
}

void TestSeries::frameSpeedsFromNeighbouringSamples()
{
    CxCameraLineData::CxFrameData frame;
    frame.samples = new quint64[4]{1000, 1250, 1750, 1750 + 2500};
    frame.sampleCount = 4;
    double speeds[3];
    double deltas[3];
    unsigned long long offsets[3];
    QCOMPARE(frame.calculateFrameSpeeds(1000, 600.0, speeds, deltas, offsets), 3u);
    // 1000 bytes in 1, 2 and 10 us; meanwhile the buffer gains 1 us x (600 - 1000) and so on.
    QCOMPARE(QList<double>(speeds, speeds + 3), QList<double>({1000.0, 500.0, 100.0}));
    QCOMPARE(QList<double>(deltas, deltas + 3), QList<double>({-400.0, 200.0, 5000.0}));
    QCOMPARE(QList<unsigned long long>(offsets, offsets + 3), QList<unsigned long long>({1, 3, 13}));
    // Null outputs are skipped, the others still written.
    speeds[2] = 0.0;
    offsets[2] = 0;
    QCOMPARE(frame.calculateFrameSpeeds(1000, 600.0, nullptr, nullptr, offsets), 3u);
    QCOMPARE(frame.calculateFrameSpeeds(1000, 600.0, speeds, nullptr, nullptr), 3u);
    QCOMPARE(offsets[2], 13ull);
    QCOMPARE(speeds[2], 100.0);
    // A single sample, or a count without an array, gives no interval.
    CxCameraLineData::CxFrameData single;
    single.samples = new quint64[1]{42};
    single.sampleCount = 1;
    CxCameraLineData::CxFrameData empty;
    empty.sampleCount = 5;
    QCOMPARE(single.calculateFrameSpeeds(1000, 0.0, speeds, deltas, offsets), 0u);
    QCOMPARE(empty.calculateFrameSpeeds(1000, 0.0, speeds, deltas, offsets), 0u);
}

void TestSeries::knownStorePointsAndStatistics_data()
{
    QTest::addColumn<double>("upper"); // of the time axis; points lie at upper - (end - t)
    QTest::addColumn<qint64>("start"); // visible from T0 + start to T0 + 2000 us
    QTest::addColumn<double>("msPerPixel");
    QTest::addColumn<bool>("levels");            // a level graph is passed
    QTest::addColumn<QList<double>>("expected"); // per point: x - upper, minimum, level
    // The call's first sample only sets the bin's start; every later one closes a bin. The
    // overflowed frame's level stays at 100.
    QTest::newRow("every sample") << 0.0 << qint64(-100) << 0.0 << true
                                  << QList<double>{-0.001995, 250,  100, -0.001985, 100, 100,
                                                   -0.001984, 1000, 100,                     // frame 7
                                                   -0.000998, 500,  0,   -0.000996, 500, 0}; // frame 8
    // At least 5 us between points: bins carry their minimum and maximum across frames, and
    // the last sample of frame 7 is still in the second bin.
    QTest::newRow("5 us bins") << 3.0 << qint64(-100) << 0.005 << true
                               << QList<double>{-0.001985, 100, 100, -0.000998, 500, 100};
    // Frame 7's samples at 1 and 5 us are not drawn, but the 5 us one is in the first bin.
    QTest::newRow("visible from T0 + 10 us")
        << 0.0 << qint64(10) << 0.0 << false
        << QList<double>{-0.001985, 100, 0, -0.001984, 1000, 0, -0.000998, 500, 0, -0.000996, 500, 0};
}

void TestSeries::knownStorePointsAndStatistics()
{
    QFETCH(double, upper);
    QFETCH(qint64, start);
    QFETCH(double, msPerPixel);
    QFETCH(bool, levels);
    QFETCH(QList<double>, expected);
    CxCameraLineData line;
    fillKnownStore(line);
    const QCPRange range(upper - 2.1, upper);
    QVERIFY(line.calculateGraphsThrougput(m_min, levels ? m_level : nullptr, &range, kT0 + start, kT0 + 2000,
                                          msPerPixel));
    const QList<SxPoint> mins = points(m_min);
    const QList<SxPoint> maxima = points(m_level);
    QCOMPARE(mins.size() * 3, expected.size());
    QCOMPARE(maxima.size(), levels ? mins.size() : 0);
    for (int i = 0; i < mins.size(); ++i) {
        QVERIFY(qFuzzyCompare(mins[i].x - upper, expected[3 * i]));
        QCOMPARE(mins[i].y, expected[3 * i + 1]);
        if (levels) {
            QCOMPARE(maxima[i].x, mins[i].x);
            QCOMPARE(maxima[i].y, expected[3 * i + 2]);
        }
    }
    // Every sample of the frames within the margins counts, drawn or not.
    QCOMPARE(line.minThroughput, 100.0);
    QCOMPARE(line.maxBufferLevel, 100.0);
    QCOMPARE(line.bufferOverflowCount, quint64(1));
    // Frame throughputs: 1000 x 5 / 4000 ticks x 250 = 312.5 and 1000 x 3 / 1000 x 250 = 750.
    QCOMPARE(line.avgThroughput, (312.5 + 750.0) / 2);
}

void TestSeries::statisticsWithoutGraphsOrFramesAndTheMargin()
{
    CxCameraLineData line;
    fillKnownStore(line);
    QVERIFY(line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 100, kT0 + 2000, 0.0));
    QCOMPARE(line.minThroughput, 100.0);
    QCOMPARE(line.maxBufferLevel, 100.0);
    QCOMPARE(line.bufferOverflowCount, quint64(1));
    QCOMPARE(line.avgThroughput, 531.25);
    // Graphs without a range draw nothing.
    QVERIFY(line.calculateGraphsThrougput(m_min, m_level, nullptr, kT0 - 100, kT0 + 2000, 0.0));
    QCOMPARE(m_min->dataCount(), 0);
    // Long after the last frame nothing is selected: the statistics restart, the average stays.
    QVERIFY(!line.calculateGraphsThrougput(m_min, m_level, nullptr, kT0 + 50000, kT0 + 51000, 0.0));
    QCOMPARE(line.minThroughput, DBL_MAX);
    QCOMPARE(line.maxBufferLevel, 0.0);
    QCOMPARE(line.bufferOverflowCount, quint64(0));
    QCOMPARE(line.avgThroughput, 531.25);
    // Long before the first frame: frames start beyond the upper bound.
    QVERIFY(!line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 90000, kT0 - 89000, 0.0));
    const QCPRange range(-1.0, 0.0);
    CxCameraLineData empty;
    QVERIFY(!empty.calculateGraphsThrougput(m_min, m_level, &range, 0, 1000, 0.0));
    // Throughput frames left from before a switch to the acquisition mode: no work arrays
    // exist in that mode, and nothing is drawn.
    line.measureMode = MeasureModeStandardAcquisition;
    QVERIFY(!line.calculateGraphsThrougput(m_min, m_level, &range, kT0 - 100, kT0 + 2000, 0.0));
    line.measureMode = MeasureModeDataThroughput;

    // A 100 us span: with frames of 20 us on average the margin is the span itself, so a
    // visible range ending 50 us before frame 7 still takes it in, but not frame 8.
    QVERIFY(line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 150, kT0 - 50, 0.0));
    QCOMPARE(line.avgThroughput, 312.5);
    QVERIFY(!line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 250, kT0 - 150, 0.0));
    // Frames of 600.9 us on average: twice that exceeds the span, the margin is 600 us.
    line.frameTimeAvg = 600.9;
    QVERIFY(line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 699, kT0 - 599, 0.0));
    QCOMPARE(line.avgThroughput, 312.5);
    QVERIFY(!line.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 700, kT0 - 600, 0.0));
}

void TestSeries::degenerateFramesAndEqualSamples()
{
    CxCameraLineData line;
    setKnownSettings(line);
    addFrame(line, 1, kT0, {0, 500, 500, 1000}); // 1000 x 4 / 1000 x 250 = 1000 MB/s
    addFrame(line, 2, kT0 + 10, {5000});         // one sample, span 0: infinite
    const QCPRange range(-1.0, 0.0);
    QVERIFY(line.calculateGraphsThrougput(m_min, m_level, &range, kT0 - 100, kT0 + 100, 0.0));
    QVERIFY(std::isinf(line.avgThroughput));
    // Equal samples give an infinite speed that is never the minimum nor drawn.
    QCOMPARE(line.minThroughput, 500.0);
    for (const SxPoint& point : points(m_min))
        QVERIFY(!std::isinf(point.y));

    // A frame without samples at all makes it 0 / 0.
    CxCameraLineData second;
    second.samplePeriod = 1000;
    addFrame(second, 1, kT0, {0, 1000});
    addFrame(second, 2, kT0 + 10, {});
    QVERIFY(second.calculateGraphsThrougput(nullptr, nullptr, nullptr, kT0 - 100, kT0 + 100, 0.0));
    QVERIFY(std::isnan(second.avgThroughput));
}

void TestSeries::relativeTimeWrapsBeyond35Minutes()
{
    CxCameraLineData line;
    line.samplePeriod = 1000;
    line.cameraBufferSize = 1000;
    line.frameTimeAvg = 10.0;
    const qint64 end = kT0 + 2200LL * 1000000; // 2200 s after the frame
    addFrame(line, 1, kT0, {0, 250, 500});
    const QCPRange range(-2300.0, 0.0);
    QVERIFY(line.calculateGraphsThrougput(m_min, nullptr, &range, kT0 - 100, end, 0.0));
    const QList<SxPoint> mins = points(m_min);
    QCOMPARE(mins.size(), 1);
    // -2200 s does not fit 32 bits and lands near +2095 s.
    const double expected = double(qint32(quint32(quint64(kT0 + 2) - quint64(end)))) / 1e6;
    QCOMPARE(mins[0].x, expected);
    QVERIFY(mins[0].x > 2000.0);
}

void TestSeries::clearDataEmptiesBothStores()
{
    CxCameraLineData line;
    line.clearData(); // on an empty line: nothing to free
    fillKnownStore(line);
    addRecord(line, kT0, 0);
    line.clearData();
    QVERIFY(line.frames.isEmpty() && line.counterSamples.isEmpty());
}

void TestSeries::acquisitionPointsAndTheirMargin()
{
    CxCameraLineData line;
    line.measureMode = MeasureModeStandardAcquisition;
    QCPGraph* graphs[5];
    for (QCPGraph*& graph : graphs)
        graph = m_plot->addGraph();
    const QCPRange range(-10.0, 1.0);
    QVERIFY(!line.calculateGraphsAcquisition(graphs[0], graphs[1], graphs[2], graphs[3], graphs[4], &range, 0,
                                             10, 0.0));
    line.frameTimeAvg = 1000.0;
    for (int i = 0; i < 6; ++i)
        addRecord(line, kT0 + i * 1000, i * 10);
    // One point per 1.5 ms at most; the first record is never drawn.
    QVERIFY(line.calculateGraphsAcquisition(graphs[0], nullptr, graphs[2], graphs[3], graphs[4], &range, kT0,
                                            kT0 + 5000, 1.5));
    const QList<SxPoint> skips = points(graphs[0]);
    QCOMPARE(skips.size(), 2);
    QVERIFY(qFuzzyCompare(skips[0].x, 1.0 - 0.003));
    QCOMPARE(skips[0].y, 20.0);
    QVERIFY(qFuzzyCompare(skips[1].x, 1.0 - 0.001));
    QCOMPARE(skips[1].y, 40.0);
    QCOMPARE(points(graphs[2]).at(1).y, 43.0);
    QCOMPARE(points(graphs[3]).at(1).y, 44.0);
    QCOMPARE(points(graphs[4]).at(1).y, 45.0);
    QCOMPARE(graphs[1]->dataCount(), 0);
    // True even when nothing is drawn.
    QVERIFY(line.calculateGraphsAcquisition(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            kT0 + 900000, kT0 + 900001, 0.0));

    // The margin is ten average intervals: 10 x 150.7 us exceeds the 1 us span, so records
    // within 150 x 10 = 1500 us of [T0 + 3000, T0 + 3001] are taken: 2, 3 and 4 ms; the
    // first only starts the line.
    line.frameTimeAvg = 150.7;
    graphs[0]->data()->clear();
    QVERIFY(line.calculateGraphsAcquisition(graphs[0], nullptr, nullptr, nullptr, nullptr, &range, kT0 + 3000,
                                            kT0 + 3001, 0.0));
    QCOMPARE(graphs[0]->dataCount(), 2);
    QCOMPARE(points(graphs[0]).at(0).y, 30.0);
    QCOMPARE(points(graphs[0]).at(1).y, 40.0);
}

void TestSeries::csvRows_data()
{
    QTest::addColumn<QVector<quint64>>("frame"); // frame 4's samples at T0; none: the known store
    QTest::addColumn<qint64>("from");            // exported from T0 + from to T0 + to
    QTest::addColumn<qint64>("to");
    QTest::addColumn<QByteArray>("rows");
    QTest::newRow("fill carried across frames") << QVector<quint64>() << qint64(-100) << qint64(2000)
                                                << QByteArray("7,1,1000,4001000,500,1000,0,0\n"
                                                              "7,5,1000,4005000,500,250,1000,100\n"
                                                              "7,15,1000,4015000,500,100,1000,100\n"
                                                              "7,16,1000,4016000,500,1000,500,50\n"
                                                              "8,2,1000,8002000,500,500,500,50\n"
                                                              "8,4,1000,8004000,500,500,500,50\n");
    // Rows before T0 + 10 are skipped, but the interval of the next row starts at the skipped
    // sample; the fill starts at 0 with the first exported row.
    QTest::newRow("from T0 + 10 us") << QVector<quint64>() << qint64(10) << qint64(15)
                                     << QByteArray("7,15,1000,4015000,500,100,1000,100\n");
    QTest::newRow("after the last frame")
        << QVector<quint64>() << qint64(50000) << qint64(60000) << QByteArray();
    QTest::newRow("a frame of one sample")
        << QVector<quint64>{123} << qint64(-100) << qint64(100) << QByteArray();
    // Intervals of 250 ticks on both sides of one 2^20 ticks longer, each with its own speed.
    QTest::newRow("speeds per interval, inf and nan")
        << QVector<quint64>{0, 250, 1049076, 1049326, 1049326} << qint64(-100) << qint64(5000)
        << QByteArray("4,1,1000,1000,500,1000,0,0\n"
                      "4,4196,1000,4196304,500,0.238362,1000,100\n"
                      "4,4197,1000,4197304,500,1000,500,50\n"
                      "4,4197,1000,4197304,500,inf,nan,nan\n");
}

void TestSeries::csvRows()
{
    QFETCH(QVector<quint64>, frame);
    QFETCH(qint64, from);
    QFETCH(qint64, to);
    QFETCH(QByteArray, rows);
    CxCameraLineData line;
    if (frame.isEmpty()) {
        fillKnownStore(line);
    } else {
        setKnownSettings(line);
        addFrame(line, 4, kT0, frame);
    }
    const QString path = m_dir.filePath(QStringLiteral("report.csv"));
    line.exportDataToFile(path, nullptr, kT0 + from, kT0 + to);
    QCOMPARE(readFile(path), kHeader + rows);
}

void TestSeries::csvClosingTheDialogCancels()
{
    CxCameraLineData line;
    line.cameraName = QStringLiteral("right");
    fillKnownStore(line);
    QWidget parent;
    QString label;
    QString title;
    int maximum = -1;
    bool cancelVisible = true;
    const QString path = m_dir.filePath(QStringLiteral("cancel.csv"));
    const auto exportClosingAtOnce = [&](qint64 from, qint64 to) {
        QTimer::singleShot(0, this, [&] {
            auto* dialog = parent.findChild<QProgressDialog*>();
            if (!dialog)
                return;
            label = dialog->labelText();
            title = dialog->windowTitle();
            maximum = dialog->maximum();
            cancelVisible = dialog->findChild<QPushButton*>()->isVisible();
            dialog->close();
        });
        line.exportDataToFile(path, &parent, kT0 + from, kT0 + to);
    };
    // Frame 8 starts 150 us before a span of 200 us: more than half the span, so it is not
    // counted in the progress.
    exportClosingAtOnce(1150, 1350);
    QCOMPARE(maximum, 0);
    exportClosingAtOnce(-100, 2000);
    QCOMPARE(label, QStringLiteral("Exporting right data"));
    QCOMPARE(title, QStringLiteral("Data throughput monitor"));
    QCOMPARE(maximum, 2);
    QVERIFY(!cancelVisible);
    QCOMPARE(readFile(path), kHeader);
    QCOMPARE(parent.findChild<QProgressDialog*>(), nullptr); // gone with the call
}

void TestSeries::csvOfARunningStoreKeepsTheFramesItReads()
{
    CxSimCameraConfig config = camera("running", 400.0, 1024, 1024);
    config.pacing = ExPacing::Replay;
    config.replayFrames = 2;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QVERIFY(line->startMeasurement(4096, 2560)); // ten frames: the store turns over with each new one
    QTRY_VERIFY_WITH_TIMEOUT(sim(hCam)->capturesDelivered() >= 20, 30000);
    // Waits in the export's progress dialog until the store has dropped twenty frames more.
    QWidget parent;
    int retiredDuringExport = -1;
    QTimer::singleShot(0, this, [&] {
        const quint64 target = sim(hCam)->capturesDelivered() + 20;
        QElapsedTimer waited;
        waited.start();
        while (sim(hCam)->capturesDelivered() < target && waited.elapsed() < 30000)
            QThread::msleep(2);
        QMutexLocker lock(&line->dataMutex);
        retiredDuringExport = int(line->retiredFrames.size());
        if (auto* dialog = parent.findChild<QProgressDialog*>())
            dialog->close();
    });
    const long long newest = newestTimestamp(line.get());
    line->exportDataToFile(m_dir.filePath(QStringLiteral("running.csv")), &parent, newest - 10000, newest);
    QVERIFY(line->stopMeasurement());
    // Kept while the export ran, freed once it ended.
    QVERIFY2(retiredDuringExport >= 10, qPrintable(QString::number(retiredDuringExport)));
    QVERIFY(line->retiredFrames.isEmpty());
}

void TestSeries::csvWritesNothingInAcquisitionModeOrForAnUnopenableFile()
{
    CxCameraLineData line;
    fillKnownStore(line);
    line.measureMode = MeasureModeStandardAcquisition;
    const QString path = m_dir.filePath(QStringLiteral("acquisition.csv"));
    line.exportDataToFile(path, nullptr, kT0 - 100, kT0 + 2000);
    QVERIFY(!QFile::exists(path));

    line.measureMode = MeasureModeDataThroughput;
    line.exportDataToFile(m_dir.filePath(QStringLiteral("no/such/dir/x.csv")), nullptr, kT0 - 100,
                          kT0 + 2000);
    for (QWidget* widget : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<QMessageBox*>(widget) || !widget->isVisible());

    // A full disk cuts the report short: logged, and shown where there is a window.
    CxCriticalLog log;
    line.exportDataToFile(QStringLiteral("/dev/full"), nullptr, kT0 - 100, kT0 + 2000);
    QVERIFY(log.contains(741, QStringLiteral("/dev/full")));
    QWidget window;
    QString shown;
    QTimer answer;
    connect(&answer, &QTimer::timeout, [&shown]() {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            shown = box->text();
            box->done(QMessageBox::Ok);
        }
    });
    answer.start(10);
    line.exportDataToFile(m_dir.filePath(QStringLiteral("no/such/dir/x.csv")), &window, kT0 - 100,
                          kT0 + 2000);
    QVERIFY2(shown.startsWith(QStringLiteral("The report could not be written to ")), qPrintable(shown));
}

void TestSeries::csvNumbersAreWrittenAsQtWritesThem()
{
    // Values the fast rounding must hand to the exact path: ties at the sixth digit (which Qt
    // rounds away from zero, to_chars to even), one with zeros after its 5, and their
    // neighbours, carries into a new decade, both ends of the fixed notation, zeros,
    // extremes, inf and nan.
    std::vector<double> values = {
        1.953125,       -1.953125,      1234565.0,  0.5,        2.5e-5,   999999.5, 9999995.0,
        999999.4999999, 0.000099999951, 0.0001,     1e-5,       123456.0, 1e6,      0.0,
        -0.0,           5e-324,         DBL_MAX,    -DBL_MAX,   1e20,     1e-15,    HUGE_VAL,
        -HUGE_VAL,      std::nan(""),   12345650.0, -12345650.0};
    for (const double tie : {1.953125, 1234565.0, 999999.5, 9999995.0, 0.0001220703125, 12345650.0})
        for (const double neighbour : {std::nextafter(tie, 0.0), std::nextafter(tie, HUGE_VAL)})
            values.push_back(neighbour);
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> exponent(-22.0, 24.0);
    for (int i = 0; i < 200000; ++i)
        values.push_back((i % 3 ? 1 : -1) * std::pow(10.0, exponent(random)));
    // Speeds and levels as a measurement makes them: bytes over whole ticks.
    for (quint64 ticks = 1; ticks < 20000; ++ticks)
        values.push_back(4096.0 / (double(ticks) / 250.0));
    for (const double value : values) {
        char text[40];
        const QByteArray written(text, int(formatReportNumber(value, text) - text));
        QCOMPARE(written, QString::number(value, 'g', 6).toLatin1());
    }
}

void TestSeries::measuredDipShowsInTheMinimumSeries()
{
    CxSimCameraConfig config = camera("dip", 400.0, 1024, 1024);
    config.link.dips.append({100.0, 2.0, 150.0, 30.0}); // 2 ms at 150 MB/s every 100 ms from 30 ms on
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->autoTransport = false;
    line->requiredThroughput = 380;
    QVERIFY(line->startMeasurement(4096, 3000000));
    QTRY_VERIFY_WITH_TIMEOUT(sim(hCam)->capturesDelivered() >= 120, 30000); // about 630 ms of link time
    QVERIFY(line->stopMeasurement());

    // The first frame left at camera time 0, so its time stamp is the run's reference.
    const qint64 reference = line->frames.first()->timestamp;
    const qint64 start = reference;
    const qint64 end = line->frames.last()->timestamp + 5000;
    const QCPRange range(-double(end - start) / 1e6, 0.0);
    QVERIFY(line->calculateGraphsThrougput(m_min, m_level, &range, start, end, 0.05));
    int dipPoints = 0;
    for (const SxPoint& point : points(m_min)) {
        const double cameraMs = ((point.x - range.upper) * 1e6 + double(end - reference)) / 1000.0;
        const double phase = cameraMs < 30.0 ? 50.0 : std::fmod(cameraMs - 30.0, 100.0);
        if (phase > 0.2 && phase < 1.9) {
            QVERIFY2(std::fabs(point.y - 150.0) < 1.5,
                     qPrintable(QStringLiteral("%1 ms: %2").arg(cameraMs).arg(point.y)));
            ++dipPoints;
        } else if (phase > 2.3 && phase < 99.8) {
            QVERIFY2(std::fabs(point.y - 400.0) < 4.0,
                     qPrintable(QStringLiteral("%1 ms: %2").arg(cameraMs).arg(point.y)));
        }
    }
    QVERIFY2(dipPoints >= 60,
             qPrintable(QString::number(dipPoints))); // six dips, 1.7 ms each at 50 us a point
    QVERIFY(std::fabs(line->minThroughput - 150.0) < 1.5);
    // Short dips barely move the average away from the base rate.
    QVERIFY2(std::fabs(line->avgThroughput - 400.0) / 400.0 < 0.015,
             qPrintable(QString::number(line->avgThroughput)));
    // 380 MB/s required against 150 MB/s for 2 ms fills about 460 kB of the default 64 MiB buffer.
    QVERIFY(line->maxBufferLevel > 0.5 && line->maxBufferLevel < 1.0);
    QCOMPARE(line->bufferOverflowCount, quint64(0));
}

QTEST_MAIN(TestSeries)
#include "tst_series.moc"
