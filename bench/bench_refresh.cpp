// One refresh of the real panel (updateGraph) with cameras measuring and their stores full
// at the default capacity, all of it visible on a 1000-pixel plot: how much of the refresh
// period the tool's own drawing takes on the GUI thread.

#include "CxCameraManager.h"
#include "DataGraphForm.h"
#include "ksSim/CxSimulation.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

int storedSamples(CxCameraLineData* line)
{
    QMutexLocker lock(&line->dataMutex);
    int samples = 0;
    for (const CxCameraLineData::CxFrameData* frame : std::as_const(line->frames))
        samples += int(frame->sampleCount);
    return samples;
}

double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// The median wall time of a refresh, and its median CPU time on the GUI thread: with more
// cameras than cores the simulated cameras take the cores from it, and only the second
// says what the panel itself costs.
double medianRefreshMs(CxDataGraphForm& form, int rounds, double* cpuMs = nullptr)
{
    QList<double> times;
    QList<double> cpu;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        const double before = threadCpuMs();
        QMetaObject::invokeMethod(&form, "updateGraph");
        cpu << threadCpuMs() - before;
        times << timer.nsecsElapsed() / 1e6;
    }
    std::sort(times.begin(), times.end());
    std::sort(cpu.begin(), cpu.end());
    if (cpuMs)
        *cpuMs = cpu[cpu.size() / 2];
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int cameras = argc > 1 ? qMax(1, atoi(argv[1])) : 4;
    QList<KSCORE_HANDLE> handles;
    for (int i = 0; i < cameras; ++i) {
        CxSimCameraConfig config;
        config.id = QStringLiteral("bench%1").arg(i);
        // Real-time pacing keeps the stored frames where the time axis expects them (ending
        // now); a fast link fills the default capacity in a few seconds.
        config.link.rateMBps = 1500.0;
        config.sensor.dataRateMBps = 1200.0;
        config.pacing = ExPacing::RealTime;
        CxSimulation::addCamera(config);
        handles << CxCameraManager::instance()->openCamera(config.id);
    }
    CxDataGraphForm form;
    form.refreshTimer.stop();
    form.resize(1000 + 200, 700);
    form.show();
    auto* plot = form.findChild<QCustomPlot*>(QStringLiteral("plot"));
    plot->setFixedWidth(1000);
    QCoreApplication::processEvents();
    form.findChild<QPushButton*>(QStringLiteral("btnStartAll"))->click();

    // Wait until every store has turned over once: full at the default capacity. Many
    // cameras share the cores making their frames: a minute is the most that is waited.
    QElapsedTimer filling;
    filling.start();
    for (KSCORE_HANDLE hCam : handles) {
        CxCameraLineData* line = form.cameraLines.value(hCam);
        while (storedSamples(line) < form.maxSamples && filling.elapsed() < 60000)
            QThread::msleep(50);
    }
    // Everything stored is visible: the store spans less than the last ten seconds.
    plot->axisRect(0)->axis(QCPAxis::atBottom)->setRange(-10.0, 0.0);
    double cpuMs = 0.0;
    const double wallMs = medianRefreshMs(form, 9, &cpuMs);
    const bool crowded = cameras > QThread::idealThreadCount();
    const double ms = crowded ? cpuMs : wallMs;

    // A refresh holds each camera's dataMutex for that camera's series computation.
    double longestHold = 0.0;
    QCustomPlot scratch;
    QCPGraph* minGraph = scratch.addGraph();
    QCPGraph* levelGraph = scratch.addGraph();
    for (int round = 0; round < 5; ++round) {
        for (CxCameraLineData* line : std::as_const(form.cameraLines)) {
            qint64 start = 0;
            qint64 end = 0;
            form.GetTimeAxisRange(&start, &end);
            const QCPRange range(form.timeAxisLower, form.timeAxisUpper);
            minGraph->data()->clear();
            levelGraph->data()->clear();
            QElapsedTimer timer;
            timer.start();
            line->calculateGraphsThrougput(minGraph, levelGraph, &range, start, end,
                                           (range.upper - range.lower) * 1000.0 / plot->width());
            longestHold = qMax(longestHold, timer.nsecsElapsed() / 1e6);
        }
    }
    printf("figure refresh_ms_%dcams %.1f ms (updateGraph, %d samples per camera, %d px plot, measuring%s; "
           "%.1f ms wall time)\n",
           cameras, ms, storedSamples(form.cameraLines.first()), plot->width(),
           crowded ? ", the GUI thread's CPU time: more cameras than cores" : "", wallMs);
    printf("figure refresh_pct_%dcams %.1f %% (of the %d ms refresh period)\n", cameras,
           100.0 * ms / form.refreshTimer.interval(), form.refreshTimer.interval());
    printf("figure mutex_hold_ms %.2f ms (longest series computation of one camera)\n", longestHold);
    form.findChild<QPushButton*>(QStringLiteral("btnStartAll"))->click();
    return 0;
}
