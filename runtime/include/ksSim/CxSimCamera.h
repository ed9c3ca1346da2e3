// One simulated camera behind the camera API: its parameter model, the link model that
// produces the throughput counter pattern or plain images, its counters, injectable
// faults and a log of every camera-API call it answered.
//
// Threading: every operation may be called from any thread; the camera serialises them
// with one mutex, which ksApi_GetImage releases while it waits for a frame, so parameter
// access and ksApi_StopAcquisition from the GUI thread go through while the acquisition
// worker waits. A stop wakes a waiting capture.
#pragma once

#include "CxCameraParam.h"
#include "ksApi.h"
#include "ksSim/CxSimCameraConfig.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

// One camera-API call. toString() gives the compact form the tests compare:
// "get imgdataformat", "set buffer_policy 0", "start", "stop", "image", and the same with a
// "host " prefix for the host's own parameter access.
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

enum class ExParamOp
{
    Get,
    Set,
    Any,
};

enum class ExCaptureFault
{
    Fail,    // ksApi_GetImage returns false at once
    NoData,  // returns true without image data
    Timeout, // waits the whole time-out, then returns false
};

class KSCORE_EXPORT CxSimCamera
{
public:
    // Null and a message when the configuration's power-on values do not fit the model.
    static std::unique_ptr<CxSimCamera> create(const CxSimCameraConfig& config, QString* error);
    ~CxSimCamera();

    const CxSimCameraConfig& config() const;

    // Camera API, as ksApi_* forwards it.
    bool getParam(const char* name, int& value, int* errorCode);
    bool setParam(const char* name, int value, int* errorCode);
    int startAcquisition();
    int stopAcquisition();
    bool getImage(unsigned int timeoutMs, KS_IMG* image, int* errorCode, bool releasePrevious);

    // The host's own parameter access (logged with the "host " prefix).
    bool hostGetParam(const QString& name, int& value);
    bool hostSetParam(const QString& name, int value);
    QStringList parameterNames() const;
    QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const;

    // Pacing applies from the next acquisition start.
    void setPacing(ExPacing pacing);
    ExPacing pacing() const;

    // Faults. `count` -1 means every time from now on. Parameter faults match the name as
    // the caller passes it, so "dp_unit_selector:settable" refuses only the query.
    void refuseParam(const QString& name, ExParamOp op = ExParamOp::Any, int count = -1);
    void refuseParamValue(const QString& name, int value, int count = -1);
    void refuseStart(int count = 1);
    void failStop(int count = 1); // the camera stops all the same; only the result says it failed
    // Captures fail from the `fromCapture`-th ksApi_GetImage of an acquisition on (0 = the
    // next one); with `count` -1 the camera is lost for good, as on a disconnect.
    void failCaptures(ExCaptureFault kind, int count = 1, int fromCapture = 0);
    void clearFaults();

    QList<SxCallLogEntry> callLog() const;
    // toString() of the logged calls; without images unless asked for.
    QStringList callLogText(bool withImages = false) const;
    void clearCallLog();

    bool isAcquiring() const;
    bool isPatternActive() const; // the running acquisition sends the throughput pattern
    int counterValue(int selector) const;
    int parameterValue(const QString& name) const; // unlogged, unchecked
    quint64 capturesDelivered() const;

private:
    explicit CxSimCamera(const CxSimCameraConfig& config);
    struct Private;
    std::unique_ptr<Private> d;
};
