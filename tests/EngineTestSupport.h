// Helpers for tests of the measurement engine: critical-message capture and call-log views.
#pragma once

#include "CameraLineData.h"
#include "SimTestSupport.h"

#include <QStringList>
#include <QtGlobal>

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
    return simtest::sim(hCam)->callLogText();
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
