// The unattended demonstration: open every configured camera (or the named ones), press the panel's
// "Start All", measure for a while, press "Stop All", and leave the results in a folder:
// screenshots of the window while it measures (measuring.png) and after (panel.png), each camera's CSV report
// through the panel's own export, and summary.json with what each camera's row shows.
//
// Everything goes through the panel's widgets, as a user would: buttons are clicked and
// the dialogs they open are answered.
#pragma once

#include <QElapsedTimer>
#include <QJsonArray>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <deque>
#include <functional>

class QMainWindow;
class QTableWidget;
class QTableWidgetItem;
class QWidget;

class CxScriptedRun : public QObject
{
    Q_OBJECT

public:
    struct SxOptions
    {
        QString outDir;
        double durationSeconds = 10.0;
        bool acquisitionMode = false;
        QStringList cameraIds; // empty: every simulated camera
    };

    CxScriptedRun(QMainWindow* window, const SxOptions& options);

    // Starts the run; finished() reports the exit code.
    void start();
    // A signal ends the run early, with everything it would have written: the exit code is
    // then 128 plus the signal's number.
    void interrupt(int signal);

signals:
    void finished(int exitCode);

private slots:
    void showProgress();
    void stopAndReport();
    void answerDialogs();

private:
    QWidget* panel() const;
    QTableWidget* panelTable() const;
    bool clickPanelButton(const char* objectName);
    // The next dialog that `answer` recognises (returns true for) is answered by it.
    void expectDialog(std::function<bool(QWidget*)> answer);
    // Pans the time axis so that its last `seconds` end at the newest stored sample.
    void showUpToNewestSample(double seconds);
    // Fits the window to its tables and saves it in the output folder; a failure is recorded.
    void saveScreenshot(const QString& fileName);
    // A picture of each camera's run history window next to its other results.
    void saveRunHistories();
    void fail(const QString& message);
    // What the panel's engine and history say of each camera's run, by its row.
    struct SxCameraRun
    {
        quintptr hCam = 0;
        QString name;
        QString id;
        QVariantMap run;
    };
    QList<SxCameraRun> cameraRuns() const;
    QString describe(const SxCameraRun& camera) const;
    // A camera that stopped answering or went silent fails the run; true when one did.
    bool checkCameras();
    // A camera that delivered nothing in the whole run, with what it waits for.
    void checkDeliveries();
    bool m_stopping = false;
    bool m_measuringShot = false;
    bool m_fitted = false;
    void saveMeasuringShot();
    // What the panel names a camera's files.
    QString fileNameOf(const QTableWidgetItem* nameItem) const;
    // The values a measurement changes and puts back, as the camera answers them.
    static QMap<QString, int> restoredValues(void* hCam);
    void checkRestored();
    QMap<quintptr, QMap<QString, int>> m_before;
    QMap<quintptr, bool> m_restored;
    int m_signal = 0;
    bool m_started = false;
    bool m_starting = false;
    QString m_interruption; // "interrupted after 3.0 s"
    QString m_lastProgress;
    QSet<quintptr> m_reported;    // cameras whose failure is told
    QSet<quintptr> m_logReported; // and whose missing run log is
    void exportCsvReports();
    QJsonArray summarise() const;
    void printSummary(const QJsonArray& cameras) const;
    void printTable(const QJsonArray& cameras) const;

    QMainWindow* m_window;
    SxOptions m_options;
    QTimer m_progressTimer;
    QElapsedTimer m_elapsed;
    bool m_tty = false;
    // The seconds the screenshot shows: the panel's default span.
    static constexpr double kShownSeconds = 20.0;
    // Every dialog is answered, so that the run never waits for a person.
    QTimer m_dialogTimer;
    std::deque<std::function<bool(QWidget*)>> m_answers;
    QWidget* m_unanswered = nullptr;
    QElapsedTimer m_unansweredFor;
    QStringList m_dialogs;  // what each dialog said, in order
    QStringList m_failures; // what went wrong; the run exits non-zero naming them
};
