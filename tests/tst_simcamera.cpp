// The simulated camera as the camera API shows it: configured parameters,
// ":settable" queries, the selector-addressed values, start and the reversed stop,
// injected faults and the call log.

#include "SimTestSupport.h"

#include <QElapsedTimer>
#include <QtTest>
#include <climits>

using namespace simtest;

class TestSimCamera : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeAll(); }

    void readsAndWritesAnswerWithTheirError();
    void selectorsAndQueriesAddressTheirCells_data();
    void selectorsAndQueriesAddressTheirCells();
    void startAndTheReversedStopWithTheirFaults();
    void unknownHandlesAreRefused();
    void refusedParameters();
    void captureFaults_data();
    void captureFaults();
    void callLogKeepsExactOrderAndTheNewestCalls();
    void noRateMakesACallLong_data();
    void noRateMakesACallLong();
};

void TestSimCamera::readsAndWritesAnswerWithTheirError()
{
    CxSimCameraConfig config = camera("params", 400.0, 64, 64);
    config.parameters.insert(QStringLiteral("buffer_policy"), 0);
    config.parameters.insert(QStringLiteral("imgdataformat"), 3);
    KSCORE_HANDLE hCam = open(config);
    // The error a write answers with, KS_OK exactly when it answers true.
    auto set = [hCam](const char* name, int value) {
        int error = -1;
        const bool ok = ksApi_SetParamInt(hCam, name, value, &error);
        return ok == (error == KS_OK) ? error : -1;
    };
    auto get = [hCam](const char* name) {
        int value = 0;
        return ksApi_GetParamInt(hCam, name, value) ? value : INT_MIN;
    };
    // Configured power-on values replace the defaults; the others keep theirs.
    QCOMPARE(QList<int>({get("buffer_policy"), get("imgdataformat"), get("test_pattern")}),
             QList<int>({0, 3, 0}));
    QCOMPARE(set("output_bit_depth", 16), int(KS_OK));
    QCOMPARE(get("output_bit_depth"), 16);
    QCOMPARE(set("output_bit_depth", 17), int(KS_ERR_OUT_OF_RANGE));
    QCOMPARE(set("buffer_policy", 2), int(KS_ERR_OUT_OF_RANGE));
    QCOMPARE(set("width", 512), int(KS_ERR_READ_ONLY));
    QCOMPARE(set("counter_value", 1), int(KS_ERR_READ_ONLY));
    QCOMPARE(set("no_such_parameter", 1), int(KS_ERR_UNKNOWN_PARAMETER));
    int error = KS_OK;
    int value = 0;
    QVERIFY(!ksApi_GetParamInt(hCam, "no_such_parameter", value, &error));
    QCOMPARE(error, int(KS_ERR_UNKNOWN_PARAMETER));
    // The format is locked while acquiring; other parameters are not.
    QVERIFY(ksApi_StartAcquisition(hCam));
    QCOMPARE(set("imgdataformat", 2), int(KS_ERR_LOCKED_WHILE_ACQUIRING));
    QCOMPARE(set("buffer_policy", 0), int(KS_OK));
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
    QCOMPARE(set("imgdataformat", 2), int(KS_OK));
}

void TestSimCamera::selectorsAndQueriesAddressTheirCells_data()
{
    // Steps "NAME=VALUE" write and "NAME?VALUE" read that value; a trailing "!": the call fails.
    QTest::addColumn<QString>("steps");
    QTest::newRow(":settable queries write nothing")
        << "test_pattern:settable=11 test_pattern:settable=99! width:settable=1024! test_pattern?0 "
           "dp_unit_selector:settable=1 dp_param_selector=6 dp_param_value:settable=9 "
           "dp_param_value:settable=3! dp_param_value?10";
    // With the buffer size selected, a write of 10 goes to that read-only cell and fails; the
    // frame-buffer mode keeps 9. A selection with nothing behind it answers false.
    QTest::newRow("frame-buffer mode") << "dp_unit_selector=1 dp_proc_selector=5 dp_param_selector=6 "
                                          "dp_param_value?10 dp_param_value=9 dp_param_selector=7 "
                                          "dp_param_value=10! dp_param_selector=6 dp_param_value?9 "
                                          "dp_unit_selector=3 dp_param_value?!";
    // Unit 8 register 4096 holds the sensor's rate, read-only; unit 1 register 55 is writable.
    QTest::newRow("device registers")
        << "device_unit_selector=8 device_unit_register_selector=4096 device_unit_register_value?612 "
           "device_unit_register_value=1! device_unit_selector=1 device_unit_register_selector=55 "
           "device_unit_register_value=25000 device_unit_register_value?25000 "
           "device_unit_register_selector=56 device_unit_register_value?!";
}

void TestSimCamera::selectorsAndQueriesAddressTheirCells()
{
    QFETCH(QString, steps);
    CxSimCameraConfig config = camera("cells");
    config.sensor.dataRateMBps = 612.0;
    KSCORE_HANDLE hCam = open(config);
    for (const QString& step : steps.split(' ')) {
        const int at = step.indexOf(QRegularExpression(QStringLiteral("[=?]")));
        const QByteArray name = step.left(at).toLatin1();
        const int expected = QString(step.mid(at + 1)).remove('!').toInt();
        int value = expected;
        const bool ok = step[at] == '=' ? ksApi_SetParamInt(hCam, name.constData(), expected)
                                        : ksApi_GetParamInt(hCam, name.constData(), value);
        QVERIFY2(ok != step.endsWith('!') && value == expected, qPrintable(step));
    }
}

void TestSimCamera::startAndTheReversedStopWithTheirFaults()
{
    KSCORE_HANDLE hCam = open(camera("startstop", 400.0, 64, 64));
    KS_IMG image;
    int error = KS_OK;
    QVERIFY(!grab(hCam, &image, 10, &error));
    QCOMPARE(error, int(KS_ERR_NOT_ACQUIRING));
    faults(hCam)->refuseStart(1);
    QCOMPARE(ksApi_StartAcquisition(hCam), 0);
    QVERIFY(!sim(hCam)->isAcquiring());
    QVERIFY(ksApi_StartAcquisition(hCam) != 0);
    QCOMPARE(ksApi_StartAcquisition(hCam), 0); // already acquiring
    QVERIFY(grab(hCam, &image));
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);  // zero is success
    QVERIFY(ksApi_StopAcquisition(hCam) != 0); // not acquiring any more
    // A failing stop stops the camera all the same, so it can start again.
    QVERIFY(ksApi_StartAcquisition(hCam) != 0);
    faults(hCam)->failStop(1);
    QVERIFY(ksApi_StopAcquisition(hCam) != 0);
    QVERIFY(!sim(hCam)->isAcquiring());
    QVERIFY(ksApi_StartAcquisition(hCam) != 0);
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
}

void TestSimCamera::unknownHandlesAreRefused()
{
    auto bogus = reinterpret_cast<KSCORE_HANDLE>(quintptr(0xdead0));
    int value = 0;
    int error = KS_OK;
    QVERIFY(!ksApi_GetParamInt(bogus, "buffer_policy", value, &error));
    QCOMPARE(error, int(KS_ERR_INVALID_HANDLE));
    QVERIFY(!ksApi_SetParamInt(nullptr, "buffer_policy", 0));
    QCOMPARE(ksApi_StartAcquisition(bogus), 0);
    QVERIFY(ksApi_StopAcquisition(bogus) != 0);
    KS_IMG image;
    QVERIFY(!grab(bogus, &image));

    KSCORE_HANDLE hCam = open(camera("closed"));
    CxCameraManager::instance()->closeCamera(hCam);
    QVERIFY(!ksApi_GetParamInt(hCam, "buffer_policy", value));
}

void TestSimCamera::refusedParameters()
{
    KSCORE_HANDLE hCam = open(camera("refuse"));
    faults(hCam)->refuseParam(QStringLiteral("buffer_policy"), ExParamOp::Set, 2);
    int error = KS_OK;
    QVERIFY(!ksApi_SetParamInt(hCam, "buffer_policy", 0, &error));
    QCOMPARE(error, int(KS_ERR_REFUSED));
    int value = -1;
    QVERIFY(ksApi_GetParamInt(hCam, "buffer_policy", value)); // reads still pass
    QVERIFY(!ksApi_SetParamInt(hCam, "buffer_policy", 0));
    QVERIFY(ksApi_SetParamInt(hCam, "buffer_policy", 0)); // the count is used up

    faults(hCam)->refuseParam(QStringLiteral("dp_proc_selector:settable"));
    QVERIFY(!ksApi_SetParamInt(hCam, "dp_proc_selector:settable", 5));
    QVERIFY(ksApi_SetParamInt(hCam, "dp_proc_selector", 5)); // only the query is refused

    faults(hCam)->refuseParam(QStringLiteral("test_pattern"), ExParamOp::Get);
    QVERIFY(!ksApi_GetParamInt(hCam, "test_pattern", value));
    QVERIFY(ksApi_SetParamInt(hCam, "test_pattern", KS_TESTPAT_DEVICE_SPEC_COUNTER));
    faults(hCam)->clearFaults();
    QVERIFY(ksApi_GetParamInt(hCam, "test_pattern", value));
    QCOMPARE(value, 11);

    // By value: only writes of that value are refused, for as long as the fault lasts.
    faults(hCam)->refuseParamValue(QStringLiteral("device_unit_selector"), 8);
    QVERIFY(!ksApi_SetParamInt(hCam, "device_unit_selector", 8));
    QVERIFY(ksApi_SetParamInt(hCam, "device_unit_selector", 1));
    QVERIFY(!ksApi_SetParamInt(hCam, "device_unit_selector", 8));
}

void TestSimCamera::captureFaults_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("count"); // -1: until cleared, as a disconnected camera
    QTest::addColumn<bool>("result");
    QTest::addColumn<int>("error");
    QTest::newRow("fail") << int(ExCaptureFault::Fail) << 2 << false << int(KS_ERR_DEVICE);
    QTest::newRow("no data") << int(ExCaptureFault::NoData) << 2 << true << int(KS_OK);
    QTest::newRow("timeout") << int(ExCaptureFault::Timeout) << 2 << false << int(KS_ERR_TIMEOUT);
    QTest::newRow("disconnect") << int(ExCaptureFault::Fail) << -1 << false << int(KS_ERR_DEVICE);
}

void TestSimCamera::captureFaults()
{
    QFETCH(int, kind);
    QFETCH(int, count);
    QFETCH(bool, result);
    QFETCH(int, error);
    KSCORE_HANDLE hCam = open(camera("capturefault", 400.0, 64, 64));
    faults(hCam)->failCaptures(ExCaptureFault(kind), count, 1);
    QVERIFY(ksApi_StartAcquisition(hCam));
    KS_IMG image;
    QVERIFY(grab(hCam, &image)); // the fault starts with the second capture
    for (int i = 0; i < (count < 0 ? 50 : count); ++i) {
        image = KS_IMG();
        image.size = sizeof(KS_IMG);
        int code = -1;
        QCOMPARE(ksApi_GetImage(hCam, 5000, &image, &code, true), result);
        QCOMPARE(code, error);
        QVERIFY(image.data == nullptr);
    }
    if (count < 0)
        faults(hCam)->clearFaults();
    QVERIFY(grab(hCam, &image));
    QCOMPARE(image.frameNumber, 1u); // failed captures consume no frame
}

void TestSimCamera::callLogKeepsExactOrderAndTheNewestCalls()
{
    KSCORE_HANDLE hCam = open(camera("log", 400.0, 64, 64));
    logOf(hCam)->clearCallLog();
    int value = 0;
    ksApi_GetParamInt(hCam, "imgdataformat", value);
    ksApi_SetParamInt(hCam, "buffer_policy", 0);
    ksApi_SetParamInt(hCam, "dp_unit_selector:settable", 1);
    ksApi_StartAcquisition(hCam);
    KS_IMG image;
    grab(hCam, &image);
    ksApi_StopAcquisition(hCam);
    QCOMPARE(logOf(hCam)->callLogText(), QStringList({"get imgdataformat", "set buffer_policy 0",
                                                      "set dp_unit_selector:settable 1", "start", "stop"}));
    QCOMPARE(logOf(hCam)->callLogText(true).at(4), QStringLiteral("image"));
    const QList<SxCallLogEntry> log = logOf(hCam)->callLog();
    QVERIFY(log[1].ok);
    QCOMPARE(log[4].value, 0); // the frame number delivered
    // Past its limit the log keeps the newest 500,000 calls, oldest first.
    for (int i = 0; i < 500002; ++i)
        ksApi_SetParamInt(hCam, "no_such_parameter", i);
    const QList<SxCallLogEntry> newest = logOf(hCam)->callLog();
    QCOMPARE(newest.size(), 500000);
    QCOMPARE(newest.first().value, 2);
    QCOMPARE(newest.last().value, 500001);
}

QTEST_GUILESS_MAIN(TestSimCamera)
#include "tst_simcamera.moc"

void TestSimCamera::noRateMakesACallLong_data()
{
    QTest::addColumn<bool>("pattern");
    QTest::newRow("counter pattern, frames skipped for a slow host") << true;
    QTest::newRow("plain images, triggers missed on a full buffer") << false;
}

// Rates far beyond any real link: a host that falls behind by a fraction of a second would
// owe the camera billions of frames. Each call must still take its bounded share of the
// camera's lock, or the GUI thread waits on it for good.
void TestSimCamera::noRateMakesACallLong()
{
    QFETCH(bool, pattern);
    CxSimCameraConfig config = camera(QStringLiteral("extreme"), 1e12, 4, 1);
    config.sensor.dataRateMBps = 1e12;
    config.bufferSize = 1024;
    config.pacing = ExPacing::RealTime;
    config.parameters.insert(QStringLiteral("buffer_policy"), KS_BP_UNSAFE);
    KSCORE_HANDLE hCam = open(config);
    QVERIFY(!pattern || selectCounterPattern(hCam));
    QVERIFY(ksApi_StartAcquisition(hCam));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 5; ++i) {
        QThread::msleep(100);
        KS_IMG image = KS_IMG();
        image.size = sizeof(KS_IMG);
        QVERIFY(ksApi_GetImage(hCam, 1000, &image));
    }
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(sim(hCam)->counterValue(pattern ? KS_CNT_API_SKIP : KS_CNT_MISSED_TRG_OVERFLOW) > 1000);
    QCOMPARE(ksApi_StopAcquisition(hCam), 0);
}
