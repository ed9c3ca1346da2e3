// The host application as a user runs it: a scripted run without a display, the real
// window under a virtual X server, and clear errors for bad command lines.

#include "RunHistory.h"
#include "ksSim/CxSimulation.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

namespace {

struct SxRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

SxRun runHost(const QStringList& arguments, const QString& wrapper = QString(), int timeoutMs = 90000)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    process.setProcessEnvironment(env);
    if (wrapper.isEmpty())
        process.start(QStringLiteral(HOST_PATH), arguments);
    else
        process.start(wrapper, QStringList{QStringLiteral("-a"), QStringLiteral(HOST_PATH)} + arguments);
    SxRun run;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

QJsonArray summaryCameras(const QString& dir)
{
    QFile file(dir + QStringLiteral("/summary.json"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("cameras")).toArray();
}

// More than a handful of colours: the window and its graph were painted.
bool isPainted(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 7)
        for (int x = 0; x < image.width(); x += 7)
            colours.insert(image.pixel(x, y));
    return colours.size() > 20;
}

} // namespace

class TestHost : public QObject
{
    Q_OBJECT

private slots:
    void headlessRunLeavesScreenshotReportsAndSummary();
    void realWindowUnderAVirtualDisplay();
    void fullDiskFailsTheRunWithoutHangingIt();
    void runLogSurvivesAKill();
    void anInterruptedRunOfTwinCamerasLeavesEverything();
    void badCommandLinesAreRefusedClearly_data();
    void badCommandLinesAreRefusedClearly();
};

void TestHost::headlessRunLeavesScreenshotReportsAndSummary()
{
    QTemporaryDir dir;
    const SxRun run =
        runHost({QStringLiteral("--duration"), QStringLiteral("3"), QStringLiteral("--out"), dir.path()});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QVERIFY2(run.out.count(QStringLiteral("measuring 3.0 of 3.0 s")) == 1, qPrintable(run.out));
    QVERIFY2(!run.err.contains(QStringLiteral("plug-in skipped")), qPrintable(run.err));

    const QImage shot(dir.filePath(QStringLiteral("panel.png")));
    QVERIFY(shot.width() >= 1000);
    // The window keeps its size from one picture to the next.
    QCOMPARE(QImage(dir.filePath(QStringLiteral("measuring.png"))).size(), shot.size());
    QVERIFY(isPainted(shot));

    const QList<CxSimCameraConfig> cameras = CxSimulation::defaultConfiguration();
    const QJsonArray summary = summaryCameras(dir.path());
    QCOMPARE(summary.size(), cameras.size());
    for (int i = 0; i < cameras.size(); ++i) {
        const CxSimCameraConfig& config = cameras[i];
        const QJsonObject camera = summary[i].toObject();
        const QString name = QStringLiteral("%1 (%2)").arg(
            config.modelName, config.nameSelection < 1 ? config.serialNumber : config.userName);
        QCOMPARE(camera.value("name").toString(), name);
        QCOMPARE(camera.value("status").toString(), QStringLiteral("Stopped"));
        QVERIFY(camera.value("minThroughput").isDouble());
        // The link's time average: its base rate, less what its periodic dips take away.
        double expected = config.link.rateMBps;
        for (const SxLinkDip& dip : config.link.dips)
            expected -= dip.lengthMs / dip.periodMs * (config.link.rateMBps - dip.rateMBps);
        const double measured = camera.value("avgThroughput").toDouble();
        QVERIFY2(qAbs(measured - expected) <= 0.01 * expected,
                 qPrintable(QStringLiteral("%1: %2 MB/s against %3").arg(name).arg(measured).arg(expected)));
        const double link = camera.value("linkAverage").toDouble();
        QVERIFY2(
            qAbs(link - expected) <= 0.002 * expected,
            qPrintable(
                QStringLiteral("%1: link average %2 MB/s against %3").arg(name).arg(link).arg(expected)));
        // The whole run's, from its history, says the same.
        const double runLink = camera.value("run").toObject().value("linkAverage").toDouble();
        QVERIFY2(qAbs(runLink - expected) <= 0.01 * expected, qPrintable(QString::number(runLink)));

        QString csvName = name + QLatin1Char(' ') + config.id;
        csvName.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.-]+")), QStringLiteral("_"));
        QVERIFY(isPainted(QImage(dir.filePath(csvName + QStringLiteral(".history.png")))));
        QFile csv(dir.filePath(csvName + QStringLiteral(".csv")));
        QVERIFY2(csv.open(QIODevice::ReadOnly), qPrintable(csv.fileName()));
        QVERIFY(csv.readLine().startsWith("Frame number,Frame Time [ns], Offset [B], Data Time Stamp [ns]"));
        QByteArray last = csv.readLine();
        QVERIFY(last.count(',') == 7);
        // The report reaches the newest stored frame, though the stopped axis lags behind it.
        while (!csv.atEnd())
            last = csv.readLine();
        QCOMPARE(last.split(',').first().toLongLong(),
                 camera.value("run").toObject().value("newestFrame").toInteger(-1));
    }

    // The plug-in's settings went through the host's store on the way out.
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    QCOMPARE(settings.value(QStringLiteral("DataThroughputGraphPlugin/DTGTSamplePeriod")).toInt(), 1024);
}

void TestHost::realWindowUnderAVirtualDisplay()
{
    const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
    if (xvfbRun.isEmpty())
        QSKIP("xvfb-run is not installed");
    QTemporaryDir dir;
    const SxRun run = runHost({QStringLiteral("--headless"), QStringLiteral("--duration"),
                               QStringLiteral("1.5"), QStringLiteral("--mode"), QStringLiteral("acquisition"),
                               QStringLiteral("--out"), dir.path()},
                              xvfbRun);
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QVERIFY(isPainted(QImage(dir.filePath(QStringLiteral("panel.png")))));
    const QJsonArray summary = summaryCameras(dir.path());
    QCOMPARE(summary.size(), 2);
    for (const QJsonValue& camera : summary)
        QVERIFY(camera.toObject().value("counters").toObject().value("Transferred").toInt() > 10);
}

// A report that cannot be written: the run answers the panel's error box itself, goes on,
// and ends naming the failure with the system's reason.
void TestHost::fullDiskFailsTheRunWithoutHangingIt()
{
    QTemporaryDir dir;
    QVERIFY(QFile::link(QStringLiteral("/dev/full"),
                        dir.filePath(QStringLiteral("KSC-2000U3_KS2102117_usb3-left.csv"))));
    const SxRun run = runHost({QStringLiteral("--duration"), QStringLiteral("1"), QStringLiteral("--camera"),
                               QStringLiteral("usb3-left"), QStringLiteral("--out"), dir.path()});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(
        run.err.contains(
            QStringLiteral("failed:\n  Export Measured Data: The report could not be written")) &&
            run.err.contains(QStringLiteral("KSC-2000U3_KS2102117_usb3-left.csv: No space left on device")),
        qPrintable(run.err));
    QFile summary(dir.filePath(QStringLiteral("summary.json")));
    QVERIFY(summary.open(QIODevice::ReadOnly));
    const QJsonArray failures =
        QJsonDocument::fromJson(summary.readAll()).object().value("failures").toArray();
    QCOMPARE(failures.size(), 1);
}

// The run log is flushed every second: a process killed mid-run leaves every complete
// second, each line whole, readable by a later session.
void TestHost::runLogSurvivesAKill()
{
    QTemporaryDir dir;
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(HOST_PATH),
                  {QStringLiteral("--duration"), QStringLiteral("60"), QStringLiteral("--camera"),
                   QStringLiteral("usb3-left"), QStringLiteral("--out"), dir.path()});
    const QString log = dir.filePath(QStringLiteral("KSC-2000U3_KS2102117_usb3-left.log.csv"));
    auto seconds = [&log]() {
        QFile file(log);
        return file.open(QIODevice::ReadOnly) ? file.readAll().count("\nsecond,") - 1 : 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(seconds() >= 3, 30000);
    process.kill();
    process.waitForFinished();
    QFile file(log);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY(text.endsWith('\n'));
    double previous = 0.0;
    for (const QByteArray& line : text.split('\n'))
        if (line.startsWith("second,") && !line.contains("time [s]")) {
            QCOMPARE(line.count(','), 33);
            const double time = line.split(',')[1].toDouble();
            QVERIFY(time > previous && time < previous + 3.0);
            previous = time;
        }
    CxRunHistory::SxTotals totals;
    QVector<CxRunHistory::SxEvent> events;
    QString name;
    QString error;
    QVERIFY2(CxRunHistory::readLog(log, &totals, &events, &name, &error), qPrintable(error));
    QCOMPARE(name, QStringLiteral("KSC-2000U3 (KS2102117)"));
    QVERIFY(totals.frames > 100 && qAbs(totals.linkAverage() - 380.0) < 5.0);
}

// Ctrl+C two seconds into a run of two cameras of one name: each is stopped and put back,
// every file of a finished run is there, one log per camera, and the exit code says why.
void TestHost::anInterruptedRunOfTwinCamerasLeavesEverything()
{
    QTemporaryDir dir;
    QFile config(dir.filePath(QStringLiteral("twins.json")));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(
        R"({"cameras": [{"id": "twin-a", "link": {"rate": 200}}, {"id": "twin-b", "link": {"rate": 200}}]})");
    config.close();
    const QString out = dir.filePath(QStringLiteral("out"));
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(HOST_PATH),
                  {QStringLiteral("--cameras"), config.fileName(), QStringLiteral("--duration"),
                   QStringLiteral("20"), QStringLiteral("--out"), out});
    QByteArray output;
    QTRY_VERIFY_WITH_TIMEOUT((output += process.readAllStandardOutput()).contains("measuring 2."), 20000);
    ::kill(pid_t(process.processId()), SIGINT); // Ctrl+C
    QVERIFY(process.waitForFinished(30000));
    output += process.readAllStandardOutput();
    QCOMPARE(process.exitCode(), 130);
    QVERIFY2(output.contains("interrupted after 2."), output.constData());
    QStringList files = QDir(out).entryList(QDir::Files);
    files.sort();
    const QString twin = QStringLiteral("KSC_Simulated_Camera_00000000_twin-%1%2");
    QStringList expected{"measuring.png", "panel.png", "settings.ini", "summary.json"};
    for (const char* id : {"a", "b"})
        for (const char* suffix : {".csv", ".history.png", ".log.csv"})
            expected << twin.arg(QLatin1String(id), QLatin1String(suffix));
    expected.sort();
    QCOMPARE(files, expected);
    const QJsonArray cameras = summaryCameras(out);
    QCOMPARE(cameras.size(), 2);
    for (int i = 0; i < 2; ++i) {
        QVERIFY(cameras[i].toObject().value("parametersRestored").toBool());
        CxRunHistory::SxTotals totals;
        QVector<CxRunHistory::SxEvent> events;
        QString name;
        QString error;
        QVERIFY2(
            CxRunHistory::readLog(QDir(out).filePath(expected[i * 3 + 2]), &totals, &events, &name, &error),
            qPrintable(error));
        QVERIFY(totals.frames > 20 && qAbs(totals.linkAverage() - 200.0) < 2.0);
    }
}

void TestHost::badCommandLinesAreRefusedClearly_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("exitCode");
    static QTemporaryDir files; // outlives the rows that name it
    QTemporaryDir* dir = &files;
    auto cameraFile = [dir](const char* name, const QByteArray& text) {
        QFile file(dir->filePath(QLatin1String(name)));
        file.open(QIODevice::WriteOnly);
        file.write(text);
        return file.fileName();
    };
    auto camera = [&cameraFile](const char* name, const char* json) {
        return QStringList{"--cameras",
                           cameraFile(name, QByteArray("{\"cameras\": [{\"id\": \"a\", ") + json + "}]}")};
    };

    QTest::newRow("unknown option") << QStringList{"--bogus"} << "Unknown option 'bogus'" << 2;
    QTest::newRow("duration not a number") << QStringList{"--duration", "ten"} << "--duration: 'ten'" << 2;
    QTest::newRow("unknown mode") << QStringList{"--mode", "fast"} << "--mode: 'fast'" << 2;
    QTest::newRow("truncated camera file")
        << QStringList{"--cameras", cameraFile("cams.json", "{\"cameras\": [ {\"link\": ")} << "cams.json"
        << 2;
    QTest::newRow("camera file with a negative width")
        << camera("width.json", R"("sensor": {"width": -5})")
        << "cameras[0].sensor.width: must not be negative" << 2;
    QTest::newRow("camera file of the wrong shape")
        << QStringList{"--cameras", cameraFile("shape.json", "{\"cameras\": 7}")}
        << "cameras: must be an array" << 2;
    QTest::newRow("missing camera file") << QStringList{"--cameras", "/nonexistent/cams.json"}
                                         << "/nonexistent/cams.json: cannot be read" << 2;
    // The program's own folder holds libraries that are no plug-ins: each is skipped with Qt's
    // reason, and without the panel the run cannot go on.
    QTest::newRow("no plug-ins") << QStringList{"--plugins", QFileInfo(QStringLiteral(HOST_PATH)).path(),
                                                "--out", dir->path()}
                                 << "plug-in skipped: " + QFileInfo(QStringLiteral(HOST_PATH)).path() +
                                        "/libksCore.so"
                                 << 1;
    // Numbers that pass a plain parse, then hang or mislead: refused before anything starts.
    QTest::newRow("duration nan") << QStringList{"--duration", "nan"}
                                  << "--duration: 'nan' is not a number of seconds greater than 0" << 2;
    QTest::newRow("link of 1e12 MB/s")
        << camera("link.json", R"("link": {"rate": 1e12})")
        << "cameras[0].link.rate: must be greater than 0 and at most 100000" << 2;
    QTest::newRow("sensor of 1e308 MB/s")
        << camera("sensor.json", R"("sensor": {"dataRate": 1e308})")
        << "cameras[0].sensor.dataRate: must be greater than 0 and at most 100000" << 2;
    QTest::newRow("no buffer") << camera("buffer.json", R"("bufferSize": 0)")
                               << "cameras[0].bufferSize: must be between 1024 and 2147483647" << 2;
    QTest::newRow("unpaced camera") << camera("unpaced.json", R"("pacing": "unpaced")")
                                    << "cameras[0].pacing: \"unpaced\" runs on a virtual clock" << 2;
    QTest::newRow("unknown camera") << QStringList{"--camera", "nosuchcam"}
                                    << "no camera 'nosuchcam'; these can be opened: usb3-left, 5gige-right"
                                    << 2;
    QTest::newRow("output folder that takes no file")
        << QStringList{"--headless", "--out", "/proc/1"}
        << "/proc/1: the output folder cannot be written: " << 2;
    QTest::newRow("help names the program and its files")
        << QStringList{"--help"} << "Usage: lumorix-sim [options]" << 0;
    QTest::newRow("the cameras listed")
        << QStringList{"--list-cameras"} << "usb3-left\tKSC-2000U3\tKS2102117\tUSB3" << 0;
}

void TestHost::badCommandLinesAreRefusedClearly()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QFETCH(int, exitCode);
    // None of them may start a run: each answers within seconds, a folder it cannot write to
    // within one.
    QElapsedTimer timer;
    timer.start();
    const SxRun run = runHost(arguments, QString(), 20000);
    if (message.contains(QStringLiteral("output folder")))
        QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2((run.err + run.out).contains(message), qPrintable(run.err + run.out));
    if (arguments.contains(QStringLiteral("--help")))
        for (const char* file : {"measuring.png", "panel.png", "<camera>.log.csv", "<camera>.history.png",
                                 "<camera>.csv", "summary.json", "settings.ini"})
            QVERIFY2(run.out.contains(QLatin1String(file)), file);
}

QTEST_MAIN(TestHost)
#include "tst_host.moc"
