// The tool's own cost against the least the same work could cost, each figure a ratio
// against a reference measured in the same run (the median of several runs), with the
// absolute times for the record:
//   capture_ratio_2mb / _64kb  the worker per image against a bare loop fetching the same
//                              replayed images and reading the same strided words;
//   series_vs_scan_ratio       one throughput series over a full default store (all
//                              visible, 1000 pixels) against one pass summing its samples;
//   bytes_per_sample           resident bytes per stored sample, full and turned over twice;
//   bytes_per_record           the same per acquisition record;
//   csv_vs_write_ratio         a 2-million-row CSV export against one plain write of its bytes.

#include "CameraLineData.h"
#include "CxCameraManager.h"
#include "ksSim/CxSimulation.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <sched.h>
#include <qcustomplot.h>
#include <unistd.h>

namespace {

volatile quint64 g_sink = 0; // keeps every reference loop's result alive

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double medianOf(int runs, const std::function<double()>& run)
{
    QList<double> values;
    for (int i = 0; i < runs; ++i)
        values << run();
    return median(values);
}

void figure(const char* name, double value, const char* unit, const QString& note)
{
    printf("figure %s %.3f %s (%s)\n", name, value, unit, qPrintable(note));
    fflush(stdout);
}

qint64 residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * sysconf(_SC_PAGESIZE) : 0;
}

KSCORE_HANDLE openReplayCamera(const QString& id, int width, int height)
{
    CxSimCameraConfig config;
    config.id = id;
    config.sensor.width = width;
    config.sensor.height = height;
    config.link.rateMBps = 4000.0;
    config.pacing = ExPacing::Replay;
    config.replayFrames = 8;
    CxSimulation::addCamera(config);
    return CxCameraManager::instance()->openCamera(id);
}

// Nanoseconds per image of the worker: a run measured between two counts of delivered images.
double workerNsPerImage(KSCORE_HANDLE hCam, quint64 images)
{
    CxCameraLineData line;
    line.hCam = hCam;
    line.autoTransport = false;
    line.startMeasurement(4096, 3000000);
    CxSimCamera* camera = CxSimulation::camera(hCam);
    // Steady state: the store has filled and turned over once, so each new image replaces
    // the oldest and the store's one-off costs (its list growing, first-touched pages) are
    // behind.
    int width = 0;
    int height = 0;
    ksApi_GetParamInt(hCam, "width", width);
    ksApi_GetParamInt(hCam, "height", height);
    const quint64 samplesPerImage = quint64(width) * quint64(height) * 2 / 4096;
    const quint64 warmUp = 2 * 3000000 / qMax<quint64>(1, samplesPerImage) + images / 10;
    while (camera->capturesDelivered() < warmUp)
        QThread::msleep(20);
    const quint64 first = camera->capturesDelivered();
    QElapsedTimer timer;
    timer.start();
    // A quiet observer: waking every few hundred microseconds to look costs the worker a
    // quarter of its time on a virtual machine; the count is taken between two reads anyway.
    while (camera->capturesDelivered() < first + images)
        QThread::msleep(20);
    const double ns = double(timer.nsecsElapsed()) / double(camera->capturesDelivered() - first);
    line.stopMeasurement();
    return ns;
}

// The same images fetched and their words at the same stride read, nothing kept.
double bareNsPerImage(KSCORE_HANDLE hCam, quint64 images)
{
    ksApi_SetParamInt(hCam, "imgdataformat", 7);
    ksApi_SetParamInt(hCam, "test_pattern_generator_selector", 1);
    ksApi_SetParamInt(hCam, "test_pattern", 11);
    ksApi_StartAcquisition(hCam);
    KS_IMG image;
    quint64 sum = 0;
    QElapsedTimer timer;
    for (quint64 n = 0; n < images + images / 10; ++n) {
        if (n == images / 10)
            timer.start();
        image = KS_IMG();
        image.size = sizeof(KS_IMG);
        if (!ksApi_GetImage(hCam, 5000, &image, nullptr, true) || !image.data)
            continue;
        const auto* words = static_cast<const quint64*>(image.data);
        const quint64 count = quint64(image.width) * image.height * 2 / 8;
        for (quint64 i = 0; i < count; i += 4096 / 8)
            sum += words[i];
    }
    const double ns = double(timer.nsecsElapsed()) / double(images);
    ksApi_StopAcquisition(hCam);
    g_sink = g_sink + sum;
    return ns;
}

void captureRatio(const char* name, int width, int height, quint64 images)
{
    // The two cores of a virtual machine need not run at one speed (on the project's machine
    // one takes half as long again as the other): the worker, which inherits the affinity,
    // and the bare loop run on the same core.
    cpu_set_t all;
    sched_getaffinity(0, sizeof(all), &all);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof(one), &one);
    const KSCORE_HANDLE hCam = openReplayCamera(QLatin1String(name), width, height);
    // Worker and bare loop in turn, so that a drift of the machine's speed reaches both; the
    // figure is the median of the pairs' ratios.
    QList<double> workers;
    QList<double> bares;
    QList<double> ratios;
    for (int run = 0; run < 7; ++run) {
        workers << workerNsPerImage(hCam, images);
        bares << bareNsPerImage(hCam, images);
        ratios << workers.last() / bares.last();
    }
    const double worker = median(workers);
    const double bare = median(bares);
    figure(name, median(ratios), "x",
           QStringLiteral("worker %1 us, bare loop %2 us per %3 KB image, both on core %4")
               .arg(worker / 1000, 0, 'f', 2)
               .arg(bare / 1000, 0, 'f', 2)
               .arg(width * height * 2 / 1024)
               .arg(sched_getcpu()));
    CxCameraManager::instance()->closeCamera(hCam);
    sched_setaffinity(0, sizeof(all), &all);
}

// A store as a 400 MB/s link fills it at the default settings: 1024-byte samples, 2048 per
// 2 MB frame, 10,000,384 samples.
void fillDefaultStore(CxCameraLineData& line)
{
    line.samplePeriod = 1024;
    line.requiredThroughput = 380;
    line.cameraBufferSize = 64 * 1024 * 1024;
    quint64 tick = 1000000000ull;
    quint32 seed = 1;
    const int samplesPerFrame = 2048;
    for (int f = 0; f < 4883; ++f) {
        auto* frame = new CxCameraLineData::CxFrameData;
        frame->frameNumber = quint32(f);
        frame->timestamp = qint64(tick / 250);
        frame->samples = new quint64[samplesPerFrame];
        frame->sampleCount = samplesPerFrame;
        for (int i = 0; i < samplesPerFrame; ++i) {
            frame->samples[i] = tick;
            seed = seed * 1664525u + 1013904223u;
            tick += 640 + (seed >> 27); // about 400 MB/s with some jitter
        }
        frame->sampleSpan = frame->samples[samplesPerFrame - 1] - frame->samples[0];
        line.frames.append(frame);
        tick += 100;
    }
    line.frameTimeAvg = double(line.frames.first()->sampleSpan) / 250.0;
}

void seriesVsScan()
{
    CxCameraLineData line;
    fillDefaultStore(line);
    const qint64 start = line.frames.first()->timestamp;
    const qint64 end = line.frames.last()->timestamp + 6000;
    const QCPRange range(-double(end - start) / 1e6, 0.0);
    const double msPerPixel = (range.upper - range.lower) * 1000.0 / 1000.0;
    QCustomPlot plot;
    QCPGraph* minGraph = plot.addGraph();
    QCPGraph* levelGraph = plot.addGraph();
    auto series = [&] {
        minGraph->data()->clear();
        levelGraph->data()->clear();
        QElapsedTimer timer;
        timer.start();
        line.calculateGraphsThrougput(minGraph, levelGraph, &range, start, end, msPerPixel);
        return timer.nsecsElapsed() / 1e6;
    };
    const double firstRefresh = series();
    const double refresh = medianOf(9, series);
    const double scan = medianOf(9, [&] {
        QElapsedTimer timer;
        timer.start();
        quint64 sum = 0;
        for (const CxCameraLineData::CxFrameData* frame : std::as_const(line.frames))
            for (quint64 i = 0; i < frame->sampleCount; ++i)
                sum += frame->samples[i];
        g_sink = g_sink + sum;
        return timer.nsecsElapsed() / 1e6;
    });
    figure("series_vs_scan_ratio", refresh / scan, "x",
           QStringLiteral("series %1 ms (first refresh of the store %2 ms), scan of 80 MB %3 ms, %4 points")
               .arg(refresh, 0, 'f', 2)
               .arg(firstRefresh, 0, 'f', 1)
               .arg(scan, 0, 'f', 2)
               .arg(minGraph->dataCount()));
}

void memoryPerSample()
{
    const KSCORE_HANDLE hCam = openReplayCamera(QStringLiteral("memory"), 1024, 1024);
    auto* line = new CxCameraLineData;
    line->hCam = hCam;
    line->autoTransport = false;
    line->startMeasurement(1024, 10000000);
    CxSimCamera* camera = CxSimulation::camera(hCam);
    // The camera's replayed images are the camera's memory, not the store's: count from
    // when they exist.
    while (camera->capturesDelivered() < 20)
        QThread::usleep(200);
    const qint64 before = residentBytes();
    const quint64 framesPerStore = 10000000 / 2048 + 1;
    while (camera->capturesDelivered() < framesPerStore)
        QThread::usleep(500);
    QThread::msleep(50);
    const qint64 full = residentBytes();
    while (camera->capturesDelivered() < 3 * framesPerStore)
        QThread::usleep(500);
    const qint64 turned = residentBytes();
    // A refresh adds the frames' summaries, kept from then on.
    {
        QMutexLocker lock(&line->dataMutex);
        const qint64 first = line->frames.first()->timestamp;
        const qint64 last = line->frames.last()->timestamp;
        lock.unlock();
        line->calculateGraphsThrougput(nullptr, nullptr, nullptr, first, last, 0.0);
    }
    const qint64 summarised = residentBytes();
    line->stopMeasurement();
    qint64 samples = 0;
    for (const CxCameraLineData::CxFrameData* frame : std::as_const(line->frames))
        samples += qint64(frame->sampleCount);
    figure("bytes_per_sample", double(summarised - before) / double(samples), "B",
           QStringLiteral("after turning over twice and a refresh; %1 B when first full, %2 B before the "
                          "refresh; %3 samples")
               .arg(double(full - before) / double(samples), 0, 'f', 3)
               .arg(double(turned - before) / double(samples), 0, 'f', 3)
               .arg(samples));
    delete line;

    // Acquisition records as the loop stores them; a camera would add its own call log to the
    // process's memory, so the store is filled here.
    line = new CxCameraLineData;
    line->measureMode = MeasureModeStandardAcquisition;
    const qint64 empty = residentBytes();
    for (int i = 0; i < 3000000; ++i) {
        auto* record = new CxCameraLineData::CxCounterData;
        record->frameNumber = quint32(i);
        line->counterSamples.append(record);
        if (line->counterSamples.size() > 1000001)
            delete line->counterSamples.takeFirst();
    }
    figure(
        "bytes_per_record", double(residentBytes() - empty) / double(line->counterSamples.size()), "B",
        QStringLiteral("%1 acquisition records, after turning over twice").arg(line->counterSamples.size()));
    delete line;
    CxCameraManager::instance()->closeCamera(hCam);
}

void csvVsWrite()
{
    CxCameraLineData line;
    fillDefaultStore(line);
    while (line.frames.size() > 977) // 2,000,896 samples: 2 million rows
        delete line.frames.takeLast();
    const qint64 start = line.frames.first()->timestamp;
    const qint64 end = line.frames.last()->timestamp + 6000;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("export.csv"));
    const double exportMs = medianOf(5, [&] {
        QElapsedTimer timer;
        timer.start();
        line.exportDataToFile(path, nullptr, start, end);
        return timer.nsecsElapsed() / 1e6;
    });
    QFile exported(path);
    exported.open(QIODevice::ReadOnly);
    const QByteArray bytes = exported.readAll();
    const QString copy = dir.filePath(QStringLiteral("copy.csv"));
    const double writeMs = medianOf(5, [&] {
        QElapsedTimer timer;
        timer.start();
        QFile file(copy);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        for (qsizetype at = 0; at < bytes.size(); at += 1 << 20)
            file.write(bytes.constData() + at, qMin<qsizetype>(1 << 20, bytes.size() - at));
        file.close();
        return timer.nsecsElapsed() / 1e6;
    });
    figure("csv_vs_write_ratio", exportMs / writeMs, "x",
           QStringLiteral("export %1 ms, plain write %2 ms, %3 rows, %4 MB")
               .arg(exportMs, 0, 'f', 0)
               .arg(writeMs, 0, 'f', 0)
               .arg(bytes.count('\n') - 1)
               .arg(bytes.size() / 1e6, 0, 'f', 1));
}

// Our refresh (series plus a replot of a 1000 x 300 plot) against what a developer would
// write first: every sample in QCPGraphs, appended as frames arrive, replotted with
// QCustomPlot's adaptive sampling. Also draws the picture of refresh time against the
// number of stored samples.
void seriesVsQcp(const QString& picture)
{
    CxCameraLineData line;
    fillDefaultStore(line);
    QCustomPlot ours;
    ours.resize(1000, 300);
    ours.show();
    QCPGraph* minGraph = ours.addGraph();
    QCPGraph* levelGraph = ours.addGraph(ours.xAxis, ours.yAxis2);
    QVector<double> sizes, oursMs, qcpMs;
    double speedup = 0.0;
    double memoryRatio = 0.0;
    QString note;
    for (int frames : {4883, 2441, 977, 488, 244}) {
        while (line.frames.size() > frames)
            delete line.frames.takeLast();
        const qint64 start = line.frames.first()->timestamp;
        const qint64 end = line.frames.last()->timestamp + 6000;
        const QCPRange range(-double(end - start) / 1e6, 0.0);
        ours.xAxis->setRange(range);
        ours.yAxis->setRange(0, 600);
        ours.yAxis2->setRange(-10, 110);
        const qint64 beforeOurs = residentBytes();
        auto ourRefresh = [&] {
            QElapsedTimer timer;
            timer.start();
            minGraph->data()->clear();
            levelGraph->data()->clear();
            line.calculateGraphsThrougput(minGraph, levelGraph, &range, start, end,
                                          range.size() * 1000.0 / 1000.0);
            ours.replot(QCustomPlot::rpImmediateRefresh);
            return timer.nsecsElapsed() / 1e6;
        };
        ourRefresh();
        const double oursRefresh = medianOf(7, ourRefresh);
        const qint64 oursExtra = residentBytes() - beforeOurs +
                                 qint64(frames) * qint64(sizeof(CxCameraLineData::CxFrameData::SxSummary));

        // The alternative keeps a point per sample in each of its two graphs.
        const qint64 beforeQcp = residentBytes();
        qint64 samples = 0;
        {
            QCustomPlot plot;
            plot.resize(1000, 300);
            plot.show();
            QCPGraph* speeds = plot.addGraph();
            QCPGraph* levels = plot.addGraph(plot.xAxis, plot.yAxis2);
            speeds->setAdaptiveSampling(true);
            levels->setAdaptiveSampling(true);
            for (const CxCameraLineData::CxFrameData* frame : std::as_const(line.frames)) {
                QVector<QCPGraphData> speedPoints, levelPoints;
                double fill = 0.0;
                for (quint64 i = 1; i < frame->sampleCount; ++i) {
                    const double dtUs = double(frame->samples[i] - frame->samples[i - 1]) / 250.0;
                    const double speed = 1024.0 / dtUs;
                    fill = qBound(0.0, fill + dtUs * (380.0 - speed), 64.0 * 1024 * 1024);
                    const double x = double(frame->timestamp - end) / 1e6 +
                                     double(frame->samples[i] - frame->samples[0]) / 250e6;
                    speedPoints.append(QCPGraphData(x, speed));
                    levelPoints.append(QCPGraphData(x, fill / (64.0 * 1024 * 1024) * 100.0));
                }
                samples += qint64(speedPoints.size());
                speeds->data()->add(speedPoints, true);
                levels->data()->add(levelPoints, true);
            }
            plot.xAxis->setRange(range);
            plot.yAxis->setRange(0, 600);
            plot.yAxis2->setRange(-10, 110);
            const qint64 qcpExtra = residentBytes() - beforeQcp;
            const double qcpRefresh = medianOf(5, [&] {
                QElapsedTimer timer;
                timer.start();
                plot.replot(QCustomPlot::rpImmediateRefresh);
                return timer.nsecsElapsed() / 1e6;
            });
            sizes.prepend(double(samples) / 1e6);
            oursMs.prepend(oursRefresh);
            qcpMs.prepend(qcpRefresh);
            if (frames != 4883)
                continue;
            speedup = qcpRefresh / oursRefresh;
            memoryRatio = double(oursExtra) / double(qMax<qint64>(1, qcpExtra));
            note = QStringLiteral(
                       "ours %1 ms, QCPGraph %2 ms; extra memory ours %3 MB, QCPGraph %4 MB; %5 samples")
                       .arg(oursRefresh, 0, 'f', 1)
                       .arg(qcpRefresh, 0, 'f', 1)
                       .arg(oursExtra / 1e6, 0, 'f', 2)
                       .arg(qcpExtra / 1e6, 0, 'f', 0)
                       .arg(samples);
        }
    }
    figure("series_vs_qcp_speedup", speedup, "x", note);
    figure("memory_vs_qcp_ratio", memoryRatio, "x", note);

    if (picture.isEmpty())
        return;
    QCustomPlot chart;
    chart.resize(720, 400);
    chart.plotLayout()->insertRow(0);
    chart.plotLayout()->addElement(
        0, 0,
        new QCPTextElement(&chart, QStringLiteral("One graph refresh (series + replot, 1000 x 300 px)")));
    QCPGraph* a = chart.addGraph();
    a->setName(QStringLiteral("this tool"));
    a->setData(sizes, oursMs);
    a->setPen(QPen(QColor(255, 140, 0), 2));
    a->setScatterStyle(QCPScatterStyle::ssDisc);
    QCPGraph* b = chart.addGraph();
    b->setName(QStringLiteral("every sample in a QCPGraph, adaptive sampling"));
    b->setData(sizes, qcpMs);
    b->setPen(QPen(QColor(30, 144, 255), 2));
    b->setScatterStyle(QCPScatterStyle::ssDisc);
    chart.xAxis->setLabel(QStringLiteral("stored samples per camera [millions]"));
    chart.yAxis->setLabel(QStringLiteral("refresh time [ms]"));
    chart.rescaleAxes();
    chart.yAxis->setRangeLower(0);
    chart.xAxis->setRange(0, sizes.last() * 1.05);
    chart.yAxis->setRangeUpper(chart.yAxis->range().upper * 1.1);
    chart.legend->setVisible(true);
    chart.axisRect()->insetLayout()->setInsetAlignment(0, Qt::AlignTop | Qt::AlignLeft);
    chart.savePng(picture, 720, 400);
}

// How well the statistics of the throughput mode describe a simulated link of known rate
// with dips: the share of dips longer than 1 ms that the minimum series shows at 1 ms per
// pixel, and the error of the average throughput against the link's time average.
void accuracy()
{
    CxSimCameraConfig config;
    config.id = QStringLiteral("accuracy");
    config.link.rateMBps = 400.0;
    config.link.jitter = 0.02;
    config.link.dips.append({50.0, 2.0, 150.0, 20.0});
    config.link.dips.append({130.0, 1.5, 250.0, 45.0});
    config.pacing = ExPacing::Unpaced;
    CxSimulation::addCamera(config);
    const KSCORE_HANDLE hCam = CxCameraManager::instance()->openCamera(config.id);
    CxCameraLineData line;
    line.hCam = hCam;
    line.autoTransport = false;
    line.requiredThroughput = 300;
    line.startMeasurement(4096, 20000000);
    CxSimCamera* camera = CxSimulation::camera(hCam);
    while (camera->capturesDelivered() < 1000) // about 5 s of link time
        QThread::usleep(500);
    line.stopMeasurement();

    const qint64 reference = line.frames.first()->timestamp;
    const qint64 start = reference;
    const qint64 end = line.frames.last()->timestamp + 6000;
    const QCPRange range(-double(end - start) / 1e6, 0.0);
    QCustomPlot plot;
    QCPGraph* minGraph = plot.addGraph();
    line.calculateGraphsThrougput(minGraph, nullptr, &range, start, end, 1.0);
    int dips = 0;
    int found = 0;
    double timeAverage = config.link.rateMBps;
    for (const SxLinkDip& dip : std::as_const(config.link.dips)) {
        timeAverage -= dip.lengthMs / dip.periodMs * (config.link.rateMBps - dip.rateMBps);
        for (double at = dip.phaseMs;
             (reference + qint64(at * 1000) + qint64(dip.lengthMs * 1000)) < end - 6000; at += dip.periodMs) {
            ++dips;
            const double from = range.upper + double(reference + qint64(at * 1000) - end) / 1e6;
            const double to = from + (dip.lengthMs + 1.0) / 1000.0;
            const double threshold = (config.link.rateMBps + dip.rateMBps) / 2.0;
            for (auto it = minGraph->data()->findBegin(from);
                 it != minGraph->data()->constEnd() && it->key <= to; ++it)
                if (it->value < threshold) {
                    ++found;
                    break;
                }
        }
    }
    figure("dips_found_pct", 100.0 * found / qMax(1, dips), "%",
           QStringLiteral("%1 of %2 dips of 1.5 and 2 ms").arg(found).arg(dips));
    figure("avg_error_pct", 100.0 * qAbs(line.avgThroughput - timeAverage) / timeAverage, "%",
           QStringLiteral("average %1 MB/s against the link's time average %2 MB/s")
               .arg(line.avgThroughput, 0, 'f', 2)
               .arg(timeAverage, 0, 'f', 2));
    const double link = line.linkAverage();
    figure("link_average_error_pct", 100.0 * qAbs(link - timeAverage) / timeAverage, "%",
           QStringLiteral("bytes over link time of all stored frames %1 MB/s").arg(link, 0, 'f', 2));
    CxCameraManager::instance()->closeCamera(hCam);
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString only = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    // Memory first, while the heap holds nothing the allocator could hand out again.
    if (only.isEmpty() || only == QLatin1String("memory"))
        memoryPerSample();
    // "capture" runs both sizes, a figure's name one of them (for a profile of it alone).
    if (only.isEmpty() || only == QLatin1String("capture") || only == QLatin1String("capture_ratio_2mb"))
        captureRatio("capture_ratio_2mb", 1024, 1024, 20000);
    if (only.isEmpty() || only == QLatin1String("capture") || only == QLatin1String("capture_ratio_64kb"))
        captureRatio("capture_ratio_64kb", 128, 256, 200000);
    if (only.isEmpty() || only == QLatin1String("series"))
        seriesVsScan();
    if (only.isEmpty() || only == QLatin1String("csv"))
        csvVsWrite();
    if (only.isEmpty() || only == QLatin1String("qcp"))
        seriesVsQcp(qEnvironmentVariable("BENCH_PICTURE"));
    if (only.isEmpty() || only == QLatin1String("accuracy"))
        accuracy();
    return 0;
}
