#include "CxScriptedRun.h"

#include "CxCameraManager.h"
#include "CxDarkTheme.h"
#include "ksCamera/CxCameraRegistry.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QImageWriter>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTableWidget>
#include <QToolButton>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <qcustomplot.h>
#include <unistd.h>

namespace {

// Columns of the panel's camera table.
enum : int
{
    colCamera = 0,
    colStatus = 1,
    colAvg = 3,
    colMin = 4,
    colMaxBuffer = 5,
    colOverflows = 6,
    colExport = 7,
    colFirstCounter = 4,
    colLastCounter = 9,
};

// A start failure names its camera but not why it failed; a camera that said why is added.
QString withRefusals(const QString& text)
{
    CxCameraManager* manager = CxCameraManager::instance();
    for (KSCORE_HANDLE hCam : manager->openedCameras()) {
        std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(hCam);
        const QString refusal = camera ? camera->lastRefusal() : QString();
        const QString name = camera ? camera->description().modelName : QString();
        if (!refusal.isEmpty() && !name.isEmpty() && text.contains(name))
            return QStringLiteral("%1 (%2: %3)").arg(text, manager->cameraId(hCam), refusal);
    }
    return text;
}

// Writes a PNG whole or not at all; empty, or the system's reason (a full disk, not "Unknown
// error").
QString savePicture(const QString& path, const QImage& image)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QImageWriter writer(&file, "png");
    if (!writer.write(image)) {
        const QString reason =
            file.error() != QFileDevice::NoError ? file.errorString() : writer.errorString();
        file.cancelWriting();
        return reason;
    }
    return file.commit() ? QString() : file.errorString();
}

int leadingInt(const QString& text, bool* ok)
{
    return text.section(QLatin1Char(' '), 0, 0).toInt(ok);
}

} // namespace

CxScriptedRun::CxScriptedRun(QMainWindow* window, const SxOptions& options)
    : m_window(window), m_options(options)
{
    m_tty = isatty(fileno(stdout));
    m_progressTimer.setInterval(m_tty ? 250 : 1000);
    m_progressTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_progressTimer, &QTimer::timeout, this, &CxScriptedRun::showProgress);
    // Polled, so that dialogs opened inside nested event loops are caught too.
    m_dialogTimer.setInterval(10);
    connect(&m_dialogTimer, &QTimer::timeout, this, &CxScriptedRun::answerDialogs);
}

void CxScriptedRun::expectDialog(std::function<bool(QWidget*)> answer)
{
    m_answers.push_back(std::move(answer));
}

void CxScriptedRun::answerDialogs()
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || !modal->isVisible()) {
        m_unanswered = nullptr;
        return;
    }
    // A message box is read out and acknowledged; an error in it fails the run at its end.
    // A question (replace the report of an earlier run?) is answered yes: the run was told
    // where to write.
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        const QString text = QStringLiteral("%1: %2").arg(box->windowTitle(), box->text().simplified());
        m_dialogs.append(text);
        const bool failure = box->icon() == QMessageBox::Critical || box->icon() == QMessageBox::Warning;
        // A failure is told once, with the others, as the run ends.
        if (!failure)
            fprintf(stderr, "%s\n", qPrintable(text));
        // Clicked rather than done(): the static QMessageBox functions report the button.
        if (QAbstractButton* yes = box->button(QMessageBox::Yes)) {
            yes->click();
            return;
        }
        if (failure)
            m_failures.append(withRefusals(text));
        if (QAbstractButton* ok = box->button(QMessageBox::Ok))
            ok->click();
        else
            box->done(QMessageBox::Ok);
        return;
    }
    // An export's progress runs inside its own dialog and ends by itself.
    if (qobject_cast<QProgressDialog*>(modal))
        return;
    if (!m_answers.empty() && m_answers.front()(modal)) {
        m_answers.pop_front();
        return;
    }
    // A dialog nobody expected is closed after a grace period in which an expected one
    // finishes setting itself up.
    if (m_unanswered != modal) {
        m_unanswered = modal;
        m_unansweredFor.start();
    } else if (m_unansweredFor.elapsed() > 3000) {
        const QString text = QStringLiteral("%1: closed unanswered").arg(modal->windowTitle());
        fprintf(stderr, "%s\n", qPrintable(text));
        m_dialogs.append(text);
        m_failures.append(text);
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
        m_unanswered = nullptr;
    }
}

QWidget* CxScriptedRun::panel() const
{
    return m_window->findChild<QWidget*>(QStringLiteral("CxDataGraphForm"));
}

QTableWidget* CxScriptedRun::panelTable() const
{
    return panel() ? panel()->findChild<QTableWidget*>(QStringLiteral("table")) : nullptr;
}

bool CxScriptedRun::clickPanelButton(const char* objectName)
{
    auto* button = panel() ? panel()->findChild<QAbstractButton*>(QLatin1String(objectName)) : nullptr;
    if (!button || !button->isEnabled())
        return false;
    button->click();
    return true;
}

void CxScriptedRun::fail(const QString& message)
{
    fprintf(stderr, "lumorix-sim: %s\n", qPrintable(message));
    m_dialogTimer.stop();
    emit finished(1);
}

void CxScriptedRun::start()
{
    m_started = true;
    if (m_signal) {
        emit finished(128 + m_signal);
        return;
    }
    if (!panel()) {
        fail(QStringLiteral("the Data Throughput Graph panel was not loaded"));
        return;
    }
    CxCameraManager* manager = CxCameraManager::instance();
    for (const QString& id : m_options.cameraIds) {
        if (!manager->openCamera(id)) {
            fail(QStringLiteral("camera %1 could not be opened: %2").arg(id, manager->lastOpenError()));
            return;
        }
    }
    if (m_options.cameraIds.isEmpty())
        for (const QString& id : manager->availableCameras())
            manager->openCamera(id);
    if (manager->openedCameras().isEmpty()) {
        fail(QStringLiteral("no camera could be opened"));
        return;
    }
    m_dialogTimer.start();
    // The run logs go with the other results.
    QMetaObject::invokeMethod(panel(), "setRunFolder", Q_ARG(QString, QDir(m_options.outDir).absolutePath()));
    if (m_options.acquisitionMode) {
        expectDialog([](QWidget* modal) {
            auto* dialog = qobject_cast<QDialog*>(modal);
            auto* combo = dialog ? dialog->findChild<QComboBox*>(QStringLiteral("measureMode")) : nullptr;
            if (!combo)
                return false;
            combo->setCurrentIndex(1); // "Standard Sensor Acquisition"
            dialog->accept();
            return true;
        });
        clickPanelButton("btnSetup");
    }
    // What the run must put back, as the cameras have it before anything is changed.
    for (const SxCameraRun& camera : cameraRuns())
        m_before.insert(camera.hCam, restoredValues(reinterpret_cast<KSCORE_HANDLE>(camera.hCam)));
    // The panel paints its progress box while it starts the cameras; a signal seen meanwhile
    // is acted on once "Start All" is through.
    m_starting = true;
    const bool started = clickPanelButton("btnStartAll");
    m_starting = false;
    if (!started) {
        fail(QStringLiteral("\"Start All\" could not be pressed"));
        return;
    }
    m_elapsed.start();
    if (m_signal) {
        stopAndReport();
        return;
    }
    // Nothing to wait for when no camera measures: the refusals are the result.
    bool measuring = false;
    for (const SxCameraRun& camera : cameraRuns())
        measuring = measuring || camera.run.value(QStringLiteral("measuring")).toBool();
    if (!measuring) {
        m_failures.append(QStringLiteral("no camera measures"));
        QTimer::singleShot(0, this, &CxScriptedRun::stopAndReport);
        return;
    }
    m_progressTimer.start();
    // Halfway, a picture of the panel while it measures.
    QTimer::singleShot(int(m_options.durationSeconds * 500.0), Qt::PreciseTimer, this, [this]() {
        if (!m_stopping)
            saveMeasuringShot();
    });
    // A coarse timer may fire up to 5 % early; the run lasts what was asked.
    QTimer::singleShot(int(m_options.durationSeconds * 1000.0), Qt::PreciseTimer, this,
                       &CxScriptedRun::stopAndReport);
}

void CxScriptedRun::interrupt(int signal)
{
    if (m_signal)
        return;
    m_signal = signal;
    const double seconds = m_elapsed.isValid() ? m_elapsed.elapsed() / 1000.0 : 0.0;
    const QString text = QStringLiteral("interrupted after %1 s").arg(seconds, 0, 'f', 1);
    if (m_tty)
        fprintf(stdout, "\n");
    fprintf(stdout, "%s\n", qPrintable(text));
    fflush(stdout);
    m_interruption = text;
    if (!m_started) {
        QTimer::singleShot(0, this, [this]() { emit finished(128 + m_signal); });
        return;
    }
    // A stop under way finishes as it is; a start under way is stopped once it is through.
    if (!m_stopping && !m_starting)
        stopAndReport();
}

void CxScriptedRun::showProgress()
{
    QString line = QStringLiteral("measuring %1 of %2 s")
                       .arg(qMin(m_elapsed.elapsed() / 1000.0, m_options.durationSeconds), 0, 'f', 1)
                       .arg(m_options.durationSeconds, 0, 'f', 1);
    // The last tick and the stop see the same tenth of a second: one line says it.
    if (line == m_lastProgress)
        return;
    m_lastProgress = line;
    for (const SxCameraRun& camera : cameraRuns()) {
        const QVariantMap& run = camera.run;
        QString state;
        if (run.contains(QStringLiteral("cameraLostAtSeconds")))
            state = QStringLiteral("stopped answering at %1 s")
                        .arg(run.value(QStringLiteral("cameraLostAtSeconds")).toDouble(), 0, 'f', 1);
        else if (run.value(QStringLiteral("delivered")).toULongLong() == 0)
            state = QStringLiteral("no image yet");
        else if (m_options.acquisitionMode)
            state = QStringLiteral("%1 frames, %2 frames/s")
                        .arg(run.value(QStringLiteral("delivered")).toULongLong())
                        .arg(run.value(QStringLiteral("deliveredFrameRate")).toDouble(), 0, 'f', 1);
        else
            state = QStringLiteral("%1 MB/s delivered, link %2 MB/s")
                        .arg(run.value(QStringLiteral("deliveredRate")).toDouble(), 0, 'f', 0)
                        .arg(run.value(QStringLiteral("linkAverage")).toDouble(), 0, 'f', 0);
        line += QStringLiteral(" | %1: %2").arg(camera.name, state);
    }
    if (m_tty)
        fprintf(stdout, "\r\033[K%s", qPrintable(line));
    else
        fprintf(stdout, "%s\n", qPrintable(line));
    fflush(stdout);
    if (!m_stopping && checkCameras())
        stopAndReport();
}

QList<CxScriptedRun::SxCameraRun> CxScriptedRun::cameraRuns() const
{
    QList<SxCameraRun> cameras;
    QTableWidget* table = panelTable();
    for (int row = 0; table && row < table->rowCount(); ++row) {
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!name)
            continue;
        SxCameraRun camera;
        camera.hCam = quintptr(name->data(Qt::UserRole).toULongLong());
        camera.name = name->text();
        camera.id = CxCameraManager::instance()->cameraId(reinterpret_cast<KSCORE_HANDLE>(camera.hCam));
        QMetaObject::invokeMethod(panel(), "runOf", Q_RETURN_ARG(QVariantMap, camera.run),
                                  Q_ARG(qulonglong, qulonglong(camera.hCam)));
        cameras.append(camera);
    }
    return cameras;
}

QString CxScriptedRun::describe(const SxCameraRun& camera) const
{
    return camera.id.isEmpty() ? camera.name : QStringLiteral("%1 (%2)").arg(camera.name, camera.id);
}

bool CxScriptedRun::checkCameras()
{
    bool failed = false;
    for (const SxCameraRun& camera : cameraRuns()) {
        const QVariantMap& run = camera.run;
        if (run.contains(QStringLiteral("runLogError")) && !m_logReported.contains(camera.hCam)) {
            m_logReported.insert(camera.hCam);
            m_failures.append(QStringLiteral("%1: %2").arg(
                describe(camera), run.value(QStringLiteral("runLogError")).toString()));
        }
        if (m_reported.contains(camera.hCam))
            continue;
        if (run.contains(QStringLiteral("cameraLostAtSeconds"))) {
            m_failures.append(
                QStringLiteral("%1: the camera stopped answering at %2 s")
                    .arg(describe(camera))
                    .arg(run.value(QStringLiteral("cameraLostAtSeconds")).toDouble(), 0, 'f', 1));
            failed = true;
            m_reported.insert(camera.hCam);
        } else if (run.contains(QStringLiteral("silentFromSeconds"))) {
            const QString waiting = run.value(QStringLiteral("waitingFor")).toString();
            m_failures.append(QStringLiteral("%1: no image for %2 s from %3 s on%4")
                                  .arg(describe(camera))
                                  .arg(run.value(QStringLiteral("silentForSeconds")).toDouble(), 0, 'f', 1)
                                  .arg(run.value(QStringLiteral("silentFromSeconds")).toDouble(), 0, 'f', 1)
                                  .arg(waiting.isEmpty() ? QString() : QStringLiteral(": ") + waiting));
            failed = true;
            m_reported.insert(camera.hCam);
        }
    }
    return failed;
}

void CxScriptedRun::checkDeliveries()
{
    for (const SxCameraRun& camera : cameraRuns()) {
        const QVariantMap& run = camera.run;
        if (run.value(QStringLiteral("delivered")).toULongLong() > 0 ||
            !run.contains(QStringLiteral("measuredSeconds")) || m_reported.contains(camera.hCam))
            continue;
        m_reported.insert(camera.hCam);
        KS_TRANSPORT_INFO info;
        std::memset(&info, 0, sizeof(info));
        info.size = sizeof(info);
        info.request = KS_TI_WAITING;
        const KSCORE_HANDLE hCam = reinterpret_cast<KSCORE_HANDLE>(camera.hCam);
        const bool waiting = ksApi_GetTransportInfo(hCam, &info) && (info.flags & KS_TI_WAITING);
        m_failures.append(
            QStringLiteral("%1: no image in the %2 s it measured%3")
                .arg(describe(camera))
                .arg(run.value(QStringLiteral("measuredSeconds")).toDouble(), 0, 'f', 1)
                .arg(waiting ? QStringLiteral(": ") + QString::fromUtf8(info.waitingFor) : QString()));
    }
}

void CxScriptedRun::stopAndReport()
{
    if (m_stopping)
        return;
    m_stopping = true;
    m_progressTimer.stop();
    showProgress();
    if (m_tty)
        fprintf(stdout, "\n");
    checkCameras();
    checkDeliveries();
    // A run stopped before its halfway picture takes it now: every run leaves the same files.
    if (!m_measuringShot)
        saveMeasuringShot();
    // After a failed start the panel rolled back to "Start All", which must not start again.
    auto* startAll = panel()->findChild<QAbstractButton*>(QStringLiteral("btnStartAll"));
    if (startAll && startAll->text() == QLatin1String("Stop All") && !clickPanelButton("btnStartAll")) {
        fail(QStringLiteral("\"Stop All\" could not be pressed"));
        return;
    }
    checkRestored();
    // The stopped axis stays where the last refresh left it, up to a refresh period short
    // of the newest samples: the picture and the statistics end at the newest one.
    showUpToNewestSample(kShownSeconds);
    clickPanelButton("refreshGraph");
    QApplication::processEvents();

    saveScreenshot(QStringLiteral("panel.png"));
    const QJsonArray cameras = summarise();
    if (!m_options.acquisitionMode)
        exportCsvReports();
    saveRunHistories();
    m_dialogTimer.stop();

    // Complete or absent: written aside and renamed over the old one only once whole.
    const QString summaryPath = QDir(m_options.outDir).filePath(QStringLiteral("summary.json"));
    QSaveFile summary(summaryPath);
    QJsonObject document{{QStringLiteral("cameras"), cameras},
                         {QStringLiteral("dialogs"), QJsonArray::fromStringList(m_dialogs)},
                         {QStringLiteral("failures"), QJsonArray::fromStringList(m_failures)}};
    if (m_signal)
        document.insert(QStringLiteral("interrupted"), m_interruption);
    const QByteArray json = QJsonDocument(document).toJson();
    if (!summary.open(QIODevice::WriteOnly) || summary.write(json) != json.size() || !summary.commit())
        m_failures.append(QStringLiteral("%1: %2").arg(summaryPath, summary.errorString()));
    printSummary(cameras);
    fprintf(stdout, "Results in %s\n", qPrintable(QDir(m_options.outDir).absolutePath()));
    fflush(stdout);
    if (!m_failures.isEmpty()) {
        fprintf(stderr, "lumorix-sim: the run finished, but %lld thing(s) failed:\n",
                static_cast<long long>(m_failures.size()));
        for (const QString& failure : std::as_const(m_failures))
            fprintf(stderr, "  %s\n", qPrintable(failure));
    }
    if (m_signal) {
        fprintf(stderr, "lumorix-sim: %s\n", qPrintable(m_interruption));
        emit finished(128 + m_signal);
        return;
    }
    emit finished(m_failures.isEmpty() ? 0 : 1);
}

QString CxScriptedRun::fileNameOf(const QTableWidgetItem* nameItem) const
{
    QString name;
    QMetaObject::invokeMethod(panel(), "fileNameOf", Q_RETURN_ARG(QString, name),
                              Q_ARG(qulonglong, nameItem->data(Qt::UserRole).toULongLong()));
    return name;
}

void CxScriptedRun::saveMeasuringShot()
{
    m_measuringShot = true;
    saveScreenshot(QStringLiteral("measuring.png"));
}

QMap<QString, int> CxScriptedRun::restoredValues(void* hCam)
{
    QMap<QString, int> values;
    for (const char* name :
         {"imgdataformat", "buffer_policy", "output_bit_depth", "output_bit_packing", "column_fpn_correction",
          "row_fpn_correction", "LUTEnable", "test_pattern_generator_selector", "test_pattern"}) {
        int value = 0;
        if (ksApi_GetParamInt(hCam, name, value))
            values.insert(QLatin1String(name), value);
    }
    return values;
}

// A run that leaves a camera changed has failed, whatever it measured.
void CxScriptedRun::checkRestored()
{
    for (const SxCameraRun& camera : cameraRuns()) {
        if (!m_before.contains(camera.hCam) || camera.run.contains(QStringLiteral("cameraLostAtSeconds")))
            continue;
        const QMap<QString, int> before = m_before.value(camera.hCam);
        const QMap<QString, int> after = restoredValues(reinterpret_cast<KSCORE_HANDLE>(camera.hCam));
        QStringList changed;
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            if (after.value(it.key(), it.value()) != it.value())
                changed << QStringLiteral("%1 %2 (was %3)")
                               .arg(it.key())
                               .arg(after.value(it.key()))
                               .arg(it.value());
        m_restored.insert(camera.hCam, changed.isEmpty());
        if (!changed.isEmpty())
            m_failures.append(QStringLiteral("%1: left changed: %2")
                                  .arg(describe(camera), changed.join(QStringLiteral(", "))));
    }
}

void CxScriptedRun::saveRunHistories()
{
    QTableWidget* table = panelTable();
    for (int row = 0; table && row < table->rowCount(); ++row) {
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!name)
            continue;
        QMetaObject::invokeMethod(panel(), "showRunHistory",
                                  Q_ARG(qulonglong, name->data(Qt::UserRole).toULongLong()));
        QDialog* window = nullptr;
        const QList<QDialog*> windows = panel()->findChildren<QDialog*>(QStringLiteral("CxRunHistoryDlg"));
        for (QDialog* candidate : windows)
            if (candidate->isVisible())
                window = candidate;
        if (!window)
            continue;
        QApplication::processEvents();
        const QString shot =
            QDir(m_options.outDir).filePath(fileNameOf(name) + QStringLiteral(".history.png"));
        const QString error = savePicture(shot, window->grab().toImage());
        if (!error.isEmpty())
            m_failures.append(
                QStringLiteral("%1: the run history could not be written: %2").arg(shot, error));
        window->close();
    }
}

void CxScriptedRun::saveScreenshot(const QString& fileName)
{
    // Fitted once: the pictures of one run show one window.
    if (!m_fitted)
        CxDarkTheme::fitTables(m_window);
    m_fitted = true;
    QApplication::processEvents();
    const QString shot = QDir(m_options.outDir).filePath(fileName);
    const QString error = savePicture(shot, m_window->grab().toImage());
    if (!error.isEmpty())
        m_failures.append(QStringLiteral("%1: the screenshot could not be written: %2").arg(shot, error));
}

void CxScriptedRun::showUpToNewestSample(double seconds)
{
    auto* plot = panel()->findChild<QCustomPlot*>(QStringLiteral("plot"));
    double newest = std::numeric_limits<double>::quiet_NaN();
    QMetaObject::invokeMethod(panel(), "newestSampleSeconds", Q_RETURN_ARG(double, newest));
    if (!plot || plot->axisRectCount() == 0 || !std::isfinite(newest))
        return;
    // A millisecond beyond it, so that rounding microseconds never leaves it out.
    const double upper = newest + 0.001;
    plot->axisRect(0)->axis(QCPAxis::atBottom)->setRange(upper - seconds, upper);
}

void CxScriptedRun::exportCsvReports()
{
    QTableWidget* table = panelTable();
    // The report holds what the graph shows; the last second keeps the files a few tens of
    // megabytes instead of hundreds.
    showUpToNewestSample(1.0);
    for (int row = 0; table && row < table->rowCount(); ++row) {
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, colExport));
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!button || !name)
            continue;
        // A camera that stored nothing has no report to write.
        QVariantMap run;
        QMetaObject::invokeMethod(panel(), "runOf", Q_RETURN_ARG(QVariantMap, run),
                                  Q_ARG(qulonglong, name->data(Qt::UserRole).toULongLong()));
        if (!run.contains(QStringLiteral("newestFrame")))
            continue;
        const QString path =
            QDir(m_options.outDir).absoluteFilePath(fileNameOf(name) + QStringLiteral(".csv"));
        expectDialog([path](QWidget* modal) {
            auto* dialog = qobject_cast<QFileDialog*>(modal);
            auto* edit = dialog ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
            if (!edit)
                return false;
            edit->setText(path);
            // Queued: accepting may ask to replace a file, and that question is answered by
            // this same timer, which does not fire while its slot runs.
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
            return true;
        });
        button->click();
        // Only a report that was written is named; a camera without frames has none.
        if (QFileInfo(path).size() > 0)
            fprintf(stdout, "CSV report: %s\n", qPrintable(path));
    }
    showUpToNewestSample(kShownSeconds);
}

QJsonArray CxScriptedRun::summarise() const
{
    QJsonArray cameras;
    QTableWidget* table = panelTable();
    for (int row = 0; table && row < table->rowCount(); ++row) {
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!name)
            continue;
        auto number = [table, row](int column) -> QJsonValue {
            const QTableWidgetItem* item = table->item(row, column);
            bool ok = false;
            const int value = item ? leadingInt(item->text(), &ok) : 0;
            return ok ? QJsonValue(value) : QJsonValue();
        };
        QJsonObject camera{{QStringLiteral("name"), name->text()},
                           {QStringLiteral("status"), table->item(row, colStatus)->text()}};
        QJsonObject counters;
        if (m_options.acquisitionMode) {
            for (int column = colFirstCounter; column <= colLastCounter; ++column)
                counters.insert(table->horizontalHeaderItem(column)->text(), number(column));
        } else {
            camera.insert(QStringLiteral("avgThroughput"), number(colAvg));
            camera.insert(QStringLiteral("minThroughput"), number(colMin));
            camera.insert(QStringLiteral("maxBufferLevel"), number(colMaxBuffer));
            camera.insert(QStringLiteral("bufferOverflowCount"), number(colOverflows));
            // Beyond the table: bytes over link time of every stored frame.
            double linkAverage = 0.0;
            QMetaObject::invokeMethod(panel(), "linkAverageOf", Q_RETURN_ARG(double, linkAverage),
                                      Q_ARG(qulonglong, name->data(Qt::UserRole).toULongLong()));
            camera.insert(QStringLiteral("linkAverage"), linkAverage);
        }
        camera.insert(QStringLiteral("counters"), counters);
        QVariantMap run;
        QMetaObject::invokeMethod(panel(), "runOf", Q_RETURN_ARG(QVariantMap, run),
                                  Q_ARG(qulonglong, name->data(Qt::UserRole).toULongLong()));
        camera.insert(QStringLiteral("run"), QJsonObject::fromVariantMap(run));
        const quintptr hCam = quintptr(name->data(Qt::UserRole).toULongLong());
        if (m_restored.contains(hCam))
            camera.insert(QStringLiteral("parametersRestored"), m_restored.value(hCam));
        cameras.append(camera);
    }
    return cameras;
}

void CxScriptedRun::printSummary(const QJsonArray& cameras) const
{
    printTable(cameras);
    // What each run proves, with its arithmetic.
    for (const QJsonValue& entry : cameras) {
        const QJsonObject camera = entry.toObject();
        const QString verdict = camera.value("run").toObject().value("verdict").toString();
        if (verdict.isEmpty())
            continue;
        fprintf(stdout, "%s:\n", qPrintable(camera.value("name").toString()));
        for (const QString& line : verdict.split(QLatin1Char('\n')))
            fprintf(stdout, "  %s\n", qPrintable(line));
    }
}

void CxScriptedRun::printTable(const QJsonArray& cameras) const
{
    auto text = [](const QJsonValue& value) {
        return value.isDouble() ? QString::number(value.toInt()) : QStringLiteral("-");
    };
    if (m_options.acquisitionMode) {
        for (const QJsonValue& entry : cameras) {
            const QJsonObject camera = entry.toObject();
            fprintf(stdout, "%s (%s): %s\n", qPrintable(camera.value("name").toString()),
                    qPrintable(camera.value("status").toString()),
                    qPrintable(camera.value("run").toObject().value("verdictWord").toString()));
            const QJsonObject counters = camera.value("counters").toObject();
            for (auto it = counters.begin(); it != counters.end(); ++it)
                fprintf(stdout, "  %-22s %10s\n", qPrintable(it.key()), qPrintable(text(it.value())));
        }
        return;
    }
    // The whole run's figures, from its history: the panel's table shows the store's last
    // seconds only.
    fprintf(stdout, "%-36s %-24s %9s %9s %9s %9s %9s %6s  %s\n", "Camera", "Verdict", "Link MB/s",
            "Deliv MB/s", "Low MB/s", "Max buf %", "Overflows", "Dips", "Deepest dip");
    for (const QJsonValue& entry : cameras) {
        const QJsonObject camera = entry.toObject();
        const QJsonObject run = camera.value("run").toObject();
        auto number = [&run](const char* key, int decimals) {
            return run.contains(QLatin1String(key))
                       ? QString::number(run.value(QLatin1String(key)).toDouble(), 'f', decimals)
                       : QStringLiteral("-");
        };
        const QString deepest = run.value("dips").toDouble() > 0
                                    ? QStringLiteral("%1 MB/s at %2 s")
                                          .arg(number("deepestDip", 1), number("deepestDipAtSeconds", 1))
                                    : QStringLiteral("-");
        fprintf(stdout, "%-36s %-24s %9s %9s %9s %9s %9s %6s  %s\n",
                qPrintable(camera.value("name").toString()), qPrintable(run.value("verdictWord").toString()),
                qPrintable(number("linkAverage", 1)), qPrintable(number("deliveredRate", 1)),
                qPrintable(number("lowestSpeed", 1)), qPrintable(number("highestLevel", 1)),
                qPrintable(number("overflows", 0)), qPrintable(number("dips", 0)), qPrintable(deepest));
    }
}
