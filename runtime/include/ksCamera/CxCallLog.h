// A log of every call a camera answered, wrapped around any camera. Tests switch it on
// (CxCameraRegistry::setCallLogging); otherwise it passes calls through and keeps nothing.
#pragma once

#include "ksCamera/CxCameraDecorator.h"

#include <QMutex>
#include <atomic>
#include <vector>

// One call. toString() gives the compact form the tests compare: "get imgdataformat",
// "set buffer_policy 0", "start", "stop", "image", and the same with a "host " prefix for
// the host's own parameter access.
struct KSCORE_EXPORT SxCallLogEntry
{
    enum ExKind
    {
        GetParam,
        SetParam,
        Start,
        Stop,
        GetImage,
        HostGetParam,
        HostSetParam,
    };
    ExKind kind = GetParam;
    QString name;
    int value = 0; // value written or read; frame number for images
    bool ok = false;
    int error = KS_OK;

    QString toString() const;
};

class KSCORE_EXPORT CxCallLog : public CxCameraDecorator
{
public:
    static constexpr size_t kLimit = 500000;

    CxCallLog(std::shared_ptr<IxCamera> camera, bool enabled);

    void setEnabled(bool enabled);
    // The newest kLimit calls, oldest first.
    QList<SxCallLogEntry> callLog() const;
    // toString() of the logged calls; without images unless asked for.
    QStringList callLogText(bool withImages = false) const;
    void clearCallLog();

    int getParam(const QString& name, int& value, ExCaller caller) override;
    int setParam(const QString& name, int value, ExCaller caller) override;
    int startAcquisition() override;
    int stopAcquisition() override;
    int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) override;

private:
    void record(SxCallLogEntry::ExKind kind, const QString& name, int value, int error);

    std::atomic<bool> m_enabled;
    mutable QMutex m_mutex;
    // A ring once full: dropping the oldest from the front of a list moved or reallocated
    // megabytes every few thousand images of a fast camera.
    std::vector<SxCallLogEntry> m_log;
    size_t m_oldest = 0;
};
