#include "HistoryPlot.h"

#include "SampleModel.h"

#include <QCoreApplication>
#include <algorithm>
#include <cfloat>
#include <qcustomplot.h>

namespace {

const char* const kHistoryProperty = "ksRunHistory";

QCPGraph* addGraph(QCustomPlot* plot, QCPAxis* valueAxis, QCPAxisRect* rect, QColor color, bool faint)
{
    QCPGraph* graph = plot->addGraph(rect->axis(QCPAxis::atBottom), valueAxis);
    if (faint)
        color.setAlpha(110);
    graph->setPen(QPen(color, faint ? 1.0 : 1.5, faint ? Qt::DashLine : Qt::SolidLine));
    graph->setProperty(kHistoryProperty, true);
    return graph;
}

// The history's part of the view, in microseconds after the run's start.
bool historySpan(const CxRunHistory::SxTotals& totals, const CxHistoryPlot::SxView& view, qint64* from,
                 qint64* to)
{
    if (totals.startOfDayUs < 0)
        return false;
    *from = std::max<qint64>(view.fromUs - totals.startOfDayUs, 0);
    *to = std::min(view.toUs, view.storedFromUs) - totals.startOfDayUs;
    return *to > *from;
}

// Microseconds of run a pixel column of the view spans.
double pixelUs(const CxHistoryPlot::SxView& view)
{
    return double(view.toUs - view.fromUs) / double(std::max(view.pixels, 1));
}

double xOf(const CxRunHistory::SxTotals& totals, const CxHistoryPlot::SxView& view, qint64 runUs)
{
    return view.axisUpper + double(totals.startOfDayUs + runUs - view.toUs) / 1e6;
}

} // namespace

void CxHistoryPlot::clear(QCustomPlot* plot)
{
    for (int i = plot->graphCount() - 1; i >= 0; --i)
        if (plot->graph(i)->property(kHistoryProperty).toBool())
            plot->removeGraph(i);
    for (int i = plot->itemCount() - 1; i >= 0; --i)
        if (plot->item(i)->property(kHistoryProperty).toBool())
            plot->removeItem(i);
}

void CxHistoryPlot::label(QCustomPlot* plot, QCPAxisRect* rect, qint64 resolutionUs)
{
    auto* text = new QCPItemText(plot);
    text->setProperty(kHistoryProperty, true);
    text->setClipAxisRect(rect);
    text->position->setAxisRect(rect);
    text->position->setType(QCPItemPosition::ptAxisRectRatio);
    text->position->setCoords(0.01, 0.02);
    text->setPositionAlignment(Qt::AlignLeft | Qt::AlignTop);
    text->setColor(QColor(200, 200, 200));
    text->setText(resolutionUs >= CxRunHistory::kCoarseUs
                      ? QCoreApplication::translate("CxHistoryPlot", "Run history, 1 s resolution")
                      : QCoreApplication::translate("CxHistoryPlot", "Run history, 10 ms resolution"));
}

bool CxHistoryPlot::drawThroughput(QCustomPlot* plot, QCPAxisRect* rect, const CxRunHistory& history,
                                   const SxView& view, const QColor& minColor, const QColor& levelColor)
{
    const CxRunHistory::SxTotals totals = history.totals();
    qint64 from = 0;
    qint64 to = 0;
    if (!historySpan(totals, view, &from, &to))
        return false;
    QVector<qint64> starts;
    QVector<CxRunHistory::SxBucket> buckets;
    const qint64 resolution = history.buckets(from, to, &starts, &buckets);
    QCPGraph* minGraph =
        minColor.isValid() ? addGraph(plot, rect->axis(QCPAxis::atLeft), rect, minColor, true) : nullptr;
    QCPGraph* levelGraph =
        levelColor.isValid() ? addGraph(plot, rect->axis(QCPAxis::atRight), rect, levelColor, true) : nullptr;
    // One point per pixel column at most: the lowest speed and highest level of its buckets.
    const double pixel = pixelUs(view);
    float binMin = FLT_MAX;
    float binMax = 0.0f;
    qint64 binStart = -1;
    auto flush = [&]() {
        if (binStart < 0)
            return;
        const double x = xOf(totals, view, binStart);
        if (minGraph)
            minGraph->addData(x, double(binMin));
        if (levelGraph)
            levelGraph->addData(x, double(binMax));
        binMin = FLT_MAX;
        binMax = 0.0f;
        binStart = -1;
    };
    for (int i = 0; i < starts.size(); ++i) {
        if (binStart >= 0 && double(starts[i] - binStart) >= pixel)
            flush();
        if (binStart < 0)
            binStart = starts[i];
        binMin = std::min(binMin, buckets[i].minSpeed);
        binMax = std::max(binMax, buckets[i].maxLevel);
    }
    flush();

    // The snapshots, sample by sample, in the series' own colours.
    const std::vector<CxRunHistory::SxSnapshot> snapshots = history.snapshots(from, to);
    QCPGraph* minSamples = minColor.isValid() && !snapshots.empty()
                               ? addGraph(plot, rect->axis(QCPAxis::atLeft), rect, minColor, false)
                               : nullptr;
    QCPGraph* levelSamples = levelColor.isValid() && !snapshots.empty()
                                 ? addGraph(plot, rect->axis(QCPAxis::atRight), rect, levelColor, false)
                                 : nullptr;
    const double period = double(totals.samplePeriod);
    const double size = double(totals.bufferSize);
    for (const CxRunHistory::SxSnapshot& snapshot : snapshots) {
        double fill = 0.0;
        bool overflow = false;
        const quint64* samples = snapshot.samples.data();
        for (quint64 i = 1; i < snapshot.samples.size(); ++i) {
            const SxSampleStep step = sampleStep(samples, i, period);
            const double level =
                size > 0.0 ? modelBufferLevel(fill, step.dtUs * (double(totals.required) - step.speed), size,
                                              overflow)
                           : 0.0;
            const double x = xOf(totals, view, snapshot.firstUs + qint64(step.offset));
            if (minSamples)
                minSamples->addData(x, step.speed);
            if (levelSamples)
                levelSamples->addData(x, level);
        }
        // A gap between snapshots, not a line across it.
        if (minSamples)
            minSamples->addData(xOf(totals, view, snapshot.firstUs) - 1e-9, qQNaN());
        if (levelSamples)
            levelSamples->addData(xOf(totals, view, snapshot.firstUs) - 1e-9, qQNaN());
    }
    label(plot, rect, resolution);
    return true;
}

bool CxHistoryPlot::drawCounters(QCustomPlot* plot, QCPAxisRect* rect, const CxRunHistory& history,
                                 const SxView& view, const QColor colors[CxRunHistory::kCounters])
{
    const CxRunHistory::SxTotals totals = history.totals();
    qint64 from = 0;
    qint64 to = 0;
    if (!historySpan(totals, view, &from, &to))
        return false;
    // Counts before the view are needed for the level the view starts at.
    QVector<qint64> starts;
    QVector<CxRunHistory::SxCounterBucket> buckets;
    const qint64 resolution = history.buckets(0, to, &starts, nullptr, &buckets);
    QCPGraph* graphs[CxRunHistory::kCounters] = {};
    for (int k = 0; k < CxRunHistory::kCounters; ++k)
        if (colors[k].isValid())
            graphs[k] = addGraph(plot, rect->axis(QCPAxis::atLeft), rect, colors[k], true);
    quint64 sum[CxRunHistory::kCounters] = {};
    const double pixel = pixelUs(view);
    qint64 lastX = -1;
    for (int i = 0; i < starts.size(); ++i) {
        for (int k = 0; k < CxRunHistory::kCounters; ++k)
            sum[k] += buckets[i].increase[k];
        const bool last = i + 1 == starts.size();
        if (starts[i] < from || (!last && lastX >= 0 && double(starts[i] - lastX) < pixel))
            continue;
        lastX = starts[i];
        for (int k = 0; k < CxRunHistory::kCounters; ++k)
            if (graphs[k])
                graphs[k]->addData(xOf(totals, view, starts[i] + resolution),
                                   double(totals.firstCounters[k]) + double(sum[k]));
    }
    // Around the worst counter events, the records themselves.
    for (const CxRunHistory::SxSnapshot& snapshot : history.snapshots(from, to)) {
        for (int k = 0; k < CxRunHistory::kCounters; ++k) {
            if (!colors[k].isValid())
                continue;
            QCPGraph* records = addGraph(plot, rect->axis(QCPAxis::atLeft), rect, colors[k], false);
            for (const CxRunHistory::SxCounterRecord& record : snapshot.records)
                records->addData(xOf(totals, view, record.atUs), double(record.counters[k]));
        }
    }
    label(plot, rect, resolution);
    return true;
}
