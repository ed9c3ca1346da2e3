// The whole-run history: fed a day of frames it keeps the run's true extremes and averages,
// loses nothing while the store turns over, finds dips, stalls and overflows where they are,
// states what they prove, and the panel draws it before the store without a wrap.

#include "DataGraphForm.h"
#include "EngineTestSupport.h"
#include "HistoryPlot.h"
#include "PanelTestSupport.h"
#include "SampleModel.h"
#include "WallClock.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>
#include <array>
#include <random>
#include <vector>

using namespace enginetest;
using namespace simtest;
using namespace paneltest;

namespace {

constexpr quint32 kPeriod = 1 << 20; // 1 MiB between samples keeps a day to 3e7 steps
constexpr int kSteps = 100;

// The run history window's summary of the run, as HTML.
QString summaryOf(const QWidget* window)
{
    return window->findChild<QLabel*>(QStringLiteral("summary"))->text();
}

// Noon on the panel's clock, which runs from midnight and follows the time of day only while
// a camera measures: a test run just after midnight draws the same.
constexpr qint64 kNoonUs = 43200LL * 1000000;

// Ticks for one sample period at `rate` MB/s.
quint64 ticksAt(double rate)
{
    return quint64(double(kPeriod) / rate * kTicksPerUs);
}

// A frame of `steps` + 1 samples from `tick`, at `rate` except for steps (slowFrom, slowTo]
// at `slowRate`.
std::vector<quint64> frame(quint64 tick, double rate, int slowFrom = 0, int slowTo = 0, double slowRate = 0.0,
                           int steps = kSteps)
{
    std::vector<quint64> samples(size_t(steps) + 1);
    samples[0] = tick;
    for (int i = 1; i <= steps; ++i)
        samples[size_t(i)] = samples[size_t(i) - 1] + ticksAt(i > slowFrom && i <= slowTo ? slowRate : rate);
    return samples;
}

// The history's run log as a line is written now, read back; empty, or why it failed.
QString logAndReadBack(CxRunHistory& history, const QString& path, const QString& camera,
                       CxRunHistory::SxTotals* read, QVector<CxRunHistory::SxEvent>* back, QString* name)
{
    if (!history.openLog(path, camera))
        return QStringLiteral("%1 cannot be written").arg(path);
    history.writeLogLine();
    history.openLog(QString(), QString());
    QString error;
    return CxRunHistory::readLog(path, read, back, name, &error) ? QString() : error;
}

} // namespace

class TestHistory : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeAll(); }

    void aDayOfFramesIsKeptExactlyInBoundedMemory();
    void eventsAreFoundWithTheirStartDurationAndDepth();
    void nothingEscapesAStoreThatTurnsOver();
    void verdictShowsItsArithmetic();
    void verdictWordIsEarned_data();
    void verdictWordIsEarned();
    void whatArrivedIsCountedOnTheHostsClock();
    void eventsGoingOnAreLoggedAndShownAsFarAsTheyGot();
    void aRunAcrossMidnightKeepsCounting();
    void panelDrawsTheHistoryBeforeTheStoreWithoutAWrap();
    void runHistoryWindowShowsTheRunZoomsAndReadsItsLog();
};

void TestHistory::aDayOfFramesIsKeptExactlyInBoundedMemory()
{
    CxRunHistory history;
    const qint32 required = 300;
    const qint32 buffer = 64 << 20;
    history.begin(false, kPeriod, required, buffer);
    const qint64 fixedBytes = history.memoryBytes();
    // The walk every frame fed is checked against, in the engine's own arithmetic.
    double lowest = 1e300;
    double highest = 0.0;
    quint64 overflows = 0;
    double bytes = 0.0;
    double linkUs = 0.0;
    quint64 tick = 1000;
    qint64 timestamp = 0;
    quint32 number = 0;
    std::mt19937 random(7);
    const auto feed = [&](const std::vector<quint64>& samples) {
        history.addFrame(number++, timestamp, samples.data(), samples.size());
        double fill = 0.0;
        bool overflow = false;
        for (size_t i = 1; i < samples.size(); ++i) {
            const SxSampleStep step = sampleStep(samples.data(), i, double(kPeriod));
            lowest = std::min(lowest, step.speed);
            highest = std::max(highest,
                               modelBufferLevel(fill, step.dtUs * (required - step.speed), buffer, overflow));
        }
        overflows += overflow ? 1 : 0;
        bytes += double(kPeriod) * kSteps;
        linkUs += double(samples.back() - samples.front()) / kTicksPerUs;
        timestamp += qint64((samples.back() - samples.front()) / 250u) + 1;
        tick = samples.back() + ticksAt(400.0);
    };
    while (timestamp < 86400LL * 1000000) {
        // Now and then a dip of a few steps, deep enough to overflow the buffer at times.
        const bool dip = random() % 5000 == 0;
        feed(dip ? frame(tick, 400.0, 10, 10 + int(random() % 80), 20.0 + double(random() % 200))
                 : frame(tick, 400.0));
    }
    // The run's deepest dip in its very last step: only the end of the run files it.
    feed(frame(tick, 400.0, kSteps - 1, kSteps, 10.0));
    history.finish();
    const CxRunHistory::SxTotals totals = history.totals();
    QCOMPARE(totals.frames, quint64(number));
    QCOMPARE(totals.lowestSpeed, lowest);
    QCOMPARE(totals.highestLevel, highest);
    QCOMPARE(totals.overflows, overflows);
    QVERIFY(overflows > 0 && lowest < 50.0);
    QCOMPARE(totals.linkAverage(), bytes / linkUs);
    QVERIFY(totals.durationUs >= 86400LL * 1000000 - 1000000);
    // Every dip's minimum is in its 1 s bucket: the buckets' lowest is the run's.
    QVector<qint64> starts;
    QVector<CxRunHistory::SxBucket> buckets;
    QCOMPARE(history.buckets(0, totals.durationUs + 1, &starts, &buckets), CxRunHistory::kCoarseUs);
    QVERIFY(buckets.size() >= 86400);
    float bucketLowest = 3e38f;
    for (const CxRunHistory::SxBucket& bucket : std::as_const(buckets))
        bucketLowest = std::min(bucketLowest, bucket.minSpeed);
    QCOMPARE(bucketLowest, float(lowest));
    // 2 MB a day on top of the 1.7 MB of the last ten minutes, grown an hour at a time rather
    // than doubled.
    QVERIFY2(fixedBytes <= 1700 * 1000 && history.memoryBytes() - fixedBytes <= 2 * 1000 * 1000,
             qPrintable(QStringLiteral("%1 + %2").arg(fixedBytes).arg(history.memoryBytes() - fixedBytes)));
}

void TestHistory::eventsAreFoundWithTheirStartDurationAndDepth()
{
    CxRunHistory history;
    history.begin(false, kPeriod, 300, 64 << 20);
    const quint64 step = ticksAt(400.0);
    // Frame 0: a dip to 50 MB/s over steps 21..30. Frame 1 follows after a stall of 40 ms.
    // Frame 2 is slow throughout: its 64 MiB buffer runs full. Frame 3 overflows too.
    const std::vector<quint64> f0 = frame(0, 400.0, 20, 30, 50.0);
    const std::vector<quint64> f1 = frame(f0.back() + 40000 * 250, 400.0);
    const std::vector<quint64> f2 = frame(f1.back() + step, 100.0);
    const std::vector<quint64> f3 = frame(f2.back() + ticksAt(100.0), 100.0);
    const std::vector<quint64> f4 = frame(f3.back() + step, 400.0);
    quint32 number = 0;
    for (const std::vector<quint64>* f : {&f0, &f1, &f2, &f3, &f4})
        history.addFrame(number++, qint64((*f)[0] / 250), f->data(), f->size());
    history.finish();
    const QVector<CxRunHistory::SxEvent> events = history.events();
    QCOMPARE(events.size(), 4);

    QCOMPARE(events[0].kind, CxRunHistory::EventDip);
    QVERIFY(qAbs(events[0].startUs - qint64(20 * step / 250)) <= 1);
    QVERIFY(qAbs(events[0].durationUs - qint64(10 * ticksAt(50.0) / 250)) <= 1);
    QVERIFY(qAbs(events[0].depth - 50.0) < 0.01);
    // The stall between frames: about one sample period in 40 ms.
    QCOMPARE(events[1].kind, CxRunHistory::EventDip);
    QVERIFY(qAbs(events[1].startUs - qint64(f0.back() / 250)) <= 1);
    QVERIFY(qAbs(events[1].durationUs - 40000) <= 2);
    QVERIFY(qAbs(events[1].depth - double(kPeriod) / 40000.0) < 0.01);
    // The slow frames: a dip across both, and one overflow event of two frames.
    QCOMPARE(events[2].kind, CxRunHistory::EventOverflow);
    QCOMPARE(events[2].count, quint64(2));
    QCOMPARE(events[3].kind, CxRunHistory::EventDip);
    QVERIFY(qAbs(events[3].depth - 100.0) < 0.01);
    QVERIFY(qAbs(events[3].durationUs - qint64((f3.back() - f2[0]) / 250)) <= 2);
    // Each keeps the samples around its start and its event: a dip whole, though it ended a
    // frame later.
    const std::vector<CxRunHistory::SxSnapshot> kept = history.snapshots(0, LLONG_MAX);
    QCOMPARE(kept.size(), size_t(4));
    for (const CxRunHistory::SxSnapshot& snapshot : kept)
        QVERIFY(std::any_of(events.cbegin(), events.cend(), [&snapshot](const CxRunHistory::SxEvent& event) {
            return snapshot.event.kind == event.kind && snapshot.event.startUs == event.startUs &&
                   (event.kind != CxRunHistory::EventDip || snapshot.event.durationUs == event.durationUs);
        }));
    // Asked for a span, the history leaves out a snapshot that ended before it.
    auto endOf = [](const CxRunHistory::SxSnapshot& snapshot) {
        return snapshot.firstUs + qint64((snapshot.samples.back() - snapshot.samples.front()) / 250);
    };
    for (const CxRunHistory::SxSnapshot& snapshot : kept) {
        const std::vector<CxRunHistory::SxSnapshot> after =
            history.snapshots(endOf(snapshot) + 1, endOf(snapshot) + 2);
        QVERIFY(std::none_of(after.cbegin(), after.cend(), [&](const CxRunHistory::SxSnapshot& found) {
            return found.firstUs == snapshot.firstUs && endOf(found) == endOf(snapshot);
        }));
    }
    QCOMPARE(history.totals().overflows, quint64(2));
    // Drawn, the snapshots lie on the history's lines sample by sample: the dip at its time
    // and depth, the buffer full in the slow frames, and a gap before each snapshot.
    QCustomPlot plot;
    CxHistoryPlot::SxView view;
    view.fromUs = history.totals().startOfDayUs;
    view.toUs = view.storedFromUs = view.fromUs + 10LL * 1000000;
    view.pixels = 1000;
    QVERIFY(CxHistoryPlot::drawThroughput(&plot, plot.axisRect(), history, view, Qt::blue, Qt::red));
    QCOMPARE(plot.graphCount(), 4);
    // At 10 ms a pixel, each 10 ms bucket is a point of its own.
    QVector<qint64> bucketStarts;
    QVector<CxRunHistory::SxBucket> tenMs;
    QCOMPARE(history.buckets(0, 10LL * 1000000, &bucketStarts, &tenMs), CxRunHistory::kFineUs);
    QCOMPARE(plot.graph(0)->dataCount(), bucketStarts.size());
    QCOMPARE(plot.graph(1)->dataCount(), bucketStarts.size());
    const QCPGraph* minSamples = plot.graph(2);
    const double dipEnd = double(events[0].startUs + qint64(ticksAt(50.0) / 250) - 10LL * 1000000) / 1e6;
    const auto dip = minSamples->data()->findBegin(dipEnd - 1e-4, false);
    QVERIFY(dip != minSamples->data()->constEnd() && qAbs(dip->key - dipEnd) < 1e-4 &&
            qAbs(dip->value - 50.0) < 0.01);
    QCOMPARE(minSamples->valueAxis(), plot.axisRect()->axis(QCPAxis::atLeft));
    QCOMPARE(std::count_if(minSamples->data()->constBegin(), minSamples->data()->constEnd(),
                           [](const QCPGraphData& point) { return qIsNaN(point.value); }),
             4);
    int steps = 0;
    for (const CxRunHistory::SxSnapshot& snapshot : kept)
        steps += int(snapshot.samples.size()) - 1;
    QCOMPARE(minSamples->dataCount(), steps + 4); // every step of every snapshot
    QCOMPARE(plot.graph(3)->dataCount(), steps + 4);
    bool ok = false;
    QCOMPARE(plot.graph(3)->getValueRange(ok).upper, 100.0);
    QCOMPARE(plot.graph(3)->valueAxis(), plot.axisRect()->axis(QCPAxis::atRight));

    // A dip still going on when the run ends is an event of its own.
    history.begin(false, kPeriod, 300, 64 << 20);
    history.addFrame(0, 0, f2.data(), f2.size());
    // Its last 10 ms, still filling, are in the buckets already; nothing of the last run's is.
    history.buckets(0, history.totals().durationUs + 1, &bucketStarts, &tenMs);
    QVERIFY(std::is_sorted(bucketStarts.cbegin(), bucketStarts.cend()) &&
            tenMs.size() == bucketStarts.size());
    QCOMPARE(bucketStarts.value(bucketStarts.size() - 1, -1),
             history.totals().durationUs / CxRunHistory::kFineUs * CxRunHistory::kFineUs);
    QCOMPARE(history.totals().events, quint64(1)); // the overflow; the dip still goes on
    QCOMPARE(history.events().size(), 2);          // but is shown as far as it got
    history.finish();
    QCOMPARE(history.totals().events, quint64(2));
    // The next run's first overflow is its own, though the last one ended overflowing.
    history.begin(false, kPeriod, 300, 64 << 20);
    history.addFrame(1, 0, f2.data(), f2.size());
    QCOMPARE(history.totals().events, quint64(1));

    // Deep in a long frame, a dip keeps as many samples before its start as after.
    history.begin(false, kPeriod, 300, 64 << 20);
    const std::vector<quint64> longFrame = frame(0, 400.0, 5000, 5010, 50.0, 10000);
    history.addFrame(0, 0, longFrame.data(), longFrame.size());
    history.finish();
    const std::vector<CxRunHistory::SxSnapshot> around = history.snapshots(0, LLONG_MAX);
    QCOMPARE(around.size(), size_t(1));
    QCOMPARE(around[0].samples.size(), size_t(CxRunHistory::kSnapshotSamples));
    QCOMPARE(around[0].samples.front(), longFrame[5001 - CxRunHistory::kSnapshotSamples / 2]);
    // Near a frame's start, it keeps the frame's first sample.
    history.begin(false, kPeriod, 300, 64 << 20);
    const std::vector<quint64> early = frame(0, 400.0, 10, 20, 50.0, 10000);
    history.addFrame(0, 0, early.data(), early.size());
    history.finish();
    QCOMPARE(history.snapshots(0, LLONG_MAX).at(0).samples.front(), early[0]);

    // Of 200 dips, 1 to 200 MB/s deep, the 128 worst keep their samples.
    history.begin(false, kPeriod, 0, 64 << 20, 300.0);
    quint64 tick = 0;
    for (int i = 0; i < 200; ++i) {
        const std::vector<quint64> f = frame(tick, 400.0, 50, 51, 200.0 - i);
        history.addFrame(quint32(2 * i), qint64(tick / 250), f.data(), f.size());
        tick = f.back() + ticksAt(400.0);
    }
    history.finish();
    QCOMPARE(history.events().size(), 200);
    const std::vector<CxRunHistory::SxSnapshot> worst = history.snapshots(0, LLONG_MAX);
    QCOMPARE(worst.size(), size_t(CxRunHistory::kMaxSnapshots));
    for (const CxRunHistory::SxSnapshot& snapshot : worst)
        QVERIFY(snapshot.event.depth < 128.5);

    // Counters: each increase is an event of its counter, and lands in its buckets, fine for
    // the last ten minutes and by the second for the whole run.
    history.begin(true, kPeriod, 300, 8 << 20);
    const qint32 first[5] = {0, 0, 0, 0, 0};
    const qint32 second[5] = {0, 3, 0, 0, 1};
    const qint32 later[5] = {2, 3, 0, 0, 1};
    history.addCounters(0, 1000, first);
    history.addCounters(1, 2000, second);
    history.addCounters(2, 1000 + 3600LL * 1000000, later);
    QVector<qint64> starts;
    QVector<CxRunHistory::SxCounterBucket> increases;
    QCOMPARE(history.buckets(0, 3601LL * 1000000, &starts, nullptr, &increases), CxRunHistory::kCoarseUs);
    QCOMPARE(starts.size(), 3601);
    QCOMPARE(history.buckets(0, 10LL * 1000000, &starts, nullptr, &increases), CxRunHistory::kCoarseUs);
    QCOMPARE(starts.size(), 10); // as far as asked, not to the end of the run
    history.buckets(0, 3601LL * 1000000, &starts, nullptr, &increases);
    QCOMPARE(increases.first().increase[1], 3u);
    QCOMPARE(increases.last().increase[0], 2u);
    QCOMPARE(history.buckets(3600LL * 1000000, 3601LL * 1000000, &starts, nullptr, &increases),
             CxRunHistory::kFineUs);
    QCOMPARE(starts, QVector<qint64>({3600LL * 1000000}));
    QCOMPARE(increases.first().increase[0], 2u);
    const QVector<CxRunHistory::SxEvent> counters = history.events();
    QCOMPARE(counters.size(), 3);
    QCOMPARE(counters[0].counter, qint8(1));
    QCOMPARE(counters[0].count, quint64(3));
    QCOMPARE(counters[1].counter, qint8(4));
    QCOMPARE(counters[1].startUs, qint64(1000));
    // Each keeps the records that led up to it.
    const std::vector<CxRunHistory::SxSnapshot> records = history.snapshots(0, LLONG_MAX);
    QCOMPARE(records.size(), size_t(3));
    QCOMPARE(records[0].records.size(), size_t(2));
    QCOMPARE(records[0].records.back().counters[1], 3);
    // The run log gives them back as they were.
    QTemporaryDir dir;
    const QString log = dir.filePath(QStringLiteral("counters.log.csv"));
    CxRunHistory::SxTotals read;
    QVector<CxRunHistory::SxEvent> back;
    QString name;
    const QString failed =
        logAndReadBack(history, log, QStringLiteral("Counting camera"), &read, &back, &name);
    QVERIFY2(failed.isEmpty(), qPrintable(failed));
    QCOMPARE(name, QStringLiteral("Counting camera"));
    QCOMPARE(back.size(), counters.size());
    for (int i = 0; i < back.size(); ++i) {
        QCOMPARE(back[i].kind, counters[i].kind);
        QCOMPARE(back[i].counter, counters[i].counter);
        QCOMPARE(back[i].startUs, counters[i].startUs);
        QCOMPARE(back[i].count, counters[i].count);
    }
    QCOMPARE(read.counterIncrease[1], quint64(3));
    QFile written(log);
    QVERIFY(written.open(QIODevice::ReadOnly));
    // As a spreadsheet reads it: a line for the second, counts as whole numbers, then the events.
    QVERIFY(written.readAll().contains(
        "\nsecond,3600.000,3,0,0.000,0.000,0.000000,0.000,0.000000,0,2,3,0,0,1,0.000,0,0,"
        "0.000,0.000,0,0.000,,,,,,,,,,,,3\nevent,0.001000,0.000000,API skip,3,3\n"));
    // Drawn with two of the counters: each one's count, and its records around every event;
    // nothing of the others.
    CxHistoryPlot::clear(&plot);
    view.fromUs = history.totals().startOfDayUs;
    view.toUs = view.storedFromUs = view.fromUs + 3601LL * 1000000;
    view.pixels = 1000;
    const QColor colors[CxRunHistory::kCounters] = {Qt::red, Qt::green};
    QVERIFY(CxHistoryPlot::drawCounters(&plot, plot.axisRect(), history, view, colors));
    QCOMPARE(plot.graphCount(), 2 + 2 * 3);
    QCOMPARE(plot.graph(1)->data()->begin()->key, -3600.0); // the end of the run's first second
    QCOMPARE(plot.graph(0)->dataCount(), plot.graph(1)->dataCount());
    QCOMPARE((plot.graph(1)->data()->end() - 1)->value, 3.0);
    for (int i = 0; i < 2 * 3; ++i) // the records of a snapshot, one counter a graph
        QCOMPARE(plot.graph(2 + i)->dataCount(), int(records[size_t(i / 2)].records.size()));
    CxHistoryPlot::clear(&plot);
    QCOMPARE(plot.graphCount() + plot.itemCount(), 0);
    // The window sums up each counter's increase.
    CxRunHistoryDlg window(QStringLiteral("Counting camera"), &history);
    QVERIFY(summaryOf(&window).contains(QStringLiteral("<td>API skip</td><td>&nbsp;&nbsp;3</td>")));
    // A new run's first record is its baseline, not an increase over the last run's. Started
    // before midnight, its first frame came 500.999 ms after it: shown as the whole milliseconds
    // gone, 00:00:00.500.
    history.begin(true, kPeriod, 300, 8 << 20);
    const qint32 resumed[5] = {5, 5, 0, 0, 1};
    history.addCounters(0, 86400500999LL, resumed);
    QCOMPARE(history.totals().counterIncrease[0], quint64(0));
    QCOMPARE(history.totals().firstCounters[0], 5);
    history.addCounters(1, 86400500999LL + 3601LL * 1000000, resumed);
    history.buckets(0, 10LL * 1000000, &starts, nullptr, &increases);
    QCOMPARE(increases.value(0).increase[1], 0u); // nothing of the last run's 3
    QMetaObject::invokeMethod(&window, "refresh");
    QVERIFY(summaryOf(&window).contains(QStringLiteral("00:00:00.500")));
    // A counter rising with every frame: the memory the history reports holds the records of
    // all 128 snapshots it keeps, and of its events it lists the first 100000, counting all.
    history.begin(true, kPeriod, 300, 8 << 20);
    const qint64 empty = history.memoryBytes();
    qint32 rising[5] = {};
    for (int i = 0; i <= CxRunHistory::kMaxEvents + 1; ++i) {
        rising[0] = i;
        history.addCounters(quint32(i), 1000LL * i, rising);
    }
    QVERIFY(history.memoryBytes() - empty >=
            qint64(CxRunHistory::kMaxSnapshots) * CxRunHistory::kSnapshotRecords *
                    qint64(sizeof(CxRunHistory::SxCounterRecord)) +
                qint64(CxRunHistory::kMaxEvents) * qint64(sizeof(CxRunHistory::SxEvent)));
    // A jump of 50 is worse than any single step: it takes the place of the oldest of their
    // snapshots.
    const qint64 oldest = history.snapshots(0, LLONG_MAX).front().event.startUs;
    rising[0] += 50;
    history.addCounters(quint32(CxRunHistory::kMaxEvents + 2), 1000LL * (CxRunHistory::kMaxEvents + 2),
                        rising);
    const std::vector<CxRunHistory::SxSnapshot> afterJump = history.snapshots(0, LLONG_MAX);
    QCOMPARE(afterJump.size(), size_t(CxRunHistory::kMaxSnapshots));
    QVERIFY(afterJump.front().event.startUs > oldest);
    QCOMPARE(afterJump.back().event.count, quint64(50));
    QCOMPARE(history.events().size(), CxRunHistory::kMaxEvents);
    QMetaObject::invokeMethod(&window, "refresh");
    QVERIFY(summaryOf(&window).contains(QStringLiteral("100002 (100000 of them listed: the worst)")));
    // The window names the first counter too.
    QCOMPARE(window.findChild<QTableWidget*>(QStringLiteral("events"))->item(0, 2)->text(),
             QStringLiteral("Transport skip"));
}

void TestHistory::nothingEscapesAStoreThatTurnsOver()
{
    KSCORE_HANDLE hCam = open(camera(QStringLiteral("turnover"), 2000.0, 256, 64));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QTemporaryDir dir;
    line->runLogPath = dir.filePath(QStringLiteral("turnover.log.csv"));
    // A store of two frames' samples turns over with every other frame.
    QVERIFY(line->startMeasurement(1024, 128));
    QTRY_VERIFY_WITH_TIMEOUT(line->history.totals().frames >= 2000, 20000);
    QVERIFY(line->stopMeasurement());
    const CxRunHistory::SxTotals totals = line->history.totals();
    QCOMPARE(totals.frames, sim(hCam)->capturesDelivered());
    // The run log's last line, written at the stop, holds the whole run.
    CxRunHistory::SxTotals logged;
    QVector<CxRunHistory::SxEvent> events;
    QString name;
    QString error;
    QVERIFY2(CxRunHistory::readLog(line->runLogPath, &logged, &events, &name, &error), qPrintable(error));
    QCOMPARE(logged.frames, totals.frames);
    QCOMPARE(totals.bytes, double(totals.frames) * 1024.0 * 31.0); // 32 samples a frame
    QVERIFY(storedFrames(line.get()) <= 5);
    QVERIFY(qAbs(totals.linkAverage() - 2000.0) < 1.0);
}

void TestHistory::verdictShowsItsArithmetic()
{
    QVERIFY(qAbs(CxRunHistory::poissonUpper95(0) - 2.9957) < 1e-3);
    QVERIFY(qAbs(CxRunHistory::poissonUpper95(3) - 7.7537) < 1e-3);
    QVERIFY(qAbs(CxRunHistory::poissonUpper95(300) - 330.094) < 1e-3); // the last one summed
    QVERIFY(qAbs(CxRunHistory::poissonUpper95(1000) - 1053.6) < 0.1);
    QCOMPARE(CxRunHistory::durationText(12340000), QStringLiteral("12.3 s"));
    QCOMPARE(CxRunHistory::durationText(125000000), QStringLiteral("2 min 5 s"));
    QCOMPARE(CxRunHistory::durationText(7140000000), QStringLiteral("1 h 59 min"));
    QCOMPARE(CxRunHistory::durationText(7200000000), QStringLiteral("2 h 0 min"));

    CxRunHistory::SxTotals t;
    t.frames = 1;
    t.durationUs = (8 * 3600 + 12 * 60) * 1000000LL;
    t.required = 720;
    t.bufferSize = 268435456;
    t.bytes = 560e6 * 100;
    t.linkUs = 100e6;
    CxRunHistory::SxVerdict v = CxRunHistory::verdict(t);
    QVERIFY2(
        v.text.startsWith(QStringLiteral("Falls behind: the link averaged 560.0 MB/s over the run against "
                                         "720 MB/s required.\n0 overflows in 8 h 12 min: fewer than 0.37 "
                                         "per hour at 95 % confidence (3.00 / 8.2 h).")),
        qPrintable(v.text));
    QVERIFY(qAbs(v.headroom - 560.0 / 720.0) < 1e-9);
    QVERIFY(qAbs(v.bufferLastsSeconds - 268435456.0 / 160e6) < 1e-9);
    QVERIFY(v.text.contains(QStringLiteral("lasts 1.68 s")));
    t.overflows = 3;
    v = CxRunHistory::verdict(t);
    QVERIFY(qAbs(v.upperPerHour - 7.7537 / 8.2) < 1e-3);
    // A run that carried no byte states no headroom.
    t.bytes = 0.0;
    t.linkUs = 0.0;
    QVERIFY(!CxRunHistory::verdict(t).text.contains(QStringLiteral("headroom")));
}

void TestHistory::verdictWordIsEarned_data()
{
    QTest::addColumn<double>("hours");
    QTest::addColumn<double>("linkRate");
    QTest::addColumn<bool>("dip");
    QTest::addColumn<bool>("lost");
    QTest::addColumn<QString>("word");
    QTest::newRow("three hours clean")
        << 3.1 << 400.0 << false << false << "Keeps up: everything the camera sent arrived";
    QTest::newRow("three hours with a dip")
        << 3.1 << 400.0 << true << false
        << "Keeps up, with dips the buffer absorbed: 1 dips, the deepest to 100.0 MB/s";
    QTest::newRow("ten seconds")
        << 10.0 / 3600 << 400.0 << false << false
        << "Too short to tell: nothing went wrong in 10.2 s, but only a run of 3 h 0 min";
    QTest::newRow("a slow link")
        << 10.0 / 3600 << 250.0 << false << false
        << "Falls behind: the link averaged 250.0 MB/s over the run against 300 MB/s";
    QTest::newRow("a camera gone") << 10.0 / 3600 << 400.0 << false << true
                                   << "Camera lost: it stopped answering at";
}

// Each word from a run made to earn it: frames back to back at the link's rate against 300
// MB/s required, a 64 MiB buffer, everything the camera sent arriving.
void TestHistory::verdictWordIsEarned()
{
    QFETCH(double, hours);
    QFETCH(double, linkRate);
    QFETCH(bool, dip);
    QFETCH(bool, lost);
    QFETCH(QString, word);
    CxRunHistory history;
    history.begin(false, kPeriod, 300, 64 << 20);
    history.setAsked(300.0);
    quint64 tick = 0;
    quint32 number = 0;
    for (qint64 us = 0; us < qint64(hours * 3.6e9);) {
        const std::vector<quint64> samples =
            dip && number == 100 ? frame(tick, linkRate, 40, 42, 100.0) : frame(tick, linkRate);
        const CxRunHistory::SxArrival arrival{us, number, quint64(kSteps) * kPeriod};
        history.addFrame(number++, us, samples.data(), samples.size(), &arrival);
        us += qint64((samples.back() - samples.front()) / 250u);
        tick = samples.back() + ticksAt(linkRate);
    }
    if (lost)
        history.noteLost(qint64(hours * 3.6e9) + 1000000);
    history.finish();
    const CxRunHistory::SxVerdict verdict = CxRunHistory::verdict(history.totals());
    QVERIFY2(verdict.text.startsWith(word), qPrintable(verdict.text));
}

void TestHistory::whatArrivedIsCountedOnTheHostsClock()
{
    CxRunHistory history;
    history.begin(true, kPeriod, 0, 0);
    // Set to 100 frames/s of 1 MB; 50 arrive each second, every other frame number missing.
    history.setAsked(0.0, 100.0);
    const qint64 start = 2000000;
    for (quint32 i = 0; i <= 100; ++i)
        history.noteArrival({start + qint64(i) * 20000, 2 * i, 1000000});
    CxRunHistory::SxTotals t = history.totals();
    QCOMPARE(t.delivered, quint64(101));
    QCOMPARE(t.lostFrames, quint64(100));
    QCOMPARE(t.deliveredRate(), 50.0);
    QCOMPARE(t.deliveredFrameRate(), 50.0);
    QCOMPARE(t.askedRate(), 100.0);
    // Ten seconds without an image is a silence, with what the camera waits for; the next
    // frame ends it. Seconds in a row with missing packets are one burst.
    QVERIFY(!history.noteNoImage(start + 2000000 + 9999999));
    QVERIFY(history.noteNoImage(start + 2000000 + 10000000));
    QVERIFY(!history.noteNoImage(start + 2000000 + 11000000));
    history.setWaitingFor(QStringLiteral("TriggerMode is On"));
    history.noteArrival({start + 2000000 + 12000000, 202, 1000000});
    const quint64 stream[3][CxRunHistory::kStreamStats] = {
        {4, 1, 1, 0, 0, 0, 1000}, {9, 2, 2, 0, 0, 0, 2000}, {9, 2, 2, 1, 0, 0, 3000}};
    for (int i = 0; i < 3; ++i)
        history.noteStream(start + 16000000 + i * 1000000, stream[i]);
    history.noteLost(start + 30000000);
    t = history.totals();
    QCOMPARE(t.silentAtUs, start + 2000000);
    QCOMPARE(t.silentForUs, qint64(12000000));
    QCOMPARE(t.lostAtUs, start + 14000000);
    QCOMPARE(t.stream[CxRunHistory::StreamMissingPackets], quint64(9));
    QCOMPARE(t.stream[CxRunHistory::StreamTransferredBytes], quint64(3000));
    const QVector<CxRunHistory::SxEvent> events = history.events();
    QCOMPARE(events.size(), 4);
    QCOMPARE(events[0].kind, CxRunHistory::EventSilent);
    QCOMPARE(events[0].durationUs, qint64(12000000));
    QCOMPARE(events[1].kind, CxRunHistory::EventStream);
    QCOMPARE(events[1].counter, qint8(CxRunHistory::StreamMissingPackets));
    QCOMPARE(events[1].count, quint64(9));
    QCOMPARE(events[2].counter, qint8(CxRunHistory::StreamUnderruns));
    QCOMPARE(events[3].kind, CxRunHistory::EventLost);
    QCOMPARE(events[3].durationUs, qint64(16000000));
    std::vector<CxRunHistory::SxDeliverySecond> seconds;
    history.deliverySeconds(&seconds, nullptr);
    QCOMPARE(seconds[2].frames, 50u);
    QCOMPARE(seconds[2].lost, 49u);
    // The verdict says all of it; a run log gives it back.
    history.addCounters(0, 0, std::array<qint32, 5>{}.data());
    history.addCounters(1, 1000000, std::array<qint32, 5>{}.data());
    const QString verdict = CxRunHistory::verdict(history.totals()).text;
    for (const char* said :
         {"Camera lost: it stopped answering at 16.0 s, and the run ended there.",
          "No image came for 12.0 s from 4.0 s on.",
          "of the 100 MB/s (100.0 frames/s) the camera is set to send: the link or the host carries",
          "101 of the 203 frames the camera sent never arrived", "9 packets went missing on the way"})
        QVERIFY2(verdict.contains(QLatin1String(said)), qPrintable(verdict));
    QTemporaryDir dir;
    CxRunHistory::SxTotals read;
    QVector<CxRunHistory::SxEvent> back;
    QString name;
    const QString failed = logAndReadBack(history, dir.filePath(QStringLiteral("arrivals.log.csv")),
                                          QStringLiteral("Arriving camera"), &read, &back, &name);
    QVERIFY2(failed.isEmpty(), qPrintable(failed));
    QCOMPARE(CxRunHistory::verdict(read).text, CxRunHistory::verdict(history.totals()).text);
    QCOMPARE(back.size(), events.size());
    for (int i = 0; i < back.size(); ++i)
        QVERIFY(back[i].kind == events[i].kind && back[i].counter == events[i].counter);
    CxRunHistoryDlg window(QStringLiteral("Arriving camera"), &history);
    QVERIFY(
        summaryOf(&window).contains(QStringLiteral("<td>Frames not delivered</td><td>&nbsp;&nbsp;101</td>")));

    // A link faster than the camera sends idles between frames: no dip there, though a
    // stall inside a frame still is one.
    history.begin(false, kPeriod, 100, 64 << 20);
    const std::vector<quint64> f0 = frame(0, 400.0);
    const std::vector<quint64> f1 = frame(f0.back() + 40000 * 250, 400.0, 50, 51, 50.0);
    history.addFrame(0, 0, f0.data(), f0.size());
    history.addFrame(1, qint64(f1[0] / 250), f1.data(), f1.size());
    history.finish();
    QCOMPARE(history.events().size(), 1);
    QVERIFY(qAbs(history.events()[0].depth - 50.0) < 0.01);
}

// A run killed while its buffer overflows leaves the overflow with the count of its last whole
// second, and a dip still going on as far as it got; the window counts what it lists.
void TestHistory::eventsGoingOnAreLoggedAndShownAsFarAsTheyGot()
{
    CxRunHistory history;
    history.begin(false, kPeriod, 300, 1 << 20);
    QTemporaryDir dir;
    const QString log = dir.filePath(QStringLiteral("going-on.log.csv"));
    QVERIFY(history.openLog(log, QStringLiteral("Overflowing camera")));
    CxRunHistoryDlg window(QStringLiteral("Overflowing camera"), &history);
    quint64 tick = 0;
    quint32 number = 0;
    auto feed = [&](int frames) {
        for (int i = 0; i < frames; ++i) {
            // Slower than required throughout: every frame fills the 1 MiB buffer, one dip on.
            const std::vector<quint64> samples = frame(tick, 100.0);
            history.addFrame(number, qint64(number) * 1000000, samples.data(), samples.size());
            ++number;
            tick = samples.back() + ticksAt(100.0);
        }
        QMetaObject::invokeMethod(&window, "refresh");
        QVERIFY(summaryOf(&window).contains(
            QStringLiteral("<td>Events</td><td>&nbsp;&nbsp;%1</td>").arg(window.eventRows())));
    };
    feed(5);
    history.writeLogLine();
    feed(3);
    history.writeLogLine();
    feed(2); // killed before the next second's line
    CxRunHistory::SxTotals read;
    QVector<CxRunHistory::SxEvent> events;
    QString name;
    QString error;
    QVERIFY2(CxRunHistory::readLog(log, &read, &events, &name, &error), qPrintable(error));
    QCOMPARE(events.size(), 2);
    QCOMPARE(read.events, quint64(2));
    for (const CxRunHistory::SxEvent& event : std::as_const(events)) {
        if (event.kind == CxRunHistory::EventOverflow)
            QCOMPARE(event.count, quint64(8));
        else
            QVERIFY(event.kind == CxRunHistory::EventDip && event.durationUs > 7000000);
    }
    QCOMPARE(window.eventRows(), 2);
    // The window's picture of the run marks each event; a click on a mark selects its row.
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* plot = window.findChild<QCustomPlot*>(QStringLiteral("runPlot"));
    QCPGraph* dips = nullptr;
    for (int i = 0; i < plot->graphCount(); ++i)
        if (plot->graph(i)->name() == QLatin1String("Dips"))
            dips = plot->graph(i);
    QVERIFY(dips && dips->dataCount() == 1);
    plot->replot();
    const QPoint mark(int(dips->keyAxis()->coordToPixel(dips->data()->begin()->key)),
                      int(dips->valueAxis()->coordToPixel(dips->data()->begin()->value)));
    QTest::mouseClick(plot, Qt::LeftButton, {}, mark);
    auto* table = window.findChild<QTableWidget*>(QStringLiteral("events"));
    const QList<QTableWidgetItem*> selected = table->selectedItems();
    QVERIFY(!selected.isEmpty());
    // Slower than required all run long, the dip is listed as the link below what is required.
    QCOMPARE(table->item(selected.first()->row(), 2)->text(), QStringLiteral("Link below required"));
}

// The panel's clock, set by the test.
qint64 g_clockMs = 0;
qint64 testClock()
{
    return g_clockMs;
}

// Started ten seconds before midnight, a run shows its samples on both sides of it, at times
// past 24 h, and its history begins where it began.
void TestHistory::aRunAcrossMidnightKeepsCounting()
{
    CxSimCameraConfig config = camera(QStringLiteral("midnight"), 400.0, 256, 256);
    config.pacing = ExPacing::RealTime;
    const KSCORE_HANDLE hCam = open(config);
    const qint64 midnight = wallclock::midnightBeforeMs(QDateTime::currentMSecsSinceEpoch()) + 86400000;
    g_clockMs = midnight - 10000;
    wallclock::setSource(&testClock);
    CxDataGraphForm form;
    form.resize(1400, 900);
    form.show();
    child<QPushButton>(&form, "btnStartAll")->click();
    CxCameraLineData* line = form.cameraLines.value(hCam);
    QTRY_VERIFY_WITH_TIMEOUT(storedRecords(line) > 20, 20000);
    g_clockMs = midnight + 10000;
    QMetaObject::invokeMethod(&form, "updateGraph");
    child<QPushButton>(&form, "btnStartAll")->click();
    wallclock::setSource(nullptr);
    QCOMPARE(form.timeAxisReference, 86410LL * 1000000);
    QCPGraph* minimum = form.GetCameraPlot(hCam)->graphs().value(0);
    QVERIFY(minimum && minimum->dataCount() > 0);
    QCOMPARE(line->history.totals().startOfDayUs / 1000000, 86390LL);
    CxRunHistoryDlg window(QStringLiteral("Midnight"), &line->history);
    QVERIFY(summaryOf(&window).contains(QStringLiteral("23:59:50.")));
}

void TestHistory::panelDrawsTheHistoryBeforeTheStoreWithoutAWrap()
{
    // The second of two cameras, so that its history is drawn in a plot of its own.
    open(camera(QStringLiteral("first"), 400.0, 512, 256));
    const KSCORE_HANDLE hCam = open(camera(QStringLiteral("history"), 400.0, 512, 256));
    CxDataGraphForm form;
    form.resize(1400, 900);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    CxCameraLineData* line = form.cameraLines.value(hCam);
    QVERIFY(line);
    // Before a run there is nothing to draw, not even the label.
    QMetaObject::invokeMethod(&form, "updateGraph");
    QCOMPARE(child<QCustomPlot>(&form, "plot")->itemCount(), 0);
    // Forty minutes of history ending now, beyond the 32-bit microseconds the live series
    // wraps at; nothing in the store.
    form.timeAxisReference = kNoonUs;
    const qint64 now = form.timeAxisReference;
    line->history.begin(false, kPeriod, 300, 8 << 20);
    quint64 tick = 0;
    quint32 number = 0;
    for (qint64 t = now - 2400LL * 1000000; t < now; t += 1000000) {
        const std::vector<quint64> samples = frame(tick, 400.0);
        line->history.addFrame(number++, t, samples.data(), samples.size());
        tick = samples.back() + ticksAt(400.0); // back to back, as the pattern's frames are
    }
    QCPAxisRect* rect = form.GetCameraPlot(hCam);
    rect->axis(QCPAxis::atBottom)->setRange(-2700.0, 10.0);
    QMetaObject::invokeMethod(&form, "updateGraph");
    QCustomPlot* plot = child<QCustomPlot>(&form, "plot");
    QCPGraph* history = nullptr;
    for (int i = 0; i < plot->graphCount(); ++i)
        if (plot->graph(i)->property("ksRunHistory").toBool() &&
            plot->graph(i)->pen().style() == Qt::DashLine &&
            plot->graph(i)->valueAxis() == rect->axis(QCPAxis::atLeft))
            history = plot->graph(i);
    QVERIFY(history && history->dataCount() > 100);
    const double first = history->data()->begin()->key;
    const double last = (history->data()->end() - 1)->key;
    QVERIFY2(qAbs(first + 2400.0) < 5.0 && last < 0.5 && last > -5.0,
             qPrintable(QStringLiteral("%1 .. %2").arg(first).arg(last)));
    QVERIFY(qAbs(history->data()->begin()->value - 400.0) < 1.0);
    QVERIFY(history->pen().color().alpha() < 255); // fainter than the live line
    // The label of its resolution, inside its plot.
    QCOMPARE(plot->itemCount(), 1);
    auto* label = qobject_cast<QCPItemText*>(plot->item(0));
    QVERIFY(label && label->text() == QStringLiteral("Run history, 1 s resolution") &&
            label->clipAxisRect() == rect &&
            rect->rect().contains(label->position->pixelPosition().toPoint()));
}

void TestHistory::runHistoryWindowShowsTheRunZoomsAndReadsItsLog()
{
    const KSCORE_HANDLE hCam = open(camera(QStringLiteral("window"), 400.0, 512, 256));
    CxDataGraphForm form;
    form.resize(1400, 900);
    form.show();
    CxCameraLineData* line = form.cameraLines.value(hCam);
    // A minute ago: a dip to 50 MB/s, a stall of 40 ms between two frames, a dip to 150 MB/s.
    form.timeAxisReference = kNoonUs;
    const qint64 start = form.timeAxisReference - 60000000;
    line->history.begin(false, kPeriod, 300, 64 << 20);
    const std::vector<quint64> f0 = frame(0, 400.0, 20, 30, 50.0);
    const std::vector<quint64> f1 = frame(f0.back() + 40000 * 250, 400.0, 60, 62, 150.0);
    line->history.addFrame(0, start, f0.data(), f0.size());
    line->history.addFrame(1, start + qint64((f1[0] - f0[0]) / 250), f1.data(), f1.size());
    line->history.finish();
    QTemporaryDir dir;
    const QString log = dir.filePath(QStringLiteral("run.log.csv"));
    QVERIFY(line->history.openLog(log, QStringLiteral("Test camera (WINDOW)")));
    line->history.writeLogLine();
    line->history.openLog(QString(), QString());

    // The plot's context menu opens the window, not a click above the plot on its title.
    auto* plot = child<QCustomPlot>(&form, "plot");
    QVERIFY(!chooseRunHistory(plot, form.GetCameraPlot(hCam)->outerRect().topLeft() - QPoint(0, 4)));
    QVERIFY(chooseRunHistory(plot, form.GetCameraPlot(hCam)->outerRect().center()));
    auto* window = form.findChild<CxRunHistoryDlg*>();
    QVERIFY(window && QTest::qWaitForWindowExposed(window));
    const CxRunHistory::SxTotals totals = line->history.totals();
    const QString summary = summaryOf(window);
    QStringList facts;
    for (const QRegularExpressionMatch& fact :
         QRegularExpression(QStringLiteral("<tr><td>(.*?)</td>")).globalMatch(summary))
        facts << fact.captured(1);
    QCOMPARE(facts, QStringList({"Start", "Duration", "Frames", "Bytes", "Link average", "Lowest speed",
                                 "Highest buffer level", "Buffer overflows", "Events"}));
    QVERIFY(summary.contains(QStringLiteral("%1 MB/s").arg(totals.linkAverage(), 0, 'f', 1)));
    QVERIFY(summary.contains(
        QTime::fromMSecsSinceStartOfDay(int(start / 1000)).toString(QStringLiteral("HH:mm:ss.zzz"))));
    QCOMPARE(window->findChild<QLabel*>(QStringLiteral("verdict"))->text(),
             CxRunHistory::verdict(totals).text);
    auto* events = window->findChild<QTableWidget*>(QStringLiteral("events"));
    QCOMPARE(events->rowCount(), 3);
    QVERIFY(events->verticalHeader()->isHidden()); // no row numbers to mistake for event numbers
    // Sorted by depth as numbers (26, 50, 150 MB/s) the stall comes first; a double-click shows
    // its 40 ms in the graph with as much again on either side.
    events->sortItems(3);
    const qint64 stallUs = qint64((f0.back() - f0[0]) / 250);
    QStringList stallRow;
    for (int column = 0; column < events->columnCount(); ++column)
        stallRow << events->item(0, column)->text();
    QCOMPARE(stallRow, QStringList({QString::number(double(stallUs) / 1e6, 'f', 3), "40.000", "Dip",
                                    "26.2 MB/s", "1"}));
    QVERIFY(events->item(2, 3)->text().startsWith(QStringLiteral("150.0")));
    const QPoint cell = events->visualItemRect(events->item(0, 0)).center();
    QTest::mouseClick(events->viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(events->viewport(), Qt::LeftButton, {}, cell);
    const QCPRange range = plot->axisRect(0)->axis(QCPAxis::atBottom)->range();
    const double stall = double(start + stallUs - form.timeAxisReference) / 1e6;
    QVERIFY2(range.lower < stall && stall < range.upper && qAbs(range.size() - 0.12) < 0.002,
             qPrintable(QStringLiteral("%1 in %2 .. %3").arg(stall).arg(range.lower).arg(range.upper)));
    // The window's refresh leaves the row chosen where it is.
    QMetaObject::invokeMethod(window, "refresh");
    QCOMPARE(events->selectedItems().value(0), events->item(0, 0));

    // The log, chosen with "Open Run Log..." in a second window of the run, says the same but
    // for the start, which a log shows in its title.
    CxRunHistoryDlg old(QString(), &line->history);
    answerNextModal([&log](QWidget* modal) {
        auto* dialog = qobject_cast<QFileDialog*>(modal);
        auto* name = dialog ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
        if (!name)
            return false;
        name->setText(log);
        QMetaObject::invokeMethod(dialog, "accept");
        return !dialog->isVisible();
    });
    old.findChild<QPushButton*>(QStringLiteral("btnOpenLog"))->click();
    QCOMPARE(old.eventRows(), 3);
    QVERIFY(old.windowTitle().contains(QStringLiteral("Test camera (WINDOW)")));
    QCOMPARE(summaryOf(&old),
             QString(summary).remove(QRegularExpression(QStringLiteral("<tr><td>Start</td>.*?</tr>"))));
    // Its events are of another session: a double-click has no place on the graph to show.
    QSignalSpy zooms(&old, &CxRunHistoryDlg::zoomRequested);
    auto* oldEvents = old.findChild<QTableWidget*>(QStringLiteral("events"));
    const QPoint oldCell = oldEvents->visualItemRect(oldEvents->item(0, 0)).center();
    QTest::mouseClick(oldEvents->viewport(), Qt::LeftButton, {}, oldCell);
    QTest::mouseDClick(oldEvents->viewport(), Qt::LeftButton, {}, oldCell);
    QCOMPARE(zooms.count(), 0);
    // A log cut short by a crash gives what is whole; one without a complete second is refused
    // with the reason, and the window keeps what it shows.
    QFile whole(log);
    QVERIFY(whole.open(QIODevice::ReadOnly));
    const QByteArray text = whole.readAll();
    const QString cut = dir.filePath(QStringLiteral("cut.log.csv"));
    auto writeCut = [&cut](const QByteArray& part) {
        QFile file(cut);
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(part) == part.size();
    };
    QVERIFY(writeCut(text.chopped(1)));
    QVERIFY(old.openLog(cut));
    QCOMPARE(old.eventRows(), 2);
    QVERIFY(writeCut(text.left(text.indexOf("count\n") + 6)));
    QString warning;
    answerNextModal([&warning](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (box) {
            warning = box->text();
            box->accept();
        }
        return box != nullptr;
    });
    QVERIFY(!old.openLog(cut));
    QVERIFY2(warning.contains(QStringLiteral("no complete second")), qPrintable(warning));
    QCOMPARE(old.eventRows(), 2);

    // The row's menu raises the same window.
    QTableWidget* rows = table(&form);
    QVERIFY(chooseRunHistory(rows->viewport(), rows->visualItemRect(rows->item(0, 0)).center()));
    QCOMPARE(form.findChildren<CxRunHistoryDlg*>().size(), 1);

    // An open window follows the run.
    const std::vector<quint64> f2 = frame(f1.back() + ticksAt(400.0), 400.0, 40, 45, 100.0);
    line->history.addFrame(2, start + qint64((f2[0] - f0[0]) / 250), f2.data(), f2.size());
    QTRY_COMPARE_WITH_TIMEOUT(window->eventRows(), 4, 10000);

    // The camera goes; its window stays, reading nothing more.
    closeAll();
    QVERIFY(window->isVisible());
    QCOMPARE(window->eventRows(), 4);
    // Closed, it is gone.
    window->close();
    QTRY_VERIFY(form.findChildren<CxRunHistoryDlg*>().isEmpty());
}

QTEST_MAIN(TestHistory)
#include "tst_history.moc"
