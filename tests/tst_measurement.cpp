// Measurement runs against simulated cameras: the store and its capacity, the run's
// lifecycle and threads, and the statistics the capture loops keep.

#include "EngineTestSupport.h"

#include <QElapsedTimer>
#include <QThread>
#include <QtTest>
#include <atomic>
#include <cfloat>
#include <memory>

using namespace enginetest;
using namespace simtest;

namespace {

// Lets a run capture until the camera has delivered `images`.
bool runUntilDelivered(CxCameraLineData* line, quint64 images, int timeoutMs = 30000)
{
    QElapsedTimer timer;
    timer.start();
    while (sim(line->hCam)->capturesDelivered() < images) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QThread::msleep(2);
    }
    return line->stopMeasurement();
}

} // namespace

class TestMeasurement : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeAll(); }

    // Store and capacity
    void newLineIsIdleWithSixCounters();
    void framesFollowTheLinkSampleBySample_data();
    void framesFollowTheLinkSampleBySample();
    void storeKeepsCapacityPlusOneRecord_data();
    void storeKeepsCapacityPlusOneRecord();
    void aNewRunAppendsToThePreviousOne();

    // Run lifecycle and threads
    void startAndStopAreRefusedWhenTheyCannotGoAhead();
    void workerWaitsForTheMutexAndGoesOn();
    void skippedImagesAreLoggedOnceAndCounted_data();
    void skippedImagesAreLoggedOnceAndCounted();
    void lineDeletedOrClearedWhileMeasuringStaysSafe();
    void unknownModeInTheWorkerEndsAtOnce();
    void captureTimeoutsLeaveTheStoreAndLogOncePerTimeout();

    // Statistics
    void acquisitionRecordsTheCountersTheCameraDrives();
    void deliveredRateIsWhatArrivesAgainstWhatTheCameraSends();
};

void TestMeasurement::newLineIsIdleWithSixCounters()
{
    CxCameraLineData line;
    QVERIFY(!line.isMeasurementRunning());
    QCOMPARE(line.counters.size(), 6);
    const QStringList names = {"Transport skip",      "API skip",       "Transferred", "Missed trg. overlap",
                               "Missed trg overflow", "Buffer overflow"};
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(int(line.counters[i]->selector), i);
        QCOMPARE(line.counters[i]->name, names[i]);
        QVERIFY(!line.counters[i]->supported);
        QCOMPARE(line.GetCounterValue(KS_COUNTER_SELECTOR(i)), 0);
    }
    QCOMPARE(line.GetCounterValue(KS_COUNTER_SELECTOR(6)), 0);
    QVERIFY(!line.IsCounterSupported(KS_COUNTER_SELECTOR(6)));
    QCOMPARE(line.samplePeriod, 4096u);
    QCOMPARE(line.maxSamples, 3000000);
    QCOMPARE(line.frameTimeMax, DBL_MIN);
    QCOMPARE(line.frameTimeMin, DBL_MAX);
    QVERIFY(line.autoTransport && line.plotEnabled);
}

void TestMeasurement::framesFollowTheLinkSampleBySample_data()
{
    QTest::addColumn<double>("rate");
    QTest::addColumn<uint>("period");
    QTest::newRow("USB3 at 380 MB/s, 4 KiB") << 380.0 << 4096u;
    QTest::newRow("PCIe at 1575 MB/s, 8 KiB") << 1575.0 << 8192u;
    QTest::newRow("GigE at 118 MB/s, 1 KiB") << 118.0 << 1024u;
}

void TestMeasurement::framesFollowTheLinkSampleBySample()
{
    QFETCH(double, rate);
    QFETCH(uint, period);
    KSCORE_HANDLE hCam = open(camera("rate", rate, 2048, 1024));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QVERIFY(line->startMeasurement(period, 3000000));
    QVERIFY(line->isMeasurementRunning());
    QVERIFY(sim(hCam)->isPatternActive());
    QVERIFY(runUntilDelivered(line.get(), 30));
    QVERIFY(!line->isMeasurementRunning());
    QVERIFY(!sim(hCam)->isAcquiring());
    QVERIFY(storedFrames(line.get()) >= 30);
    const quint64 perFrame = 2048 * 1024 * 2 / period;
    const CxCameraLineData::CxFrameData* first = line->frames.first();
    double spanSum = 0.0;
    quint64 previousLast = 0;
    for (int f = 0; f < line->frames.size(); ++f) {
        const CxCameraLineData::CxFrameData* frame = line->frames[f];
        QCOMPARE(frame->sampleCount, perFrame);
        QCOMPARE(frame->sampleSpan, frame->samples[perFrame - 1] - frame->samples[0]);
        QCOMPARE(frame->frameNumber, first->frameNumber + quint32(f));
        // The time stamp is the instant of the frame's first word, in whole microseconds.
        const qint64 sinceFirst = qint64((frame->samples[0] - first->samples[0]) / 250);
        QVERIFY(std::llabs(frame->timestamp - first->timestamp - sinceFirst) <= 1);
        // Every interval at the link's rate, also the one from the previous frame's last
        // sample: frames follow back to back and the stride runs on.
        for (quint64 i = f == 0 ? 1 : 0; i < perFrame; ++i) {
            const quint64 from = i == 0 ? previousLast : frame->samples[i - 1];
            const double speed = double(period) / (double(frame->samples[i] - from) / 250.0);
            QVERIFY2(std::fabs(speed - rate) / rate < 0.005,
                     qPrintable(QStringLiteral("frame %1 sample %2: %3 MB/s").arg(f).arg(i).arg(speed)));
        }
        previousLast = frame->samples[perFrame - 1];
        spanSum += double(frame->sampleSpan) / 250.0;
    }
    // The statistics follow every stored frame of this run.
    QCOMPARE(line->frameTimeCount, quint64(line->frames.size()));
    QVERIFY(std::fabs(line->frameTimeAvg - spanSum / double(line->frames.size())) <
            1e-6 * line->frameTimeAvg);
    QVERIFY(line->frameTimeMin <= line->frameTimeAvg && line->frameTimeAvg <= line->frameTimeMax);
    // Camera time reset at start plus the wall clock at loop start: today's time of day.
    const qint64 nowUs = qint64(QTime::currentTime().msecsSinceStartOfDay()) * 1000;
    QVERIFY(std::llabs(first->timestamp - nowUs) < 60LL * 1000000);
}

void TestMeasurement::storeKeepsCapacityPlusOneRecord_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("capacity"); // in samples; a throughput frame holds 512 of them
    QTest::addColumn<int>("kept");
    QTest::newRow("throughput") << int(MeasureModeDataThroughput) << 3000000 << 5860; // 5859 plus one
    // A negative capacity (a hand-edited setting) keeps just the newest frame or record.
    QTest::newRow("throughput, negative") << int(MeasureModeDataThroughput) << -1000000 << 1;
    QTest::newRow("acquisition") << int(MeasureModeStandardAcquisition) << 10 << 11;
    QTest::newRow("acquisition, negative") << int(MeasureModeStandardAcquisition) << -5 << 1;
}

void TestMeasurement::storeKeepsCapacityPlusOneRecord()
{
    QFETCH(int, mode);
    QFETCH(int, capacity);
    QFETCH(int, kept);
    CxSimCameraConfig config = camera("capacity", 400.0, 1024, 1024);
    config.pacing = ExPacing::Replay;
    config.replayFrames = 2;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureMode(mode)));
    QVERIFY(line->startMeasurement(4096, capacity));
    QVERIFY(runUntilDelivered(line.get(), quint64(kept) + 140));
    QCOMPARE(storedRecords(line.get()), kept);
    QCOMPARE(line->samplePeriod, 4096u); // stored although the acquisition mode does not use it
    // Oldest dropped first: the store ends with the newest frames in order.
    if (mode == MeasureModeDataThroughput)
        QCOMPARE(line->frames.last()->frameNumber - line->frames.first()->frameNumber, quint32(kept - 1));
}

void TestMeasurement::aNewRunAppendsToThePreviousOne()
{
    // Paced, so that the capacity of 93,750 frames of 32 samples is never reached.
    CxSimCameraConfig config = camera("append", 400.0, 256, 256);
    config.pacing = ExPacing::RealTime;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QVERIFY(line->startMeasurement(4096, 3000000));
    QVERIFY(runUntilDelivered(line.get(), 10));
    const int first = storedFrames(line.get());
    const CxCameraLineData::CxFrameData* oldest = line->frames.first();
    QVERIFY(line->startMeasurement(4096, 3000000));
    QVERIFY(runUntilDelivered(line.get(), 10));
    QVERIFY(storedFrames(line.get()) >= first + 10);
    QCOMPARE(line->frames.first(), oldest);
}

void TestMeasurement::startAndStopAreRefusedWhenTheyCannotGoAhead()
{
    CxCameraLineData orphan;
    QVERIFY(!orphan.startMeasurement(4096, 1000));
    QVERIFY(!orphan.isMeasurementRunning());

    CxSimCameraConfig config = camera("slowstop", 2.0, 512, 512); // half a MiB takes 0.26 s
    config.pacing = ExPacing::RealTime;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QVERIFY(!line->stopMeasurement());
    QVERIFY(line->startMeasurement(4096, 1000));
    logOf(hCam)->clearCallLog();
    QThread* worker = line->acquisitionThread;
    QVERIFY(!line->startMeasurement(8192, 5));
    QCOMPARE(calls(hCam), QStringList()); // nothing reached the camera
    QCOMPARE(line->acquisitionThread, worker);
    QCOMPARE(line->samplePeriod, 4096u);

    // Of two concurrent stops one goes ahead. Atomic: QThread::wait synchronises inside Qt,
    // where ThreadSanitizer cannot see it, so reading the result before the delete is what
    // orders the two threads for it.
    std::atomic<bool> secondResult{true};
    QThread* second = QThread::create([&] {
        while (!line->stopRequested)
            QThread::yieldCurrentThread();
        secondResult = line->stopMeasurement();
    });
    second->start();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(line->stopMeasurement());
    QVERIFY(second->wait(10000));
    QVERIFY(!secondResult);
    delete second;
    QVERIFY(timer.elapsed() < 5000); // within the capture time-out
    QVERIFY(!line->stopMeasurement());
    QVERIFY(line->stopRequested); // stays set until the next start
}

void TestMeasurement::workerWaitsForTheMutexAndGoesOn()
{
    KSCORE_HANDLE hCam = open(camera("locked", 400.0, 256, 256));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QVERIFY(line->startMeasurement(4096, 3000000));
    QTRY_VERIFY_WITH_TIMEOUT(storedFrames(line.get()) > 3, 10000);
    line->dataMutex.lock();
    const int held = line->frames.size();
    const quint64 delivered = sim(hCam)->capturesDelivered();
    QThread::msleep(100);
    // The worker captured one more image and now waits to append it.
    QVERIFY(sim(hCam)->capturesDelivered() <= delivered + 1);
    QCOMPARE(line->frames.size(), held);
    line->dataMutex.unlock();
    QTRY_VERIFY_WITH_TIMEOUT(storedFrames(line.get()) > held + 3, 10000);
    QVERIFY(line->stopMeasurement());
}

void TestMeasurement::skippedImagesAreLoggedOnceAndCounted_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("period");
    QTest::addColumn<QString>("first");
    QTest::addColumn<bool>("onlyOne"); // every capture after the first fails
    QTest::newRow("period below one sample") << 64 << 4 << "shorter than one sample" << false;
    QTest::newRow("image below one period")
        << 16 << 4096 << "Image of 16 x 16 pixels holds no sample" << false;
    // The first message says it all: no count follows.
    QTest::newRow("one image only") << 16 << 4096 << "Image of 16 x 16 pixels holds no sample" << true;
}

void TestMeasurement::skippedImagesAreLoggedOnceAndCounted()
{
    QFETCH(int, size);
    QFETCH(int, period);
    QFETCH(QString, first);
    QFETCH(bool, onlyOne);
    KSCORE_HANDLE hCam = open(camera("tiny", 400.0, size, size));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    CxCriticalLog log;
    if (onlyOne)
        faults(hCam)->failCaptures(ExCaptureFault::Fail, INT_MAX, 1);
    QVERIFY(line->startMeasurement(uint(period), 1000));
    if (onlyOne) {
        QTRY_VERIFY(log.messages().size() >= 2); // the skip, then the failures
        QVERIFY(line->stopMeasurement());
        QCOMPARE(sim(hCam)->capturesDelivered(), quint64(1));
        QVERIFY(log.contains(526, first));
        for (const QString& message : log.messages())
            QVERIFY2(!message.contains(QStringLiteral("images skipped")), qPrintable(message));
        return;
    }
    QVERIFY(runUntilDelivered(line.get(), 20));
    QCOMPARE(storedFrames(line.get()), 0);
    const quint64 delivered = sim(hCam)->capturesDelivered();
    QCOMPARE(log.messages().size(), 2);
    QVERIFY(log.contains(526, first));
    QVERIFY2(log.messages().last().contains(QStringLiteral("%1 images skipped in this run").arg(delivered)),
             qPrintable(log.messages().last()));
}

void TestMeasurement::lineDeletedOrClearedWhileMeasuringStaysSafe()
{
#ifndef QT_NO_DEBUG
    QSKIP("asserts stop a build with assertions at the misuse itself");
#endif
    KSCORE_HANDLE hCam = open(camera("misused", 400.0, 256, 256));
    const int format = sim(hCam)->parameterValue(QStringLiteral("imgdataformat"));
    CxCameraLineData* line = lineFor(hCam);
    CxCriticalLog log;
    QVERIFY(line->startMeasurement(4096, 100000));
    QTRY_VERIFY_WITH_TIMEOUT(storedFrames(line) > 3, 10000);
    line->clearData();
    QVERIFY(storedFrames(line) > 3);
    QVERIFY(log.contains(97, QStringLiteral("clearData() refused while measuring")));
    QElapsedTimer timer;
    timer.start();
    delete line;
    QVERIFY(timer.elapsed() < 5000);
    QVERIFY(log.contains(85, QStringLiteral("deleted while measuring")));
    QVERIFY(!sim(hCam)->isAcquiring());
    QCOMPARE(sim(hCam)->parameterValue(QStringLiteral("imgdataformat")), format);
}

void TestMeasurement::unknownModeInTheWorkerEndsAtOnce()
{
    CxCameraLineData line;
    CxCriticalLog log;
    CxAcquisitionThread thread(&line, MeasureMode(7));
    QVERIFY(!thread.hasReturned());
    thread.start();
    thread.join(); // a hang here is what the test guards against
    QVERIFY(thread.hasReturned());
    QVERIFY(log.messages().size() == 1);
    QVERIFY(log.messages().first().contains(QStringLiteral(
        "CameraLineData L 31 :  \"CxAcquisitionThread::run(): Unknown measurement mode selected\"")));
}

void TestMeasurement::captureTimeoutsLeaveTheStoreAndLogOncePerTimeout()
{
    CxSimCameraConfig config = camera("dead", 400.0, 256, 256);
    config.pacing = ExPacing::RealTime;
    KSCORE_HANDLE hCam = open(config);
    faults(hCam)->failCaptures(ExCaptureFault::Timeout, -1, 0);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->captureTimeoutMs = 500;
    line->frameTimeAvg = 250.0; // as a run before left it
    CxCriticalLog log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(line->startMeasurement(4096, 1000));
    QTRY_COMPARE_WITH_TIMEOUT(log.messages().size(), 1, 5000);
    QVERIFY(log.contains(526, QStringLiteral("ksApi_GetImage failed to capture image")));
    // A second time-out, within the second after the first line, is told as the run ends. Stopped
    // before the worker began it, the run would end with nothing more to tell.
    QTRY_VERIFY_WITH_TIMEOUT(logOf(hCam)->callLogText(true).filter(QStringLiteral("image")).size() >= 2,
                             5000);
    QVERIFY(line->stopMeasurement());
    // The stop waited for the pending capture, which ends with its own time-out, or the stop.
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(log.messages().size(), 2);
    QCOMPARE(storedFrames(line.get()), 0);
    // Not a frame: no frame time, not the last run's.
    QCOMPARE(line->frameTimeCount, quint64(0));
    QCOMPARE(line->frameTimeAvg, 0.0);
}

void TestMeasurement::acquisitionRecordsTheCountersTheCameraDrives()
{
    CxSimCameraConfig config = camera("counting", 200.0, 1024, 1024);
    config.sensor.dataRateMBps = 400.0; // the sensor outruns the link
    config.bufferSize = 8 * 1024 * 1024;
    // Each counter runs on its own, so that none is read in place of another.
    config.counterRates[KS_CNT_API_SKIP] = 2000.0;
    config.counterRates[KS_CNT_MISSED_TRG_OVERLAP] = 1000.0;
    config.counterRates[KS_CNT_MISSED_TRG_OVERFLOW] = 500.0;
    KSCORE_HANDLE hCam = open(config);
    QVERIFY(ksApi_SetParamInt(hCam, "imgdataformat", 3));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureModeStandardAcquisition));
    QVERIFY(line->startMeasurement(4096, 100000));
    QVERIFY(runUntilDelivered(line.get(), 60));
    const int records = storedRecords(line.get());
    QVERIFY(records >= 60);
    const CxCameraLineData::CxCounterData* last = line->counterSamples.last();
    const qint32 read[] = {last->transportSkip, last->apiSkip, last->missedTrgOverlap,
                           last->missedTrgOverflow, last->bufferOverflow};
    const KS_COUNTER_SELECTOR selectors[] = {KS_CNT_TRANSPORT_SKIP, KS_CNT_API_SKIP,
                                             KS_CNT_MISSED_TRG_OVERLAP, KS_CNT_MISSED_TRG_OVERFLOW,
                                             KS_CNT_BUFFER_OVERFLOW};
    for (int k = 0; k < 5; ++k) {
        QCOMPARE(read[k], sim(hCam)->counterValue(selectors[k]));
        QVERIFY(read[k] >= 1);
    }
    QVERIFY(last->transportSkip > 10);
    QCOMPARE(line->GetCounterValue(KS_CNT_TRANSFERRED), records);
    for (int i = 1; i < records; ++i)
        QVERIFY(line->counterSamples[i]->transportSkip >= line->counterSamples[i - 1]->transportSkip);
    // The first frame of the run only sets the reference; the mean is that of the intervals.
    QCOMPARE(line->frameTimeCount, quint64(records - 1));
    const double interval =
        double(line->counterSamples.last()->timestamp - line->counterSamples.first()->timestamp) /
        double(records - 1);
    QVERIFY2(qAbs(line->frameTimeAvg - interval) < 1e-6 * interval,
             qPrintable(QStringLiteral("%1 against %2").arg(line->frameTimeAvg).arg(interval)));

    // A counter read that fails keeps the last good value instead of a 0.
    const int transferred = line->GetCounterValue(KS_CNT_TRANSFERRED);
    faults(hCam)->refuseParam(QStringLiteral("counter_value"), ExParamOp::Get);
    QVERIFY(line->startMeasurement(4096, 100000));
    QVERIFY(runUntilDelivered(line.get(), sim(hCam)->capturesDelivered() + 20));
    QCOMPARE(line->GetCounterValue(KS_CNT_TRANSFERRED), transferred);
    QVERIFY(line->frameTimeAvg > 5000.0); // the link needs 10.5 ms a frame
}

void TestMeasurement::deliveredRateIsWhatArrivesAgainstWhatTheCameraSends()
{
    // 100 frames/s of 1 MiB from the sensor, in real time; the link has room to spare.
    CxSimCameraConfig config = camera("delivering", 400.0, 1024, 512);
    config.sensor.dataRateMBps = 100.0 * 1048576 / 1e6;
    config.pacing = ExPacing::RealTime;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureModeStandardAcquisition));
    QVERIFY(line->startMeasurement(4096, 100000));
    QVERIFY(runUntilDelivered(line.get(), 200));
    CxRunHistory::SxTotals t = line->history.totals();
    QVERIFY2(qAbs(t.deliveredFrameRate() / 100.0 - 1.0) < 0.01,
             qPrintable(QString::number(t.deliveredFrameRate())));
    QCOMPARE(t.askedFrameRate(), 100.0);
    QCOMPARE(t.lostFrames, quint64(0));
    QVERIFY(!CxRunHistory::verdict(t).fallsBehind);
    // The counter pattern's frames follow back to back at the link's rate, against the row's
    // required throughput.
    line->measureMode = MeasureModeDataThroughput;
    line->autoTransport = false;
    line->requiredThroughput = 500;
    QVERIFY(line->startMeasurement(4096, 100000));
    QVERIFY(runUntilDelivered(line.get(), sim(hCam)->capturesDelivered() + 300));
    t = line->history.totals();
    // A reader slowed down by a race checker catches up in bursts: 3 % there.
    QVERIFY2(qAbs(t.deliveredRate() / 400.0 - 1.0) < 0.03, qPrintable(QString::number(t.deliveredRate())));
    QCOMPARE(t.askedRate(), 500.0);
    const CxRunHistory::SxVerdict verdict = CxRunHistory::verdict(t);
    QVERIFY(verdict.fallsBehind && verdict.text.contains(QStringLiteral("the link or the host carries 8")));
}

QTEST_GUILESS_MAIN(TestMeasurement)
#include "tst_measurement.moc"
