#include "CxScriptedRun.h"

#include "CxCameraManager.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableWidget>
#include <QToolButton>
#include <cstdio>
#include <functional>
#include <memory>
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

// Answers the modal dialogs that open until `answer` says it is done with one; polls, so
// that dialogs opened inside nested event loops are caught too.
void answerModal(QObject* owner, std::function<bool(QWidget*)> answer)
{
    auto* timer = new QTimer(owner); // an answer never needed goes with the run
    auto tries = std::make_shared<int>(3000);
    QObject::connect(timer, &QTimer::timeout, [timer, answer, tries]() {
        QWidget* modal = QApplication::activeModalWidget();
        if ((modal && modal->isVisible() && answer(modal)) || --*tries <= 0) {
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start(10);
}

// A message box is acknowledged and reported; the run goes on.
bool acknowledge(QWidget* modal)
{
    auto* box = qobject_cast<QMessageBox*>(modal);
    if (!box)
        return false;
    fprintf(stderr, "%s: %s\n", qPrintable(box->windowTitle()), qPrintable(box->text().simplified()));
    box->done(QMessageBox::Ok);
    return true;
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
    emit finished(1);
}

void CxScriptedRun::start()
{
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
    if (m_options.acquisitionMode) {
        answerModal(this, [](QWidget* modal) {
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
    answerModal(this, acknowledge);
    if (!clickPanelButton("btnStartAll")) {
        fail(QStringLiteral("\"Start All\" could not be pressed"));
        return;
    }
    m_elapsed.start();
    m_progressTimer.start();
    // Halfway, a picture of the panel while it measures.
    QTimer::singleShot(int(m_options.durationSeconds * 500.0), Qt::PreciseTimer, this, [this]() {
        m_window->grab().save(QDir(m_options.outDir).filePath(QStringLiteral("measuring.png")));
    });
    // A coarse timer may fire up to 5 % early; the run lasts what was asked.
    QTimer::singleShot(int(m_options.durationSeconds * 1000.0), Qt::PreciseTimer, this,
                       &CxScriptedRun::stopAndReport);
}

void CxScriptedRun::showProgress()
{
    QTableWidget* table = panelTable();
    QString line = QStringLiteral("measuring %1 of %2 s")
                       .arg(qMin(m_elapsed.elapsed() / 1000.0, m_options.durationSeconds), 0, 'f', 1)
                       .arg(m_options.durationSeconds, 0, 'f', 1);
    for (int row = 0; table && row < table->rowCount(); ++row) {
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!name)
            continue;
        const QTableWidgetItem* avg = table->item(row, m_options.acquisitionMode ? colFirstCounter : colAvg);
        const QString value = avg && !avg->text().isEmpty() ? avg->text() : QStringLiteral("-");
        line += m_options.acquisitionMode ? QStringLiteral(" | %1: %2 frames").arg(name->text(), value)
                                          : QStringLiteral(" | %1: %2 MB/s").arg(name->text(), value);
    }
    if (m_tty)
        fprintf(stdout, "\r\033[K%s", qPrintable(line));
    else
        fprintf(stdout, "%s\n", qPrintable(line));
    fflush(stdout);
}

void CxScriptedRun::stopAndReport()
{
    m_progressTimer.stop();
    showProgress();
    if (m_tty)
        fprintf(stdout, "\n");
    if (!clickPanelButton("btnStartAll")) {
        fail(QStringLiteral("\"Stop All\" could not be pressed"));
        return;
    }
    // Statistics for the whole visible range, as the frozen graph shows it.
    clickPanelButton("refreshGraph");
    QApplication::processEvents();

    const QString shot = QDir(m_options.outDir).filePath(QStringLiteral("panel.png"));
    if (!m_window->grab().save(shot)) {
        fail(QStringLiteral("%1: the screenshot could not be written").arg(shot));
        return;
    }
    const QJsonArray cameras = summarise();
    if (!m_options.acquisitionMode)
        exportCsvReports();

    const QString summaryPath = QDir(m_options.outDir).filePath(QStringLiteral("summary.json"));
    QFile summary(summaryPath);
    if (!summary.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        summary.write(QJsonDocument(QJsonObject{{QStringLiteral("cameras"), cameras}}).toJson()) < 0) {
        fail(QStringLiteral("%1: %2").arg(summaryPath, summary.errorString()));
        return;
    }
    summary.close();
    printSummary(cameras);
    fprintf(stdout, "Results in %s\n", qPrintable(QDir(m_options.outDir).absolutePath()));
    fflush(stdout);
    emit finished(0);
}

void CxScriptedRun::exportCsvReports()
{
    QTableWidget* table = panelTable();
    auto* plot = panel()->findChild<QCustomPlot*>(QStringLiteral("plot"));
    // The report holds what the graph shows; the last second keeps the files a few tens of
    // megabytes instead of hundreds.
    if (plot && plot->axisRectCount() > 0)
        plot->axisRect(0)->axis(QCPAxis::atBottom)->setRange(-1.0, 0.0);
    for (int row = 0; table && row < table->rowCount(); ++row) {
        auto* button = qobject_cast<QPushButton*>(table->cellWidget(row, colExport));
        const QTableWidgetItem* name = table->item(row, colCamera);
        if (!button || !name)
            continue;
        QString fileName = name->text();
        fileName.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.-]+")), QStringLiteral("_"));
        const QString path = QDir(m_options.outDir).absoluteFilePath(fileName + QStringLiteral(".csv"));
        answerModal(this, [path](QWidget* modal) {
            if (acknowledge(modal))
                return true;
            auto* dialog = qobject_cast<QFileDialog*>(modal);
            auto* edit = dialog ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
            if (!edit)
                return false;
            edit->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
            return !dialog->isVisible();
        });
        button->click();
        fprintf(stdout, "CSV report: %s\n", qPrintable(path));
    }
    if (auto* resetZoom = panel()->findChild<QAbstractButton*>(QStringLiteral("btnResetZoom")))
        resetZoom->click();
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
        cameras.append(camera);
    }
    return cameras;
}

void CxScriptedRun::printSummary(const QJsonArray& cameras) const
{
    auto text = [](const QJsonValue& value) {
        return value.isDouble() ? QString::number(value.toInt()) : QStringLiteral("-");
    };
    if (m_options.acquisitionMode) {
        for (const QJsonValue& entry : cameras) {
            const QJsonObject camera = entry.toObject();
            fprintf(stdout, "%s (%s)\n", qPrintable(camera.value("name").toString()),
                    qPrintable(camera.value("status").toString()));
            const QJsonObject counters = camera.value("counters").toObject();
            for (auto it = counters.begin(); it != counters.end(); ++it)
                fprintf(stdout, "  %-22s %10s\n", qPrintable(it.key()), qPrintable(text(it.value())));
        }
        return;
    }
    fprintf(stdout, "%-36s %-8s %10s %10s %10s %10s\n", "Camera", "Status", "Avg MB/s", "Min MB/s",
            "Max buf %", "Overflows");
    for (const QJsonValue& entry : cameras) {
        const QJsonObject camera = entry.toObject();
        fprintf(
            stdout, "%-36s %-8s %10s %10s %10s %10s\n", qPrintable(camera.value("name").toString()),
            qPrintable(camera.value("status").toString()), qPrintable(text(camera.value("avgThroughput"))),
            qPrintable(text(camera.value("minThroughput"))), qPrintable(text(camera.value("maxBufferLevel"))),
            qPrintable(text(camera.value("bufferOverflowCount"))));
    }
}
