#include "DataGraphForm.h"

#include "CxCameraManager.h"
#include "CxCameraParameters.h"
#include "CxExportToolButton.h"
#include "DataGraphSetupDlg.h"
#include "IxAppDelegate.h"
#include "PluginLog.h"
#include "WallClock.h"
#include "ui_DataGraphForm.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QStyle>
#include <QTime>
#include <QTranslator>
#include <cfloat>
#include <limits>

namespace {

const char* const kSource = "plugins/kspDataThroughputGraph/DataGraphForm";
const char* const kUnknownMode = "Unknown measurement mode is selected";

// Log line numbers are fixed so that log lines stay comparable across builds.
enum : int
{
    kLineUpdateCameraList = 214,
    kLineUpdateCameraListRow = 263,
    kLineAddThroughputPlot = 731,
    kLineAddStandardAcqPlot = 781,
    kLineOnChkCamPlotData = 874,
    kLineTimerSignal = 1012,
    kLineUpdateGraph = 1063,
    kLineUpdateMeasureButtonText = 1347,
};

const char* const kMinThroughput = "Min throughput";
const char* const kMaxBufferLevel = "Max buffer level";
const QColor kMinThroughputColor(255, 165, 0);
const QColor kBufferLevelColor(30, 144, 255);

// The acquisition series in drawing order: name, counter selector, colour.
struct SxCounterSeries
{
    const char* name;
    KS_COUNTER_SELECTOR selector;
    QColor color;
};
const SxCounterSeries kCounterSeries[] = {
    {"Transport skip", KS_CNT_TRANSPORT_SKIP, QColor(255, 165, 0)},
    {"API skip", KS_CNT_API_SKIP, QColor(255, 0, 0)},
    {"Missed trg. overlap", KS_CNT_MISSED_TRG_OVERLAP, QColor(255, 255, 0)},
    {"Missed trg overflow", KS_CNT_MISSED_TRG_OVERFLOW, QColor(0, 255, 0)},
    {"Buffer overflow", KS_CNT_BUFFER_OVERFLOW, QColor(0, 0, 255)},
};

constexpr int kCentred = Qt::AlignCenter;
constexpr int kMaxManualValue = 10000;

QVariant handleVariant(KSCORE_HANDLE hCam)
{
    return QVariant(qulonglong(reinterpret_cast<quintptr>(hCam)));
}

KSCORE_HANDLE handleOf(const QObject* object)
{
    if (!object)
        return nullptr;
    return reinterpret_cast<KSCORE_HANDLE>(quintptr(object->property("hCam").toULongLong()));
}

bool carriesHandle(const QObject* object, KSCORE_HANDLE hCam)
{
    return object && object->property("hCam").isValid() && handleOf(object) == hCam;
}

// What arrived and what failed, as a host's report takes it.
void addArrivals(const CxRunHistory::SxTotals& t, QVariantMap* run)
{
    run->insert(QStringLiteral("delivered"), t.delivered);
    run->insert(QStringLiteral("deliveredBytes"), t.deliveredBytes);
    run->insert(QStringLiteral("deliveredRate"), t.deliveredRate());
    run->insert(QStringLiteral("deliveredFrameRate"), t.deliveredFrameRate());
    run->insert(QStringLiteral("framesNotDelivered"), t.lostFrames);
    if (t.askedRate() > 0.0) {
        run->insert(QStringLiteral("setRate"), t.askedRate());
        run->insert(QStringLiteral("setFrameRate"), t.askedFrameRate());
    }
    if (t.lostAtUs >= 0)
        run->insert(QStringLiteral("cameraLostAtSeconds"), double(t.lostAtUs) / 1e6);
    if (t.silentAtUs >= 0) {
        run->insert(QStringLiteral("silentFromSeconds"), double(t.silentAtUs) / 1e6);
        run->insert(QStringLiteral("silentForSeconds"), double(t.silentForUs) / 1e6);
    }
    if (!t.waitingFor.isEmpty())
        run->insert(QStringLiteral("waitingFor"), t.waitingFor);
    if (t.hasStream) {
        static const char* const names[CxRunHistory::kStreamStats] = {
            "missingPackets", "resendRequests", "resentPackets",   "underruns",
            "failures",       "timeouts",       "transferredBytes"};
        QVariantMap stream;
        for (int k = 0; k < CxRunHistory::kStreamStats; ++k)
            stream.insert(QLatin1String(names[k]), t.stream[k]);
        run->insert(QStringLiteral("stream"), stream);
    }
}

QTableWidgetItem* centredItem(const QString& text = QString())
{
    auto* item = new QTableWidgetItem(text);
    item->setData(Qt::TextAlignmentRole, kCentred);
    return item;
}

// The widget of a composite cell at position `index` of its layout, if it is a T.
template <typename T> T* cellChild(QWidget* cell, int index)
{
    if (!cell || !cell->layout())
        return nullptr;
    QLayoutItem* item = cell->layout()->itemAt(index);
    return item ? qobject_cast<T*>(item->widget()) : nullptr;
}

QLineEdit* createNumberEdit(QWidget* parent, const QString& text)
{
    auto* edit = new QLineEdit(parent);
    // The validator lives with its edit, so rebuilding the table does not pile them up.
    edit->setValidator(new QIntValidator(0, kMaxManualValue, edit));
    edit->setText(text);
    edit->setAlignment(Qt::AlignCenter);
    return edit;
}

QString composeCameraName(const CxCameraParameters::SxCameraInfo& info)
{
    return info.modelName + QStringLiteral(" (") +
           (info.nameSelection < 1 ? info.serialNumber : info.userName) + QStringLiteral(")");
}

// A statistic as the table shows it, truncated towards zero. A value no integer can hold
// (the minimum before any sample counted is the largest double) shows as "-".
QString truncatedText(double value)
{
    if (!(value > -9.2e18 && value < 9.2e18))
        return QStringLiteral("-");
    return QString::number(qint64(value));
}

void logForm(int line, const char* function, const QString& failure)
{
    logCritical(kSource, line, QByteArray(function).append("(): %1").constData(), failure);
}

} // namespace

// ---------------------------------------------------------------------------------------
// Construction

CxDataGraphForm::CxDataGraphForm(QWidget* parent) : QWidget(parent), ui(new Ui_CxDataGraphForm)
{
    qRegisterMetaType<KS_COUNTER_SELECTOR>("KS_COUNTER_SELECTOR");
    qRegisterMetaType<QCPRange>("QCPRange");

    ui->setupUi(this);
    maxSamples = 10000000;
    measureMode = MeasureModeDataThroughput;
    samplePeriod = 1024;

    IxAppDelegate::instance()->registerPlotWidget(ui->plot);
    ui->plot->setInteractions(QCP::iRangeDrag | QCP::iRangeZoom);
    ui->plot->setNoAntialiasingOnDrag(true);

    ui->table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->table->setFocusPolicy(Qt::NoFocus);
    ui->table->setSelectionMode(QAbstractItemView::NoSelection);

    ui->btnExport->addSupportedExportType(CxExportToolButton::etSaveToFile);
    ui->btnExport->addSupportedExportType(CxExportToolButton::etCopyToClipboard);
    ui->btnExport->setExportType(CxExportToolButton::etSaveToFile);

    updateCameraList();

    CxCameraManager* manager = CxCameraManager::instance();
    connect(ui->btnExport, SIGNAL(exportClicked(int)), this, SLOT(onBtnExport(int)));
    connect(manager, SIGNAL(cameraOpened(KSCORE_HANDLE)), this, SLOT(updateCameraList()));
    connect(manager, SIGNAL(cameraClosed(KSCORE_HANDLE)), this, SLOT(removeCameraListRow(KSCORE_HANDLE)));
    connect(manager, SIGNAL(acquisitionStarted(KSCORE_HANDLE)), this,
            SLOT(updateCameraListRow(KSCORE_HANDLE)));
    connect(manager, SIGNAL(acquisitionFinished(KSCORE_HANDLE)), this,
            SLOT(updateCameraListRow(KSCORE_HANDLE)));
    connect(manager, SIGNAL(imageFormatChanged(KSCORE_HANDLE)), this,
            SLOT(onComboboxFormatChangedExt(KSCORE_HANDLE)));
    connect(&refreshTimer, SIGNAL(timeout()), this, SLOT(timerSignal()));

    refreshTimer.setInterval(1000);
    refreshTimer.start();
    // Its own timer: the refresh may be off, the log never is.
    connect(&runLogTimer, &QTimer::timeout, this, &CxDataGraphForm::writeRunLogs);
    runLogTimer.start(1000);
    // The run history of a camera from its row or its plot; the panel's own widgets and
    // texts stay as they are.
    ui->table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ui->table, &QWidget::customContextMenuRequested, this, &CxDataGraphForm::onTableContextMenu);
    ui->plot->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ui->plot, &QWidget::customContextMenuRequested, this, &CxDataGraphForm::onPlotContextMenu);

    timeAxisUpper = 0.0;
    timeAxisLower = -20.0;
    timeAxisReference = wallclock::sinceMidnightUs(m_dayStartMs);
}

bool CxDataGraphForm::installTranslation(const QLocale& locale)
{
    static QTranslator translator;
    QCoreApplication::removeTranslator(&translator);
    if (!translator.load(locale, QStringLiteral("kspDataThroughputGraph"), QStringLiteral("_"),
                         QStringLiteral(":/i18n")))
        return false;
    return QCoreApplication::installTranslator(&translator);
}

CxDataGraphForm::~CxDataGraphForm()
{
    const QList<KSCORE_HANDLE> handles = cameraLines.keys();
    for (KSCORE_HANDLE hCam : handles)
        releaseCameraLine(hCam);
    delete ui;
}

void CxDataGraphForm::GetTimeAxisRange(qint64* from, qint64* to)
{
    *from = qint64(double(timeAxisReference) + timeAxisLower * 1000000.0);
    *to = qint64(double(timeAxisReference) + timeAxisUpper * 1000000.0);
}

// ---------------------------------------------------------------------------------------
// Camera rows

void CxDataGraphForm::updateCameraList()
{
    ui->table->clearContents();
    m_records.clear();
    plotCheckBoxes.clear();
    ui->tablePlotCheck->clearContents();
    ui->tablePlotCheck->horizontalHeader()->hide();
    ui->tablePlotCheck->verticalHeader()->hide();

    const QList<KSCORE_HANDLE> opened = CxCameraManager::instance()->openedCameras();
    ui->btnStartAll->setEnabled(!opened.isEmpty());
    ui->table->setRowCount(opened.size());

    switch (measureMode) {
    case MeasureModeDataThroughput:
        AddTableItemsThrougput();
        break;
    case MeasureModeStandardAcquisition:
        AddTableItemsAcquisition();
        break;
    default:
        logForm(kLineUpdateCameraList, "CxDataGraphForm::updateCameraList", QLatin1String(kUnknownMode));
        return;
    }
    updateColumnNames();

    const QList<KSCORE_HANDLE> known = cameraLines.keys();
    for (KSCORE_HANDLE hCam : known) {
        if (!opened.contains(hCam))
            releaseCameraLine(hCam);
    }

    on_btnResetZoom_clicked();
    on_resetPan_clicked();
    fitTableHeight();
}

void CxDataGraphForm::fitTableHeight()
{
    int height =
        ui->table->horizontalHeader()->height() + style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 3;
    for (int row = 0; row < ui->table->rowCount(); ++row)
        height += ui->table->rowHeight(row);
    ui->table->setFixedHeight(height);
}

int CxDataGraphForm::findCameraRow(KSCORE_HANDLE hCam) const
{
    const QTableWidgetItem* item = m_records.value(hCam).nameItem;
    return item ? ui->table->row(item) : -1;
}

void CxDataGraphForm::updateCameraListRow(KSCORE_HANDLE hCam)
{
    CxCameraLineData* line = cameraLines.value(hCam);
    if (!line)
        return;
    int measureColumn = 0;
    switch (measureMode) {
    case MeasureModeDataThroughput:
        measureColumn = ThroughputColumn::colMeasure;
        break;
    case MeasureModeStandardAcquisition:
        measureColumn = AcquisitionColumn::colMeasure;
        break;
    default:
        logForm(kLineUpdateCameraListRow, "CxDataGraphForm::updateCameraListRow",
                QLatin1String(kUnknownMode));
        return;
    }
    const int row = findCameraRow(hCam);
    if (row < 0)
        return;

    QWidget* measureButton = ui->table->cellWidget(row, measureColumn);
    if (QTableWidgetItem* status = ui->table->item(row, ThroughputColumn::colStatus)) {
        if (CxCameraManager::instance()->isCameraRunning(hCam)) {
            status->setText(tr("Acq"));
            if (measureButton)
                measureButton->setEnabled(false);
        } else {
            if (measureButton)
                measureButton->setEnabled(true);
            status->setText(line->isMeasurementRunning() ? tr("Testing") : tr("Stopped"));
        }
    }

    if (measureMode == MeasureModeDataThroughput) {
        using namespace ThroughputColumn;
        updateTableItem(row, colAvgThroughput, truncatedText(line->avgThroughput));
        updateTableItem(row, colMinThroughput, truncatedText(line->minThroughput));
        updateTableItem(row, colMaxBufferLevel, truncatedText(line->maxBufferLevel) + QStringLiteral(" %"));
        updateTableItem(row, colBufferOverflowCount, QString::number(line->bufferOverflowCount));
    } else {
        using namespace AcquisitionColumn;
        updateTableCounterItem(hCam, row, colTransferred, KS_CNT_TRANSFERRED);
        updateTableCounterItem(hCam, row, colTransportSkip, KS_CNT_TRANSPORT_SKIP);
        updateTableCounterItem(hCam, row, colApiSkip, KS_CNT_API_SKIP);
        updateTableCounterItem(hCam, row, colMissedTrgOverlap, KS_CNT_MISSED_TRG_OVERLAP);
        updateTableCounterItem(hCam, row, colMissedTrgOverflow, KS_CNT_MISSED_TRG_OVERFLOW);
        updateTableCounterItem(hCam, row, colBufferOverflow, KS_CNT_BUFFER_OVERFLOW);
    }
}

void CxDataGraphForm::removeCameraListRow(KSCORE_HANDLE hCam)
{
    if (!cameraLines.contains(hCam))
        return;
    const int row = findCameraRow(hCam);
    releaseCameraLine(hCam);
    m_records.remove(hCam);
    if (row >= 0)
        ui->table->removeRow(row);
}

void CxDataGraphForm::releaseCameraLine(KSCORE_HANDLE hCam)
{
    CxCameraLineData* line = cameraLines.take(hCam);
    if (!line)
        return;
    // Its history window keeps what it shows, but reads the line no more.
    if (CxRunHistoryDlg* window = historyWindows.take(hCam))
        window->detach();
    line->stopMeasurement();
    bool exporting = false;
    {
        QMutexLocker lock(&line->dataMutex);
        exporting = line->exportsRunning > 0;
    }
    // A line whose export runs further down this thread's stack ends that export; the export's
    // caller deletes it once it returns.
    if (exporting)
        line->exportAbort = true;
    else
        delete line;
}

// ---------------------------------------------------------------------------------------
// Table columns and cells

void CxDataGraphForm::AddTableItem(int column, QString header, QString toolTip)
{
    auto* item = new QTableWidgetItem(header);
    ui->table->setHorizontalHeaderItem(column, item);
    if (!toolTip.isEmpty())
        item->setData(Qt::ToolTipRole, toolTip);
}

void CxDataGraphForm::AddPlotTableItem(int row, QString name, QString toolTip, QColor color)
{
    auto* cell = new QWidget;
    auto* layout = new QHBoxLayout(cell);
    auto* check = new QCheckBox(cell);
    check->setChecked(true);
    check->setMaximumWidth(check->sizeHint().width());
    // The series ask for their check box by the untranslated name; only the text is translated.
    check->setProperty("plotName", name);
    layout->addWidget(check);
    layout->setAlignment(Qt::AlignCenter);
    layout->setContentsMargins(0, 0, 0, 0);
    ui->tablePlotCheck->setCellWidget(row, 0, cell);
    plotCheckBoxes.append(check);

    QTableWidgetItem* item = centredItem(tr(name.toUtf8().constData()));
    item->setForeground(QBrush(color, Qt::SolidPattern));
    item->setToolTip(toolTip);
    ui->tablePlotCheck->setItem(row, 1, item);
}

CxCameraLineData* CxDataGraphForm::lineForRow(KSCORE_HANDLE hCam)
{
    CxCameraLineData* line = cameraLines.value(hCam);
    if (line)
        return line;
    line = new CxCameraLineData;
    line->hCam = hCam;
    setDefaultCameraSettings(line);
    line->cameraName = composeCameraName(CxCameraManager::instance()->cameraParameters(hCam)->cameraInfo());
    cameraLines.insert(hCam, line);
    return line;
}

QTableWidgetItem* CxDataGraphForm::createNameItem(const CxCameraLineData* line)
{
    auto* item = new QTableWidgetItem(line->cameraName);
    item->setData(Qt::UserRole, handleVariant(line->hCam));
    return item;
}

QPushButton* CxDataGraphForm::createRowButton(const QString& text, const QVariant& tag, const char* slot)
{
    auto* button = new QPushButton(text);
    button->setFocusPolicy(Qt::NoFocus);
    button->setProperty("hCam", tag);
    connect(button, SIGNAL(clicked()), this, slot);
    return button;
}

QWidget* CxDataGraphForm::createGraphCell(const QVariant& tag)
{
    auto* cell = new QWidget;
    auto* layout = new QHBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setAlignment(Qt::AlignCenter);
    auto* check = new QCheckBox(cell);
    check->setChecked(true);
    check->setMaximumWidth(check->sizeHint().width());
    check->setProperty("hCam", tag);
    layout->addWidget(check);
    connect(check, SIGNAL(clicked(bool)), this, SLOT(onChkCamPlotData(bool)));
    return cell;
}

void CxDataGraphForm::prepareLegend(int rows)
{
    ui->tablePlotCheck->setColumnCount(2);
    ui->tablePlotCheck->setRowCount(rows);
    ui->tablePlotCheck->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ui->tablePlotCheck->verticalHeader()->setDefaultSectionSize(24);
}

void CxDataGraphForm::finishLegend()
{
    ui->tablePlotCheck->resizeColumnsToContents();
    ui->tablePlotCheck->resizeRowsToContents();
    // Every rebuild ticks every "Graph" box again, so the plot is back in view.
    ui->plot->setVisible(true);
}

void CxDataGraphForm::AddTableItemsThrougput()
{
    using namespace ThroughputColumn;
    const QList<KSCORE_HANDLE> opened = CxCameraManager::instance()->openedCameras();
    ui->table->setColumnCount(count);
    AddTableItem(colCamera, tr("Camera"), QString());
    AddTableItem(colStatus, tr("Status"), tr("Data gap measurement status"));
    AddTableItem(colMeasure, tr("Measure"), tr("Start/Stop Measurement"));
    AddTableItem(colAvgThroughput, tr("Avg throughput"), tr("Average data rate"));
    AddTableItem(colMinThroughput, tr("Min throughput"), tr("Minimum data rate in whole data set"));
    AddTableItem(colMaxBufferLevel, tr("Max buffer level"), tr("Internal camera buffer fill percentage"));
    AddTableItem(colBufferOverflowCount, tr("Buffer overflow count"),
                 tr("Number of times internal camera buffer was totally filled"));
    AddTableItem(colExportData, tr("Export data"), tr("Export data to .csv report"));
    AddTableItem(colRequiredThroughput, tr("Required throughput"),
                 tr("Expected sensor speed for evaluation"));
    AddTableItem(colCameraBufferSize, tr("Camera buffer size"),
                 tr("Size of internal camera buffer in bytes"));
    AddTableItem(colGraph, tr("Graph"), tr("Enable/Disable plotting of measured data"));
    AddTableItem(colYAxisScaling, tr("Y Axis scaling"),
                 tr("Enable/Disable Y axis automatic scaling or set manual axis range"));
    ui->table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    ui->table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    clearPlotLayout();

    int row = 0;
    unsigned int plotRow = 0;
    for (KSCORE_HANDLE hCam : opened) {
        if (!CxCameraManager::instance()->cameraParameters(hCam))
            continue;
        CxCameraLineData* line = lineForRow(hCam);
        line->measureMode = MeasureMode(measureMode);
        const QVariant tag = handleVariant(hCam);

        QTableWidgetItem* nameItem = createNameItem(line);
        QPushButton* measure = createRowButton(QStringLiteral("Start"), tag, SLOT(onBtnMeasure()));
        QPushButton* exportButton = createRowButton(tr("Export Data..."), tag, SLOT(onBtnCamExportData()));

        auto* transportCell = new QWidget;
        auto* transportLayout = new QHBoxLayout(transportCell);
        transportLayout->setContentsMargins(0, 0, 0, 0);
        auto* autoTransport = new QCheckBox(transportCell);
        if (line->autoTransport) {
            autoTransport->setChecked(true);
            line->readDefaultAvgTransportSpeed();
        }
        QLineEdit* transportEdit = createNumberEdit(transportCell, QString::number(line->requiredThroughput));
        transportEdit->setEnabled(!line->autoTransport);
        autoTransport->setProperty("hCam", tag);
        transportEdit->setProperty("hCam", tag);
        transportLayout->addWidget(autoTransport);
        transportLayout->addWidget(transportEdit);
        connect(autoTransport, SIGNAL(clicked(bool)), this, SLOT(onChkCamAutoTransport(bool)));
        connect(transportEdit, SIGNAL(textChanged(QString)), this, SLOT(onEditCamTransportChanged(QString)));

        line->cameraBufferSize = line->readInternalCameraBufferSize();
        QTableWidgetItem* bufferItem = centredItem(QString::number(line->cameraBufferSize / 1000));
        bufferItem->setFlags(bufferItem->flags() & ~Qt::ItemIsEditable);

        QWidget* graphCell = createGraphCell(tag);

        auto* axisCell = new QWidget;
        auto* axisLayout = new QHBoxLayout(axisCell);
        axisLayout->setContentsMargins(0, 0, 0, 0);
        auto* autoAxis = new QCheckBox(axisCell);
        autoAxis->setChecked(true);
        autoAxis->setProperty("hCam", tag);
        axisLayout->addWidget(autoAxis);
        QLineEdit* axisEdits[2];
        for (QLineEdit*& edit : axisEdits) {
            edit = createNumberEdit(axisCell, QStringLiteral("0"));
            edit->setFixedSize(50, 23);
            edit->setEnabled(false);
            edit->setProperty("hCam", tag);
            axisLayout->addWidget(edit);
        }
        connect(autoAxis, SIGNAL(clicked(bool)), this, SLOT(onChkCamAutoVertAxis(bool)));
        connect(axisEdits[0], SIGNAL(textChanged(QString)), this, SLOT(onEditVertScaleMinChanged(QString)));
        connect(axisEdits[1], SIGNAL(textChanged(QString)), this, SLOT(onEditVertScaleMaxChanged(QString)));

        SxCameraRecord& record = m_records[hCam];
        record.nameItem = nameItem;
        record.measureButton = measure;
        record.exportButton = exportButton;
        record.autoTransport = autoTransport;
        record.transportEdit = transportEdit;
        record.autoAxis = autoAxis;
        record.axisMin = axisEdits[0];
        record.axisMax = axisEdits[1];
        ui->table->setItem(row, colCamera, nameItem);
        ui->table->setItem(row, colStatus, centredItem());
        ui->table->setCellWidget(row, colMeasure, measure);
        for (int column = colAvgThroughput; column <= colBufferOverflowCount; ++column)
            ui->table->setItem(row, column, centredItem());
        ui->table->setCellWidget(row, colExportData, exportButton);
        ui->table->setCellWidget(row, colRequiredThroughput, transportCell);
        ui->table->setItem(row, colCameraBufferSize, bufferItem);
        ui->table->setCellWidget(row, colGraph, graphCell);
        ui->table->setCellWidget(row, colYAxisScaling, axisCell);

        updateCameraListRow(hCam);
        line->plotEnabled = true;
        AddCameraPlotThroughput(hCam, plotRow, line->cameraName);
        ++row;
        plotRow += 2;
    }

    prepareLegend(2);
    AddPlotTableItem(0, QLatin1String(kMinThroughput), tr("Minimum data rate in whole data set"),
                     kMinThroughputColor);
    AddPlotTableItem(1, QLatin1String(kMaxBufferLevel), tr("Internal camera buffer fill percentage"),
                     kBufferLevelColor);
    finishLegend();
}

void CxDataGraphForm::AddTableItemsAcquisition()
{
    using namespace AcquisitionColumn;
    const QList<KSCORE_HANDLE> opened = CxCameraManager::instance()->openedCameras();
    ui->table->setColumnCount(count);
    AddTableItem(colCamera, tr("Camera"), QString());
    AddTableItem(colStatus, tr("Status"), tr("Data gap measurement status"));
    AddTableItem(colDataFormat, tr("Data Format"), tr("Output data format."));
    AddTableItem(colMeasure, tr("Measure"), tr("Start/Stop Measurement"));
    AddTableItem(colTransferred, tr("Transferred"), tr("Number of transferred frames"));
    AddTableItem(colTransportSkip, tr("Transport skip"), tr("Number of skipped frames on transport layer"));
    AddTableItem(colApiSkip, tr("API skip"), tr("Number of skipped frames on API layer"));
    AddTableItem(colMissedTrgOverlap, tr("Missed trg. overlap"),
                 tr("Number of missed triggers due to overlap"));
    AddTableItem(colMissedTrgOverflow, tr("Missed trg overflow"),
                 tr("Number of missed triggers due to frame buffer full"));
    AddTableItem(colBufferOverflow, tr("Buffer overflow"), tr("Frame buffer full counter"));
    AddTableItem(colGraph, tr("Graph"), tr("Enable/Disable plotting of measured data"));
    clearPlotLayout();

    int row = 0;
    unsigned int plotRow = 0;
    for (KSCORE_HANDLE hCam : opened) {
        CxCameraParameters* parameters = CxCameraManager::instance()->cameraParameters(hCam);
        if (!parameters)
            continue;
        CxCameraLineData* line = lineForRow(hCam);
        line->measureMode = MeasureMode(measureMode);
        const QVariant tag = handleVariant(hCam);

        QTableWidgetItem* nameItem = createNameItem(line);

        auto* format = new QComboBox;
        if (CxCameraParam* param = parameters->findParam(QStringLiteral("imgdataformat"), false)) {
            for (const CxCameraParam::SxEnumItem& entry : param->enumItems())
                format->addItem(entry.displayText, entry.value);
            int current = 0;
            if (ksApi_GetParamInt(hCam, "imgdataformat", current, nullptr)) {
                const int index = format->findData(current);
                if (index >= 0)
                    format->setCurrentIndex(index);
            }
        }
        format->setProperty("hCam", tag);
        connect(format, SIGNAL(currentIndexChanged(int)), this, SLOT(onComboboxFormatChanged(int)));

        // Untranslated in this layout, unlike the throughput one.
        QPushButton* measure = createRowButton(QStringLiteral("Start"), tag, SLOT(onBtnMeasure()));

        QWidget* graphCell = createGraphCell(tag);

        SxCameraRecord& record = m_records[hCam];
        record.nameItem = nameItem;
        record.measureButton = measure;
        record.formatCombo = format;
        ui->table->setItem(row, colCamera, nameItem);
        ui->table->setItem(row, colStatus, centredItem());
        ui->table->setCellWidget(row, colDataFormat, format);
        ui->table->setCellWidget(row, colMeasure, measure);
        for (int column = colTransferred; column <= colBufferOverflow; ++column) {
            QTableWidgetItem* item = centredItem();
            item->setForeground(QColor(255, 255, 255));
            ui->table->setItem(row, column, item);
        }
        ui->table->setCellWidget(row, colGraph, graphCell);

        updateCameraListRow(hCam);
        line->plotEnabled = true;
        AddCameraPlotAcquisition(hCam, plotRow, line->cameraName);
        ++row;
        plotRow += 2;
    }

    prepareLegend(5);
    const char* const toolTips[] = {
        QT_TR_NOOP("Number of skipped frames on transport layer"),
        QT_TR_NOOP("Number of skipped frames on API layer"),
        QT_TR_NOOP("Number of missed triggers due to overlap"),
        QT_TR_NOOP("Number of missed triggers due to frame buffer full"),
        QT_TR_NOOP("Frame buffer full counter"),
    };
    for (int i = 0; i < 5; ++i)
        AddPlotTableItem(i, QLatin1String(kCounterSeries[i].name), tr(toolTips[i]), kCounterSeries[i].color);
    finishLegend();
}

void CxDataGraphForm::updateColumnNames()
{
    if (measureMode == MeasureModeDataThroughput) {
        using namespace ThroughputColumn;
        const QString withUnit = QStringLiteral("%1 [%2]");
        const QString mbps = QStringLiteral("MB/s");
        const struct
        {
            int column;
            QString text;
        } names[] = {
            {colAvgThroughput, withUnit.arg(tr("Average\nthroughput"), mbps)},
            {colMinThroughput, withUnit.arg(tr("Minimum\nthroughput"), mbps)},
            {colBufferOverflowCount, QStringLiteral("%1").arg(tr("Buffer overflow\ncount"))},
            {colRequiredThroughput, withUnit.arg(tr("Required\nthroughput"), mbps)},
            {colCameraBufferSize, withUnit.arg(tr("Camera buffer\nsize"), QStringLiteral("kB"))},
        };
        for (const auto& name : names)
            if (QTableWidgetItem* header = ui->table->horizontalHeaderItem(name.column))
                header->setText(name.text);
    }
    ui->table->resizeColumnsToContents();
}

void CxDataGraphForm::updateTableItem(int row, int col, QString val)
{
    if (QTableWidgetItem* item = ui->table->item(row, col))
        item->setText(val);
}

void CxDataGraphForm::updateTableCounterItem(KSCORE_HANDLE hCam, int row, int col, KS_COUNTER_SELECTOR sel)
{
    CxCameraLineData* line = cameraLines.value(hCam);
    QTableWidgetItem* item = ui->table->item(row, col);
    if (!line || !item)
        return;
    if (line->IsCounterSupported(sel)) {
        item->setForeground(QColor(255, 255, 255));
        item->setText(QString::number(uint(line->GetCounterValue(sel))));
    } else {
        item->setForeground(QColor(128, 128, 128));
        item->setText(QStringLiteral("-"));
    }
    item->setFlags(Qt::NoItemFlags);
}

void CxDataGraphForm::DisableTableWidget(int row, int col, KSCORE_HANDLE hCam, bool disable)
{
    QWidget* widget = ui->table->cellWidget(row, col);
    if (carriesHandle(widget, hCam))
        widget->setEnabled(!disable);
}

// ---------------------------------------------------------------------------------------
// Plots and axes

void CxDataGraphForm::clearPlotLayout()
{
    // Graphs go with the rectangles whose axes they draw on; the next update adds them again.
    ui->plot->clearGraphs();
    ui->plot->plotLayout()->clear();
    for (SxCameraRecord& record : m_records)
        record.plot = nullptr;
}

void CxDataGraphForm::ConfigurePlotAxis(QCPAxisRect* rect, QCPAxis::AxisType type, double lower, double upper,
                                        QString label)
{
    QCPAxis* axis = rect->axis(type);
    if (!axis)
        return;
    axis->setRange(lower, upper);
    if (!label.isEmpty())
        axis->setLabel(label);
    const QColor white(Qt::white);
    axis->setTickLabelColor(white);
    axis->setLabelColor(white);
    axis->setBasePen(QPen(white));
    axis->setTickPen(QPen(white));
    axis->setSubTickPen(QPen(white));
    axis->setVisible(true);
    if (type == QCPAxis::atBottom) {
        QSharedPointer<QCPAxisTickerTime> ticker(new QCPAxisTickerTime);
        ticker->setTimeFormat(QStringLiteral("%m:%s.%z"));
        axis->setTicker(ticker);
        connect(axis, SIGNAL(rangeChanged(QCPRange)), this, SLOT(on_plotChangeZoom(QCPRange)));
        rect->setRangeDragAxes(axis, nullptr);
        rect->setRangeZoomAxes(axis, nullptr);
    }
}

QCPAxisRect* CxDataGraphForm::addCameraPlot(void* hCam, unsigned int row, const QString& title)
{
    auto* rect = new QCPAxisRect(ui->plot, true);
    auto* titleElement =
        new QCPTextElement(ui->plot, title, QFont(QStringLiteral("sans serif"), 8, QFont::Bold));
    titleElement->setTextColor(QColor(255, 255, 255));
    ui->plot->plotLayout()->addElement(int(row), 0, titleElement);
    rect->setProperty("hCam", handleVariant(hCam));
    m_records[hCam].plot = rect;
    rect->setRangeZoom(Qt::Horizontal);
    ConfigurePlotAxis(rect, QCPAxis::atBottom, timeAxisLower, timeAxisUpper, QString());
    return rect;
}

bool CxDataGraphForm::AddCameraPlotThroughput(void* hCam, unsigned int row, QString title)
{
    QCPAxisRect* rect = addCameraPlot(hCam, row, title);
    ConfigurePlotAxis(rect, QCPAxis::atLeft, 0.0, 1000.0, tr("Avg. rate [MB/s]"));
    ConfigurePlotAxis(rect, QCPAxis::atRight, -10.0, 110.0, tr("Buffer filled [%]"));
    ui->plot->plotLayout()->addElement(int(row) + 1, 0, rect);
    UpdateVertAxisInformation(hCam, rect);
    return true;
}

bool CxDataGraphForm::AddCameraPlotAcquisition(void* hCam, unsigned int row, QString title)
{
    QCPAxisRect* rect = addCameraPlot(hCam, row, title);
    ConfigurePlotAxis(rect, QCPAxis::atLeft, -0.1, 1.0, tr("Counter value"));
    ui->plot->plotLayout()->addElement(int(row) + 1, 0, rect);
    return true;
}

double CxDataGraphForm::linkAverageOf(qulonglong hCam)
{
    CxCameraLineData* line = cameraLines.value(reinterpret_cast<KSCORE_HANDLE>(quintptr(hCam)));
    return line ? line->linkAverage() : 0.0;
}

double CxDataGraphForm::newestSampleSeconds()
{
    double newest = std::numeric_limits<double>::quiet_NaN();
    for (CxCameraLineData* line : std::as_const(cameraLines)) {
        qint64 oldest = 0;
        qint64 time = 0;
        quint32 frame = 0;
        if (line->storedSpan(&oldest, &time, &frame)) {
            const double seconds = double(time - timeAxisReference) / 1e6;
            if (!(seconds <= newest))
                newest = seconds;
        }
    }
    return newest;
}

QVariantMap CxDataGraphForm::runOf(qulonglong hCam)
{
    QVariantMap run;
    CxCameraLineData* line = cameraLines.value(reinterpret_cast<KSCORE_HANDLE>(quintptr(hCam)));
    if (!line)
        return run;
    qint64 oldest = 0;
    qint64 newest = 0;
    quint32 frame = 0;
    if (line->storedSpan(&oldest, &newest, &frame))
        run.insert(QStringLiteral("newestFrame"), frame);
    CxRunHistory::SxTotals t;
    line->history.read(&t, nullptr);
    const CxRunHistory::SxVerdict verdict = CxRunHistory::verdict(t);
    run.insert(QStringLiteral("durationSeconds"), double(t.durationUs) / 1e6);
    run.insert(QStringLiteral("frames"), t.frames);
    run.insert(QStringLiteral("events"), t.events);
    if (t.acquisition) {
        static const char* const names[CxRunHistory::kCounters] = {
            "transportSkip", "apiSkip", "missedTriggerOverlap", "missedTriggerOverflow", "bufferOverflow"};
        QVariantMap increases;
        for (int k = 0; k < CxRunHistory::kCounters; ++k)
            increases.insert(QLatin1String(names[k]), t.counterIncrease[k]);
        run.insert(QStringLiteral("counterIncrease"), increases);
    } else {
        run.insert(QStringLiteral("bytes"), t.bytes);
        run.insert(QStringLiteral("linkAverage"), t.linkAverage());
        run.insert(QStringLiteral("lowestSpeed"), t.lowestSpeed);
        run.insert(QStringLiteral("lowestSpeedAtSeconds"), double(t.lowestSpeedAtUs) / 1e6);
        run.insert(QStringLiteral("highestLevel"), t.highestLevel);
        run.insert(QStringLiteral("highestLevelAtSeconds"), double(t.highestLevelAtUs) / 1e6);
        run.insert(QStringLiteral("overflows"), t.overflows);
        run.insert(QStringLiteral("dips"), t.dips);
        if (t.dips > 0) {
            run.insert(QStringLiteral("deepestDip"), t.deepestDip);
            run.insert(QStringLiteral("deepestDipAtSeconds"), double(t.deepestDipAtUs) / 1e6);
        }
        if (verdict.headroom > 0.0)
            run.insert(QStringLiteral("headroom"), verdict.headroom);
        if (verdict.bufferLastsSeconds >= 0.0)
            run.insert(QStringLiteral("bufferLastsSeconds"), verdict.bufferLastsSeconds);
    }
    addArrivals(t, &run);
    const bool measuring = line->isMeasurementRunning();
    run.insert(QStringLiteral("measuring"), measuring);
    if (measuring || t.hostDurationUs > 0)
        run.insert(QStringLiteral("measuredSeconds"),
                   double(measuring ? line->history.hostUs() : t.hostDurationUs) / 1e6);
    run.insert(QStringLiteral("fallsBehind"), verdict.fallsBehind);
    run.insert(QStringLiteral("verdictWord"), verdict.word);
    if (!line->runLogError.isEmpty())
        run.insert(QStringLiteral("runLogError"), line->runLogError);
    run.insert(QStringLiteral("verdictReason"), verdict.reason);
    run.insert(QStringLiteral("upperRatePerHour95"), verdict.upperPerHour);
    run.insert(QStringLiteral("verdict"), verdict.text);
    return run;
}

void CxDataGraphForm::setRunFolder(const QString& folder)
{
    runFolder = folder;
}

QString CxDataGraphForm::newRunFolder() const
{
    if (!runFolder.isEmpty())
        return runFolder;
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
        .filePath(QStringLiteral("runs/") +
                  QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")));
}

QString CxDataGraphForm::fileNameOf(qulonglong hCam)
{
    const KSCORE_HANDLE handle = reinterpret_cast<KSCORE_HANDLE>(quintptr(hCam));
    const CxCameraLineData* line = cameraLines.value(handle);
    // The id makes it unique: two cameras of one name and serial number still get a file each.
    QString name = QStringLiteral("%1 %2").arg(line ? line->cameraName : QString(),
                                               CxCameraManager::instance()->cameraId(handle));
    return name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.-]+")), QStringLiteral("_"));
}

void CxDataGraphForm::prepareRunLog(CxCameraLineData* line, const QString& folder)
{
    // A log never replaces another: a second run into the same folder writes beside it.
    const QString base = QDir(folder).filePath(fileNameOf(qulonglong(quintptr(line->hCam))));
    QString path = base + QStringLiteral(".log.csv");
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = QStringLiteral("%1-%2.log.csv").arg(base).arg(n);
    line->runLogPath = path;
}

void CxDataGraphForm::writeRunLogs()
{
    QList<KSCORE_HANDLE> lost;
    for (auto it = cameraLines.cbegin(); it != cameraLines.cend(); ++it) {
        CxCameraLineData* line = it.value();
        if (!line->isMeasurementRunning())
            continue;
        // A camera that stopped answering ends its run there, in its history and on the panel.
        if (!CxCameraManager::instance()->isCameraConnected(it.key())) {
            line->history.noteLost(line->history.hostUs());
            lost.append(it.key());
        }
        line->history.writeLogLine();
    }
    for (KSCORE_HANDLE hCam : std::as_const(lost))
        stopLostCamera(hCam);
}

void CxDataGraphForm::stopLostCamera(KSCORE_HANDLE hCam)
{
    CxCameraLineData* line = cameraLines.value(hCam);
    if (!line || !line->stopMeasurement())
        return;
    IxAppDelegate::instance()->setCameraControlEnabled(hCam, true);
    UpdateMeasureButtonText(hCam, QStringLiteral("Start"));
    DisableUiForMeasurement(hCam, false);
    updateCameraListRow(hCam);
}

CxHistoryPlot::SxView CxDataGraphForm::historyView(CxCameraLineData* line, QCPAxisRect* rect)
{
    CxHistoryPlot::SxView view;
    GetTimeAxisRange(&view.fromUs, &view.toUs);
    qint64 newest = 0;
    quint32 frame = 0;
    if (!line->storedSpan(&view.storedFromUs, &newest, &frame))
        view.storedFromUs = std::numeric_limits<qint64>::max();
    view.axisUpper = rect->axis(QCPAxis::atBottom)->range().upper;
    view.pixels = qMax(1, ui->plot->width());
    return view;
}

void CxDataGraphForm::onTableContextMenu(const QPoint& pos)
{
    const int row = ui->table->rowAt(pos.y());
    for (auto it = m_records.cbegin(); it != m_records.cend() && row >= 0; ++it)
        if (it->nameItem && it->nameItem->row() == row)
            return showHistoryMenu(it.key(), ui->table->viewport()->mapToGlobal(pos));
}

void CxDataGraphForm::onPlotContextMenu(const QPoint& pos)
{
    for (auto it = m_records.cbegin(); it != m_records.cend(); ++it)
        if (it->plot && it->plot->outerRect().contains(pos))
            return showHistoryMenu(it.key(), ui->plot->mapToGlobal(pos));
}

void CxDataGraphForm::showHistoryMenu(KSCORE_HANDLE hCam, const QPoint& globalPos)
{
    QMenu menu(this);
    menu.addAction(tr("Run history..."), this, [this, hCam]() { showRunHistory(quintptr(hCam)); });
    menu.exec(globalPos);
}

void CxDataGraphForm::showRunHistory(qulonglong handle)
{
    const auto hCam = reinterpret_cast<KSCORE_HANDLE>(quintptr(handle));
    CxCameraLineData* line = cameraLines.value(hCam);
    if (!line)
        return;
    QPointer<CxRunHistoryDlg>& window = historyWindows[hCam];
    if (!window) {
        window = new CxRunHistoryDlg(line->cameraName, &line->history, this);
        window->setAttribute(Qt::WA_DeleteOnClose);
        connect(window, &CxRunHistoryDlg::zoomRequested, this, &CxDataGraphForm::zoomToRunTime);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

void CxDataGraphForm::zoomToRunTime(qint64 startOfDayUs, qint64 fromUs, qint64 toUs)
{
    // A following graph would carry the event out of view within seconds.
    if (ui->checkBoxLiveGraph->isChecked() && anyMeasurementRunning())
        ui->checkBoxLiveGraph->setChecked(false);
    followCurrentTime();
    // The event and as much again on either side, at least 20 ms.
    const qint64 margin = std::max<qint64>((toUs - fromUs), 10000);
    const double lower = double(startOfDayUs + fromUs - margin - timeAxisReference) / 1e6;
    const double upper = double(startOfDayUs + toUs + margin - timeAxisReference) / 1e6;
    for (QCPAxisRect* rect : ui->plot->axisRects())
        rect->axis(QCPAxis::atBottom)->setRange(lower, upper);
    updateGraph();
}

QCPAxisRect* CxDataGraphForm::GetCameraPlot(void* hCam)
{
    return m_records.value(hCam).plot;
}

bool CxDataGraphForm::IsPlotEnabled(QString name)
{
    for (QCheckBox* check : std::as_const(plotCheckBoxes))
        if (check->property("plotName").toString() == name)
            return check->isChecked();
    return false;
}

QCPGraph* CxDataGraphForm::AddThrougputPlot(void* hCam, QString name, QColor color)
{
    const char* const prefix = "CxDataGraphForm::AddThrougputPlot(): %1";
    QCPAxisRect* rect = GetCameraPlot(hCam);
    if (!rect)
        return nullptr;
    QPen pen(color, 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
    if (name == QLatin1String(kMinThroughput)) {
        QCPGraph* graph = ui->plot->addGraph(rect->axis(QCPAxis::atBottom), rect->axis(QCPAxis::atLeft));
        if (!graph) {
            logCritical(kSource, kLineAddThroughputPlot, prefix,
                        QStringLiteral("Failed to allocate min throughput plot"));
            return nullptr;
        }
        graph->setPen(pen);
        graph->setName(name);
        return graph;
    }
    if (name == QLatin1String(kMaxBufferLevel)) {
        QCPGraph* graph = ui->plot->addGraph(rect->axis(QCPAxis::atBottom), rect->axis(QCPAxis::atRight));
        if (!graph) {
            logCritical(kSource, kLineAddThroughputPlot, prefix,
                        QStringLiteral("Failed to allocate buffer fill plot"));
            return nullptr;
        }
        color.setAlpha(150);
        pen.setColor(color);
        graph->setPen(pen);
        graph->setBrush(QBrush(color, Qt::SolidPattern));
        graph->setName(name);
        return graph;
    }
    logCritical(kSource, kLineAddThroughputPlot, prefix, QStringLiteral("Unknown througput plot"));
    return nullptr;
}

QCPGraph* CxDataGraphForm::AddStandardAcqPlot(void* hCam, QString name, KS_COUNTER_SELECTOR selector,
                                              QColor color)
{
    CxCameraLineData* line = cameraLines.value(hCam);
    QCPAxisRect* rect = GetCameraPlot(hCam);
    if (!line || !rect)
        return nullptr;
    bool supported = false;
    for (const CxCameraLineData::CxCounterInfo* counter : std::as_const(line->counters))
        if (counter->selector == selector && counter->supported) {
            supported = true;
            break;
        }
    if (!supported)
        return nullptr;
    QCPGraph* graph = ui->plot->addGraph(rect->axis(QCPAxis::atBottom), rect->axis(QCPAxis::atLeft));
    if (!graph) {
        logCritical(kSource, kLineAddStandardAcqPlot, "CxDataGraphForm::AddStandardAcqPlot(): %1",
                    QStringLiteral("Failed to allocate plot"));
        return nullptr;
    }
    graph->setPen(QPen(color, 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    graph->setName(name);
    return graph;
}

bool CxDataGraphForm::findVertAxisControls(KSCORE_HANDLE hCam, QCheckBox** check, QLineEdit** minEdit,
                                           QLineEdit** maxEdit)
{
    const SxCameraRecord record = m_records.value(hCam);
    if (!record.autoAxis || !record.axisMin || !record.axisMax)
        return false;
    *check = record.autoAxis;
    *minEdit = record.axisMin;
    *maxEdit = record.axisMax;
    return true;
}

void CxDataGraphForm::UpdateVertAxisInformation(void* hCam, QCPAxisRect* rect)
{
    if (measureMode != MeasureModeDataThroughput || ui->table->rowCount() == 0 || !rect)
        return;
    QCheckBox* check = nullptr;
    QLineEdit* minEdit = nullptr;
    QLineEdit* maxEdit = nullptr;
    if (!findVertAxisControls(hCam, &check, &minEdit, &maxEdit) || !check->isChecked())
        return;
    QCPAxis* axis = rect->axis(QCPAxis::atLeft);
    axis->rescale(false);
    const QCPRange range = axis->range();
    minEdit->setText(QString::number(int(range.lower)));
    maxEdit->setText(QString::number(int(range.upper)));
}

void CxDataGraphForm::onChkCamPlotData(bool state)
{
    QMutexLocker lock(&graphMutex);
    auto* check = qobject_cast<QCheckBox*>(sender());
    if (!check)
        return;
    CxCameraLineData* changed = cameraLines.value(handleOf(check));
    if (!changed)
        return;
    changed->plotEnabled = state;

    clearPlotLayout();
    unsigned int layoutRow = 0;
    for (int row = 0; row < ui->table->rowCount(); ++row) {
        auto* graphCheck = cellChild<QCheckBox>(ui->table->cellWidget(row, ThroughputColumn::colGraph), 0);
        if (!graphCheck)
            continue;
        const KSCORE_HANDLE hCam = handleOf(graphCheck);
        CxCameraLineData* line = cameraLines.value(hCam);
        if (!line || !line->plotEnabled)
            continue;
        if (measureMode == MeasureModeDataThroughput) {
            AddCameraPlotThroughput(hCam, layoutRow, line->cameraName);
        } else if (measureMode == MeasureModeStandardAcquisition) {
            AddCameraPlotAcquisition(hCam, layoutRow, line->cameraName);
        } else {
            logForm(kLineOnChkCamPlotData, "CxDataGraphForm::onChkCamPlotData", QLatin1String(kUnknownMode));
            return;
        }
        layoutRow += 2;
    }

    bool anyPlotting = false;
    for (CxCameraLineData* line : std::as_const(cameraLines))
        anyPlotting = anyPlotting || line->plotEnabled;
    if (!anyPlotting) {
        ui->plot->hide();
        return;
    }
    if (!anyMeasurementRunning())
        ui->plot->replot(QCustomPlot::rpQueuedRefresh);
    ui->plot->show();
}

void CxDataGraphForm::onChkCamAutoVertAxis(bool state)
{
    const KSCORE_HANDLE hCam = handleOf(sender());
    if (!cameraLines.contains(hCam))
        return;
    QCheckBox* check = nullptr;
    QLineEdit* minEdit = nullptr;
    QLineEdit* maxEdit = nullptr;
    if (!findVertAxisControls(hCam, &check, &minEdit, &maxEdit))
        return;
    minEdit->setEnabled(!state);
    maxEdit->setEnabled(!state);
}

void CxDataGraphForm::onEditVertScaleMinChanged(const QString& text)
{
    auto* edit = qobject_cast<QLineEdit*>(sender());
    const KSCORE_HANDLE hCam = handleOf(edit);
    if (!edit || !cameraLines.contains(hCam) || findCameraRow(hCam) < 0)
        return;
    if (QCPAxisRect* rect = GetCameraPlot(hCam)) {
        QCPAxis* axis = rect->axis(QCPAxis::atLeft);
        axis->setRange(text.toDouble(), axis->range().upper);
    }
}

void CxDataGraphForm::onEditVertScaleMaxChanged(const QString& text)
{
    auto* edit = qobject_cast<QLineEdit*>(sender());
    const KSCORE_HANDLE hCam = handleOf(edit);
    if (!edit || !cameraLines.contains(hCam) || findCameraRow(hCam) < 0)
        return;
    if (QCPAxisRect* rect = GetCameraPlot(hCam)) {
        QCPAxis* axis = rect->axis(QCPAxis::atLeft);
        axis->setRange(axis->range().lower, text.toDouble());
    }
}

// ---------------------------------------------------------------------------------------
// Live update

void CxDataGraphForm::timerSignal()
{
    if (ui->table->rowCount() == 0) {
        updateStats();
        return;
    }
    for (int row = 0; row < ui->table->rowCount(); ++row) {
        if (measureMode != MeasureModeDataThroughput && measureMode != MeasureModeStandardAcquisition) {
            logForm(kLineTimerSignal, "CxDataGraphForm::timerSignal", QLatin1String(kUnknownMode));
            return;
        }
        auto* graphCheck = cellChild<QCheckBox>(ui->table->cellWidget(row, ThroughputColumn::colGraph), 0);
        if (graphCheck && graphCheck->isChecked()) {
            if (ui->checkBoxLiveGraph->isChecked())
                updateGraph();
            else
                updateStats();
            return;
        }
    }
    updateStats();
}

void CxDataGraphForm::followCurrentTime()
{
    for (CxCameraLineData* line : std::as_const(cameraLines))
        if (line->isMeasurementRunning()) {
            timeAxisReference = wallclock::sinceMidnightUs(m_dayStartMs);
            return;
        }
}

qint64 CxDataGraphForm::runDay()
{
    // A start while others measure joins their day; otherwise the day begins anew.
    if (!anyMeasurementRunning() || m_dayStartMs == 0)
        m_dayStartMs = wallclock::midnightBeforeMs(wallclock::nowMs());
    return m_dayStartMs;
}

double CxDataGraphForm::msPerPixel(const QCPAxisRect* rect) const
{
    const QCPRange range = rect->axis(QCPAxis::atBottom)->range();
    // A hidden plot reports no width; one pixel keeps the decimation finite.
    return (range.upper - range.lower) * 1000.0 / qMax(1, ui->plot->width());
}

void CxDataGraphForm::updateGraph()
{
    QMutexLocker lock(&graphMutex);
    followCurrentTime();
    ui->plot->clearGraphs();
    CxHistoryPlot::clear(ui->plot);

    if (measureMode == MeasureModeStandardAcquisition) {
        for (auto it = cameraLines.cbegin(); it != cameraLines.cend(); ++it) {
            KSCORE_HANDLE hCam = it.key();
            CxCameraLineData* line = it.value();
            qint64 start = 0;
            qint64 end = 0;
            GetTimeAxisRange(&start, &end);
            QCPAxisRect* rect = GetCameraPlot(hCam);
            if (!line->plotEnabled || !rect)
                continue;
            QCPGraph* graphs[6] = {};
            for (const SxCounterSeries& series : kCounterSeries)
                if (IsPlotEnabled(QLatin1String(series.name)))
                    graphs[series.selector] =
                        AddStandardAcqPlot(hCam, QLatin1String(series.name), series.selector, series.color);
            const QCPRange timeRange = rect->axis(QCPAxis::atBottom)->range();
            QColor historyColors[CxRunHistory::kCounters];
            for (const SxCounterSeries& series : kCounterSeries)
                if (graphs[series.selector]) {
                    const int k =
                        series.selector < KS_CNT_TRANSFERRED ? series.selector : series.selector - 1;
                    historyColors[k] = series.color;
                }
            CxHistoryPlot::drawCounters(ui->plot, rect, line->history, historyView(line, rect),
                                        historyColors);
            if (!line->calculateGraphsAcquisition(graphs[0], graphs[1], graphs[3], graphs[4], graphs[5],
                                                  &timeRange, start, end, msPerPixel(rect)))
                continue;
            updateCameraListRow(hCam);

            int minVal = 2147483647;
            int maxVal = 1;
            for (const CxCameraLineData::CxCounterInfo* counter : std::as_const(line->counters)) {
                if (!counter->supported || !IsPlotEnabled(counter->name) ||
                    counter->selector == KS_CNT_TRANSFERRED)
                    continue;
                if (counter->selector > KS_CNT_BUFFER_OVERFLOW) {
                    minVal = qMin(minVal, 0);
                    maxVal = qMax(maxVal, 0);
                    continue;
                }
                QCPGraph* graph = graphs[counter->selector];
                if (!graph || graph->data()->isEmpty())
                    continue;
                int points = graph->data()->size();
                // The overflow series borrows the point count of its sibling: both come from
                // the same records. Without the sibling its own count serves.
                if (counter->selector == KS_CNT_BUFFER_OVERFLOW && graphs[KS_CNT_MISSED_TRG_OVERFLOW])
                    points = qMin(points, graphs[KS_CNT_MISSED_TRG_OVERFLOW]->data()->size());
                if (points <= 0)
                    continue;
                minVal = qMin(minVal, int(graph->data()->at(0)->value));
                maxVal = qMax(maxVal, int(graph->data()->at(points - 1)->value));
            }
            if (minVal == 0)
                minVal = -1;
            rect->axis(QCPAxis::atLeft)->setRange(minVal * 0.8, maxVal * 1.2);
        }
        ui->plot->replot(QCustomPlot::rpQueuedRefresh);
        return;
    }
    if (measureMode != MeasureModeDataThroughput) {
        logForm(kLineUpdateGraph, "CxDataGraphForm::updateGraph", QLatin1String(kUnknownMode));
        return;
    }
    if (cameraLines.isEmpty())
        return;

    bool drawn = false;
    const bool showMinimum = IxAppDelegate::instance()->level() > 2;
    for (auto it = cameraLines.cbegin(); it != cameraLines.cend(); ++it) {
        KSCORE_HANDLE hCam = it.key();
        CxCameraLineData* line = it.value();
        qint64 start = 0;
        qint64 end = 0;
        GetTimeAxisRange(&start, &end);
        QCPAxisRect* rect = GetCameraPlot(hCam);
        if (!line->plotEnabled || !rect)
            continue;
        QCPGraph* minGraph = nullptr;
        QCPGraph* bufferGraph = nullptr;
        if (IsPlotEnabled(QLatin1String(kMinThroughput)) && showMinimum)
            minGraph = AddThrougputPlot(hCam, QLatin1String(kMinThroughput), kMinThroughputColor);
        if (IsPlotEnabled(QLatin1String(kMaxBufferLevel)))
            bufferGraph = AddThrougputPlot(hCam, QLatin1String(kMaxBufferLevel), kBufferLevelColor);
        const QCPRange timeRange = rect->axis(QCPAxis::atBottom)->range();
        if (line->calculateGraphsThrougput(minGraph, bufferGraph, &timeRange, start, end, msPerPixel(rect))) {
            updateCameraListRow(hCam);
            UpdateVertAxisInformation(hCam, rect);
            drawn = true;
        }
        // Before the oldest stored frame, the run's history.
        drawn = CxHistoryPlot::drawThroughput(ui->plot, rect, line->history, historyView(line, rect),
                                              minGraph ? kMinThroughputColor : QColor(),
                                              bufferGraph ? kBufferLevelColor : QColor()) ||
                drawn;
    }
    if (drawn)
        ui->plot->replot(QCustomPlot::rpQueuedRefresh);
}

void CxDataGraphForm::updateStats()
{
    followCurrentTime();
    for (auto it = cameraLines.cbegin(); it != cameraLines.cend(); ++it) {
        CxCameraLineData* line = it.value();
        qint64 start = 0;
        qint64 end = 0;
        GetTimeAxisRange(&start, &end);
        if (!line->isMeasurementRunning())
            continue;
        if (measureMode == MeasureModeDataThroughput)
            line->calculateGraphsThrougput(nullptr, nullptr, nullptr, start, end, 0.0);
        updateCameraListRow(it.key());
    }
}

void CxDataGraphForm::on_plotChangeZoom(QCPRange range)
{
    if (range.lower == timeAxisLower && range.upper == timeAxisUpper)
        return;
    if (qAbs(range.lower - range.upper) * 1000.0 > 1.0) {
        timeAxisLower = range.lower;
        timeAxisUpper = range.upper;
    }
    const QList<QCPAxisRect*> rects = ui->plot->axisRects();
    for (QCPAxisRect* rect : rects)
        rect->axis(QCPAxis::atBottom)->setRange(timeAxisLower, timeAxisUpper);

    const QList<KSCORE_HANDLE> opened = CxCameraManager::instance()->openedCameras();
    for (KSCORE_HANDLE hCam : opened) {
        CxCameraLineData* line = cameraLines.value(hCam);
        if (line && line->isMeasurementRunning()) {
            ui->plot->replot(QCustomPlot::rpQueuedRefresh);
            return;
        }
    }
    updateGraph();
}

void CxDataGraphForm::on_btnResetZoom_clicked()
{
    timeAxisLower = -20.0;
    timeAxisUpper = 0.0;
    const QList<QCPAxisRect*> rects = ui->plot->axisRects();
    for (QCPAxisRect* rect : rects)
        rect->axis(QCPAxis::atBottom)->setRange(-20.0, 0.0);
    ui->plot->replot();
}

void CxDataGraphForm::on_resetPan_clicked()
{
    timeAxisLower = -20.0;
    timeAxisUpper = 0.0;
    const QList<QCPAxisRect*> rects = ui->plot->axisRects();
    for (QCPAxisRect* rect : rects) {
        QCPAxis* axis = rect->axis(QCPAxis::atBottom);
        const double span = axis->range().upper - axis->range().lower;
        axis->setRange(-span, 0.0);
    }
    ui->plot->replot();
}

void CxDataGraphForm::on_refreshGraph_clicked()
{
    updateGraph();
}

// ---------------------------------------------------------------------------------------
// Measurement control

bool CxDataGraphForm::anyMeasurementRunning()
{
    for (CxCameraLineData* line : std::as_const(cameraLines))
        if (line->isMeasurementRunning())
            return true;
    return false;
}

QMessageBox* CxDataGraphForm::createProgressBox()
{
    auto* box = new QMessageBox(this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setStandardButtons(QMessageBox::NoButton);
    box->setModal(false);
    box->setText(QString());
    return box;
}

void CxDataGraphForm::showProgress(QMessageBox* box, const QString& title, const QString& text)
{
    box->setWindowTitle(title);
    box->setText(text);
    box->show();
    // Paints the box once before the camera operation blocks the GUI thread.
    QCoreApplication::processEvents();
}

void CxDataGraphForm::closeProgressBox(QMessageBox* box)
{
    box->hide();
    box->close();
    // A message box without buttons refuses close(), so delete-on-close never happens.
    delete box;
}

void CxDataGraphForm::showStartFailure(CxCameraLineData* line)
{
    QMessageBox::critical(
        nullptr, tr("Failed to start measurement"),
        tr("Camera %1 does not support \n data throughput analysis in Lumorix.").arg(line->cameraName),
        QMessageBox::Ok);
}

void CxDataGraphForm::onBtnMeasure()
{
    auto* button = qobject_cast<QPushButton*>(sender());
    if (!button)
        return;
    const KSCORE_HANDLE hCam = handleOf(button);
    CxCameraLineData* line = cameraLines.value(hCam);
    if (!line)
        return;
    QMessageBox* box = createProgressBox();
    if (line->isMeasurementRunning()) {
        showProgress(box, tr("Stopping measurement"),
                     QStringLiteral("Stopping camera %1...").arg(line->cameraName));
        line->stopMeasurement();
        IxAppDelegate::instance()->setCameraControlEnabled(hCam, true);
        DisableUiForMeasurement(hCam, false);
        button->setText(QStringLiteral("Start"));
    } else {
        showProgress(box, tr("Starting measurement"),
                     QStringLiteral("Starting camera %1...").arg(line->cameraName));
        UpdateCameraAutoTransport(hCam);
        prepareRunLog(line, newRunFolder());
        line->dayStartMs = runDay();
        if (!line->startMeasurement(uint(samplePeriod), maxSamples)) {
            box->hide();
            showStartFailure(line);
            closeProgressBox(box);
            updateCameraListRow(hCam);
            return;
        }
        IxAppDelegate::instance()->setCameraControlEnabled(hCam, false);
        DisableUiForMeasurement(hCam, true);
        button->setText(QStringLiteral("Stop"));
    }
    closeProgressBox(box);
    updateCameraListRow(hCam);
}

void CxDataGraphForm::on_btnStartAll_clicked()
{
    const QList<KSCORE_HANDLE> opened = CxCameraManager::instance()->openedCameras();
    QMessageBox* box = createProgressBox();
    IxAppDelegate* delegate = IxAppDelegate::instance();

    if (ui->btnStartAll->text() == QLatin1String("Start All")) {
        bool failed = false;
        const QString folder = newRunFolder(); // the cameras started together log together
        for (KSCORE_HANDLE hCam : opened) {
            CxCameraLineData* line = cameraLines.value(hCam);
            if (!line || line->isMeasurementRunning())
                continue;
            showProgress(box, tr("Starting measurement"),
                         QStringLiteral("Starting camera %1...").arg(line->cameraName));
            UpdateCameraAutoTransport(hCam);
            prepareRunLog(line, folder);
            line->dayStartMs = runDay();
            if (!line->startMeasurement(uint(samplePeriod), maxSamples)) {
                showStartFailure(line);
                failed = true;
                break;
            }
            delegate->setCameraControlEnabled(hCam, false);
            UpdateMeasureButtonText(hCam, QStringLiteral("Stop"));
            updateCameraListRow(hCam);
            DisableUiForMeasurement(hCam, true);
        }
        ui->btnStartAll->setText(QStringLiteral("Stop All"));
        closeProgressBox(box);
        if (!failed)
            return;
        // Roll back: every running measurement of an opened camera goes, also those
        // started earlier by their own button. Row buttons and locks stay as they are.
        for (KSCORE_HANDLE hCam : opened) {
            CxCameraLineData* line = cameraLines.value(hCam);
            if (line && line->isMeasurementRunning()) {
                line->stopMeasurement();
                delegate->setCameraControlEnabled(hCam, true);
            }
        }
        for (KSCORE_HANDLE hCam : opened)
            updateCameraListRow(hCam);
        ui->btnStartAll->setText(QStringLiteral("Start All"));
        return;
    }

    for (KSCORE_HANDLE hCam : opened) {
        CxCameraLineData* line = cameraLines.value(hCam);
        if (!line || !line->isMeasurementRunning())
            continue;
        showProgress(box, tr("Stopping measurement"),
                     QStringLiteral("Stopping camera %1...").arg(line->cameraName));
        if (line->stopMeasurement())
            delegate->setCameraControlEnabled(hCam, true);
        UpdateMeasureButtonText(hCam, QStringLiteral("Start"));
        updateCameraListRow(hCam);
        DisableUiForMeasurement(hCam, false);
    }
    ui->btnStartAll->setText(QStringLiteral("Start All"));
    closeProgressBox(box);
}

void CxDataGraphForm::UpdateMeasureButtonText(void* hCam, QString text)
{
    if (measureMode != MeasureModeDataThroughput && measureMode != MeasureModeStandardAcquisition) {
        logForm(kLineUpdateMeasureButtonText, "CxDataGraphForm::UpdateMeasureButtonText",
                QLatin1String(kUnknownMode));
        return;
    }
    if (QPushButton* button = m_records.value(hCam).measureButton)
        button->setText(text);
}

void CxDataGraphForm::DisableUiForMeasurement(void* hCam, bool disable)
{
    const int row = findCameraRow(hCam);
    if (row >= 0 && m_records.value(hCam).exportButton)
        DisableTableWidget(row, ThroughputColumn::colExportData, hCam, disable);
    ui->btnSetup->setEnabled(!anyMeasurementRunning());
}

bool CxDataGraphForm::findTransportControls(KSCORE_HANDLE hCam, QCheckBox** check, QLineEdit** edit)
{
    const SxCameraRecord record = m_records.value(hCam);
    if (!record.autoTransport || !record.transportEdit)
        return false;
    *check = record.autoTransport;
    *edit = record.transportEdit;
    return true;
}

void CxDataGraphForm::UpdateCameraAutoTransport(void* hCam)
{
    if (measureMode != MeasureModeDataThroughput || ui->table->rowCount() == 0)
        return;
    CxCameraLineData* line = cameraLines.value(hCam);
    QCheckBox* check = nullptr;
    QLineEdit* edit = nullptr;
    if (!line || !findTransportControls(hCam, &check, &edit))
        return;
    // The box's enabled state decides, not its checked state: nothing disables it, so
    // every start re-reads the camera's default, as the host's users know it.
    if (!check->isEnabled())
        return;
    line->readDefaultAvgTransportSpeed();
    edit->setText(QString::number(line->requiredThroughput));
}

void CxDataGraphForm::onChkCamAutoTransport(bool state)
{
    auto* check = qobject_cast<QCheckBox*>(sender());
    CxCameraLineData* line = check ? cameraLines.value(handleOf(check)) : nullptr;
    if (!line)
        return;
    line->autoTransport = state;
    if (state)
        line->readDefaultAvgTransportSpeed();
    QCheckBox* box = nullptr;
    QLineEdit* edit = nullptr;
    if (!findTransportControls(line->hCam, &box, &edit))
        return;
    if (state)
        edit->setText(QString::number(line->requiredThroughput));
    edit->setEnabled(!state);
}

void CxDataGraphForm::onEditCamTransportChanged(const QString& text)
{
    auto* edit = qobject_cast<QLineEdit*>(sender());
    CxCameraLineData* line = edit ? cameraLines.value(handleOf(edit)) : nullptr;
    if (!line)
        return;
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    line->requiredThroughput = ok ? value : 0;
}

void CxDataGraphForm::onComboboxFormatChanged(int newSel)
{
    auto* combo = qobject_cast<QComboBox*>(sender());
    const KSCORE_HANDLE hCam = handleOf(combo);
    if (!combo || !cameraLines.contains(hCam))
        return;
    CxCameraParameters* parameters = CxCameraManager::instance()->cameraParameters(hCam);
    CxCameraParam* param =
        parameters ? parameters->findParam(QStringLiteral("imgdataformat"), false) : nullptr;
    if (!param)
        return;
    param->setParamValue(CxValue(combo->itemData(newSel).toInt()));
    parameters->addParamCommitToBatch(QStringLiteral("imgdataformat"));
    parameters->endCommitBatch(CxCameraParameters::cmRefresh);
}

void CxDataGraphForm::onComboboxFormatChangedExt(KSCORE_HANDLE hCam)
{
    if (!cameraLines.contains(hCam) || measureMode != MeasureModeStandardAcquisition)
        return;
    QComboBox* combo = m_records.value(hCam).formatCombo;
    CxCameraParameters* parameters = CxCameraManager::instance()->cameraParameters(hCam);
    CxCameraParam* param =
        parameters ? parameters->findParam(QStringLiteral("imgdataformat"), false) : nullptr;
    if (!combo || !param)
        return;
    // The formats are listed so that an entry's index is its value.
    combo->setCurrentIndex(param->value().toInt());
}

// ---------------------------------------------------------------------------------------
// Setup dialog

void CxDataGraphForm::on_btnSetup_clicked()
{
    // The button is disabled while anything measures; a setup then would clear stores that
    // workers are filling.
    if (anyMeasurementRunning())
        return;
    const int previousMode = measureMode;
    const int previousPeriod = samplePeriod;
    int result = QDialog::Rejected;
    {
        CxDataGraphSetupDlg dialog(this, parentWidget());
        result = dialog.exec();
    }
    if (result != QDialog::Accepted)
        return;
    if (samplePeriod != previousPeriod)
        for (CxCameraLineData* line : std::as_const(cameraLines))
            line->clearData();
    if (measureMode == previousMode) {
        updateColumnNames();
        return;
    }
    // Nothing of the old mode stays in the rows or the plots.
    for (CxCameraLineData* line : std::as_const(cameraLines))
        line->clearRun();
    updateCameraList();
    updateColumnNames();
}

// ---------------------------------------------------------------------------------------
// Settings and export

void CxDataGraphForm::setDefaultCameraSettings(CxCameraLineData* line)
{
    line->samplePeriod = quint32(samplePeriod);
    line->maxSamples = maxSamples;
}

void CxDataGraphForm::saveSettings(QSettings* settings)
{
    settings->setValue(QStringLiteral("DTGTSamplePeriod"), int(samplePeriod));
    settings->setValue(QStringLiteral("DTGTMaxSamples"), int(maxSamples));
    settings->setValue(QStringLiteral("DTGTExportType"), int(ui->btnExport->exportType()));
    settings->setValue(QStringLiteral("DTGTMeasMode"), int(measureMode));
    settings->setValue(QStringLiteral("DTGTLiveGraph"), ui->checkBoxLiveGraph->isChecked() ? 1 : 0);
}

void CxDataGraphForm::loadSettings(QSettings* settings)
{
    samplePeriod = settings->value(QStringLiteral("DTGTSamplePeriod"), samplePeriod).toInt();
    maxSamples = settings->value(QStringLiteral("DTGTMaxSamples"), maxSamples).toInt();
    ui->btnExport->setExportType(
        settings->value(QStringLiteral("DTGTExportType"), int(ui->btnExport->exportType())).toInt());
    if (settings->contains(QStringLiteral("DTGTMeasMode")))
        measureMode = settings->value(QStringLiteral("DTGTMeasMode"), measureMode).toInt();
    else
        measureMode = MeasureModeDataThroughput;
    if (settings->contains(QStringLiteral("DTGTLiveGraph")))
        ui->checkBoxLiveGraph->setChecked(settings->value(QStringLiteral("DTGTLiveGraph"), false).toInt() !=
                                          0);
    else
        ui->checkBoxLiveGraph->setChecked(true);
    for (CxCameraLineData* line : std::as_const(cameraLines))
        setDefaultCameraSettings(line);
    updateCameraList();
}

void CxDataGraphForm::onBtnExport(int iExportType)
{
    if (iExportType != CxExportToolButton::etSaveToFile &&
        iExportType != CxExportToolButton::etCopyToClipboard)
        return;
    const QImage image = ui->plot->toPixmap(0, 0, 1.0).toImage();
    ui->btnExport->exportImage(image, CxExportToolButton::ExExportType(iExportType), this,
                               QStringLiteral("PNG (*.png);;JPEG (*.jpg);;BMP Bitmaps (*.bmp)"));
}

void CxDataGraphForm::onBtnCamExportData()
{
    auto* button = qobject_cast<QPushButton*>(sender());
    if (!button)
        return;
    CxCameraLineData* line = cameraLines.value(handleOf(button));
    if (!line)
        return;
    bool empty = false;
    {
        QMutexLocker lock(&line->dataMutex);
        empty = line->frames.isEmpty();
    }
    if (empty) {
        QMessageBox::information(this, tr("Export Measured Data"), tr("No measured data to export."),
                                 QMessageBox::Ok);
        return;
    }
    IxAppDelegate* delegate = IxAppDelegate::instance();
    const QString fileName =
        QFileDialog::getSaveFileName(this, tr("Select Output File for Measured Data"),
                                     delegate->lastUsedDirectory(), tr("CSV files (*.csv)"));
    if (fileName.isEmpty())
        return;
    delegate->setLastUsedDirectory(QFileInfo(fileName).absolutePath());

    qint64 from = 0;
    qint64 to = 0;
    GetTimeAxisRange(&from, &to);
    line->exportDataToFile(fileName, this, from, to);
    // The camera closed while its export ran: its row went then, its line goes now.
    if (!std::as_const(cameraLines).values().contains(line))
        delete line;
}
