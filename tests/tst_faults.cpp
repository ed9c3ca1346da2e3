// Faults injected into simulated cameras, in both modes: every setup step refused, start
// refused, stop failing, captures failing, empty, timing out or gone for good, and the camera
// closed under a run. Whatever fails, the camera's parameter model afterwards differs from
// before only in the selectors the restore leaves as the run set them, no thread is left,
// and the log says what went wrong without flooding. Start and stop hammered, and graphs
// and reports read while workers append at full speed.

#include "EngineTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <qcustomplot.h>

using namespace enginetest;
using namespace simtest;

namespace {

// The calls of a setup that succeeds, as "get NAME" or "set NAME VALUE".
QStringList setupCalls(MeasureMode mode)
{
    KSCORE_HANDLE hCam = open(camera(QStringLiteral("probe")));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, mode));
    logOf(hCam)->clearCallLog();
    line->setupCameraParameters();
    const QStringList list = calls(hCam);
    line->restoreCameraParameters();
    CxCameraManager::instance()->closeCamera(hCam);
    return list;
}

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_threads = threadCount(); }
    void cleanup() { closeAll(); }

    void setupStepRefused_data();
    void setupStepRefused();
    void runFaults_data();
    void runFaults();
    void startAndStopHammered();
    void graphsAndReportsWhileWorkersAppend();

private:
    void checkAfterRun(KSCORE_HANDLE hCam, const QMap<QString, int>& before, MeasureMode mode,
                       const QString& unsaved = QString());
    int m_threads = 0;
};

void TestFaults::checkAfterRun(KSCORE_HANDLE hCam, const QMap<QString, int>& before, MeasureMode mode,
                               const QString& unsaved)
{
    faults(hCam)->clearFaults();
    QVERIFY(!sim(hCam)->isAcquiring());
    // A value whose save read was refused is restored to what the line saved before: 0 on a
    // new line.
    const QStringList left =
        (mode == MeasureModeDataThroughput ? kLeftByThroughput : kLeftByAcquisition) + QStringList{unsaved};
    QCOMPARE(changedBeyond(before, hCam, left), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_threads, 5000);
}

void TestFaults::setupStepRefused_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isSet");
    QTest::addColumn<int>("value");
    for (const MeasureMode mode : {MeasureModeDataThroughput, MeasureModeStandardAcquisition}) {
        const QStringList steps = setupCalls(mode);
        QVERIFY(steps.size() > 5);
        for (int i = 0; i < steps.size(); ++i) {
            const QStringList words = steps[i].split(' ');
            QTest::addRow("%s %d: %s", mode == MeasureModeDataThroughput ? "throughput" : "acquisition", i,
                          qPrintable(steps[i]))
                << int(mode) << words[1] << (words[0] == QLatin1String("set")) << words.value(2).toInt();
        }
    }
}

void TestFaults::setupStepRefused()
{
    QFETCH(int, mode);
    QFETCH(QString, name);
    QFETCH(bool, isSet);
    QFETCH(int, value);
    KSCORE_HANDLE hCam = open(camera(QStringLiteral("setupfault")));
    const QMap<QString, int> before = parameterSnapshot(hCam);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureMode(mode)));
    line->autoTransport = false;
    if (isSet)
        faults(hCam)->refuseParamValue(name, value, 1);
    else
        faults(hCam)->refuseParam(name, ExParamOp::Get, 1);
    CxCriticalLog log;
    // Some steps are optional (the frame-buffer queries, the device register): the run then
    // goes ahead without them.
    if (line->startMeasurement(4096, 100000)) {
        QTest::qWait(30);
        QVERIFY(line->stopMeasurement());
    } else {
        QVERIFY(!line->isMeasurementRunning());
        QVERIFY2(
            log.messages().join('\n').contains(QStringLiteral("CxCameraLineData::setupCameraParameters(): ")),
            qPrintable(log.messages().join('\n')));
    }
    QVERIFY2(log.messages().size() <= 3, qPrintable(log.messages().join('\n')));
    checkAfterRun(hCam, before, MeasureMode(mode), isSet ? QString() : name);
}

void TestFaults::runFaults_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("logLine"); // the line that reports it; 0: nothing is logged
    for (const MeasureMode mode : {MeasureModeDataThroughput, MeasureModeStandardAcquisition}) {
        const char* name = mode == MeasureModeDataThroughput ? "throughput" : "acquisition";
        const int loopLine = mode == MeasureModeDataThroughput ? 526 : 612;
        QTest::addRow("%s: start refused", name) << int(mode) << "start" << 250;
        QTest::addRow("%s: stop failing", name) << int(mode) << "stop" << 281;
        QTest::addRow("%s: captures failing", name) << int(mode) << "fail" << loopLine;
        QTest::addRow("%s: captures without data", name) << int(mode) << "nodata" << loopLine;
        QTest::addRow("%s: captures timing out", name) << int(mode) << "timeout" << loopLine;
        QTest::addRow("%s: camera disconnected", name) << int(mode) << "disconnect" << loopLine;
        QTest::addRow("%s: camera closed", name) << int(mode) << "close" << loopLine;
    }
}

void TestFaults::runFaults()
{
    QFETCH(int, mode);
    QFETCH(QString, fault);
    QFETCH(int, logLine);
    KSCORE_HANDLE hCam = open(camera(QStringLiteral("runfault"), 400.0, 256, 256));
    const QMap<QString, int> before = parameterSnapshot(hCam);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureMode(mode)));
    line->autoTransport = false;
    if (fault == QLatin1String("start"))
        faults(hCam)->refuseStart(1);
    else if (fault == QLatin1String("stop"))
        faults(hCam)->failStop(1);
    else if (fault == QLatin1String("fail"))
        faults(hCam)->failCaptures(ExCaptureFault::Fail, 200, 5);
    else if (fault == QLatin1String("nodata"))
        faults(hCam)->failCaptures(ExCaptureFault::NoData, 200, 5);
    else if (fault == QLatin1String("timeout"))
        faults(hCam)->failCaptures(ExCaptureFault::Timeout, 200, 5);
    else if (fault == QLatin1String("disconnect"))
        faults(hCam)->failCaptures(ExCaptureFault::Fail, -1, 5);
    CxCriticalLog log;
    const bool started = line->startMeasurement(4096, 100000);
    QCOMPARE(started, fault != QLatin1String("start"));
    const bool gone = fault == QLatin1String("disconnect");
    const bool closed = fault == QLatin1String("close");
    if (started) {
        if (closed) {
            QTest::qWait(50);
            CxCameraManager::instance()->closeCamera(hCam);
        }
        QTest::qWait(gone ? 1600 : 400);
        QElapsedTimer stopping;
        stopping.start();
        // A camera that fails to stop is logged; the stop and the restore go on.
        QVERIFY(line->stopMeasurement());
        QVERIFY(!line->isMeasurementRunning());
        QVERIFY2(stopping.elapsed() < 1000, "the back-off never delays a stop for long");
    }
    if (gone) {
        // The worker backs off: retried at full speed it made hundreds of thousands of calls.
        const int captures = logOf(hCam)->callLogText(true).filter(QStringLiteral("image")).size();
        QVERIFY2(captures >= 10 && captures <= 60, qPrintable(QString::number(captures)));
    }
    if (gone || fault == QLatin1String("fail") || fault == QLatin1String("timeout")) {
        // Every failed capture is counted, those of a burst that ended within a second too.
        int failed = 0;
        for (const SxCallLogEntry& call : logOf(hCam)->callLog())
            failed += call.kind == SxCallLogEntry::GetImage && !call.ok ? 1 : 0;
        int counted = 0;
        static const QRegularExpression more(QStringLiteral("\\((\\d+) more times\\)"));
        for (const QString& message : log.messages()) {
            const QRegularExpressionMatch match = more.match(message);
            counted +=
                match.hasMatch() ? match.captured(1).toInt() : (message.contains("ksApi_GetImage") ? 1 : 0);
        }
        QCOMPARE(counted, failed);
    }
    const QString place = QStringLiteral("CameraLineData L %1 :").arg(logLine);
    int reported = 0;
    for (const QString& message : log.messages())
        reported += message.contains(place) ? 1 : 0;
    QVERIFY2(reported >= 1, qPrintable(log.messages().join('\n')));
    // The first failure and at most a count per second: no flood.
    QVERIFY2(log.messages().size() <= 4, qPrintable(log.messages().join('\n')));
    // Its stop and restore failed; opened again it starts from its power-on values.
    if (closed)
        hCam = CxCameraManager::instance()->openCamera(QStringLiteral("runfault"));
    checkAfterRun(hCam, before, MeasureMode(mode));
}

void TestFaults::startAndStopHammered()
{
    KSCORE_HANDLE hCam = open(camera(QStringLiteral("hammer"), 400.0, 256, 256));
    const QMap<QString, int> before = parameterSnapshot(hCam);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->autoTransport = false;
    auto log = std::make_unique<CxCriticalLog>();
    QElapsedTimer timer;
    timer.start();
    const int cycles = 600;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        line->measureMode = cycle % 3 == 2 ? MeasureModeStandardAcquisition : MeasureModeDataThroughput;
        QVERIFY(line->startMeasurement(4096, 50000));
        // Sometimes at once, sometimes after the worker got going.
        if (cycle % 4 == 1)
            QThread::usleep(500);
        QVERIFY(line->stopMeasurement());
        QVERIFY(!sim(hCam)->isAcquiring());
        // Every hundredth cycle, and after the last.
        if (cycle % 100 == 0 || cycle == cycles - 1)
            QCOMPARE(changedBeyond(before, hCam), QStringList());
    }
    QVERIFY(log->messages().isEmpty());
    log.reset();
    qInfo("%d start/stop cycles in %lld ms", cycles, timer.elapsed());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_threads, 5000);
}

void TestFaults::graphsAndReportsWhileWorkersAppend()
{
    // Two unpaced cameras append as fast as they can into small stores that trim constantly;
    // meanwhile this thread draws both and exports one, as the panel's timer and buttons do.
    QTemporaryDir dir;
    QCustomPlot plot;
    QCPGraph* minGraph = plot.addGraph();
    QCPGraph* levelGraph = plot.addGraph();
    std::vector<std::unique_ptr<CxCameraLineData>> lines;
    for (const char* id : {"busy1", "busy2"}) {
        KSCORE_HANDLE hCam = open(camera(QLatin1String(id), 2000.0, 512, 512));
        lines.emplace_back(lineFor(hCam));
        lines.back()->autoTransport = false;
        QVERIFY(lines.back()->startMeasurement(1024, 200000));
    }
    QElapsedTimer timer;
    timer.start();
    int refreshes = 0;
    int exports = 0;
    while (timer.elapsed() < 2000) {
        for (auto& line : lines) {
            const long long end = newestTimestamp(line.get());
            const QCPRange range(-0.05, 0.0);
            minGraph->data()->clear();
            levelGraph->data()->clear();
            line->calculateGraphsThrougput(minGraph, levelGraph, &range, end - 50000, end, 0.05);
            ++refreshes;
        }
        if (refreshes % 10 == 0) {
            const long long end = newestTimestamp(lines[0].get());
            lines[0]->exportDataToFile(dir.filePath(QStringLiteral("busy.csv")), nullptr, end - 20000, end);
            ++exports;
        }
    }
    for (auto& line : lines) {
        QVERIFY(line->stopMeasurement());
        QVERIFY(storedFrames(line.get()) > 0);
    }
    QVERIFY(refreshes > 20);
    QVERIFY(exports > 2);
    QFile report(dir.filePath(QStringLiteral("busy.csv")));
    QVERIFY(report.open(QIODevice::ReadOnly));
    QVERIFY(report.readLine().startsWith("Frame number,"));
    qInfo("%d refreshes and %d exports in %lld ms", refreshes, exports, timer.elapsed());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_threads, 5000);
}

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
