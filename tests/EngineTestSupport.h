// Helpers for tests of the measurement engine: critical-message capture and call-log views.
#pragma once

#include "CameraLineData.h"
#include "SimTestSupport.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QStringList>
#include <QtGlobal>
#include <climits>

namespace enginetest {

// Collects the critical messages of the "default" category while it lives.
class CxCriticalLog
{
public:
    CxCriticalLog()
    {
        lines().clear();
        m_previous = qInstallMessageHandler(&CxCriticalLog::handler);
    }
    ~CxCriticalLog() { qInstallMessageHandler(m_previous); }

    QStringList messages() const
    {
        QMutexLocker lock(&mutex());
        return lines();
    }
    // True when a message carries the source line and the text.
    bool contains(int line, const QString& text) const
    {
        const QString place =
            QStringLiteral("plugins/kspDataThroughputGraph/CameraLineData L %1 :").arg(line);
        for (const QString& message : messages())
            if (message.contains(place) && message.contains(text))
                return true;
        return false;
    }

private:
    static QStringList& lines()
    {
        static QStringList list;
        return list;
    }
    static QMutex& mutex()
    {
        static QMutex m;
        return m;
    }
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (type != QtCriticalMsg || qstrcmp(context.category, "default") != 0)
            return;
        QMutexLocker lock(&mutex());
        lines().append(message);
    }

    QtMessageHandler m_previous = nullptr;
};

// The camera's parameter and start/stop calls since the log was last cleared.
inline QStringList calls(KSCORE_HANDLE hCam)
{
    return simtest::logOf(hCam)->callLogText();
}

// Every value of the camera's parameter model, with the two selector-addressed cells a run
// writes: the frame-buffer mode and the device register. Those are read with their selectors
// set and the selectors put back; take it while the camera is idle and without faults.
inline QMap<QString, int> parameterSnapshot(KSCORE_HANDLE hCam)
{
    CxSimCamera* camera = simtest::sim(hCam);
    QMap<QString, int> values;
    const QStringList names = camera->parameterNames();
    for (const QString& name : names)
        values.insert(name, camera->parameterValue(name));
    auto cell = [&](const QString& key, const QList<QPair<QString, int>>& selectors,
                    const QString& valueName) {
        for (const auto& [selector, value] : selectors)
            camera->setParam(selector, value, IxCamera::ExCaller::Host);
        int value = 0;
        values.insert(key, camera->getParam(valueName, value, IxCamera::ExCaller::Host) == KS_OK ? value
                                                                                                 : INT_MIN);
        for (const auto& [selector, value] : selectors)
            camera->setParam(selector, values.value(selector), IxCamera::ExCaller::Host);
    };
    if (names.contains(QStringLiteral("dp_unit_selector")))
        cell(QStringLiteral("frame buffer mode"),
             {{QStringLiteral("dp_unit_selector"), 1},
              {QStringLiteral("dp_proc_selector"), 5},
              {QStringLiteral("dp_param_selector"), 6}},
             QStringLiteral("dp_param_value"));
    cell(QStringLiteral("device register 1/55"),
         {{QStringLiteral("device_unit_selector"), 1}, {QStringLiteral("device_unit_register_selector"), 55}},
         QStringLiteral("device_unit_register_value"));
    return values;
}

// What a throughput run leaves as it set it: the selectors it pointed at the device register
// and at the camera's buffer size, the frame-buffer mode, whose restore goes to the
// buffer-size cell the last read selected (and is refused there), and the time-stamp reset.
inline const QStringList kLeftByThroughput = {"device_unit_register_selector",
                                              "device_unit_selector",
                                              "dp_param_selector",
                                              "frame buffer mode",
                                              "ts_rst_mode",
                                              "ts_rst_source"};
// An acquisition run selects each counter in turn.
inline const QStringList kLeftByAcquisition = {"counter_selector", "ts_rst_mode", "ts_rst_source"};

// The values that differ from the snapshot `before` although runs put them back: every
// change but those in `left`. Take it with the camera idle.
inline QStringList changedBeyond(const QMap<QString, int>& before, KSCORE_HANDLE hCam,
                                 const QStringList& left = kLeftByThroughput + kLeftByAcquisition)
{
    const QMap<QString, int> after = parameterSnapshot(hCam);
    QStringList changed;
    for (auto it = before.cbegin(); it != before.cend(); ++it)
        if (after.value(it.key(), INT_MIN + 1) != it.value() && !left.contains(it.key()))
            changed << it.key();
    return changed;
}

// The process's threads, without the idle workers Qt's global pool keeps for a while after
// drawing (they are Qt's, not a worker of ours left behind).
inline int threadCount()
{
    int count = 0;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(task + QStringLiteral("/comm")));
        if (name.open(QIODevice::ReadOnly) && !name.readAll().startsWith("Thread (pooled)"))
            ++count;
    }
    return count;
}

// Resident memory of the process in bytes.
inline qint64 residentBytes()
{
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = status.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * 4096 : 0;
}

inline int storedFrames(CxCameraLineData* line)
{
    QMutexLocker lock(&line->dataMutex);
    return line->frames.size();
}

// Frames or counter records, whichever the line's mode stores.
inline int storedRecords(CxCameraLineData* line)
{
    QMutexLocker lock(&line->dataMutex);
    return line->frames.size() + line->counterSamples.size();
}

// The time stamp of the newest stored frame, 0 without one.
inline long long newestTimestamp(CxCameraLineData* line)
{
    QMutexLocker lock(&line->dataMutex);
    return line->frames.isEmpty() ? 0 : line->frames.last()->timestamp;
}

// A line bound to a freshly opened unpaced camera.
inline CxCameraLineData* lineFor(KSCORE_HANDLE hCam, MeasureMode mode = MeasureModeDataThroughput)
{
    auto* line = new CxCameraLineData;
    line->hCam = hCam;
    line->cameraName = QStringLiteral("test");
    line->measureMode = mode;
    return line;
}

} // namespace enginetest
