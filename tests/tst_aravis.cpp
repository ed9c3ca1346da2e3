// Real GenICam cameras through Aravis, measured on ks-gv-camera served in-process over the
// real GigE Vision protocol. Each case runs in a network namespace of its own, with lo up and
// 127.0.0.2 beside 127.0.0.1 for a second camera (GVCP's port is per address); where
// namespaces are not allowed, every case is skipped and says why.

// Before Qt's headers, whose keywords clash with GLib's.
#include <arv.h>

#include "CameraLineData.h"
#include "CxCameraManager.h"
#include "CxGvCamera.h"
#include "NetworkNamespace.h"
#include "ksApi.h"
#include "ksAravis/CxAravisBackend.h"
#include "ksCamera/CxCameraRegistry.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <thread>

namespace {

const char* const kSkipVariable = "KS_TEST_NETNS_UNAVAILABLE";

KSCORE_HANDLE openCamera(const QString& id)
{
    return CxCameraManager::instance()->openCamera(id);
}

int counter(KSCORE_HANDLE hCam, int selector)
{
    int value = -1;
    return ksApi_SetParamInt(hCam, "counter_selector", selector) &&
                   ksApi_GetParamInt(hCam, "counter_value", value)
               ? value
               : -1;
}

bool grab(KSCORE_HANDLE hCam, KS_IMG* image, unsigned int timeoutMs = 2000, int* error = nullptr)
{
    *image = KS_IMG();
    image->size = sizeof(KS_IMG);
    return ksApi_GetImage(hCam, timeoutMs, image, error, true) && image->data;
}

// What a read of each name a run must put back answers (or INT_MIN). The time-stamp reset and
// the device-unit selectors are the plug-in's to leave as it set them.
QMap<QString, int> snapshot(KSCORE_HANDLE hCam)
{
    QMap<QString, int> values;
    for (const char* name : {"imgdataformat", "buffer_policy", "width", "height", "output_bit_depth",
                             "output_bit_packing", "test_pattern_generator_selector", "test_pattern"}) {
        int value = 0;
        values.insert(QString::fromLatin1(name), ksApi_GetParamInt(hCam, name, value) ? value : INT_MIN);
    }
    return values;
}

} // namespace

class TestAravis : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void discoversAndOpensTwoCameras();
    void parametersMapToFeatures_data();
    void parametersMapToFeatures();
    void framesCountAcrossTheIdWrap();
    void lostPacketsAreTransportSkips();
    void aSlowReaderSkipsUnderTheUnsafePolicy();
    void aStopWakesAWaitingCaptureAndTheCameraStartsAgain();
    void throughputIsMeasuredThroughTheNetwork();
    void aCameraWithoutThePatternRefusesCleanly();
    void theHostMeasuresTheCamerasItIsGiven();
    void aVanishedCameraShowsAsDisconnected();
    void whatArrivesIsMeasuredBesideTheCounter();
    void aRefusingOrWaitingCameraFailsTheRunAtOnce();
    void aVanishedCameraEndsTheRunWithItsTime();
    void aThirdPartyClientFindsTheStandardFeatures();
    void aSoftwareTriggerSendsOneFrame();

private:
    // Runs lumorix-sim's scripted run (on the camera at 127.0.0.1 unless `arguments` name one);
    // its exit code and output.
    int runHost(const QStringList& arguments, QString* output, QTemporaryDir* out, int timeoutMs = 60000);
    CxGvCamera m_camera;
    CxGvCamera m_second;
    bool serve(CxGvCamera& camera, SxGvCameraOptions options = SxGvCameraOptions());
    // Serves the first camera on 127.0.0.1 and opens it by address; null when either fails.
    KSCORE_HANDLE serveAndOpen(const SxGvCameraOptions& options = SxGvCameraOptions());
};

void TestAravis::initTestCase()
{
    if (qEnvironmentVariableIsSet(kSkipVariable))
        QSKIP(qPrintable(qEnvironmentVariable(kSkipVariable)));
    CxCameraRegistry::addBackend(CxAravisBackend::instance());
}

void TestAravis::cleanup()
{
    CxCameraManager::instance()->closeAllCameras();
    m_camera.stop();
    m_second.stop();
}

bool TestAravis::serve(CxGvCamera& camera, SxGvCameraOptions options)
{
    QString error;
    const bool ok = camera.start(options, &error);
    if (!ok)
        qWarning("%s", qPrintable(error));
    return ok;
}

KSCORE_HANDLE TestAravis::serveAndOpen(const SxGvCameraOptions& options)
{
    return serve(m_camera, options) ? openCamera(QStringLiteral("aravis:127.0.0.1")) : nullptr;
}

void TestAravis::discoversAndOpensTwoCameras()
{
    SxGvCameraOptions second;
    second.address = QStringLiteral("127.0.0.2");
    second.serialNumber = QStringLiteral("KSGV0002");
    QVERIFY(serve(m_camera));
    QVERIFY(serve(m_second, second));
    CxCameraRegistry::discover();
    QStringList ids;
    for (const SxCameraDescription& camera : CxCameraRegistry::cameras())
        if (camera.id.startsWith(QLatin1String("aravis:")) &&
            camera.modelName == QLatin1String(kGvCameraModel))
            ids.append(camera.id + QLatin1Char(' ') + camera.link);
    ids.sort();
    QCOMPARE(ids, QStringList({"aravis:Quorvane-KS-GV-Camera-KSGV0001 GigE Vision, 127.0.0.1",
                               "aravis:Quorvane-KS-GV-Camera-KSGV0002 GigE Vision, 127.0.0.2"}));
    // One by its listed id, the other by address.
    KSCORE_HANDLE first = openCamera(QStringLiteral("aravis:Quorvane-KS-GV-Camera-KSGV0001"));
    KSCORE_HANDLE other = openCamera(QStringLiteral("aravis:127.0.0.2"));
    QVERIFY(first && other);
    CxCameraParameters* parameters = CxCameraManager::instance()->cameraParameters(other);
    QVERIFY(parameters);
    QCOMPARE(parameters->cameraInfo().serialNumber, QStringLiteral("KSGV0002"));
    QCOMPARE(parameters->findParam(QStringLiteral("width"))->value().toInt(), 256);
    QVERIFY(!openCamera(QStringLiteral("aravis:127.0.0.9")));
}

void TestAravis::parametersMapToFeatures_data()
{
    // Steps: NAME=VALUE writes, NAME?VALUE reads; a trailing "!" and an error code mean the call
    // fails with that error.
    QTest::addColumn<QStringList>("steps");
    QTest::newRow("size within range and increment") << QStringList{"width=128",
                                                                    "width?128",
                                                                    "width=100000!3",
                                                                    "width:settable=100000!3",
                                                                    "width:settable=130!3",
                                                                    "width:settable=132",
                                                                    "width?128",
                                                                    "height=64",
                                                                    "height?64"};
    QTest::newRow("bit depth and packing to the pixel format")
        << QStringList{"output_bit_depth?16",  "output_bit_depth=12",  "output_bit_packing=1",
                       "output_bit_packing?1", "output_bit_depth?12",  "output_bit_packing=0",
                       "output_bit_depth=16",  "output_bit_packing?0", "output_bit_depth=10!3"};
    QTest::newRow("counter pattern and its format") << QStringList{"imgdataformat?0",
                                                                   "imgdataformat:settable=7",
                                                                   "imgdataformat=7",
                                                                   "output_bit_depth?16",
                                                                   "test_pattern_generator_selector=1",
                                                                   "test_pattern=11",
                                                                   "test_pattern?11",
                                                                   "test_pattern=0",
                                                                   "imgdataformat=0",
                                                                   "imgdataformat=5!3"};
    QTest::newRow("read-only, unmapped and unsupported") << QStringList{"device_unit_selector=8",
                                                                        "device_unit_register_selector=4096",
                                                                        "device_unit_register_value?26",
                                                                        "device_unit_register_value=1!4",
                                                                        "LUTEnable?0!2",
                                                                        "column_fpn_correction=0!2",
                                                                        "no_such_parameter=1!2",
                                                                        "counter_selector:settable=2",
                                                                        "counter_selector:settable=3!3",
                                                                        "buffer_policy=2!3",
                                                                        "buffer_policy=0",
                                                                        "buffer_policy?0"};
}

void TestAravis::parametersMapToFeatures()
{
    QFETCH(QStringList, steps);
    KSCORE_HANDLE hCam = serveAndOpen();
    QVERIFY(hCam);
    for (const QString& step : std::as_const(steps)) {
        const bool read = step.contains('?');
        const QStringList parts = step.split(read ? '?' : '=');
        const QStringList valueAndError = parts[1].split('!');
        const QByteArray name = parts[0].toLatin1();
        const int expectedError = valueAndError.size() > 1 ? valueAndError[1].toInt() : int(KS_OK);
        int value = valueAndError[0].toInt();
        int error = -1;
        const bool ok = read ? ksApi_GetParamInt(hCam, name.constData(), value, &error)
                             : ksApi_SetParamInt(hCam, name.constData(), value, &error);
        QVERIFY2(ok == (expectedError == KS_OK) && error == expectedError,
                 qPrintable(QStringLiteral("%1: error %2").arg(step).arg(error)));
        if (read && ok)
            QVERIFY2(value == valueAndError[0].toInt(),
                     qPrintable(QStringLiteral("%1: read %2").arg(step).arg(value)));
    }
}

void TestAravis::framesCountAcrossTheIdWrap()
{
    KSCORE_HANDLE hCam = serveAndOpen();
    QVERIFY(hCam && ksApi_StartAcquisition(hCam));
    KS_IMG image;
    quint32 previous = 0;
    for (int i = 0; i < 300; ++i) {
        QVERIFY2(grab(hCam, &image), qPrintable(QString::number(i)));
        // The camera's 16-bit ids start near their wrap, so 300 frames cross it.
        QVERIFY2(i == 0 || image.frameNumber > previous, qPrintable(QString::number(image.frameNumber)));
        previous = image.frameNumber;
        QCOMPARE(image.width * image.height * 2, quint32(image.dataSize));
    }
    QVERIFY(previous > 65535);
    QCOMPARE(counter(hCam, KS_CNT_TRANSPORT_SKIP), 0);
    QCOMPARE(counter(hCam, KS_CNT_API_SKIP), 0);
    const int transferred = counter(hCam, KS_CNT_TRANSFERRED);
    QVERIFY2(transferred >= 300 && transferred <= 302, qPrintable(QString::number(transferred)));
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
}

void TestAravis::lostPacketsAreTransportSkips()
{
    SxGvCameraOptions options;
    options.loss = 0.01;
    KSCORE_HANDLE hCam = serveAndOpen(options);
    QVERIFY(hCam && ksApi_StartAcquisition(hCam));
    KS_IMG image;
    int complete = 0;
    QElapsedTimer timer;
    timer.start();
    while (m_camera.framesSent() < 300 && timer.elapsed() < 10000)
        complete += grab(hCam, &image, 100) ? 1 : 0;
    m_camera.stopStreaming();
    // What is on its way arrives or is given up within the stream's time-outs.
    QTest::qWait(600);
    while (grab(hCam, &image, 50))
        ++complete;
    const int skipped = counter(hCam, KS_CNT_TRANSPORT_SKIP);
    const int transferred = counter(hCam, KS_CNT_TRANSFERRED);
    QCOMPARE(transferred, complete);
    QVERIFY2(skipped > 0, "about 60 % of 96-packet frames lose a packet at 1 %");
    QCOMPARE(quint64(transferred + skipped), m_camera.framesSent());
    QCOMPARE(counter(hCam, KS_CNT_API_SKIP), 0);
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
}

void TestAravis::aSlowReaderSkipsUnderTheUnsafePolicy()
{
    KSCORE_HANDLE hCam = serveAndOpen();
    QVERIFY(hCam && ksApi_SetParamInt(hCam, "buffer_policy", 0) && ksApi_StartAcquisition(hCam));
    KS_IMG image;
    quint32 previous = 0;
    bool gap = false;
    for (int i = 0; i < 20; ++i) {
        QVERIFY(grab(hCam, &image));
        gap = gap || (i > 0 && image.frameNumber > previous + 1);
        previous = image.frameNumber;
        QThread::msleep(30); // six frame periods at 200 fps
    }
    QVERIFY(gap);
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
    // Every complete frame was handed on, skipped, or still waited in the queue of 4 (one
    // more may have been on its way into it) when the run stopped.
    const int apiSkipped = counter(hCam, KS_CNT_API_SKIP);
    const int waiting = counter(hCam, KS_CNT_TRANSFERRED) - apiSkipped - 20;
    QVERIFY2(apiSkipped > 0 && waiting >= 0 && waiting <= 5,
             qPrintable(QStringLiteral("%1 skipped, %2 left").arg(apiSkipped).arg(waiting)));
    QCOMPARE(counter(hCam, KS_CNT_TRANSPORT_SKIP), 0);
}

void TestAravis::aStopWakesAWaitingCaptureAndTheCameraStartsAgain()
{
    SxGvCameraOptions options;
    options.fps = 2.0;
    KSCORE_HANDLE hCam = serveAndOpen(options);
    QVERIFY(hCam);
    for (int run = 0; run < 2; ++run) {
        QVERIFY(ksApi_StartAcquisition(hCam));
        KS_IMG image;
        // The camera sends its first frame at once and the next on its period's boundary, which
        // may come right after; from the second on, frames are a period (500 ms) apart.
        QVERIFY(grab(hCam, &image, 3000) && grab(hCam, &image, 3000));
        int error = KS_OK;
        QElapsedTimer sinceStop;
        std::thread reader([&] { grab(hCam, &image, 5000, &error); });
        QThread::msleep(100);
        sinceStop.start();
        QCOMPARE(ksApi_StopAcquisition(hCam), 0);
        reader.join();
        QVERIFY2(sinceStop.elapsed() < 200, qPrintable(QString::number(sinceStop.elapsed())));
        QCOMPARE(error, int(KS_ERR_ABORTED));
    }
}

void TestAravis::throughputIsMeasuredThroughTheNetwork()
{
    KSCORE_HANDLE hCam = serveAndOpen();
    QVERIFY(hCam);
    const QMap<QString, int> before = snapshot(hCam);
    CxCameraLineData line;
    line.hCam = hCam;
    line.cameraName = QStringLiteral("gv");
    QVERIFY(line.startMeasurement(4096, 1000000));
    QTest::qWait(1500);
    QVERIFY(line.stopMeasurement());
    QVERIFY2(line.frames.size() >= 100, qPrintable(QString::number(line.frames.size())));
    const double rate = line.linkAverage();
    QVERIFY2(qAbs(rate - 400.0) < 2.0, qPrintable(QString::number(rate)));
    // Every step within every frame, not just the average, runs at the link's rate.
    std::vector<double> speeds(line.frames.first()->sampleCount);
    for (const CxCameraLineData::CxFrameData* frame : std::as_const(line.frames)) {
        const unsigned int steps = frame->calculateFrameSpeeds(4096, 0.0, speeds.data(), nullptr, nullptr);
        for (unsigned int i = 0; i < steps; ++i)
            QVERIFY2(qAbs(speeds[i] - 400.0) < 2.0, qPrintable(QString::number(speeds[i])));
    }
    QCOMPARE(snapshot(hCam), before);
    QVERIFY(m_camera.counterFrames() >= 100);
}

void TestAravis::aCameraWithoutThePatternRefusesCleanly()
{
    SxGvCameraOptions options;
    options.model = QStringLiteral("KS-GV-Plain");
    KSCORE_HANDLE hCam = serveAndOpen(options);
    QVERIFY(hCam);
    const QMap<QString, int> before = snapshot(hCam);
    CxCameraLineData line;
    line.hCam = hCam;
    QVERIFY(!line.startMeasurement(4096, 1000000));
    QCOMPARE(snapshot(hCam), before);
    QCOMPARE(CxCameraRegistry::camera(hCam)->lastRefusal(),
             QStringLiteral(
                 "This camera cannot send the link-time counter pattern; use Standard Sensor Acquisition"));
    // The standard acquisition needs no pattern.
    line.measureMode = MeasureModeStandardAcquisition;
    QVERIFY(line.startMeasurement(4096, 1000));
    QTest::qWait(300);
    QVERIFY(line.stopMeasurement());
    QVERIFY(line.counterSamples.size() >= 20);
    QCOMPARE(snapshot(hCam), before);
}

void TestAravis::theHostMeasuresTheCamerasItIsGiven()
{
    QVERIFY(serve(m_camera));
    QTemporaryDir out;
    QString output;
    QVERIFY2(runHost({QStringLiteral("--duration"), QStringLiteral("2")}, &output, &out) == 0,
             qPrintable(output));
    QFile summary(out.filePath(QStringLiteral("summary.json")));
    QVERIFY(summary.open(QIODevice::ReadOnly));
    const QJsonArray cameras = QJsonDocument::fromJson(summary.readAll()).object().value("cameras").toArray();
    QCOMPARE(cameras.size(), 1);
    QVERIFY2(qAbs(cameras[0].toObject().value("linkAverage").toDouble() - 400.0) < 2.0, qPrintable(output));
    // A camera that is not there ends the run with the reason.
    QCOMPARE(runHost({QStringLiteral("--camera"), QStringLiteral("aravis:127.0.0.7")}, &output, &out), 1);
    QVERIFY2(
        output.contains(QStringLiteral("camera aravis:127.0.0.7 could not be opened: aravis:127.0.0.7:")),
        "the reason follows the camera");
}

void TestAravis::aVanishedCameraShowsAsDisconnected()
{
    KSCORE_HANDLE hCam = serveAndOpen();
    QVERIFY(hCam && ksApi_StartAcquisition(hCam));
    KS_IMG image;
    QVERIFY(grab(hCam, &image));
    m_camera.stop();
    // Aravis gives up on the camera after its heartbeats have failed for about 6 s.
    QTRY_VERIFY_WITH_TIMEOUT(!CxCameraManager::instance()->isCameraConnected(hCam), 20000);
    int error = KS_OK;
    QVERIFY(!grab(hCam, &image, 5000, &error));
    QCOMPARE(error, int(KS_ERR_DEVICE));
    int value = 0;
    QElapsedTimer timer;
    timer.start();
    // Neither a read nor the stop waits out the control channel's 2.5 s time-out.
    QVERIFY(!ksApi_GetParamInt(hCam, "width", value));
    const int stopped = ksApi_StopAcquisition(hCam);
    QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(stopped, 0);
}

int TestAravis::runHost(const QStringList& arguments, QString* output, QTemporaryDir* out, int timeoutMs)
{
    QProcess host;
    host.setProcessChannelMode(QProcess::MergedChannels);
    QStringList all{QStringLiteral("--headless"), QStringLiteral("--out"), out->path()};
    if (!arguments.contains(QStringLiteral("--camera")))
        all << QStringLiteral("--camera") << QStringLiteral("aravis:127.0.0.1");
    host.start(QStringLiteral(HOST_PATH), all + arguments);
    host.waitForFinished(timeoutMs);
    *output = QString::fromLocal8Bit(host.readAll());
    return host.exitStatus() == QProcess::NormalExit ? host.exitCode() : -1;
}

// A camera set to send more than the network carries: the counter says what the camera
// claims of its link, the delivered rate what came, within 2 % of the stream's own count. A
// lossy one shows its missing packets and the frames they cost.
void TestAravis::whatArrivesIsMeasuredBesideTheCounter()
{
    SxGvCameraOptions fast;
    fast.width = fast.height = 1024;
    fast.fps = 1000.0; // 2097 MB/s
    fast.linkRateMBps = 4000.0;
    SxGvCameraOptions lossy;
    lossy.address = QStringLiteral("127.0.0.2");
    lossy.serialNumber = QStringLiteral("KSGV0002");
    lossy.loss = 0.01;
    QVERIFY(serve(m_camera, fast) && serve(m_second, lossy));
    CxCameraLineData lines[2];
    lines[0].hCam = openCamera(QStringLiteral("aravis:127.0.0.1"));
    lines[1].hCam = openCamera(QStringLiteral("aravis:127.0.0.2"));
    for (CxCameraLineData& line : lines)
        QVERIFY(line.hCam && line.startMeasurement(4096, 1000000));
    QTest::qWait(2500);
    for (CxCameraLineData& line : lines)
        QVERIFY(line.stopMeasurement());
    const CxRunHistory::SxTotals t = lines[0].history.totals();
    QVERIFY(t.hasStream && t.delivered > 10);
    const double streamed = double(t.stream[CxRunHistory::StreamTransferredBytes]);
    QVERIFY2(qAbs(t.deliveredBytes / streamed - 1.0) < 0.02,
             qPrintable(QStringLiteral("%1 delivered, %2 streamed").arg(t.deliveredBytes).arg(streamed)));
    QCOMPARE(qRound(t.askedRate()), 2097);
    QVERIFY(qAbs(t.linkAverage() - 4000.0) < 1.0);
    const CxRunHistory::SxVerdict fell = CxRunHistory::verdict(t);
    QVERIFY2(fell.fallsBehind && fell.headroom == 0.0 && fell.text.contains(QStringLiteral("no headroom")),
             qPrintable(fell.text));

    const CxRunHistory::SxTotals lost = lines[1].history.totals();
    const QVector<CxRunHistory::SxEvent> events = lines[1].history.events();
    QVERIFY2(lost.stream[CxRunHistory::StreamMissingPackets] > 0 && lost.lostFrames > 0,
             qPrintable(CxRunHistory::verdict(lost).text));
    QVERIFY(std::any_of(events.cbegin(), events.cend(), [](const CxRunHistory::SxEvent& e) {
        return e.kind == CxRunHistory::EventStream && e.counter == CxRunHistory::StreamMissingPackets;
    }));
    QVERIFY(CxRunHistory::verdict(lost).text.contains(QStringLiteral("never arrived")));
}

// A camera that refuses the pattern ends the run at once, telling why once and naming no
// report; one that waits for a trigger fails with the trigger named.
void TestAravis::aRefusingOrWaitingCameraFailsTheRunAtOnce()
{
    // Both served before any process starts: under ThreadSanitizer no thread may start after it.
    SxGvCameraOptions plain;
    plain.model = QStringLiteral("KS-GV-Plain");
    plain.address = QStringLiteral("127.0.0.2");
    plain.serialNumber = QStringLiteral("KSGV0002");
    QVERIFY(serve(m_second, plain) && serve(m_camera));
    QTemporaryDir out;
    QString output;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(runHost({QStringLiteral("--camera"), QStringLiteral("aravis:127.0.0.2"), QStringLiteral("--duration"),
                      QStringLiteral("30")},
                     &output, &out),
             1);
    QVERIFY2(timer.elapsed() < 15000, qPrintable(output));
    QVERIFY2(!output.contains(QStringLiteral("CSV report")) &&
                 output.count(QStringLiteral("use Standard Sensor Acquisition)")) == 1,
             qPrintable(output));
    QVERIFY(QFile::exists(out.filePath(QStringLiteral("summary.json"))));

    const QString tool = QStandardPaths::findExecutable(QStringLiteral("arv-tool-0.8"));
    if (tool.isEmpty())
        QSKIP("arv-tool-0.8 (aravis-tools-cli) is not installed");
    QProcess client;
    client.start(tool, {QStringLiteral("-a"), QStringLiteral("127.0.0.1"), QStringLiteral("control"),
                        QStringLiteral("TriggerMode=On")});
    QVERIFY(client.waitForFinished(20000) && client.exitCode() == 0);
    QCOMPARE(runHost({QStringLiteral("--duration"), QStringLiteral("2")}, &output, &out), 1);
    QVERIFY2(
        output.contains(QStringLiteral("no image in the")) &&
            output.contains(QStringLiteral("TriggerMode is On for FrameStart: the camera waits for a trigger "
                                           "from Line0")),
        qPrintable(output));
}

// Killed mid-run, the camera ends the scripted run within seconds, with exit code 1 and the
// time it was last heard of, after everything the run writes is written.
void TestAravis::aVanishedCameraEndsTheRunWithItsTime()
{
    QVERIFY(serve(m_camera));
    QTemporaryDir out;
    QProcess host;
    host.setProcessChannelMode(QProcess::MergedChannels);
    host.start(QStringLiteral(HOST_PATH),
               {QStringLiteral("--headless"), QStringLiteral("--camera"), QStringLiteral("aravis:127.0.0.1"),
                QStringLiteral("--duration"), QStringLiteral("40"), QStringLiteral("--out"), out.path()});
    QByteArray output;
    QTRY_VERIFY_WITH_TIMEOUT((output += host.readAll()).contains("measuring 3."), 20000);
    m_camera.stop();
    QElapsedTimer sinceStop;
    sinceStop.start();
    QVERIFY(host.waitForFinished(30000));
    output += host.readAll();
    QVERIFY2(sinceStop.elapsed() < 10000, qPrintable(QString::number(sinceStop.elapsed())));
    QCOMPARE(host.exitCode(), 1);
    QVERIFY2(output.contains("KS-GV-Camera (KSGV0001) (aravis:127.0.0.1): the camera stopped answering at"),
             output.constData());
    QFile summary(out.filePath(QStringLiteral("summary.json")));
    QVERIFY(summary.open(QIODevice::ReadOnly));
    const QJsonObject run = QJsonDocument::fromJson(summary.readAll())
                                .object()
                                .value("cameras")
                                .toArray()[0]
                                .toObject()
                                .value("run")
                                .toObject();
    QVERIFY2(run.value("cameraLostAtSeconds").toDouble() > 2.5, qPrintable(QJsonDocument(run).toJson()));
    QVERIFY(QFile::exists(out.filePath(QStringLiteral("panel.png"))));
}

// Aravis's own command-line client lists the features a client expects and reads back what
// it wrote; the exposure bounds the frame rate, the clock runs at 250 MHz.
void TestAravis::aThirdPartyClientFindsTheStandardFeatures()
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("arv-tool-0.8"));
    if (tool.isEmpty())
        QSKIP("arv-tool-0.8 (aravis-tools-cli) is not installed");
    SxGvCameraOptions options;
    options.fps = 100.0;
    QVERIFY(serve(m_camera, options));
    auto control = [&tool](const QStringList& features) {
        QProcess client;
        client.start(
            tool, QStringList{QStringLiteral("-a"), QStringLiteral("127.0.0.1"), QStringLiteral("control")} +
                      features);
        client.waitForFinished(20000);
        return QString::fromLocal8Bit(client.readAllStandardOutput());
    };
    control({"ExposureTime=20000", "Gain=3", "DeviceUserID=bench-1", "OffsetX=16", "TriggerSource=Software"});
    const QString read = control({"ExposureTime", "AcquisitionFrameRate", "Gain", "DeviceUserID", "OffsetX",
                                  "WidthMax", "HeightMax", "TriggerSelector", "TriggerSource",
                                  "TriggerSoftware", "GevTimestampTickFrequency", "GevTimestampControlLatch",
                                  "GevTimestampValue", "DeviceVersion"});
    for (const char* said :
         {"ExposureTime = 20000 us", "AcquisitionFrameRate = 50 ", "Gain = 3 dB", "DeviceUserID = bench-1",
          "OffsetX = 16 ", "WidthMax = 2032", "HeightMax = 2048", "TriggerSelector = FrameStart",
          "TriggerSource = Software", "GevTimestampTickFrequency = 250000000",
          "GevTimestampValue = ", "DeviceVersion = ks-gv-camera " KS_GV_CAMERA_VERSION})
        QVERIFY2(read.contains(QLatin1String(said)), qPrintable(read));
    // Its own description, not the fake camera's.
    QProcess client;
    client.setProcessChannelMode(QProcess::MergedChannels);
    client.start(tool, {QStringLiteral("-a"), QStringLiteral("127.0.0.1"), QStringLiteral("-d"),
                        QStringLiteral("device:3"), QStringLiteral("control"), QStringLiteral("Width")});
    client.waitForFinished(20000);
    QVERIFY(client.readAll().contains("Local:ks-gv-camera.xml"));
}

// In trigger mode with the software as its source, the camera sends one frame per trigger;
// a single- or multi-frame acquisition as many as it asks for.
void TestAravis::aSoftwareTriggerSendsOneFrame()
{
    QVERIFY(serve(m_camera));
    GError* error = nullptr;
    ArvCamera* camera = arv_camera_new("127.0.0.1", &error);
    QVERIFY2(camera, error ? error->message : "no camera");
    arv_camera_set_string(camera, "TriggerMode", "On", &error);
    arv_camera_set_string(camera, "TriggerSource", "Software", &error);
    ArvStream* stream = error ? nullptr : arv_camera_create_stream(camera, nullptr, nullptr, &error);
    QVERIFY2(stream, error ? error->message : "no stream");
    const guint payload = arv_camera_get_payload(camera, &error);
    for (int i = 0; i < 4; ++i)
        arv_stream_push_buffer(stream, arv_buffer_new(payload, nullptr));
    arv_camera_start_acquisition(camera, &error);
    auto frames = [stream](int withinMs) {
        int count = 0;
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < withinMs)
            if (ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 50000)) {
                count += arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS ? 1 : 0;
                arv_stream_push_buffer(stream, buffer);
            }
        return count;
    };
    const int before = frames(500);
    arv_camera_execute_command(camera, "TriggerSoftware", &error);
    const int triggered = frames(1000);
    arv_camera_stop_acquisition(camera, &error);
    // Free running, a single-frame acquisition sends one, a multi-frame one its count.
    arv_camera_set_string(camera, "TriggerMode", "Off", &error);
    arv_camera_set_string(camera, "AcquisitionMode", "SingleFrame", &error);
    arv_camera_start_acquisition(camera, &error);
    const int single = frames(1000);
    arv_camera_stop_acquisition(camera, &error);
    arv_camera_set_string(camera, "AcquisitionMode", "MultiFrame", &error);
    arv_camera_set_integer(camera, "AcquisitionFrameCount", 3, &error);
    arv_camera_start_acquisition(camera, &error);
    const int multi = frames(1000);
    arv_camera_stop_acquisition(camera, &error);
    g_clear_error(&error);
    g_object_unref(stream);
    g_object_unref(camera);
    QCOMPARE(before, 0);
    QCOMPARE(triggered, 1);
    QCOMPARE(single, 1);
    QCOMPARE(multi, 3);
}

// Each case in a network namespace of its own, as a child process of this one.
int runEachCaseNamespaced(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    int passed = 0;
    int failed = 0;
    const QMetaObject& meta = TestAravis::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        const QString name = QString::fromLatin1(method.name());
        if (method.access() != QMetaMethod::Private || method.methodType() != QMetaMethod::Slot ||
            name.endsWith(QLatin1String("_data")) || name == QLatin1String("initTestCase") ||
            name == QLatin1String("cleanup"))
            continue;
        QString unavailable;
        const int code = runNamespaced(QCoreApplication::applicationFilePath(), {name}, 60000, &unavailable);
        if (code < 0) {
            qputenv(kSkipVariable, unavailable.toLocal8Bit());
            TestAravis test;
            return QTest::qExec(&test, argc, argv);
        }
        (code == 0 ? passed : failed) += 1;
    }
    printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}

int main(int argc, char* argv[])
{
    if (argc == 1 && !isNamespaced())
        return runEachCaseNamespaced(argc, argv);
    QCoreApplication app(argc, argv);
    TestAravis test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_aravis.moc"
