#include "RunPlot.h"

#include "RunHistoryDlg.h"

#include <QCoreApplication>
#include <algorithm>
#include <qcustomplot.h>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("CxRunPlot", text);
}

QCPGraph* addGraph(QCustomPlot* plot, QCPAxis* valueAxis, const QString& name, const QColor& color)
{
    QCPGraph* graph = plot->addGraph(plot->xAxis, valueAxis);
    graph->setName(name);
    graph->setPen(QPen(color, 1.5));
    return graph;
}

const QColor kMinColor(255, 165, 0);
const QColor kLevelColor(30, 144, 255);
const QColor kDeliveredColor(80, 200, 120);
const QColor kCounterColors[CxRunHistory::kCounters] = {QColor(255, 99, 71), QColor(186, 85, 211),
                                                        QColor(255, 215, 0), QColor(0, 206, 209),
                                                        QColor(30, 144, 255)};

// The window's own colours, so that the picture reads in a light or a dark theme alike.
void followPalette(QCustomPlot* plot)
{
    const QColor text = plot->palette().color(QPalette::Text);
    plot->setBackground(plot->palette().brush(QPalette::Base));
    for (QCPAxis* axis : {plot->xAxis, plot->yAxis, plot->yAxis2}) {
        axis->setTickLabelColor(text);
        axis->setLabelColor(text);
        axis->setBasePen(QPen(text));
        axis->setTickPen(QPen(text));
        axis->setSubTickPen(QPen(text));
    }
    plot->legend->setBrush(plot->palette().brush(QPalette::Base));
    plot->legend->setTextColor(text);
    plot->legend->setBorderPen(QPen(text));
}

} // namespace

void CxRunPlot::draw(QCustomPlot* plot, const CxRunHistory* history, const CxRunHistory::SxTotals& totals,
                     const QVector<CxRunHistory::SxEvent>& events)
{
    followPalette(plot);
    plot->clearGraphs();
    plot->clearItems();
    m_marks[0] = m_marks[1] = nullptr;
    plot->xAxis->setLabel(tr("Seconds from the run's start"));
    plot->yAxis2->setVisible(true);
    plot->legend->setVisible(true);
    plot->legend->setFont(QFont(plot->font().family(), 7));
    plot->axisRect()->insetLayout()->setInsetAlignment(0, Qt::AlignTop | Qt::AlignLeft);
    plot->setInteractions(QCP::iSelectPlottables);
    if (history) {
        if (totals.acquisition)
            drawCounters(plot, *history);
        else
            drawThroughput(plot, *history, totals);
        drawDelivery(plot, *history, totals);
    }
    const double end = std::max(double(totals.durationUs) / 1e6, 1.0);
    // A little room at both ends, so that a mark at the run's start is not under the axis.
    plot->xAxis->setRange(-0.03 * end, 1.03 * end);
    plot->yAxis->rescale();
    plot->yAxis2->rescale();
    if (!totals.acquisition && totals.required > 0) {
        const QColor text = plot->palette().color(QPalette::Text);
        QCPGraph* required = addGraph(plot, plot->yAxis, tr("Required throughput"), text);
        required->setPen(QPen(text, 1.0, Qt::DashLine));
        required->setData({0.0, end}, {double(totals.required), double(totals.required)});
    }
    plot->yAxis->setRangeLower(0.0);
    plot->yAxis->setRangeUpper(std::max(plot->yAxis->range().upper, double(totals.required)) * 1.1 + 1.0);
    plot->yAxis2->setRangeLower(0.0);
    plot->yAxis2->setRangeUpper(
        std::max(plot->yAxis2->range().upper * 1.1, totals.acquisition ? 1.0 : 105.0));
    drawMarks(plot, totals, events);
    plot->replot();
}

void CxRunPlot::drawThroughput(QCustomPlot* plot, const CxRunHistory& history,
                               const CxRunHistory::SxTotals& totals)
{
    plot->yAxis->setLabel(tr("MB/s"));
    plot->yAxis2->setLabel(tr("Buffer level [%]"));
    QVector<qint64> starts;
    QVector<CxRunHistory::SxBucket> buckets;
    const qint64 length = history.buckets(0, totals.durationUs + 1, &starts, &buckets);
    QCPGraph* lowest = addGraph(plot, plot->yAxis, tr("Lowest speed"), kMinColor);
    QCPGraph* level = addGraph(plot, plot->yAxis2, tr("Highest buffer level"), kLevelColor);
    level->setBrush(QColor(kLevelColor.red(), kLevelColor.green(), kLevelColor.blue(), 60));
    for (int i = 0; i < buckets.size(); ++i) {
        const double x = double(starts[i] + length / 2) / 1e6;
        if (buckets[i].minSpeed < 3e38f)
            lowest->addData(x, buckets[i].minSpeed);
        level->addData(x, buckets[i].maxLevel);
    }
}

void CxRunPlot::drawCounters(QCustomPlot* plot, const CxRunHistory& history)
{
    plot->yAxis->setLabel(tr("Increase per bucket"));
    plot->yAxis2->setLabel(tr("Frames/s"));
    const CxRunHistory::SxTotals totals = history.totals();
    QVector<qint64> starts;
    QVector<CxRunHistory::SxCounterBucket> counters;
    const qint64 length = history.buckets(0, totals.durationUs + 1, &starts, nullptr, &counters);
    for (int k = 0; k < CxRunHistory::kCounters; ++k) {
        QCPGraph* graph = addGraph(plot, plot->yAxis, CxRunHistoryDlg::counterName(k), kCounterColors[k]);
        graph->setLineStyle(QCPGraph::lsStepLeft);
        for (int i = 0; i < counters.size(); ++i)
            graph->addData(double(starts[i] + length / 2) / 1e6, counters[i].increase[k]);
    }
}

void CxRunPlot::drawDelivery(QCustomPlot* plot, const CxRunHistory& history,
                             const CxRunHistory::SxTotals& totals)
{
    std::vector<CxRunHistory::SxDeliverySecond> seconds;
    history.deliverySeconds(&seconds, nullptr);
    if (seconds.empty() || totals.delivered == 0)
        return;
    // Each second's frames in MB/s at the run's mean frame size, at its place on the run's clock.
    const double frameMegabytes = totals.deliveredBytes / double(totals.delivered) / 1e6;
    const double offset = double(std::max<qint64>(totals.firstArrivalUs, 0)) / 1e6;
    QCPGraph* delivered =
        addGraph(plot, totals.acquisition ? plot->yAxis2 : plot->yAxis, tr("Delivered"), kDeliveredColor);
    delivered->setLineStyle(QCPGraph::lsStepLeft);
    const size_t first = size_t(offset);
    // The first and the last second are partly outside the run: they would read low.
    for (size_t i = first + 1; i + 1 < seconds.size(); ++i)
        delivered->addData(double(i) - offset,
                           totals.acquisition ? seconds[i].frames : seconds[i].frames * frameMegabytes);
}

void CxRunPlot::drawMarks(QCustomPlot* plot, const CxRunHistory::SxTotals& totals,
                          const QVector<CxRunHistory::SxEvent>& events)
{
    const double top = plot->yAxis->range().upper * 0.95;
    QCPGraph* marks[2] = {addGraph(plot, plot->yAxis, tr("Dips"), kMinColor),
                          addGraph(plot, plot->yAxis, tr("Other events"), QColor(255, 80, 80))};
    const QCPScatterStyle::ScatterShape shapes[2] = {QCPScatterStyle::ssDiamond,
                                                     QCPScatterStyle::ssTriangleInverted};
    QVector<std::pair<double, int>> order[2];
    for (int i = 0; i < events.size(); ++i) {
        const int which = events[i].kind == CxRunHistory::EventDip && !totals.acquisition ? 0 : 1;
        order[which].append({double(events[i].startUs) / 1e6, i});
    }
    for (int which = 0; which < 2; ++which) {
        QCPGraph* graph = marks[which];
        graph->setLineStyle(QCPGraph::lsNone);
        graph->setScatterStyle(QCPScatterStyle(shapes[which], graph->pen().color(), graph->pen().color(), 9));
        graph->setSelectable(QCP::stSingleData);
        // The graph keeps its data sorted by time: the marks' events in the same order.
        std::stable_sort(order[which].begin(), order[which].end());
        m_markEvents[which].clear();
        for (const auto& [x, index] : std::as_const(order[which])) {
            graph->addData(x, which == 0 ? events[index].depth : top);
            m_markEvents[which].append(index);
        }
        m_marks[which] = graph;
        if (order[which].isEmpty())
            plot->legend->removeItem(plot->legend->itemCount() - 1);
    }
}

int CxRunPlot::eventAt(const QCPAbstractPlottable* plottable, int dataIndex) const
{
    for (int which = 0; which < 2; ++which)
        if (plottable && plottable == m_marks[which] && dataIndex >= 0 &&
            dataIndex < m_markEvents[which].size())
            return m_markEvents[which][dataIndex];
    return -1;
}
