// The run history's cost: how much it grows per camera per day of run, and one refresh of a
// plot whose view spans a whole day of it.

#include "HistoryPlot.h"
#include "SampleModel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <qcustomplot.h>
#include <vector>

namespace {

constexpr quint32 kPeriod = 1 << 20;
constexpr int kSteps = 100;

// Feeds `hours` of a 400 MB/s link, frames back to back, with a dip now and then.
void feed(CxRunHistory& history, qint64* timestamp, quint64* tick, quint32* number, double hours)
{
    const quint64 step = quint64(double(kPeriod) / 400.0 * kTicksPerUs);
    std::vector<quint64> samples(kSteps + 1);
    const qint64 end = *timestamp + qint64(hours * 3.6e9);
    while (*timestamp < end) {
        samples[0] = *tick;
        for (int i = 1; i <= kSteps; ++i)
            samples[size_t(i)] = samples[size_t(i) - 1] + (*number % 997 == 0 && i == 50 ? step * 8 : step);
        history.addFrame((*number)++, *timestamp, samples.data(), samples.size());
        *timestamp += qint64((samples.back() - samples.front()) / 250u) + qint64(step / 250u);
        *tick = samples.back() + step;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CxRunHistory history;
    history.begin(false, kPeriod, 300, 64 << 20);
    qint64 timestamp = 0;
    quint64 tick = 0;
    quint32 number = 0;
    feed(history, &timestamp, &tick, &number, 1.0);
    const qint64 afterHour = history.memoryBytes();
    feed(history, &timestamp, &tick, &number, 24.0);
    const qint64 afterDay = history.memoryBytes();
    printf("figure history_bytes_per_day %.2f MB (growth from hour 1 to hour 25; %.2f MB held after 25 h)\n",
           double(afterDay - afterHour) / 1e6, double(afterDay) / 1e6);

    QCustomPlot plot;
    plot.resize(1000, 300);
    QCPAxisRect* rect = plot.axisRect(0);
    CxHistoryPlot::SxView view;
    view.fromUs = timestamp - 24LL * 3600 * 1000000;
    view.toUs = timestamp;
    view.storedFromUs = timestamp;
    view.axisUpper = 0.0;
    view.pixels = 1000;
    std::vector<double> times;
    for (int i = 0; i < 9; ++i) {
        QElapsedTimer timer;
        timer.start();
        CxHistoryPlot::clear(&plot);
        CxHistoryPlot::drawThroughput(&plot, rect, history, view, QColor(255, 165, 0), QColor(30, 144, 255));
        plot.replot();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    printf("figure history_refresh_ms_24h %.2f ms (median of 9: series of a 24 h span at 1 s and a replot, "
           "1000 px)\n",
           times[times.size() / 2]);
    return 0;
}
