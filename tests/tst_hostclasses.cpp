// The host classes a plug-in uses: the camera manager and its signals, parameter sets and
// their commits, the application delegate, the plug-in base class, the export button, and
// the simulated cameras' configuration with its errors.

#include "CxExportToolButton.h"
#include "CxPlugin.h"
#include "IxAppDelegate.h"
#include "SimTestSupport.h"
#include "ksSim/CxRecordingAppDelegate.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImageReader>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace simtest;

Q_DECLARE_METATYPE(KSCORE_HANDLE)

namespace {

class CxBarePlugin : public CxPlugin
{
public:
    void version(int& major, int& minor, int& build) const override
    {
        major = 2;
        minor = 5;
        build = 31;
    }
};

} // namespace

class TestHostClasses : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeAll(); }

    void managerOpensAndClosesCamerasWithSignals();
    void hostAcquisitionAndFormatSignals();
    void parameterSetDescribesTheCameraAndCommitsInOrder();
    void aHostInstallsItsOwnDelegate();
    void pluginBaseClassDefaults();
    void exportButtonOffersItsTypesAndSavesOrCopies();
    void defaultConfigurationHasAKeepingAndALaggingLink();
    void configurationFileIsReadWithItsFields();
    void badConfigurationNamesFileAndField_data();
    void badConfigurationNamesFileAndField();
};

void TestHostClasses::managerOpensAndClosesCamerasWithSignals()
{
    CxCameraManager* manager = CxCameraManager::instance();
    CxSimulation::addCamera(camera("first"));
    CxSimulation::addCamera(camera("second", 400.0, 64, 64));
    QVERIFY(manager->availableCameras().contains(QStringLiteral("second")));
    QSignalSpy opened(manager, SIGNAL(cameraOpened(KSCORE_HANDLE)));
    KSCORE_HANDLE a = manager->openCamera(QStringLiteral("first"));
    KSCORE_HANDLE b = manager->openCamera(QStringLiteral("second"));
    QVERIFY(a && b && a != b);
    QCOMPARE(opened.size(), 2);
    QCOMPARE(opened[1][0].value<KSCORE_HANDLE>(), b);
    QCOMPARE(manager->openedCameras(), QList<KSCORE_HANDLE>({a, b}));
    QCOMPARE(manager->openCamera(QStringLiteral("first")), KSCORE_HANDLE(nullptr)); // already open
    QCOMPARE(manager->openCamera(QStringLiteral("nobody")), KSCORE_HANDLE(nullptr));
    QCOMPARE(manager->lastOpenError(), QStringLiteral("no camera \"nobody\" is configured"));
    QCOMPARE(opened.size(), 2);
    QCOMPARE(manager->cameraId(b), QStringLiteral("second"));
    // Opened on a worker thread, the camera is announced on this one; a failure says why.
    CxSimulation::addCamera(camera("third"));
    QSignalSpy failed(manager, &CxCameraManager::cameraOpenFailed);
    QVERIFY(manager->openCameraInBackground(QStringLiteral("third")));
    QVERIFY(!manager->openCameraInBackground(QStringLiteral("third"))); // already opening
    QVERIFY(manager->openCameraInBackground(QStringLiteral("nobody")));
    QTRY_COMPARE(opened.size(), 3);
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed[0][1].toString(), QStringLiteral("no camera \"nobody\" is configured"));
    QVERIFY(manager->closeCamera(opened[2][0].value<KSCORE_HANDLE>()));

    // The close is announced while the camera still answers, so that a plug-in can stop it.
    QVERIFY(ksApi_StartAcquisition(b));
    bool answered = false;
    int stopResult = -1;
    auto connection = connect(manager, &CxCameraManager::cameraClosed, this, [&](KSCORE_HANDLE closed) {
        int value = 0;
        answered = ksApi_GetParamInt(closed, "buffer_policy", value);
        stopResult = ksApi_StopAcquisition(closed);
    });
    QVERIFY(manager->closeCamera(b));
    disconnect(connection);
    QVERIFY(answered);
    QCOMPARE(stopResult, 0);
    QCOMPARE(manager->openedCameras(), QList<KSCORE_HANDLE>({a}));
    QVERIFY(!manager->closeCamera(b));
    QCOMPARE(CxSimulation::camera(b), nullptr);
}

void TestHostClasses::hostAcquisitionAndFormatSignals()
{
    CxCameraManager* manager = CxCameraManager::instance();
    KSCORE_HANDLE hCam = open(camera("hostacq", 400.0, 64, 64));
    QSignalSpy started(manager, SIGNAL(acquisitionStarted(KSCORE_HANDLE)));
    QSignalSpy finished(manager, SIGNAL(acquisitionFinished(KSCORE_HANDLE)));
    QVERIFY(!manager->isCameraRunning(hCam));
    QVERIFY(manager->startAcquisition(hCam));
    QVERIFY(manager->isCameraRunning(hCam));
    QCOMPARE(started.size(), 1);
    // The camera is busy: a plug-in's own start is refused.
    QCOMPARE(ksApi_StartAcquisition(hCam), 0);
    QVERIFY(manager->stopAcquisition(hCam));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished[0][0].value<KSCORE_HANDLE>(), hCam);
    QVERIFY(!manager->isCameraRunning(hCam));
    QVERIFY(!manager->stopAcquisition(hCam));

    QSignalSpy changed(manager, SIGNAL(imageFormatChanged(KSCORE_HANDLE)));
    QVERIFY(manager->setImageFormat(hCam, 3));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(sim(hCam)->parameterValue(QStringLiteral("imgdataformat")), 3);
    QVERIFY(!manager->setImageFormat(hCam, 42));
    QCOMPARE(changed.size(), 1);
}

void TestHostClasses::parameterSetDescribesTheCameraAndCommitsInOrder()
{
    CxSimCameraConfig config = camera("described");
    config.modelName = QStringLiteral("KSC-1");
    config.userName = QStringLiteral("bench");
    config.nameSelection = 1;
    KSCORE_HANDLE hCam = open(config);
    CxCameraParameters* parameters = CxCameraManager::instance()->cameraParameters(hCam);
    QVERIFY(parameters);
    QCOMPARE(parameters->cameraInfo().modelName, QStringLiteral("KSC-1"));
    QCOMPARE(parameters->cameraInfo().serialNumber, QStringLiteral("DESCRIBED"));
    QCOMPARE(parameters->cameraInfo().userName, QStringLiteral("bench"));
    QCOMPARE(parameters->cameraInfo().nameSelection, 1);
    QCOMPARE(parameters->findParam(QStringLiteral("no_such"), false), nullptr);
    CxCameraParam* format = parameters->findParam(QStringLiteral("imgdataformat"), false);
    QVERIFY(format);
    QCOMPARE(parameters->findParam(QStringLiteral("imgdataformat"), false), format);
    QVERIFY(format->isEnumeration());
    QCOMPARE(format->enumItems().at(7).value, 7);
    QCOMPARE(format->value().toInt(), 0);

    // Values are staged, then written in the batch's order by its end.
    QSignalSpy changed(CxCameraManager::instance(), SIGNAL(imageFormatChanged(KSCORE_HANDLE)));
    CxCameraParam* depth = parameters->findParam(QStringLiteral("output_bit_depth"), false);
    QVERIFY(!format->setParamValue(CxValue(12))); // not among the items
    QVERIFY(format->setParamValue(CxValue(5)));
    QVERIFY(depth->setParamValue(CxValue(10)));
    QCOMPARE(sim(hCam)->parameterValue(QStringLiteral("imgdataformat")), 0);
    logOf(hCam)->clearCallLog();
    parameters->addParamCommitToBatch(QStringLiteral("output_bit_depth"));
    parameters->addParamCommitToBatch(QStringLiteral("imgdataformat"));
    QVERIFY(parameters->endCommitBatch(CxCameraParameters::cmRefresh));
    QCOMPARE(logOf(hCam)->callLogText(),
             QStringList({"host set output_bit_depth 10", "host set imgdataformat 5"}));
    QCOMPARE(format->value().toInt(), 5);
    QCOMPARE(changed.size(), 1);
    // An empty batch writes nothing and announces nothing.
    QVERIFY(parameters->endCommitBatch(1));
    QCOMPARE(changed.size(), 1);
}

void TestHostClasses::aHostInstallsItsOwnDelegate()
{
    IxAppDelegate* recorder = IxAppDelegate::instance();
    QVERIFY(dynamic_cast<CxRecordingAppDelegate*>(recorder));
    CxRecordingAppDelegate host;
    IxAppDelegate::setInstance(&host);
    QCOMPARE(IxAppDelegate::instance(), &host);
    IxAppDelegate::setInstance(nullptr);
    QCOMPARE(IxAppDelegate::instance(), recorder);
}

void TestHostClasses::pluginBaseClassDefaults()
{
    CxBarePlugin plugin;
    QVERIFY(plugin.init());
    QCOMPARE(static_cast<const CxPlugin&>(plugin).version(), QStringLiteral("2.5.31"));
    QVERIFY(!plugin.customCommand(QStringLiteral("x"), 0, 0, nullptr, nullptr));
    QCOMPARE(QByteArray(qobject_interface_iid<CxPlugin*>()), QByteArray(KS_VENDOR_PREFIX ".CxPlugin"));
}

void TestHostClasses::exportButtonOffersItsTypesAndSavesOrCopies()
{
    CxExportToolButton button;
    QCOMPARE(button.exportType(), CxExportToolButton::etNone);
    button.addSupportedExportType(CxExportToolButton::etSaveToFile);
    button.addSupportedExportType(CxExportToolButton::etCopyToClipboard);
    QCOMPARE(button.exportType(), CxExportToolButton::etSaveToFile); // the first becomes current
    button.setExportType(2);
    button.setExportType(7); // unsupported: ignored
    QCOMPARE(button.exportType(), CxExportToolButton::etCopyToClipboard);
    QSignalSpy clicked(&button, SIGNAL(exportClicked(int)));
    button.click();
    QCOMPARE(clicked.size(), 1);
    QCOMPARE(clicked[0][0].toInt(), 2);

    // The file name's suffix chooses the format, whatever the filter says.
    QTemporaryDir dir;
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    for (const char* suffix : {"png", "jpg", "bmp"}) {
        const QString file = dir.filePath(QStringLiteral("graph.%1").arg(QLatin1String(suffix)));
        button.setPresetFileName(file);
        QVERIFY(button.exportImage(image, CxExportToolButton::etSaveToFile, nullptr,
                                   QStringLiteral("PNG (*.png)")));
        QImageReader reader(file);
        QCOMPARE(reader.format(), QByteArray(suffix == QByteArray("jpg") ? "jpeg" : suffix));
        QCOMPARE(reader.size(), QSize(40, 30));
    }
    button.setPresetFileName(dir.filePath(QStringLiteral("missing/sub/graph.png")));
    QVERIFY(!button.exportImage(image, CxExportToolButton::etSaveToFile, nullptr, QString()));
    QVERIFY(!button.exportImage(QImage(), CxExportToolButton::etCopyToClipboard, nullptr, QString()));
    QVERIFY(button.exportImage(image, CxExportToolButton::etCopyToClipboard, nullptr, QString()));
}

void TestHostClasses::defaultConfigurationHasAKeepingAndALaggingLink()
{
    const QList<CxSimCameraConfig> cameras = CxSimulation::defaultConfiguration();
    QVERIFY(cameras.size() >= 2);
    bool keeps = false;
    bool lags = false;
    for (const CxSimCameraConfig& c : cameras) {
        keeps = keeps || c.link.rateMBps > c.sensor.dataRateMBps;
        lags = lags || c.link.rateMBps < c.sensor.dataRateMBps;
        QVERIFY(c.bufferSize > 0);
    }
    QVERIFY(keeps && lags);
}

void TestHostClasses::configurationFileIsReadWithItsFields()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("cameras.json"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"cameras": [{"id": "cfg", "model": "M", "serialNumber": "S", "userName": "U",
        "nameSelection": 1, "sensor": {"width": 640, "height": 480, "dataRate": 120.5},
        "link": {"type": "PCIe", "rate": 900, "jitter": 0.01,
                 "dips": [{"period": 250, "length": 5, "rate": 300, "phase": 10}],
                 "stalls": {"interval": 40, "length": 15}},
        "bufferSize": 1000000, "counters": [1, 5], "counterRates": {"apiSkip": 2.5},
        "seed": 99, "pacing": "unpaced", "replayFrames": 3, "queueDepth": 6,
        "hasParameterSet": false, "dataProcessing": false, "uptime": 12,
        "parameters": {"buffer_policy": 0}}]})");
    file.close();
    const QList<CxSimCameraConfig> before = CxSimulation::configuration();
    QString error;
    QVERIFY2(CxSimulation::loadConfigurationFile(path, &error), qPrintable(error));
    const QList<CxSimCameraConfig> loaded = CxSimulation::configuration();
    CxSimulation::setConfiguration(before);
    QCOMPARE(loaded.size(), 1);
    const CxSimCameraConfig& c = loaded.first();
    QCOMPARE(c.id, QStringLiteral("cfg"));
    QCOMPARE(c.userName, QStringLiteral("U"));
    QCOMPARE(c.sensor.width, 640);
    QCOMPARE(c.sensor.dataRateMBps, 120.5);
    QCOMPARE(c.link.type, QStringLiteral("PCIe"));
    QCOMPARE(c.link.dips.size(), 1);
    QCOMPARE(c.link.dips[0].phaseMs, 10.0);
    QCOMPARE(c.link.stallLengthUs, 15.0);
    QCOMPARE(c.supportedCounters, QList<int>({1, 5}));
    QCOMPARE(c.counterRates[KS_CNT_API_SKIP], 2.5);
    QCOMPARE(c.seed, quint64(99));
    QCOMPARE(c.pacing, ExPacing::Unpaced);
    QCOMPARE(c.queueDepth, 6);
    QVERIFY(!c.hasParameterSet);
    QVERIFY(!c.dataProcessing);
    QCOMPARE(c.parameters.value(QStringLiteral("buffer_policy")), 0);
}

void TestHostClasses::badConfigurationNamesFileAndField_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    QTest::newRow("not json") << QByteArray("{\"cameras\": [") << "not valid JSON";
    QTest::newRow("no cameras") << QByteArray("{}") << "cameras: is required";
    QTest::newRow("unknown field") << QByteArray(R"({"cameras": [{"id": "a", "colour": 1}]})")
                                   << "cameras[0].colour: unknown field";
    QTest::newRow("wrong type") << QByteArray(R"({"cameras": [{"sensor": {"width": "wide"}}]})")
                                << "cameras[0].sensor.width: must be a whole number";
    QTest::newRow("negative link rate") << QByteArray(R"({"cameras": [{"link": {"rate": -5}}]})")
                                        << "cameras[0].link.rate: must be greater than 0";
    QTest::newRow("negative jitter") << QByteArray(R"({"cameras": [{"link": {"jitter": -0.1}}]})")
                                     << "cameras[0].link.jitter: must not be negative";
    QTest::newRow("negative dip rate")
        << QByteArray(R"({"cameras": [{"link": {"dips": [{"period": 10, "rate": -1}]}}]})")
        << "cameras[0].link.dips[0].rate: must be greater than 0";
    QTest::newRow("negative counter rate")
        << QByteArray(R"({"cameras": [{"counterRates": {"apiSkip": -1}}]})")
        << "cameras[0].counterRates.apiSkip: must not be negative";
    QTest::newRow("negative buffer") << QByteArray(R"({"cameras": [{"bufferSize": -1}]})")
                                     << "cameras[0].bufferSize: must not be negative";
    QTest::newRow("bad pacing") << QByteArray(R"({"cameras": [{"pacing": "fast"}]})") << "cameras[0].pacing:";
    QTest::newRow("bad counter") << QByteArray(R"({"cameras": [{"counters": [0, 9]}]})")
                                 << "cameras[0].counters: entry 1";
    QTest::newRow("duplicate id") << QByteArray(R"({"cameras": [{"id": "x"}, {"id": "x"}]})")
                                  << "cameras[1].id: \"x\" is used twice";
    QTest::newRow("unknown parameter") << QByteArray(R"({"cameras": [{"parameters": {"gain_db": 3}}]})")
                                       << "cameras[0].parameters: unknown parameter \"gain_db\"";
    QTest::newRow("parameter out of range")
        << QByteArray(R"({"cameras": [{"parameters": {"imgdataformat": 9}}]})")
        << "cameras[0].parameters: parameter \"imgdataformat\" cannot take 9";
}

void TestHostClasses::badConfigurationNamesFileAndField()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    QList<CxSimCameraConfig> cameras{camera("untouched")};
    QString error;
    QVERIFY(!CxSimulation::parseConfiguration(json, QStringLiteral("bench.json"), &cameras, &error));
    QVERIFY2(error.startsWith(QStringLiteral("bench.json: ")), qPrintable(error));
    QVERIFY2(error.contains(message), qPrintable(error));
    QCOMPARE(cameras.size(), 1);
}

QTEST_MAIN(TestHostClasses)
#include "tst_hostclasses.moc"
