// Camera preparation and restore: the exact camera calls of setup in both modes, of restore
// and of the two device-value readers, checked against the simulated camera's call log.

#include "EngineTestSupport.h"

#include <QtTest>
#include <memory>

using namespace enginetest;
using namespace simtest;

namespace {

const QStringList kSaveReads = {
    "get imgdataformat",         "get output_bit_depth",   "get output_bit_packing", "get buffer_policy",
    "get column_fpn_correction", "get row_fpn_correction", "get LUTEnable",
};
const QStringList kThroughputWrites = {
    "set buffer_policy 0",
    "set imgdataformat 7",
    "set output_bit_depth 16",
    "set output_bit_packing 0",
    "set column_fpn_correction 0",
    "set row_fpn_correction 0",
    "set LUTEnable 0",
    "get test_pattern_generator_selector",
    "set test_pattern_generator_selector 1",
    "get test_pattern",
    "set test_pattern 11",
};
const QStringList kFrameBufferQueries = {"set dp_unit_selector:settable 1", "set dp_proc_selector:settable 5",
                                         "set dp_param_selector:settable 6"};
const QStringList kFrameBufferWrites = {"set dp_unit_selector 1", "set dp_proc_selector 5",
                                        "set dp_param_selector 6", "set dp_param_value 9"};
const QStringList kDeviceRegisterWrites = {"set device_unit_selector 1",
                                           "set device_unit_register_selector 55",
                                           "set device_unit_register_value 25000"};
const QStringList kBufferSizeRead = {"set dp_param_selector 7", "get dp_param_value"};

// Restore of a camera at its power-on values.
const QStringList kRestoreSavedValues = {
    "set test_pattern 0",
    "set test_pattern_generator_selector 0",
    "set output_bit_packing 1",
    "set output_bit_depth 12",
    "set imgdataformat 0",
    "set buffer_policy 1",
    "set column_fpn_correction 1",
    "set row_fpn_correction 1",
    "set LUTEnable 0",
};
const QStringList kRestoreDeviceRegister = {
    "set device_unit_selector 1", "set device_unit_register_selector 55", "set device_unit_register_value 1"};

} // namespace

class TestPreparation : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeAll(); }

    void refusedStartRunsSetupAndRestoreInOrder();
    void refusedBufferPolicyRestoresAllNineSavedValues();
    void frameBufferLeftAloneWhenSelectorsAreNotSettable();
    void deviceRegisterFlagNeedsAllThreeWrites();
    void acquisitionSetupProbesCountersAndBufferPolicy();
    void transportSpeed_data();
    void transportSpeed();
    void bufferSizeFallsBackWhenUnreadable();
    void setupFailureIsLoggedWhereItHappens_data();
    void setupFailureIsLoggedWhereItHappens();
};

void TestPreparation::refusedStartRunsSetupAndRestoreInOrder()
{
    CxSimCameraConfig config = camera("setup");
    config.bufferSize = 9000000;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->autoTransport = false;
    faults(hCam)->refuseStart(1);
    CxCriticalLog log;
    logOf(hCam)->clearCallLog();
    QVERIFY(!line->startMeasurement(4096, 1000));
    // The time stamps are reset just before the start. The frame-buffer value goes back to
    // whatever is selected: the buffer size, after setup.
    QCOMPARE(calls(hCam), kSaveReads + kThroughputWrites + kFrameBufferQueries + kFrameBufferWrites +
                              kDeviceRegisterWrites + kBufferSizeRead +
                              QStringList({"set ts_rst_mode 0", "set ts_rst_source 19", "start"}) +
                              kRestoreDeviceRegister + kRestoreSavedValues +
                              QStringList("set dp_param_value 10"));
    QVERIFY(log.contains(
        250, QStringLiteral("CxCameraLineData::startMeasurement(): ksApi_StartAcquisition failed")));
    QVERIFY(!line->isMeasurementRunning());
    QCOMPARE(line->acquisitionThread, nullptr);
    QCOMPARE(line->cameraBufferSize, 9000000);
    QCOMPARE(sim(hCam)->parameterValue(QStringLiteral("imgdataformat")), 0);
}

void TestPreparation::refusedBufferPolicyRestoresAllNineSavedValues()
{
    KSCORE_HANDLE hCam = open(camera("policy"));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->autoTransport = false;
    // A previous run left the pattern values and the frame-buffer flag behind.
    line->savedTestPattern = 4;
    line->savedTestPatternGeneratorSelector = 1;
    line->frameBufferModeChanged = true;
    faults(hCam)->refuseParamValue(QStringLiteral("buffer_policy"), 0, 1);
    logOf(hCam)->clearCallLog();
    QVERIFY(!line->startMeasurement(4096, 1000));
    const QStringList all = calls(hCam);
    QCOMPARE(all.mid(kSaveReads.size() + 1),
             QStringList({"set test_pattern 4", "set test_pattern_generator_selector 1"}) +
                 kRestoreSavedValues.mid(2) + QStringList{"set dp_param_value 10"});
}

void TestPreparation::frameBufferLeftAloneWhenSelectorsAreNotSettable()
{
    CxSimCameraConfig config = camera("nodp");
    config.dataProcessing = false;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    logOf(hCam)->clearCallLog();
    QVERIFY(line->setupCameraParameters());
    QVERIFY(!line->frameBufferModeChanged);
    QCOMPARE(line->cameraBufferSize, 32768);
    QCOMPARE(calls(hCam), kSaveReads + kThroughputWrites + kFrameBufferQueries + kDeviceRegisterWrites +
                              QStringList{"set dp_param_selector 7"});
    logOf(hCam)->clearCallLog();
    line->restoreCameraParameters();
    QVERIFY(!calls(hCam).contains(QStringLiteral("set dp_param_value 10")));

    // One refused query is enough to leave the frame buffer alone; all three are still asked.
    KSCORE_HANDLE other = open(camera("onequery"));
    std::unique_ptr<CxCameraLineData> second(lineFor(other));
    faults(other)->refuseParam(QStringLiteral("dp_proc_selector:settable"));
    logOf(other)->clearCallLog();
    QVERIFY(second->setupCameraParameters());
    QVERIFY(!second->frameBufferModeChanged);
    const QStringList log = calls(other);
    QCOMPARE(log.mid(kSaveReads.size() + kThroughputWrites.size(), 4),
             kFrameBufferQueries + QStringList{"set device_unit_selector 1"});
}

void TestPreparation::deviceRegisterFlagNeedsAllThreeWrites()
{
    KSCORE_HANDLE hCam = open(camera("register"));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    faults(hCam)->refuseParamValue(QStringLiteral("device_unit_register_selector"), 55, 1);
    logOf(hCam)->clearCallLog();
    QVERIFY(line->setupCameraParameters());
    QVERIFY(!line->deviceRegisterChanged);
    QStringList log = calls(hCam);
    QVERIFY(
        !log.contains(QStringLiteral("set device_unit_register_value 25000"))); // not tried after a failure
    logOf(hCam)->clearCallLog();
    line->restoreCameraParameters();
    QCOMPARE(calls(hCam).value(0), QStringLiteral("set test_pattern 0"));

    // Once set, the flag survives a later setup whose register writes fail.
    QVERIFY(line->setupCameraParameters());
    QVERIFY(line->deviceRegisterChanged);
    faults(hCam)->refuseParam(QStringLiteral("device_unit_selector"), ExParamOp::Set, 1);
    QVERIFY(line->setupCameraParameters());
    QVERIFY(line->deviceRegisterChanged);
}

void TestPreparation::acquisitionSetupProbesCountersAndBufferPolicy()
{
    CxSimCameraConfig config = camera("acquisition");
    config.supportedCounters = {0, 2, 5};
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureModeStandardAcquisition));
    logOf(hCam)->clearCallLog();
    QVERIFY(line->setupCameraParameters());
    QStringList expected;
    for (int selector = 0; selector < 6; ++selector)
        expected << QStringLiteral("set counter_selector:settable %1").arg(selector);
    expected << "get buffer_policy"
             << "set buffer_policy 0";
    QCOMPARE(calls(hCam), expected);
    const bool supported[6] = {true, false, true, false, false, true};
    for (int selector = 0; selector < 6; ++selector)
        QCOMPARE(line->IsCounterSupported(KS_COUNTER_SELECTOR(selector)), supported[selector]);
    logOf(hCam)->clearCallLog();
    line->restoreCameraParameters();
    QCOMPARE(calls(hCam), QStringList{"set buffer_policy 1"});

    // Throughput mode leaves the flags as they are.
    line->measureMode = MeasureModeDataThroughput;
    QVERIFY(line->setupCameraParameters());
    QVERIFY(line->IsCounterSupported(KS_CNT_BUFFER_OVERFLOW));
    QVERIFY(!line->IsCounterSupported(KS_CNT_API_SKIP));
}

void TestPreparation::transportSpeed_data()
{
    // Faults as "get NAME [COUNT]" (reads refused) or "set NAME VALUE [COUNT]" (writes of
    // VALUE refused); COUNT -1 or left out: for good.
    QTest::addColumn<double>("rate");
    QTest::addColumn<QStringList>("faults");
    QTest::addColumn<int>("required"); // 300 when the register was not read
    QTest::addColumn<QStringList>("expectedCalls");
    QTest::addColumn<QStringList>("expectedLog"); // "LINE text"
    QTest::newRow("read, selectors put back") << 487.0 << QStringList() << 487
                                              << QStringList{"get device_unit_selector",
                                                             "get device_unit_register_selector",
                                                             "set device_unit_selector 8",
                                                             "set device_unit_register_selector 4096",
                                                             "get device_unit_register_value",
                                                             "set device_unit_selector 3",
                                                             "set device_unit_register_selector 17"}
                                              << QStringList();
    QTest::newRow("unit refused") << 487.0 << QStringList{"set device_unit_selector 8"} << 300
                                  << QStringList{"get device_unit_selector",
                                                 "get device_unit_register_selector",
                                                 "set device_unit_selector 8", "set device_unit_selector 3",
                                                 "set device_unit_register_selector 17"}
                                  << QStringList();
    QTest::newRow("register reads zero") << 0.4 << QStringList() << 300 << QStringList() << QStringList();
    QTest::newRow("register read refused")
        << 487.0 << QStringList{"get device_unit_register_value"} << 300 << QStringList() << QStringList();
    // The second selector is neither read after the failed first read nor written back
    // after the failed first write.
    QTest::newRow("selectors cannot be read")
        << 487.0 << QStringList{"get device_unit_selector 1", "set device_unit_selector 0 1"} << 487
        << QStringList{"get device_unit_selector", "set device_unit_selector 8",
                       "set device_unit_register_selector 4096", "get device_unit_register_value",
                       "set device_unit_selector 0"}
        << QStringList{"305 Failed to read current device unit confiuration",
                       "321 Failed to change back current device unit configuration"};
}

void TestPreparation::transportSpeed()
{
    QFETCH(double, rate);
    QFETCH(QStringList, faults);
    QFETCH(int, required);
    QFETCH(QStringList, expectedCalls);
    QFETCH(QStringList, expectedLog);
    CxSimCameraConfig config = camera("speed");
    config.sensor.dataRateMBps = rate; // the register rounds below 0.5 to 0
    KSCORE_HANDLE hCam = open(config);
    QVERIFY(ksApi_SetParamInt(hCam, "device_unit_selector", 3));
    QVERIFY(ksApi_SetParamInt(hCam, "device_unit_register_selector", 17));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    line->requiredThroughput = 300;
    for (const QString& fault : std::as_const(faults)) {
        const QStringList words = fault.split(' ');
        if (words[0] == QLatin1String("get"))
            simtest::faults(hCam)->refuseParam(words[1], ExParamOp::Get,
                                               words.value(2, QStringLiteral("-1")).toInt());
        else
            simtest::faults(hCam)->refuseParamValue(words[1], words[2].toInt(),
                                                    words.value(3, QStringLiteral("-1")).toInt());
    }
    CxCriticalLog log;
    logOf(hCam)->clearCallLog();
    line->readDefaultAvgTransportSpeed();
    QCOMPARE(line->requiredThroughput, required);
    if (!expectedCalls.isEmpty())
        QCOMPARE(calls(hCam), expectedCalls);
    QCOMPARE(log.messages().size(), expectedLog.size());
    for (const QString& entry : std::as_const(expectedLog))
        QVERIFY2(log.contains(entry.section(' ', 0, 0).toInt(), entry.section(' ', 1)),
                 qPrintable(log.messages().join('\n')));
}

void TestPreparation::bufferSizeFallsBackWhenUnreadable()
{
    // A camera without the selectors: see frameBufferLeftAloneWhenSelectorsAreNotSettable.
    CxSimCameraConfig config = camera("unreadable");
    config.bufferSize = 4000;
    KSCORE_HANDLE hCam = open(config);
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam));
    QCOMPARE(line->readInternalCameraBufferSize(), 4000);
    faults(hCam)->refuseParam(QStringLiteral("dp_param_value"), ExParamOp::Get, 1);
    QCOMPARE(line->readInternalCameraBufferSize(), 32768);
    QCOMPARE(line->cameraBufferSize, 0); // the reader writes no field
}

void TestPreparation::setupFailureIsLoggedWhereItHappens_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("refused"); // "NAME VALUE": that write refused once
    QTest::addColumn<int>("place");       // the log line's source line
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("lastCall"); // of the restore that follows
    QTest::newRow("throughput: format")
        << int(MeasureModeDataThroughput) << "imgdataformat 7" << 364
        << "ksApi_SetParamInt(KS_PRM_IMAGE_DATA_FORMAT, KS_FRM_TRANSPORT_DATA) failed"
        << "set LUTEnable 0";
    QTest::newRow("acquisition: buffer policy")
        << int(MeasureModeStandardAcquisition) << "buffer_policy 0" << 460
        << "ksApi_SetParamInt(KS_PRM_BUFFER_POLICY, KS_BP_UNSAFE) failed"
        << "set buffer_policy 1";
    // Neither setup nor restore touches the camera.
    QTest::newRow("unknown mode") << 2 << QString() << 466 << "Unknown measurement mode" << QString();
}

void TestPreparation::setupFailureIsLoggedWhereItHappens()
{
    QFETCH(int, mode);
    QFETCH(QString, refused);
    QFETCH(int, place);
    QFETCH(QString, message);
    QFETCH(QString, lastCall);
    KSCORE_HANDLE hCam = open(camera("failing"));
    std::unique_ptr<CxCameraLineData> line(lineFor(hCam, MeasureMode(mode)));
    line->autoTransport = false;
    if (!refused.isEmpty())
        faults(hCam)->refuseParamValue(refused.section(' ', 0, 0), refused.section(' ', 1).toInt(), 1);
    CxCriticalLog log;
    logOf(hCam)->clearCallLog();
    QVERIFY(!line->startMeasurement(4096, 10));
    QCOMPARE(log.messages().size(), 1);
    // Thread id, source path, "L", line, ":", an empty text, the message in quotes.
    const QRegularExpression format(QStringLiteral(
        R"re(^0x[0-9a-f]+ plugins/kspDataThroughputGraph/CameraLineData L (\d+) :\s+"CxCameraLineData::setupCameraParameters\(\): (.*)"$)re"));
    const QRegularExpressionMatch match = format.match(log.messages().first());
    QVERIFY2(match.hasMatch(), qPrintable(log.messages().first()));
    QCOMPARE(match.captured(1).toInt(), place);
    QCOMPARE(match.captured(2), message);
    const QStringList all = calls(hCam);
    QCOMPARE(all.value(all.size() - 1), lastCall);
}

QTEST_GUILESS_MAIN(TestPreparation)
#include "tst_preparation.moc"
