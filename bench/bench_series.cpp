// The graph refresh walks every visible sample on the GUI thread while the worker waits
// for the mutex. This compares it with the least any walk can cost: reading every sample.

#include "CameraLineData.h"

#include <QApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <qcustomplot.h>

namespace {

constexpr int kFrames = 5860; // a full store of 3,000,000 samples at 512 per frame
constexpr int kSamples = 512;
constexpr int kRounds = 20;

void fillStore(CxCameraLineData& line)
{
    line.samplePeriod = 4096;
    line.requiredThroughput = 380;
    line.cameraBufferSize = 64 * 1024 * 1024;
    quint64 tick = 0;
    for (int f = 0; f < kFrames; ++f) {
        auto* frame = new CxCameraLineData::CxFrameData;
        frame->frameNumber = quint32(f);
        frame->timestamp = qint64(tick / 250);
        frame->samples = new quint64[kSamples];
        frame->sampleCount = kSamples;
        for (int i = 0; i < kSamples; ++i) {
            frame->samples[i] = tick;
            tick += 2560 + quint64((i * 7919) % 97); // about 400 MB/s with some noise
        }
        frame->sampleSpan = frame->samples[kSamples - 1] - frame->samples[0];
        line.frames.append(frame);
    }
    line.frameTimeAvg = double(line.frames.first()->sampleSpan) / 250.0;
}

double nsPerSample(qint64 ns)
{
    return double(ns) / double(kRounds) / double(kFrames * kSamples);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CxCameraLineData line;
    fillStore(line);
    const long long start = line.frames.first()->timestamp;
    const long long end = line.frames.last()->timestamp + 10000;
    const QCPRange range(-double(end - start) / 1e6, 0.0);

    QElapsedTimer timer;
    timer.start();
    quint64 checksum = 0;
    for (int round = 0; round < kRounds; ++round)
        for (const CxCameraLineData::CxFrameData* frame : std::as_const(line.frames))
            for (quint64 i = 0; i < frame->sampleCount; ++i)
                checksum += frame->samples[i];
    const qint64 scan = timer.nsecsElapsed();

    QCustomPlot plot;
    QCPGraph* minGraph = plot.addGraph();
    QCPGraph* levelGraph = plot.addGraph();
    const double msPerPixel = (range.upper - range.lower) * 1000.0 / 1000.0; // a 1000-pixel plot
    timer.restart();
    for (int round = 0; round < kRounds; ++round) {
        minGraph->data()->clear();
        levelGraph->data()->clear();
        line.calculateGraphsThrougput(minGraph, levelGraph, &range, start, end, msPerPixel);
    }
    const qint64 series = timer.nsecsElapsed();

    timer.restart();
    for (int round = 0; round < kRounds; ++round)
        line.calculateGraphsThrougput(nullptr, nullptr, nullptr, start, end, 0.0);
    const qint64 stats = timer.nsecsElapsed();

    std::printf("Store of %d frames x %d samples, %d rounds (checksum %llx)\n", kFrames, kSamples, kRounds,
                static_cast<unsigned long long>(checksum));
    std::printf("bare memory scan      %7.2f ns/sample  %7.2f ms/refresh\n", nsPerSample(scan),
                double(scan) / kRounds / 1e6);
    std::printf("series, 1000 columns  %7.2f ns/sample  %7.2f ms/refresh  %5.1f x scan  (%d points)\n",
                nsPerSample(series), double(series) / kRounds / 1e6, double(series) / double(scan),
                minGraph->dataCount());
    std::printf("statistics only       %7.2f ns/sample  %7.2f ms/refresh  %5.1f x scan\n", nsPerSample(stats),
                double(stats) / kRounds / 1e6, double(stats) / double(scan));
    return 0;
}
