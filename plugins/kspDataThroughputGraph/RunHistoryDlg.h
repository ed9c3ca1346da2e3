// The run history window of one camera: the whole run at a glance (a picture of it from start
// to end, then start, duration, frames, bytes, link average, the lowest speed and the highest
// buffer level and when, what arrived), what it proves, and its events in a sortable table; a double-click on
// an event asks the panel to zoom its graph there. It follows a measuring camera every second, or shows a run
// log of an earlier session.
#pragma once

#include "RunHistory.h"
#include "RunPlot.h"

#include <QDialog>
#include <QTimer>

class QTableWidgetItem;
class Ui_CxRunHistoryDlg;

class CxRunHistoryDlg : public QDialog
{
    Q_OBJECT

public:
    // `history` may be null (a log only); it must outlive the window or be detached first.
    CxRunHistoryDlg(const QString& cameraName, const CxRunHistory* history, QWidget* parent = nullptr);
    ~CxRunHistoryDlg() override;

    // Shows a run log instead of the live history; false with a message box on failure.
    bool openLog(const QString& path);
    // The camera goes: what was shown stays, nothing is read any more.
    void detach();
    // An acquisition counter's name as the window and its picture show it.
    static QString counterName(int counter);
    // Rows of the events table (for tests: the window as a user sees it).
    int eventRows() const;

signals:
    // Run time (microseconds after the run's first sample) of an event, and the run's start
    // as microseconds since midnight.
    void zoomRequested(qint64 startOfDayUs, qint64 fromUs, qint64 toUs);

private slots:
    void refresh();
    void onEventActivated(int row);
    void onOpenLog();

private:
    void present(const CxRunHistory::SxTotals& totals, const QVector<CxRunHistory::SxEvent>& events);
    // Adds the events not shown yet and updates those that went on since: a sort or a
    // selection holds, and a long list is not rebuilt every second.
    void showEvents(const QVector<CxRunHistory::SxEvent>& events);
    void fillEventRow(int row, const CxRunHistory::SxEvent& event, bool fresh);

    Ui_CxRunHistoryDlg* ui;
    QString m_cameraName;
    const CxRunHistory* m_history;
    QTimer m_timer;
    qint64 m_startOfDayUs = -1;
    CxRunPlot m_plot;
    double m_linkBehind = 0.0; // the run's link average where it stayed below the required throughput
    qint64 m_runUs = 0;
    void onMarkClicked(QCPAbstractPlottable* plottable, int dataIndex);
    QVector<CxRunHistory::SxEvent> m_shown; // as the table shows them, in the history's order
    QVector<QTableWidgetItem*> m_rowOf;     // each shown event's first item, which knows its row
};
