#include "RunHistoryDlg.h"

#include "ui_RunHistoryDlg.h"

#include <qcustomplot.h>

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTime>

namespace {

enum : int
{
    colStart,
    colDuration,
    colKind,
    colDepth,
    colCount,
};

const char* const kCounterNames[CxRunHistory::kCounters] = {
    QT_TRANSLATE_NOOP("CxRunHistoryDlg", "Transport skip"), QT_TRANSLATE_NOOP("CxRunHistoryDlg", "API skip"),
    QT_TRANSLATE_NOOP("CxRunHistoryDlg", "Missed trg. overlap"),
    QT_TRANSLATE_NOOP("CxRunHistoryDlg", "Missed trg overflow"),
    QT_TRANSLATE_NOOP("CxRunHistoryDlg", "Buffer overflow")};

// An item that sorts by its number, not its text (a table item's edit role is its text).
class CxNumberItem : public QTableWidgetItem
{
public:
    CxNumberItem(double value, const QString& text) : QTableWidgetItem(text), m_value(value)
    {
        setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    bool operator<(const QTableWidgetItem& other) const override
    {
        const auto* number = dynamic_cast<const CxNumberItem*>(&other);
        return number ? m_value < number->m_value : QTableWidgetItem::operator<(other);
    }
    void set(double value, const QString& text)
    {
        m_value = value;
        setText(text);
    }

private:
    double m_value;
};

QString timeOfDay(qint64 startOfDayUs, qint64 us)
{
    return QTime::fromMSecsSinceStartOfDay(int(((startOfDayUs + us) / 1000) % 86400000))
        .toString(QStringLiteral("HH:mm:ss.zzz"));
}

} // namespace

CxRunHistoryDlg::CxRunHistoryDlg(const QString& cameraName, const CxRunHistory* history, QWidget* parent)
    : QDialog(parent), ui(new Ui_CxRunHistoryDlg), m_cameraName(cameraName), m_history(history)
{
    ui->setupUi(this);
    setWindowTitle(tr("Run history of %1").arg(cameraName));
    ui->events->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    ui->events->horizontalHeader()->setStretchLastSection(true);
    ui->events->verticalHeader()->hide();
    connect(ui->events, &QTableWidget::cellDoubleClicked, this, &CxRunHistoryDlg::onEventActivated);
    connect(ui->btnOpenLog, &QPushButton::clicked, this, &CxRunHistoryDlg::onOpenLog);
    connect(ui->runPlot, &QCustomPlot::plottableClick, this,
            [this](QCPAbstractPlottable* plottable, int dataIndex, QMouseEvent*) {
                onMarkClicked(plottable, dataIndex);
            });
    connect(&m_timer, &QTimer::timeout, this, &CxRunHistoryDlg::refresh);
    if (m_history) {
        m_timer.start(1000);
        refresh();
    }
}

CxRunHistoryDlg::~CxRunHistoryDlg()
{
    delete ui;
}

QString CxRunHistoryDlg::counterName(int counter)
{
    return tr(kCounterNames[qBound(0, counter, CxRunHistory::kCounters - 1)]);
}

void CxRunHistoryDlg::detach()
{
    m_timer.stop();
    m_history = nullptr;
}

int CxRunHistoryDlg::eventRows() const
{
    return ui->events->rowCount();
}

void CxRunHistoryDlg::refresh()
{
    if (!m_history)
        return;
    CxRunHistory::SxTotals totals;
    QVector<CxRunHistory::SxEvent> events;
    m_history->read(&totals, &events);
    present(totals, events);
}

bool CxRunHistoryDlg::openLog(const QString& path)
{
    CxRunHistory::SxTotals totals;
    QVector<CxRunHistory::SxEvent> events;
    QString name;
    QString error;
    if (!CxRunHistory::readLog(path, &totals, &events, &name, &error)) {
        QMessageBox::warning(this, tr("Open Run Log"), tr("%1 cannot be read:\n%2").arg(path, error));
        return false;
    }
    detach();
    m_cameraName = name;
    setWindowTitle(tr("Run log of %1: %2").arg(name, QDir::toNativeSeparators(path)));
    m_shown.clear();
    m_rowOf.clear();
    ui->events->setRowCount(0);
    present(totals, events);
    return true;
}

void CxRunHistoryDlg::onOpenLog()
{
    const QString runs = QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
                             .filePath(QStringLiteral("runs"));
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Run Log"), runs,
                                                      tr("Run logs (*.log.csv);;CSV files (*.csv)"));
    if (!path.isEmpty())
        openLog(path);
}

void CxRunHistoryDlg::present(const CxRunHistory::SxTotals& t, const QVector<CxRunHistory::SxEvent>& events)
{
    // A log's run has no place on the graph of this session.
    m_startOfDayUs = m_history ? t.startOfDayUs : -1;
    QString facts;
    auto row = [&facts](const QString& name, const QString& value) {
        facts +=
            QStringLiteral("<tr><td>%1</td><td>&nbsp;&nbsp;%2</td></tr>").arg(name.toHtmlEscaped(), value);
    };
    if (t.startOfDayUs >= 0 && m_history)
        row(tr("Start"), timeOfDay(t.startOfDayUs, 0));
    row(tr("Duration"), CxRunHistory::durationText(t.durationUs));
    row(tr("Frames"), QString::number(t.frames));
    if (t.acquisition) {
        for (int k = 0; k < CxRunHistory::kCounters; ++k)
            row(counterName(k), QString::number(t.counterIncrease[k]));
    } else {
        row(tr("Bytes"), QStringLiteral("%1 GB").arg(t.bytes / 1e9, 0, 'f', 3));
        row(tr("Link average"), QStringLiteral("%1 MB/s").arg(t.linkAverage(), 0, 'f', 1));
        row(tr("Lowest speed"), tr("%1 MB/s at %2 s")
                                    .arg(t.lowestSpeed, 0, 'f', 1)
                                    .arg(double(t.lowestSpeedAtUs) / 1e6, 0, 'f', 3));
        row(tr("Highest buffer level"), tr("%1 % at %2 s")
                                            .arg(t.highestLevel, 0, 'f', 1)
                                            .arg(double(t.highestLevelAtUs) / 1e6, 0, 'f', 3));
        row(tr("Buffer overflows"), QString::number(t.overflows));
    }
    if (t.delivered > 0) {
        row(tr("Delivered"), tr("%1 MB/s, %2 frames/s (%3 frames, %4 GB)")
                                 .arg(t.deliveredRate(), 0, 'f', 1)
                                 .arg(t.deliveredFrameRate(), 0, 'f', 1)
                                 .arg(t.delivered)
                                 .arg(t.deliveredBytes / 1e9, 0, 'f', 3));
        if (t.askedRate() > 0.0)
            row(tr("Set to send"),
                tr("%1 MB/s, %2 frames/s").arg(t.askedRate(), 0, 'f', 1).arg(t.askedFrameRate(), 0, 'f', 1));
        row(tr("Frames not delivered"), QString::number(t.lostFrames));
    }
    if (t.hasStream) {
        QStringList stream;
        for (int k = 0; k < CxRunHistory::StreamTransferredBytes; ++k)
            stream << QStringLiteral("%1 %2").arg(t.stream[k]).arg(CxRunHistory::streamStatName(k));
        stream << tr("%1 GB").arg(double(t.stream[CxRunHistory::StreamTransferredBytes]) / 1e9, 0, 'f', 3);
        row(tr("GigE Vision stream"), stream.join(QStringLiteral(", ")).toHtmlEscaped());
    }
    row(tr("Events"), t.events > quint64(events.size())
                          ? tr("%1 (%2 of them listed: the worst)").arg(t.events).arg(events.size())
                          : QString::number(t.events));
    ui->summary->setText(QStringLiteral("<table>%1</table>").arg(facts));
    ui->verdict->setText(CxRunHistory::verdict(t).text);
    m_plot.draw(ui->runPlot, m_history, t, events);

    m_linkBehind =
        !t.acquisition && t.required > 0 && t.linkAverage() > 0.0 && t.linkAverage() < double(t.required)
            ? t.linkAverage()
            : 0.0;
    m_runUs = t.durationUs;
    showEvents(events);
}

void CxRunHistoryDlg::showEvents(const QVector<CxRunHistory::SxEvent>& events)
{
    auto same = [](const CxRunHistory::SxEvent& a, const CxRunHistory::SxEvent& b) {
        return a.kind == b.kind && a.counter == b.counter && a.startUs == b.startUs &&
               a.durationUs == b.durationUs && a.depth == b.depth && a.count == b.count;
    };
    // A new run starts the list over.
    if (events.size() < m_shown.size() ||
        (!m_shown.isEmpty() && !events.isEmpty() && events.first().startUs != m_shown.first().startUs)) {
        ui->events->setRowCount(0);
        m_shown.clear();
        m_rowOf.clear();
    }
    ui->events->setSortingEnabled(false);
    const int shown = m_shown.size();
    ui->events->setRowCount(events.size());
    for (int i = 0; i < events.size(); ++i) {
        if (i >= shown)
            fillEventRow(i, events[i], true);
        else if (!same(events[i], m_shown[i]))
            fillEventRow(m_rowOf[i]->row(), events[i], false);
    }
    m_shown = events;
    ui->events->setSortingEnabled(true);
}

void CxRunHistoryDlg::fillEventRow(int row, const CxRunHistory::SxEvent& e, bool fresh)
{
    QString kind;
    QString depth;
    // A link slower than required all along is no dip: it is the link falling behind, at its
    // average over the run.
    const bool wholeRun =
        e.kind == CxRunHistory::EventDip && m_linkBehind > 0.0 && e.durationUs * 10 >= m_runUs * 9;
    switch (e.kind) {
    case CxRunHistory::EventDip:
        kind = wholeRun ? tr("Link below required") : tr("Dip");
        depth = tr("%1 MB/s").arg(wholeRun ? m_linkBehind : e.depth, 0, 'f', 1);
        break;
    case CxRunHistory::EventOverflow:
        kind = tr("Buffer overflow");
        depth = tr("%1 frames").arg(e.count);
        break;
    case CxRunHistory::EventCounter:
        kind = counterName(e.counter);
        depth = tr("+%1").arg(e.count);
        break;
    case CxRunHistory::EventLost:
        kind = tr("Camera stopped answering");
        break;
    case CxRunHistory::EventSilent:
        kind = tr("No image");
        break;
    case CxRunHistory::EventStream:
        kind = CxRunHistory::streamStatName(e.counter);
        depth = tr("%1 in a second at most").arg(e.depth, 0, 'f', 0);
        break;
    }
    const double values[] = {double(e.startUs) / 1e6, double(e.durationUs) / 1e3, 0.0, e.depth,
                             double(e.count)};
    const QString texts[] = {QString::number(values[colStart], 'f', 3),
                             QString::number(values[colDuration], 'f', 3), kind, depth,
                             QString::number(e.count)};
    if (fresh) {
        for (int column = colStart; column <= colCount; ++column)
            ui->events->setItem(row, column,
                                column == colKind ? new QTableWidgetItem(texts[column])
                                                  : new CxNumberItem(values[column], texts[column]));
        m_rowOf.append(ui->events->item(row, colStart));
    } else {
        for (int column = colStart; column <= colCount; ++column)
            if (auto* number = dynamic_cast<CxNumberItem*>(ui->events->item(row, column)))
                number->set(values[column], texts[column]);
            else
                ui->events->item(row, column)->setText(texts[column]);
    }
    QTableWidgetItem* start = ui->events->item(row, colStart);
    start->setData(Qt::UserRole, e.startUs);
    start->setData(Qt::UserRole + 1, e.durationUs);
}

void CxRunHistoryDlg::onMarkClicked(QCPAbstractPlottable* plottable, int dataIndex)
{
    const int event = m_plot.eventAt(plottable, dataIndex);
    if (event < 0 || event >= m_rowOf.size())
        return;
    const int row = m_rowOf[event]->row();
    ui->events->selectRow(row);
    ui->events->scrollToItem(ui->events->item(row, 0));
}

void CxRunHistoryDlg::onEventActivated(int row)
{
    const QTableWidgetItem* start = ui->events->item(row, colStart);
    if (!start || m_startOfDayUs < 0)
        return;
    const qint64 from = start->data(Qt::UserRole).toLongLong();
    const qint64 duration = start->data(Qt::UserRole + 1).toLongLong();
    emit zoomRequested(m_startOfDayUs, from, from + duration);
}
