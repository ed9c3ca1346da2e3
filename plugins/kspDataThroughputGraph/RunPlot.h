// The whole run as one picture in the run history window, from its start to its end: per
// bucket the lowest link speed and the highest buffer level (or each counter's increase),
// what arrived each second, the required throughput as a line, and every event as a mark
// that leads to its row.
#pragma once

#include "RunHistory.h"

#include <QVector>

class QCustomPlot;
class QCPAbstractPlottable;

class CxRunPlot
{
public:
    // Draws the run anew; `history` may be null (a run log), then only the events and the
    // required throughput are drawn.
    void draw(QCustomPlot* plot, const CxRunHistory* history, const CxRunHistory::SxTotals& totals,
              const QVector<CxRunHistory::SxEvent>& events);
    // The event a mark stands for, by its graph and data index; -1 when none.
    int eventAt(const QCPAbstractPlottable* plottable, int dataIndex) const;

private:
    void drawThroughput(QCustomPlot* plot, const CxRunHistory& history, const CxRunHistory::SxTotals& totals);
    void drawCounters(QCustomPlot* plot, const CxRunHistory& history);
    void drawDelivery(QCustomPlot* plot, const CxRunHistory& history, const CxRunHistory::SxTotals& totals);
    void drawMarks(QCustomPlot* plot, const CxRunHistory::SxTotals& totals,
                   const QVector<CxRunHistory::SxEvent>& events);

    // The marks' graphs (dips at their depth, the others along the top) and, in their data's
    // order, the events they stand for.
    const QCPAbstractPlottable* m_marks[2] = {nullptr, nullptr};
    QVector<int> m_markEvents[2];
};
