// The panel against simulated cameras: what the user sees in the table, legend and graph,
// what the host is told, and what the cameras are left with.

#include "CxExportToolButton.h"
#include "DataGraphSetupDlg.h"
#include "PanelTestSupport.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QScopeGuard>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QtTest>
#include <atomic>
#include <memory>
#include <thread>

using namespace enginetest;
using namespace paneltest;
using namespace simtest;
namespace Tp = ThroughputColumn;
namespace Acq = AcquisitionColumn;

namespace {

KSCORE_HANDLE openSmall(const QString& id, double linkRate = 400.0)
{
    return open(camera(id, linkRate, 512, 256));
}

QCustomPlot* plotOf(CxDataGraphForm* form)
{
    return child<QCustomPlot>(form, "plot");
}

QPushButton* buttonAt(CxDataGraphForm* form, int row, int column)
{
    return qobject_cast<QPushButton*>(table(form)->cellWidget(row, column));
}

template <typename T> T* cellWidgetChild(CxDataGraphForm* form, int row, int column, int index)
{
    QWidget* cell = table(form)->cellWidget(row, column);
    return cell ? qobject_cast<T*>(cell->layout()->itemAt(index)->widget()) : nullptr;
}

const QStringList kSettingsKeys = {"DTGTSamplePeriod", "DTGTMaxSamples", "DTGTExportType", "DTGTMeasMode",
                                   "DTGTLiveGraph"};

QStringList graphNames(CxDataGraphForm* form)
{
    QStringList names;
    for (int i = 0; i < plotOf(form)->graphCount(); ++i)
        names << plotOf(form)->graph(i)->name();
    return names;
}

QList<KSCORE_HANDLE> plotOrder(CxDataGraphForm* form)
{
    QList<KSCORE_HANDLE> order;
    for (QCPAxisRect* rect : plotOf(form)->axisRects())
        order << reinterpret_cast<KSCORE_HANDLE>(quintptr(rect->property("hCam").toULongLong()));
    return order;
}

QCPRange timeRange(QCPAxisRect* rect)
{
    return rect->axis(QCPAxis::atBottom)->range();
}

// Points the time axis at everything the camera's store holds (measurement stopped, so the
// axis stays where it is put); the pan redraws the graph at once.
void frameTheStore(CxDataGraphForm* form, CxCameraLineData* line)
{
    qint64 first = 0;
    qint64 last = 0;
    {
        QMutexLocker lock(&line->dataMutex);
        if (!line->frames.isEmpty()) {
            first = line->frames.first()->timestamp;
            last = line->frames.last()->timestamp;
        } else if (!line->counterSamples.isEmpty()) {
            first = line->counterSamples.first()->timestamp;
            last = line->counterSamples.last()->timestamp;
        }
    }
    form->timeAxisReference = last;
    form->GetCameraPlot(line->hCam)->axis(QCPAxis::atBottom)->setRange(double(first - last) / 1e6, 0.0);
}

} // namespace

class TestPanel : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        closeAll();
        recorder()->setLevel(4);
    }

    void rowsCellsAndPlotsFollowTheHost();
    void acquisitionLayoutShowsFormatAndCounters();
    void throughputRunFillsStatisticsAndSeries_data();
    void throughputRunFillsStatisticsAndSeries();
    void startAllRollsBackWhenACameraFails();
    void plotsFollowTheirBoxesAndMoveTogether();
    void setupDialogConvertsAndApplies_data();
    void setupDialogConvertsAndApplies();
    void settingsRoundTripAndNeverHurtARun_data();
    void settingsRoundTripAndNeverHurtARun();
    void graphImageAndCsvExport();
    void eventsDuringAnExportNeverLockThePanel_data();
    void eventsDuringAnExportNeverLockThePanel();
    void measurementsStopBeforeTheirLinesGo();
};

void TestPanel::rowsCellsAndPlotsFollowTheHost()
{
    const KSCORE_HANDLE a = openSmall("a");
    CxSimCameraConfig bare = camera("bare");
    bare.hasParameterSet = false;
    open(bare);
    const KSCORE_HANDLE b = openSmall("b");

    CxDataGraphForm form;
    QTableWidget* t = table(&form);
    // Rows in the host's order; the camera without a parameter set leaves the last row empty.
    QCOMPARE(t->rowCount(), 3);
    QCOMPARE(t->columnCount(), 12);
    QCOMPARE(cellText(&form, 0, Tp::colCamera), QStringLiteral("Test camera (A)"));
    QCOMPARE(cellText(&form, 1, Tp::colCamera), QStringLiteral("Test camera (B)"));
    QVERIFY(!t->item(2, Tp::colCamera));
    QCOMPARE(t->item(1, 0)->data(Qt::UserRole).toULongLong(), qulonglong(quintptr(b)));
    QVERIFY(child<QPushButton>(&form, "btnStartAll")->isEnabled());

    QCOMPARE(t->horizontalHeaderItem(Tp::colAvgThroughput)->text(),
             QStringLiteral("Average\nthroughput [MB/s]"));
    QCOMPARE(t->horizontalHeaderItem(Tp::colBufferOverflowCount)->text(),
             QStringLiteral("Buffer overflow\ncount"));
    QCOMPARE(t->horizontalHeaderItem(Tp::colCameraBufferSize)->text(),
             QStringLiteral("Camera buffer\nsize [kB]"));
    QCOMPARE(t->horizontalHeaderItem(Tp::colCameraBufferSize)->toolTip(),
             QStringLiteral("Size of internal camera buffer in bytes"));
    QCOMPARE(t->horizontalHeaderItem(Tp::colCamera)->toolTip(), QString());

    QCOMPARE(cellText(&form, 0, Tp::colStatus), QStringLiteral("Stopped"));
    QCOMPARE(cellText(&form, 0, Tp::colCameraBufferSize), QString::number(67108864 / 1000));
    QCOMPARE(buttonAt(&form, 0, Tp::colMeasure)->text(), QStringLiteral("Start"));
    QCOMPARE(buttonAt(&form, 0, Tp::colExportData)->text(), QStringLiteral("Export Data..."));
    // Automatic required throughput: the camera's sensor rate in a locked entry.
    auto* transport = cellWidgetChild<QLineEdit>(&form, 0, Tp::colRequiredThroughput, 1);
    QCOMPARE(transport->text(), QStringLiteral("300"));
    QVERIFY(!transport->isEnabled());
    // Unlocked, a typed rate is the one required; locked again, the sensor's is back.
    auto* automatic = cellWidgetChild<QCheckBox>(&form, 0, Tp::colRequiredThroughput, 0);
    automatic->click();
    QVERIFY(transport->isEnabled());
    transport->setText(QStringLiteral("450"));
    QCOMPARE(form.cameraLines.value(a)->requiredThroughput, 450);
    automatic->click();
    QCOMPARE(transport->text(), QStringLiteral("300"));
    QCOMPARE(form.cameraLines.value(a)->requiredThroughput, 300);
    QVERIFY(!transport->isEnabled());
    auto* manualMin = cellWidgetChild<QLineEdit>(&form, 0, Tp::colYAxisScaling, 1);
    QVERIFY(!manualMin->isEnabled());
    QString negative = QStringLiteral("-5");
    QString zero = QStringLiteral("0");
    int cursor = 0;
    QCOMPARE(manualMin->validator()->validate(negative, cursor), QValidator::Invalid);
    QCOMPARE(manualMin->validator()->validate(zero, cursor), QValidator::Acceptable);

    // Legend and plots: one titled rectangle per camera, in table order.
    auto* legend = child<QTableWidget>(&form, "tablePlotCheck");
    QCOMPARE(legend->rowCount(), 2);
    QCOMPARE(legend->columnCount(), 2);
    QCOMPARE(legend->item(1, 1)->text(), QStringLiteral("Max buffer level"));
    QCOMPARE(legend->item(1, 1)->foreground().color(), QColor(30, 144, 255));
    QCOMPARE(form.plotCheckBoxes.size(), 2);
    QCOMPARE(form.plotCheckBoxes[0]->property("plotName").toString(), QStringLiteral("Min throughput"));
    QCOMPARE(plotOrder(&form), QList<KSCORE_HANDLE>({a, b}));
    QCPAxisRect* rect = form.GetCameraPlot(a);
    QCOMPARE(rect->axis(QCPAxis::atLeft)->label(), QStringLiteral("Avg. rate [MB/s]"));
    QCOMPARE(rect->axis(QCPAxis::atRight)->label(), QStringLiteral("Buffer filled [%]"));
    // A new plot shows the last 20 s and a level axis with room below 0 and above 100 %.
    QCOMPARE(timeRange(rect), QCPRange(-20.0, 0.0));
    QCOMPARE(rect->axis(QCPAxis::atRight)->range(), QCPRange(-10.0, 110.0));
    QCOMPARE(rect->axis(QCPAxis::atBottom)->tickLabelColor(), QColor(Qt::white));
    // Time labels in minutes, seconds and milliseconds.
    plotOf(&form)->replot();
    const QVector<QString> timeLabels = rect->axis(QCPAxis::atBottom)->tickVectorLabels();
    QVERIFY(!timeLabels.isEmpty());
    for (const QString& label : timeLabels)
        QVERIFY2(QRegularExpression(QStringLiteral("^-?\\d\\d:\\d\\d\\.\\d{3}$")).match(label).hasMatch(),
                 qPrintable(label));
    QCOMPARE(rect->rangeDragAxes(Qt::Horizontal), QList<QCPAxis*>({rect->axis(QCPAxis::atBottom)}));
    QVERIFY(rect->rangeDragAxes(Qt::Vertical).isEmpty());
    // Each camera's title sits right above its rectangle, the cameras one after another.
    QCPLayoutGrid* layout = plotOf(&form)->plotLayout();
    QCOMPARE(layout->rowCount(), 4);
    for (int i = 0; i < 2; ++i) {
        auto* title = qobject_cast<QCPTextElement*>(layout->element(2 * i, 0));
        QVERIFY(title);
        QCOMPARE(title->text(),
                 i == 0 ? QStringLiteral("Test camera (A)") : QStringLiteral("Test camera (B)"));
        QCOMPARE(layout->element(2 * i + 1, 0), form.GetCameraPlot(i == 0 ? a : b));
    }
    // Rows are not for selecting: a click leaves none selected.
    QTest::mouseClick(t->viewport(), Qt::LeftButton, {},
                      t->visualItemRect(t->item(0, Tp::colCamera)).center());
    QVERIFY(t->selectedItems().isEmpty());

    // The host's own acquisition locks the row's measure button.
    CxCameraManager::instance()->startAcquisition(b);
    QCOMPARE(cellText(&form, 1, Tp::colStatus), QStringLiteral("Acq"));
    QVERIFY(!buttonAt(&form, 1, Tp::colMeasure)->isEnabled());
    CxCameraManager::instance()->stopAcquisition(b);
    QCOMPARE(cellText(&form, 1, Tp::colStatus), QStringLiteral("Stopped"));
    QVERIFY(buttonAt(&form, 1, Tp::colMeasure)->isEnabled());

    // A closed camera loses its row and line; an opened one rebuilds the table.
    CxCameraManager::instance()->closeCamera(a);
    QCOMPARE(t->rowCount(), 2);
    QCOMPARE(cellText(&form, 0, Tp::colCamera), QStringLiteral("Test camera (B)"));
    QVERIFY(!form.cameraLines.contains(a));
    // The row left offers the run history of its own camera.
    QVERIFY(chooseRunHistory(t->viewport(), t->visualItemRect(t->item(0, Tp::colCamera)).center()));
    QCOMPARE(form.findChild<CxRunHistoryDlg*>()->windowTitle(),
             QStringLiteral("Run history of Test camera (B)"));
    const KSCORE_HANDLE c = openSmall("c");
    QCOMPARE(t->rowCount(), 3);
    QCOMPARE(plotOrder(&form), QList<KSCORE_HANDLE>({b, c}));

    // The row of the camera without parameters has no line to remove it by; a rebuild does.
    closeAll();
    QCOMPARE(t->rowCount(), 1);
    form.updateCameraList();
    QCOMPARE(t->rowCount(), 0);
    QVERIFY(!child<QPushButton>(&form, "btnStartAll")->isEnabled());
    QVERIFY(form.cameraLines.isEmpty());
    QCOMPARE(t->height(),
             t->horizontalHeader()->height() + t->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 3);
}

void TestPanel::acquisitionLayoutShowsFormatAndCounters()
{
    CxSimCameraConfig config = camera("acq", 400.0, 512, 256);
    config.supportedCounters = {0, 2, 5};
    config.parameters.insert(QStringLiteral("imgdataformat"), 3);
    const KSCORE_HANDLE hCam = open(config);

    CxDataGraphForm form;
    form.maxSamples = 1000;
    form.measureMode = MeasureModeStandardAcquisition;
    form.updateCameraList();
    QTableWidget* t = table(&form);
    QCOMPARE(t->columnCount(), 11);
    QCOMPARE(t->horizontalHeaderItem(Acq::colMissedTrgOverflow)->text(),
             QStringLiteral("Missed trg overflow"));
    QCOMPARE(t->horizontalHeader()->sectionResizeMode(0), QHeaderView::ResizeToContents);
    QCOMPARE(child<QTableWidget>(&form, "tablePlotCheck")->rowCount(), 5);
    QCOMPARE(form.plotCheckBoxes.size(), 5);
    auto* format = qobject_cast<QComboBox*>(t->cellWidget(0, Acq::colDataFormat));
    QCOMPARE(format->count(), 8);
    QCOMPARE(format->currentData().toInt(), 3);
    // Its "Graph" box, ticked off and on again, brings the counters' plot back.
    auto* graphBox = cellWidgetChild<QCheckBox>(&form, 0, Acq::colGraph, 0);
    graphBox->click();
    graphBox->click();
    QCOMPARE(form.GetCameraPlot(hCam)->axis(QCPAxis::atLeft)->label(), QStringLiteral("Counter value"));
    // Before a run no counter is known to be supported.
    QCOMPARE(cellText(&form, 0, Acq::colTransferred), QStringLiteral("-"));

    // The format goes to the camera through the host's parameter batch.
    format->setCurrentIndex(5);
    QCOMPARE(sim(hCam)->parameterValue(QStringLiteral("imgdataformat")), 5);
    CxCameraManager::instance()->setImageFormat(hCam, 2);
    QCOMPARE(format->currentIndex(), 2);

    buttonAt(&form, 0, Acq::colMeasure)->click();
    QCOMPARE(buttonAt(&form, 0, Acq::colMeasure)->text(), QStringLiteral("Stop"));
    CxCameraLineData* line = form.cameraLines.value(hCam);
    QTRY_VERIFY_WITH_TIMEOUT(storedRecords(line) > 200, 20000);
    buttonAt(&form, 0, Acq::colMeasure)->click();
    frameTheStore(&form, line);

    // Supported counters show white numbers and have a series; the others a grey "-".
    QVERIFY(cellText(&form, 0, Acq::colTransferred).toInt() > 0);
    QCOMPARE(t->item(0, Acq::colTransferred)->foreground().color(), QColor(255, 255, 255));
    QCOMPARE(cellText(&form, 0, Acq::colApiSkip), QStringLiteral("-"));
    QCOMPARE(t->item(0, Acq::colApiSkip)->foreground().color(), QColor(128, 128, 128));
    QCOMPARE(graphNames(&form), QStringList({"Transport skip", "Buffer overflow"}));
    // Counters that stay at 0 give a left axis from -0.8.
    QCOMPARE(form.GetCameraPlot(hCam)->axis(QCPAxis::atLeft)->range().lower, -0.8);
}

void TestPanel::throughputRunFillsStatisticsAndSeries_data()
{
    QTest::addColumn<QLocale>("language");
    QTest::newRow("English") << QLocale(QLocale::English);
    // Translated texts, and the series still keyed by their untranslated names.
    QTest::newRow("German") << QLocale(QLocale::German);
}

void TestPanel::throughputRunFillsStatisticsAndSeries()
{
    QFETCH(QLocale, language);
    QCOMPARE(CxDataGraphForm::installTranslation(language), language.language() == QLocale::German);
    auto english = qScopeGuard([] { CxDataGraphForm::installTranslation(QLocale(QLocale::English)); });
    auto text = [](const char* source) { return QCoreApplication::translate("CxDataGraphForm", source); };
    const KSCORE_HANDLE hCam = openSmall("tp", 400.0);
    const QMap<QString, int> before = parameterSnapshot(hCam);
    CxDataGraphForm form;
    form.maxSamples = 200000;
    QPushButton* measure = buttonAt(&form, 0, Tp::colMeasure);

    measure->click();
    QCOMPARE(measure->text(), QStringLiteral("Stop"));
    QCOMPARE(cellText(&form, 0, Tp::colStatus), text("Testing"));
    QVERIFY(!recorder()->isCameraControlEnabled(hCam));
    QVERIFY(!child<QWidget>(&form, "btnSetup")->isEnabled());
    QVERIFY(!buttonAt(&form, 0, Tp::colExportData)->isEnabled());
    QVERIFY2(form.findChildren<QMessageBox*>().isEmpty(), "the progress box is gone once the start is done");

    CxCameraLineData* line = form.cameraLines.value(hCam);
    QTRY_VERIFY_WITH_TIMEOUT(storedRecords(line) > 50, 20000);
    // Without "Live Graph" a tick refreshes the statistics and leaves the plot alone; the time
    // axis still ends now.
    child<QCheckBox>(&form, "checkBoxLiveGraph")->setChecked(false);
    form.timeAxisReference = 0;
    QMetaObject::invokeMethod(&form, "timerSignal");
    QCOMPARE(plotOf(&form)->graphCount(), 0);
    const qint64 apart =
        qAbs(form.timeAxisReference - qint64(QTime::currentTime().msecsSinceStartOfDay()) * 1000);
    QVERIFY2(apart < 2000000 || apart > 86398000000LL,
             qPrintable(QString::number(apart))); // or across midnight
    // The link carries 400 MB/s; the sensor's 300 MB/s never fill the buffer.
    QVERIFY2(qAbs(cellText(&form, 0, Tp::colAvgThroughput).toInt() - 400) <= 4,
             qPrintable(cellText(&form, 0, Tp::colAvgThroughput)));
    QCOMPARE(cellText(&form, 0, Tp::colMaxBufferLevel), QStringLiteral("0 %"));
    // The panel's own timer ticks the same way.
    form.timeAxisReference = 0;
    QTRY_VERIFY_WITH_TIMEOUT(form.timeAxisReference != 0, 10000);
    // An event shown from the run history stops the graph following the run, which would carry
    // the event out of view within seconds.
    child<QCheckBox>(&form, "checkBoxLiveGraph")->setChecked(true);
    QMetaObject::invokeMethod(&form, "zoomToRunTime", Q_ARG(qint64, form.timeAxisReference),
                              Q_ARG(qint64, -3000000), Q_ARG(qint64, -2000000));
    QVERIFY(!child<QCheckBox>(&form, "checkBoxLiveGraph")->isChecked());

    measure->click();
    QCOMPARE(measure->text(), QStringLiteral("Start"));
    frameTheStore(&form, line);
    QCOMPARE(graphNames(&form), QStringList({"Min throughput", "Max buffer level"}));
    QVERIFY(plotOf(&form)->graph(0)->dataCount() > 10);
    // Automatic vertical scaling fits the line, here flat at 400 MB/s so centred on it, and
    // shows its range in the manual fields.
    const QCPRange fitted = form.GetCameraPlot(hCam)->axis(QCPAxis::atLeft)->range();
    QVERIFY2(qAbs(fitted.center() - 400.0) <= 10.0, qPrintable(QString::number(fitted.center())));
    QCOMPARE(cellWidgetChild<QLineEdit>(&form, 0, Tp::colYAxisScaling, 1)->text().toInt(), int(fitted.lower));
    QCOMPARE(cellWidgetChild<QLineEdit>(&form, 0, Tp::colYAxisScaling, 2)->text().toInt(), int(fitted.upper));

    // "Refresh" redraws for the user level now in force.
    recorder()->setLevel(2);
    child<QPushButton>(&form, "refreshGraph")->click();
    QCOMPARE(graphNames(&form), QStringList({"Max buffer level"}));
    recorder()->setLevel(4);
    form.plotCheckBoxes[1]->setChecked(false);
    QMetaObject::invokeMethod(&form, "updateGraph");
    QCOMPARE(graphNames(&form), QStringList({"Min throughput"}));

    QCOMPARE(cellText(&form, 0, Tp::colStatus), text("Stopped"));
    QCOMPARE(child<QTableWidget>(&form, "tablePlotCheck")->item(1, 1)->text(), text("Max buffer level"));
    QVERIFY(recorder()->isCameraControlEnabled(hCam));
    QVERIFY(child<QWidget>(&form, "btnSetup")->isEnabled());
    QCOMPARE(changedBeyond(before, hCam), QStringList());
    QVERIFY(form.findChildren<QMessageBox*>().isEmpty());
    // The settings come back as they were saved, whatever the language.
    QTemporaryDir dir;
    QSettings settings(dir.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    form.samplePeriod = 2048;
    form.saveSettings(&settings);
    CxDataGraphForm again;
    again.loadSettings(&settings);
    QCOMPARE(again.samplePeriod, 2048);
    QCOMPARE(again.maxSamples, form.maxSamples);
}

void TestPanel::startAllRollsBackWhenACameraFails()
{
    QList<KSCORE_HANDLE> cams;
    QList<QMap<QString, int>> before;
    for (const char* id : {"c1", "c2", "c3", "c4"}) {
        cams << openSmall(QLatin1String(id));
        before << parameterSnapshot(cams.last());
    }
    faults(cams[2])->refuseStart();
    logOf(cams[3])->clearCallLog();
    CxDataGraphForm form;
    form.maxSamples = 100000;
    auto* startAll = child<QPushButton>(&form, "btnStartAll");

    QString message;
    bool progressShown = false;
    const auto acknowledge = [&](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (!box)
            return false;
        message = box->text();
        progressShown = false;
        for (QMessageBox* other : form.findChildren<QMessageBox*>())
            progressShown = progressShown || (other->isVisible() && other->buttons().isEmpty());
        box->button(QMessageBox::Ok)->click();
        return true;
    };
    answerNextModal(acknowledge);
    startAll->click();
    QCOMPARE(
        message,
        QStringLiteral("Camera Test camera (C3) does not support \n data throughput analysis in Lumorix."));
    // The row's own "Start" says so too.
    message.clear();
    faults(cams[2])->refuseStart();
    answerNextModal(acknowledge);
    buttonAt(&form, 2, Tp::colMeasure)->click();
    QVERIFY(message.startsWith(QStringLiteral("Camera Test camera (C3) does not support")));
    QVERIFY2(!progressShown, "the row's progress box goes before the message comes");
    QCOMPARE(buttonAt(&form, 2, Tp::colMeasure)->text(), QStringLiteral("Start"));
    QCOMPARE(startAll->text(), QStringLiteral("Start All"));
    for (int i = 0; i < 4; ++i) {
        QVERIFY(!form.cameraLines.value(cams[i])->isMeasurementRunning());
        QCOMPARE(changedBeyond(before[i], cams[i]), QStringList());
        QCOMPARE(cellText(&form, i, Tp::colStatus), QStringLiteral("Stopped"));
    }
    QVERIFY(!logOf(cams[3])->callLogText().contains(QStringLiteral("start")));
    // The roll-back only stops: the row buttons keep what the run gave them.
    QCOMPARE(buttonAt(&form, 0, Tp::colMeasure)->text(), QStringLiteral("Stop"));
    QCOMPARE(buttonAt(&form, 3, Tp::colMeasure)->text(), QStringLiteral("Start"));

    startAll->click();
    QCOMPARE(startAll->text(), QStringLiteral("Stop All"));
    for (KSCORE_HANDLE hCam : cams)
        QVERIFY(form.cameraLines.value(hCam)->isMeasurementRunning());
    startAll->click();
    QCOMPARE(startAll->text(), QStringLiteral("Start All"));
    for (int i = 0; i < 4; ++i) {
        QVERIFY(!form.cameraLines.value(cams[i])->isMeasurementRunning());
        QCOMPARE(buttonAt(&form, i, Tp::colMeasure)->text(), QStringLiteral("Start"));
        QCOMPARE(changedBeyond(before[i], cams[i]), QStringList());
    }
    QVERIFY(form.findChildren<QMessageBox*>().isEmpty());
}

void TestPanel::plotsFollowTheirBoxesAndMoveTogether()
{
    const KSCORE_HANDLE a = openSmall("g1");
    const KSCORE_HANDLE b = openSmall("g2");
    CxDataGraphForm form;
    form.show();
    const QList<QCPAxisRect*> rects = plotOf(&form)->axisRects();
    QCOMPARE(rects.size(), 2);

    rects[0]->axis(QCPAxis::atBottom)->setRange(-8.0, -3.0);
    QCOMPARE(timeRange(rects[1]), QCPRange(-8.0, -3.0));
    QCOMPARE(form.timeAxisLower, -8.0);
    // A span of a millisecond or less snaps back.
    rects[1]->axis(QCPAxis::atBottom)->setRange(-1.0, -0.9995);
    QCOMPARE(timeRange(rects[0]), QCPRange(-8.0, -3.0));
    QCOMPARE(timeRange(rects[1]), QCPRange(-8.0, -3.0));

    // "Reset Zoom" from anywhere: the last 20 s, for the statistics too.
    child<QToolButton>(&form, "btnResetZoom")->click();
    QCOMPARE(timeRange(rects[1]), QCPRange(-20.0, 0.0));
    qint64 from = 0;
    qint64 to = 0;
    form.GetTimeAxisRange(&from, &to);
    QCOMPARE(to - from, qint64(20000000));
    QCOMPARE(to, form.timeAxisReference);

    // "Reset Pan" keeps the span and ends it now.
    rects[0]->axis(QCPAxis::atBottom)->setRange(-8.0, -3.0);
    child<QPushButton>(&form, "resetPan")->click();
    QCOMPARE(timeRange(rects[0]), QCPRange(-5.0, 0.0));
    QCOMPARE(timeRange(rects[1]), QCPRange(-5.0, 0.0));
    QCOMPARE(form.timeAxisLower, -5.0);
    QCOMPARE(form.timeAxisUpper, 0.0);

    // The graph boxes choose the plots.
    auto* boxA = cellWidgetChild<QCheckBox>(&form, 0, Tp::colGraph, 0);
    auto* boxB = cellWidgetChild<QCheckBox>(&form, 1, Tp::colGraph, 0);
    boxA->click();
    QCOMPARE(plotOrder(&form), QList<KSCORE_HANDLE>({b}));
    QVERIFY(!form.cameraLines.value(a)->plotEnabled);
    boxB->click();
    QVERIFY(!plotOf(&form)->isVisible());
    boxB->click();
    boxA->click();
    QVERIFY(plotOf(&form)->isVisible());
    // Table order, not the order of ticking.
    QCOMPARE(plotOrder(&form), QList<KSCORE_HANDLE>({a, b}));
    // With no box ticked the plot goes; a rebuild of the rows ticks them all again, and it is
    // back.
    boxA->click();
    boxB->click();
    QVERIFY(!plotOf(&form)->isVisible());
    form.updateCameraList();
    QVERIFY(plotOf(&form)->isVisible());

    // Manual vertical range: automatic scaling off unlocks the fields; bad text reads as 0.
    auto* autoAxis = cellWidgetChild<QCheckBox>(&form, 0, Tp::colYAxisScaling, 0);
    auto* minEdit = cellWidgetChild<QLineEdit>(&form, 0, Tp::colYAxisScaling, 1);
    auto* maxEdit = cellWidgetChild<QLineEdit>(&form, 0, Tp::colYAxisScaling, 2);
    autoAxis->click();
    QVERIFY(minEdit->isEnabled());
    maxEdit->setText(QStringLiteral("750"));
    minEdit->setText(QStringLiteral("120"));
    QCOMPARE(form.GetCameraPlot(a)->axis(QCPAxis::atLeft)->range(), QCPRange(120, 750));
    minEdit->setText(QStringLiteral("abc"));
    QCOMPARE(form.GetCameraPlot(a)->axis(QCPAxis::atLeft)->range().lower, 0.0);
}

void TestPanel::setupDialogConvertsAndApplies_data()
{
    QTest::addColumn<int>("maxSamples");
    QTest::addColumn<int>("samplePeriod");
    QTest::addColumn<int>("intervalMs");
    QTest::addColumn<int>("chooseMode");
    QTest::addColumn<bool>("confirm");
    QTest::addColumn<int>("startMode");
    // capacity, period, refresh, then how many of the period's box and two labels are enabled on
    // opening and once the mode is chosen
    QTest::addColumn<QList<int>>("shown");
    QTest::addColumn<QList<int>>("result"); // maxSamples, samplePeriod, interval, mode, data kept, columns

    QTest::newRow("capacity rounds down")
        << 1499999 << 8192 << 1000 << 0 << true << 0 << QList<int>{1, 8192, 1, 3, 3}
        << QList<int>{1000000, 8192, 1000, 0, 1, 12};
    QTest::newRow("capacity rounds up")
        << 1500000 << 8192 << 1500 << 0 << true << 0 << QList<int>{2, 8192, 1, 3, 3}
        << QList<int>{2000000, 8192, 1000, 0, 1, 12};
    QTest::newRow("short period clamps")
        << 10000000 << 1024 << 1000 << 0 << true << 0 << QList<int>{10, 4096, 1, 3, 3}
        << QList<int>{10000000, 4096, 1000, 0, 0, 12};
    QTest::newRow("mode change rebuilds")
        << 10000000 << 4096 << 2000 << 1 << true << 0 << QList<int>{10, 4096, 2, 3, 0}
        << QList<int>{10000000, 4096, 2000, 1, 0, 11};
    QTest::newRow("cancel keeps all")
        << 1499999 << 1024 << 1500 << 1 << false << 0 << QList<int>{1, 4096, 1, 3, 0}
        << QList<int>{1499999, 1024, 1500, 0, 1, 12};
    // Opened in the acquisition mode the period is off until the throughput mode is chosen.
    QTest::newRow("opened in acquisition")
        << 10000000 << 4096 << 1000 << 0 << false << 1 << QList<int>{10, 4096, 1, 0, 3}
        << QList<int>{10000000, 4096, 1000, 1, 1, 12};
}

void TestPanel::setupDialogConvertsAndApplies()
{
    QFETCH(int, maxSamples);
    QFETCH(int, samplePeriod);
    QFETCH(int, intervalMs);
    QFETCH(int, chooseMode);
    QFETCH(bool, confirm);
    QFETCH(int, startMode);
    QFETCH(QList<int>, shown);
    QFETCH(QList<int>, result);

    const KSCORE_HANDLE hCam = openSmall("setup");
    CxDataGraphForm form;
    form.maxSamples = maxSamples;
    form.samplePeriod = samplePeriod;
    form.refreshTimer.setInterval(intervalMs);
    form.measureMode = startMode;
    CxCameraLineData* line = form.cameraLines.value(hCam);
    line->frames.append(new CxCameraLineData::CxFrameData);
    // A run before, in the table's statistics and in its history.
    line->avgThroughput = 123.0;
    line->history.begin(false, 4096, 300, 1 << 20);
    const quint64 samples[] = {0, 2500, 5000};
    line->history.addFrame(0, 0, samples, 3);

    QList<int> seen;
    QList<QSize> sizes;
    Qt::WindowFlags flags;
    bool closed = false;
    answerNextModal([&](QWidget* modal) {
        auto* dialog = qobject_cast<CxDataGraphSetupDlg*>(modal);
        if (!dialog)
            return false;
        sizes = {dialog->size(), dialog->maximumSize(), dialog->sizeHint()};
        flags = dialog->windowFlags();
        auto* period = dialog->findChild<QSpinBox*>("spinSamplePeriod");
        // The period and its two labels, greyed together.
        auto enabled = [dialog, period]() {
            return int(period->isEnabled()) +
                   int(dialog->findChild<QLabel*>("label_samplePeriod")->isEnabled()) +
                   int(dialog->findChild<QLabel*>("label_bytes")->isEnabled());
        };
        seen << dialog->findChild<QSpinBox*>("spinCapacity")->value() << period->value()
             << dialog->findChild<QSpinBox*>("graphRefreshPeriod")->value() << enabled();
        dialog->findChild<QComboBox*>("measureMode")->setCurrentIndex(chooseMode);
        seen << enabled();
        confirm ? dialog->accept() : dialog->reject();
        // One left open would hold the test in its event loop for ever.
        closed = !dialog->isVisible();
        if (!closed)
            dialog->QDialog::done(QDialog::Rejected);
        return true;
    });
    child<QToolButton>(&form, "btnSetup")->click();

    QVERIFY(closed);
    QCOMPARE(seen, shown);
    // Just big enough for its contents, and fixed there. The "minimal" platform, which shows
    // no window, hands a combo or label a wider size hint once shown than it had before.
    if (QGuiApplication::platformName() != QLatin1String("minimal"))
        QCOMPARE(sizes, QList<QSize>(3, sizes.value(2)));
    // Nor does its frame offer to resize it: no maximise button, and the thin frame of a fixed
    // dialog where the window manager knows one.
    QVERIFY(flags.testFlag(Qt::CustomizeWindowHint) && flags.testFlag(Qt::MSWindowsFixedSizeDialogHint) &&
            !flags.testFlag(Qt::WindowMaximizeButtonHint));
    QCOMPARE(form.maxSamples, result[0]);
    QCOMPARE(form.samplePeriod, result[1]);
    QCOMPARE(form.refreshTimer.interval(), result[2]);
    QCOMPARE(form.measureMode, result[3]);
    QCOMPARE(int(!line->frames.isEmpty()), result[4]);
    QCOMPARE(table(&form)->columnCount(), result[5]);
    // A new mode shows nothing of the old one's run.
    const bool changed = form.measureMode != startMode;
    QCOMPARE(line->avgThroughput, changed ? 0.0 : 123.0);
    QCOMPARE(line->history.totals().frames, changed ? quint64(0) : quint64(1));
}

void TestPanel::graphImageAndCsvExport()
{
    const KSCORE_HANDLE hCam = openSmall("export");
    QTemporaryDir dir;
    CxDataGraphForm form;
    form.resize(900, 500);
    auto* exportButton = child<CxExportToolButton>(&form, "btnExport");

    exportButton->setPresetFileName(dir.filePath("ignored.png"));
    QMetaObject::invokeMethod(&form, "onBtnExport", Q_ARG(int, 3));
    QVERIFY(!QFile::exists(dir.filePath("ignored.png")));
    exportButton->setPresetFileName(dir.filePath("graph.png"));
    exportButton->click();
    const QImage image(dir.filePath("graph.png"));
    QCOMPARE(image.size(), plotOf(&form)->size());

    // A camera that never measured has nothing to export: no file dialog.
    QString information;
    answerNextModal([&information](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        information = box ? box->text() : modal->metaObject()->className();
        static_cast<QDialog*>(modal)->reject();
        return true;
    });
    buttonAt(&form, 0, Tp::colExportData)->click();
    QCOMPARE(information, QStringLiteral("No measured data to export."));

    form.maxSamples = 200000;
    buttonAt(&form, 0, Tp::colMeasure)->click();
    QTRY_VERIFY_WITH_TIMEOUT(storedRecords(form.cameraLines.value(hCam)) > 20, 20000);
    buttonAt(&form, 0, Tp::colMeasure)->click();
    form.timeAxisLower = -1000.0;
    form.timeAxisUpper = 1000.0;
    // A tick every millisecond must not catch the export holding the camera's lock.
    form.refreshTimer.setInterval(1);

    const QString csv = dir.filePath("report.csv");
    answerNextModal([&csv](QWidget* modal) {
        auto* fileDialog = qobject_cast<QFileDialog*>(modal);
        if (!fileDialog)
            return false;
        // Typed, as a user would: selectFile() of a path in another directory races with
        // the dialog reading that directory in the background.
        auto* name = fileDialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (!name)
            return false;
        name->setText(csv);
        QMetaObject::invokeMethod(fileDialog, "accept");
        return !fileDialog->isVisible();
    });
    buttonAt(&form, 0, Tp::colExportData)->click();
    QFile file(csv);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readLine(), QByteArray("Frame number,Frame Time [ns], Offset [B], Data Time Stamp [ns], "
                                         "Req. throughput [MB/s], Link throughput [MB/s], Buffer filled [B], "
                                         "Max buffer level [%]\n"));
    QVERIFY(file.readAll().count('\n') > 1000);
    QCOMPARE(recorder()->lastUsedDirectory(), QFileInfo(csv).absolutePath());
    QVERIFY(form.refreshTimer.isActive());
}

void TestPanel::eventsDuringAnExportNeverLockThePanel_data()
{
    QTest::addColumn<QString>("event");
    for (const char* event :
         {"acquisitionFinished", "acquisitionStarted", "imageFormatChanged", "other imageFormatChanged",
          "open another", "close", "row Stop", "Start All", "refresh"})
        QTest::newRow(event) << QString::fromLatin1(event);
}

void TestPanel::eventsDuringAnExportNeverLockThePanel()
{
    QFETCH(QString, event);
    const KSCORE_HANDLE hCam = openSmall("exported");
    CxSimCameraConfig paced = camera("other", 400.0, 512, 256);
    paced.pacing = ExPacing::RealTime; // the live graph follows its clock, which is the host's
    const KSCORE_HANDLE other = open(paced);
    CxDataGraphForm form;
    form.refreshTimer.setInterval(1);
    CxCameraLineData* line = form.cameraLines.value(hCam);
    // Five million samples at 400 MB/s over the 13 s before now, in the live graph's view.
    const qint64 now = qint64(QTime::currentTime().msecsSinceStartOfDay()) * 1000;
    for (int f = 0; f < 100; ++f) {
        auto* frame = new CxCameraLineData::CxFrameData;
        frame->sampleCount = 50000;
        frame->samples = new quint64[frame->sampleCount];
        for (quint64 i = 0; i < frame->sampleCount; ++i)
            frame->samples[i] = quint64(f) * 40000000u + i * 640u;
        frame->sampleSpan = frame->samples[frame->sampleCount - 1] - frame->samples[0];
        frame->frameNumber = quint32(f);
        frame->timestamp = now - 15000000 + f * 130000;
        line->frames.append(frame);
    }
    form.maxSamples = 20000000;
    // The other camera measures; "Start All" starts the exported one under its own export.
    buttonAt(&form, 1, Tp::colMeasure)->click();
    QVERIFY(form.cameraLines.value(other)->isMeasurementRunning());

    QTemporaryDir dir;
    const QString csv = dir.filePath("report.csv");
    CxCameraManager* manager = CxCameraManager::instance();
    answerNextModal([&](QWidget* modal) {
        if (auto* fileDialog = qobject_cast<QFileDialog*>(modal)) {
            fileDialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(csv);
            QMetaObject::invokeMethod(fileDialog, "accept");
            return false;
        }
        // Once the export writes rows, what the host or the user does while its dialog is up.
        auto* progress = qobject_cast<QProgressDialog*>(modal);
        if (!progress || progress->value() < 1)
            return false;
        if (event == QLatin1String("acquisitionFinished") || event == QLatin1String("acquisitionStarted") ||
            event.endsWith(QLatin1String("imageFormatChanged")))
            QMetaObject::invokeMethod(
                manager, qPrintable(event.section(' ', -1)),
                Q_ARG(KSCORE_HANDLE, event.startsWith(QLatin1String("other")) ? other : hCam));
        else if (event == QLatin1String("open another"))
            openSmall("third");
        else if (event == QLatin1String("close"))
            manager->closeCamera(hCam);
        else if (event == QLatin1String("row Stop"))
            buttonAt(&form, 1, Tp::colMeasure)->click();
        else if (event == QLatin1String("Start All"))
            child<QPushButton>(&form, "btnStartAll")->click();
        else
            QTest::qWait(100);
        return true;
    });
    // A hang here is the fault: the watchdog ends the test with a message instead of never.
    std::atomic<bool> done{false};
    std::thread watchdog([&done] {
        for (int i = 0; i < 400 && !done; ++i)
            QThread::msleep(50);
        if (!done)
            qFatal("the panel hung during an export");
    });
    buttonAt(&form, 0, Tp::colExportData)->click();
    done = true;
    watchdog.join();
    QFile file(csv);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readLine().startsWith("Frame number,"));
    // The camera that went ended its export with what was written; the others wrote it all.
    if (event == QLatin1String("close"))
        QVERIFY(!form.cameraLines.contains(hCam));
    else
        QCOMPARE(file.readAll().count('\n'), 100 * 49999);
    for (CxCameraLineData* remaining : std::as_const(form.cameraLines))
        remaining->stopMeasurement();
}

void TestPanel::measurementsStopBeforeTheirLinesGo()
{
    const int threadsBefore = threadCount();
    QList<KSCORE_HANDLE> cams;
    QList<QMap<QString, int>> before;
    for (const char* id : {"d1", "d2", "d3"}) {
        cams << openSmall(QLatin1String(id));
        before << parameterSnapshot(cams.last());
    }
    auto* form = new CxDataGraphForm;
    form->maxSamples = 100000;
    child<QPushButton>(form, "btnStartAll")->click();
    for (KSCORE_HANDLE hCam : cams)
        QVERIFY(sim(hCam)->isAcquiring());

    // The host closes a camera under a running measurement: it is stopped and restored first,
    // not left to the line's destructor, which would complain.
    {
        CxCriticalLog log;
        CxCameraManager::instance()->closeCamera(cams[0]);
        QVERIFY2(log.messages().isEmpty(), qPrintable(log.messages().join('\n')));
    }
    QVERIFY(!form->cameraLines.contains(cams[0]));
    QCOMPARE(table(form)->rowCount(), 2);

    delete form;
    for (int i = 1; i < 3; ++i) {
        QVERIFY(!sim(cams[i])->isAcquiring());
        QCOMPARE(changedBeyond(before[i], cams[i]), QStringList());
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), threadsBefore, 5000);
}

void TestPanel::settingsRoundTripAndNeverHurtARun_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QList<int>>("loaded"); // period, capacity, export type, mode, live graph
    QTest::newRow("empty group") << QVariantMap() << QList<int>{1024, 10000000, 1, 0, 1};
    QTest::newRow("all set") << QVariantMap{{"DTGTSamplePeriod", 8192},
                                            {"DTGTMaxSamples", 2000000},
                                            {"DTGTExportType", 2},
                                            {"DTGTMeasMode", 1},
                                            {"DTGTLiveGraph", 0}}
                             << QList<int>{8192, 2000000, 2, 1, 0};
    QTest::newRow("any non-zero checks")
        << QVariantMap{{"DTGTLiveGraph", 7}} << QList<int>{1024, 10000000, 1, 0, 1};
    QTest::newRow("corrupt values") << QVariantMap{{"DTGTSamplePeriod", "abc"},
                                                   {"DTGTMaxSamples", "1e99"},
                                                   {"DTGTExportType", 7},
                                                   {"DTGTLiveGraph", "yes"}}
                                    << QList<int>{0, 0, 1, 0, 0};
    auto everyKey = [](const QVariant& value) {
        QVariantMap map;
        for (const QString& key : kSettingsKeys)
            map.insert(key, value);
        return map;
    };
    QTest::newRow("text everywhere") << everyKey(QStringLiteral("fast")) << QList<int>{0, 0, 1, 0, 0};
    QTest::newRow("negative everywhere") << everyKey(-5) << QList<int>{-5, -5, 1, -5, 1};
    QTest::newRow("zero everywhere") << everyKey(0) << QList<int>{0, 0, 1, 0, 0};
    // Qt keeps the low 32 bits of a number too large for an int.
    QTest::newRow("huge everywhere") << everyKey(QStringLiteral("99999999999"))
                                     << QList<int>{1215752191, 1215752191, 1, 1215752191, 1};
    QTest::newRow("largest int everywhere")
        << everyKey(INT_MAX) << QList<int>{INT_MAX, INT_MAX, 1, INT_MAX, 1};
}

void TestPanel::settingsRoundTripAndNeverHurtARun()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QList<int>, loaded);
    const int threadsBefore = threadCount();
    const KSCORE_HANDLE hCam = openSmall("settings");
    const QMap<QString, int> before = parameterSnapshot(hCam);
    QTemporaryDir dir;
    QSettings settings(dir.filePath("host.ini"), QSettings::IniFormat);
    for (auto it = stored.cbegin(); it != stored.cend(); ++it)
        settings.setValue(it.key(), it.value());
    settings.sync();

    auto log = std::make_unique<CxCriticalLog>();
    auto form = std::make_unique<CxDataGraphForm>();
    form->measureMode = 1;
    form->loadSettings(&settings);
    auto* exportButton = child<CxExportToolButton>(form.get(), "btnExport");
    const bool live = child<QCheckBox>(form.get(), "checkBoxLiveGraph")->isChecked();
    QCOMPARE(QList<int>({form->samplePeriod, form->maxSamples, int(exportButton->exportType()),
                         form->measureMode, int(live)}),
             loaded);
    CxCameraLineData* line = form->cameraLines.value(hCam);
    QCOMPARE(int(line->samplePeriod), loaded[0]);
    QCOMPARE(line->maxSamples, loaded[1]);
    QCOMPARE(table(form.get())->columnCount(), loaded[3] == 1 ? 11 : 12);

    settings.clear();
    form->saveSettings(&settings);
    settings.sync();
    QSettings reread(dir.filePath("host.ini"), QSettings::IniFormat);
    QList<int> saved;
    for (const QString& key : kSettingsKeys) {
        bool isInt = false;
        saved << reread.value(key).toString().toInt(&isInt);
        QVERIFY2(isInt, qPrintable(key));
    }
    QCOMPARE(saved, loaded);

    // Whatever the settings, a run leaves the camera as it was and no thread behind. It logs
    // what is wrong once; an unknown mode is also logged on every refresh tick (once a second
    // in use) until Setup picks a mode.
    child<QPushButton>(form.get(), "btnStartAll")->click();
    const int ticks = 5;
    for (int tick = 0; tick < ticks; ++tick) {
        QTest::qWait(60);
        QMetaObject::invokeMethod(form.get(), "updateGraph");
    }
    form.reset();
    QVERIFY(!sim(hCam)->isAcquiring());
    QCOMPARE(changedBeyond(before, hCam), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), threadsBefore, 5000);
    const QStringList messages = log->messages();
    log.reset();
    QVERIFY2(messages.size() <= 6 + ticks, qPrintable(messages.join('\n')));
    if (loaded[3] != 0 && loaded[3] != 1)
        QVERIFY2(messages.filter(QStringLiteral("Unknown measurement mode is selected")).size() >= ticks,
                 qPrintable(messages.join('\n')));
}

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
