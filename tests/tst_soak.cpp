// Soak: four unpaced cameras measured from the panel for a minute (SOAK_SECONDS), stores so
// small that trimming runs all the time, the graph refreshing every 100 ms and a report
// exported now and then. Resident memory must stay flat after the warm-up, the cameras come
// back as they were, and no thread is left. Under AddressSanitizer (shorter, memory not
// judged: its quarantine holds freed blocks) it is the leak check of a long run.

#include "PanelTestSupport.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

using namespace enginetest;
using namespace paneltest;
using namespace simtest;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kJudgeMemory = false;
#else
constexpr bool kJudgeMemory = true;
#endif

class TestSoak : public QObject
{
    Q_OBJECT

private slots:
    void fourCamerasForAMinute();
};

void TestSoak::fourCamerasForAMinute()
{
    const int seconds =
        qEnvironmentVariableIsSet("SOAK_SECONDS") ? qEnvironmentVariableIntValue("SOAK_SECONDS") : 60;
    const int threadsBefore = threadCount();
    QList<KSCORE_HANDLE> cams;
    QList<QMap<QString, int>> before;
    for (const char* id : {"s1", "s2", "s3", "s4"}) {
        cams << open(camera(QLatin1String(id), 2000.0, 512, 256));
        before << parameterSnapshot(cams.last());
    }
    auto* form = new CxDataGraphForm;
    form->maxSamples = 20000; // about 80 frames of 256 samples: the store turns over constantly
    form->refreshTimer.setInterval(100);
    form->show();
    child<QPushButton>(form, "btnStartAll")->click();
    for (KSCORE_HANDLE hCam : cams)
        QVERIFY(sim(hCam)->isAcquiring());

    QTemporaryDir dir;
    QElapsedTimer timer;
    timer.start();
    const qint64 warmUpMs = qint64(seconds) * 1000 / 4;
    qint64 settled = 0;
    qint64 highest = 0;
    quint64 delivered = 0;
    int exports = 0;
    while (timer.elapsed() < qint64(seconds) * 1000) {
        QTest::qWait(500);
        // The simulated cameras log every call (up to half a million entries each): that is
        // the simulation's memory, not the tool's, so it is emptied as it goes.
        for (KSCORE_HANDLE hCam : cams)
            logOf(hCam)->clearCallLog();
        if (timer.elapsed() % 5000 < 500) {
            CxCameraLineData* line = form->cameraLines.value(cams[exports % 4]);
            const long long end = newestTimestamp(line);
            line->exportDataToFile(dir.filePath(QStringLiteral("soak.csv")), nullptr, end - 10000, end);
            ++exports;
        }
        const qint64 rss = residentBytes();
        if (timer.elapsed() < warmUpMs)
            settled = rss;
        else
            highest = qMax(highest, rss);
    }
    for (KSCORE_HANDLE hCam : cams)
        delivered += sim(hCam)->capturesDelivered();
    delete form; // stops the four runs and restores the cameras

    qInfo("%d s, %llu images from four cameras, %d exports; resident %.1f MB after warm-up, at most "
          "%.1f MB after",
          seconds, delivered, exports, settled / 1e6, highest / 1e6);
    QVERIFY(delivered > quint64(seconds) * 100);
    if (kJudgeMemory)
        QVERIFY2(highest - settled < 8 * 1024 * 1024,
                 qPrintable(QStringLiteral("grew by %1 MB").arg((highest - settled) / 1e6)));
    for (int i = 0; i < cams.size(); ++i) {
        QVERIFY(!sim(cams[i])->isAcquiring());
        QCOMPARE(changedBeyond(before[i], cams[i]), QStringList());
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), threadsBefore, 5000);
}

QTEST_MAIN(TestSoak)
#include "tst_soak.moc"
