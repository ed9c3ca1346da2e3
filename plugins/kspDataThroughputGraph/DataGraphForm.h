// The plug-in's panel: the camera table with one row per opened camera, the plot legend,
// and the time graph with one titled axis rectangle per plotting camera. It owns one
// CxCameraLineData per camera row, starts and stops their measurements, redraws the
// graph on its refresh timer, and persists its settings in the host's store.
//
// Threads and locks: everything here runs on the GUI thread. `graphMutex` guards the
// graph rebuild against re-entry; the camera lines' `dataMutex` is taken inside their own
// operations. Where both are held, `graphMutex` comes first.
#pragma once

#include "CameraLineData.h"
#include "HistoryPlot.h"
#include "RunHistoryDlg.h"
#include "ksApi.h"

#include <QCheckBox>
#include <QColor>
#include <QList>
#include <QLocale>
#include <QMap>
#include <QMetaType>
#include <QMutex>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <qcustomplot.h>

class QLineEdit;
class QPushButton;
class QTableWidgetItem;
class QMessageBox;
class QSettings;
class Ui_CxDataGraphForm;

Q_DECLARE_METATYPE(KS_COUNTER_SELECTOR)
Q_DECLARE_METATYPE(QCPRange)

// Columns of the camera table in the data throughput layout.
namespace ThroughputColumn {
enum : int
{
    colCamera = 0,
    colStatus = 1,
    colMeasure = 2,
    colAvgThroughput = 3,
    colMinThroughput = 4,
    colMaxBufferLevel = 5,
    colBufferOverflowCount = 6,
    colExportData = 7,
    colRequiredThroughput = 8,
    colCameraBufferSize = 9,
    colGraph = 10,
    colYAxisScaling = 11,
    count = 12,
};
}

// Columns of the camera table in the standard acquisition layout.
namespace AcquisitionColumn {
enum : int
{
    colCamera = 0,
    colStatus = 1,
    colDataFormat = 2,
    colMeasure = 3,
    colTransferred = 4,
    colTransportSkip = 5,
    colApiSkip = 6,
    colMissedTrgOverlap = 7,
    colMissedTrgOverflow = 8,
    colBufferOverflow = 9,
    colGraph = 10,
    count = 11,
};
}

class CxDataGraphForm : public QWidget
{
    Q_OBJECT

public:
    explicit CxDataGraphForm(QWidget* parent = nullptr);
    // Stops every camera's measurement before its line goes, so no worker outlives the form.
    ~CxDataGraphForm() override;

    // Settings, inside the group the plug-in object opened.
    void loadSettings(QSettings* settings);
    void saveSettings(QSettings* settings);
    void setDefaultCameraSettings(CxCameraLineData* line);

    // The visible time range in sample time (microseconds since midnight).
    void GetTimeAxisRange(qint64* from, qint64* to);
    QCPAxisRect* GetCameraPlot(void* hCam);
    // The link average of a camera's stored frames (MB/s), 0 for unknown cameras; invokable
    // by name, so that a host can put it in its reports.
    Q_INVOKABLE double linkAverageOf(qulonglong hCam);
    // Seconds from the time axis' zero to the newest sample any camera stores, NaN when none
    // does. After a stop the axis no longer follows the present, and up to a refresh period
    // of data lies right of zero: a host that shows or exports everything pans by this.
    Q_INVOKABLE double newestSampleSeconds();
    // What a host's report says of a camera's run beyond the table: the newest stored frame.
    Q_INVOKABLE QVariantMap runOf(qulonglong hCam);
    // The folder the next runs write their logs to (one file per camera); empty: a new
    // folder under the application's data folder for each start.
    Q_INVOKABLE void setRunFolder(const QString& folder);
    // The name every file of a camera's run starts with: its display name and its id.
    Q_INVOKABLE QString fileNameOf(qulonglong hCam);
    // The run history window of a camera, opened (or raised) beside the panel.
    Q_INVOKABLE void showRunHistory(qulonglong hCam);
    bool IsPlotEnabled(QString name);

    Ui_CxDataGraphForm* ui;
    QMap<KSCORE_HANDLE, CxCameraLineData*> cameraLines;
    QList<QCheckBox*> plotCheckBoxes;
    int measureMode = MeasureModeDataThroughput;
    int samplePeriod = 1024;
    int maxSamples = 10000000;
    QTimer refreshTimer;
    double timeAxisLower = -20.0;
    double timeAxisUpper = 0.0;
    qint64 timeAxisReference = 0;
    QMutex graphMutex;

    // Installs the panel's translation for the locale (a language the panel has none of
    // keeps its English texts); false when there is none.
    static bool installTranslation(const QLocale& locale);

public slots:
    void updateCameraList();
    void updateCameraListRow(KSCORE_HANDLE hCam);
    void removeCameraListRow(KSCORE_HANDLE hCam);
    void updateTableItem(int row, int col, QString val);
    void updateTableCounterItem(KSCORE_HANDLE hCam, int row, int col, KS_COUNTER_SELECTOR sel);

private slots:
    void updateGraph();
    void timerSignal();
    void updateColumnNames();
    void onComboboxFormatChanged(int newSel);
    void onComboboxFormatChangedExt(KSCORE_HANDLE hCam);
    void onBtnMeasure();
    void onBtnCamExportData();
    void onChkCamPlotData(bool state);
    void onChkCamAutoTransport(bool state);
    void onEditCamTransportChanged(const QString& text);
    void onChkCamAutoVertAxis(bool state);
    void onEditVertScaleMinChanged(const QString& text);
    void onEditVertScaleMaxChanged(const QString& text);
    void onBtnExport(int iExportType);
    void on_btnSetup_clicked();
    void on_btnResetZoom_clicked();
    void on_resetPan_clicked();
    void on_refreshGraph_clicked();
    void on_btnStartAll_clicked();
    void on_plotChangeZoom(QCPRange range);
    void writeRunLogs();
    void onTableContextMenu(const QPoint& pos);
    void onPlotContextMenu(const QPoint& pos);
    void zoomToRunTime(qint64 startOfDayUs, qint64 fromUs, qint64 toUs);

private:
    // What the form keeps of one camera's row and plot, so that finding them never scans the
    // table or the plot layout. The row's widgets still carry "hCam" for the slots' sender().
    struct SxCameraRecord
    {
        QTableWidgetItem* nameItem = nullptr; // the row's first item: its row is the camera's
        QPushButton* measureButton = nullptr;
        QPushButton* exportButton = nullptr; // throughput layout only
        QComboBox* formatCombo = nullptr;    // acquisition layout only
        QCheckBox* autoTransport = nullptr;  // throughput layout only, like the three below
        QLineEdit* transportEdit = nullptr;
        QCheckBox* autoAxis = nullptr;
        QLineEdit* axisMin = nullptr;
        QLineEdit* axisMax = nullptr;
        QCPAxisRect* plot = nullptr; // while the camera has one
    };
    QMap<KSCORE_HANDLE, SxCameraRecord> m_records;

    // Rows and cells.
    void AddTableItemsThrougput();
    void AddTableItemsAcquisition();
    void AddTableItem(int column, QString header, QString toolTip);
    void AddPlotTableItem(int row, QString name, QString toolTip, QColor color);
    void DisableTableWidget(int row, int col, KSCORE_HANDLE hCam, bool disable);
    CxCameraLineData* lineForRow(KSCORE_HANDLE hCam);
    // Stops the camera's run and deletes its line, which leaves cameraLines.
    void releaseCameraLine(KSCORE_HANDLE hCam);
    QTableWidgetItem* createNameItem(const CxCameraLineData* line);
    QPushButton* createRowButton(const QString& text, const QVariant& tag, const char* slot);
    QWidget* createGraphCell(const QVariant& tag);
    void prepareLegend(int rows);
    void finishLegend();
    int findCameraRow(KSCORE_HANDLE hCam) const;
    void fitTableHeight();

    // Plots and axes.
    void ConfigurePlotAxis(QCPAxisRect* rect, QCPAxis::AxisType type, double lower, double upper,
                           QString label);
    bool AddCameraPlotThroughput(void* hCam, unsigned int row, QString title);
    bool AddCameraPlotAcquisition(void* hCam, unsigned int row, QString title);
    QCPAxisRect* addCameraPlot(void* hCam, unsigned int row, const QString& title);
    QCPGraph* AddThrougputPlot(void* hCam, QString name, QColor color);
    QCPGraph* AddStandardAcqPlot(void* hCam, QString name, KS_COUNTER_SELECTOR selector, QColor color);
    void UpdateVertAxisInformation(void* hCam, QCPAxisRect* rect);
    bool findVertAxisControls(KSCORE_HANDLE hCam, QCheckBox** check, QLineEdit** minEdit,
                              QLineEdit** maxEdit);
    void clearPlotLayout();

    // The run history and its log.
    QString newRunFolder() const;
    void prepareRunLog(CxCameraLineData* line, const QString& folder);
    CxHistoryPlot::SxView historyView(CxCameraLineData* line, QCPAxisRect* rect);
    void showHistoryMenu(KSCORE_HANDLE hCam, const QPoint& globalPos);
    // Ends the run of a camera that stopped answering as Stop would.
    void stopLostCamera(KSCORE_HANDLE hCam);
    QString runFolder;
    QTimer runLogTimer;
    QMap<KSCORE_HANDLE, QPointer<CxRunHistoryDlg>> historyWindows;

    // Live update.
    void updateStats();
    void followCurrentTime();
    // The midnight the session's runs count their times from, fixed as the first of them starts.
    qint64 runDay();
    qint64 m_dayStartMs = 0;
    double msPerPixel(const QCPAxisRect* rect) const;

    // Measurement control.
    void UpdateMeasureButtonText(void* hCam, QString text);
    void DisableUiForMeasurement(void* hCam, bool disable);
    void UpdateCameraAutoTransport(void* hCam);
    bool findTransportControls(KSCORE_HANDLE hCam, QCheckBox** check, QLineEdit** edit);
    QMessageBox* createProgressBox();
    void showProgress(QMessageBox* box, const QString& title, const QString& text);
    static void closeProgressBox(QMessageBox* box);
    void showStartFailure(CxCameraLineData* line);
    bool anyMeasurementRunning();
};
