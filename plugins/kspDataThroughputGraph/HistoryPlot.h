// Draws a camera's run history where its plot shows time before the oldest stored frame: a
// lighter line at the history's resolution, labelled so, and at the events' snapshots the
// samples themselves. Times are computed in 64 bits from the run's start, so a span hours
// long never wraps as the live series' relative times do.
#pragma once

#include "RunHistory.h"

#include <QColor>

class QCPAxisRect;
class QCustomPlot;

class CxHistoryPlot
{
public:
    struct SxView
    {
        qint64 fromUs = 0; // the visible range, microseconds since midnight
        qint64 toUs = 0;
        qint64 storedFromUs = 0; // the oldest stored sample; the history ends there
        double axisUpper = 0.0;  // the time axis' upper end, seconds, which `toUs` maps to
        int pixels = 1;
    };

    // Throughput: the minimum speed on the left axis and the buffer level on the right, each
    // when its colour is valid. Returns true when anything was drawn.
    static bool drawThroughput(QCustomPlot* plot, QCPAxisRect* rect, const CxRunHistory& history,
                               const SxView& view, const QColor& minColor, const QColor& levelColor);
    // Acquisition: each counter whose colour is valid, as the run's first value plus the
    // increases up to each bucket.
    static bool drawCounters(QCustomPlot* plot, QCPAxisRect* rect, const CxRunHistory& history,
                             const SxView& view, const QColor colors[CxRunHistory::kCounters]);
    // Removes what the functions above added to the plot.
    static void clear(QCustomPlot* plot);

private:
    static void label(QCustomPlot* plot, QCPAxisRect* rect, qint64 resolutionUs);
};
