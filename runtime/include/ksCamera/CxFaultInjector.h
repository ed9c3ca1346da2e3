// Injectable faults wrapped around any camera: refused parameter reads and writes, refused
// starts, failing stops and failing captures, each for a count or for good.
#pragma once

#include "ksCamera/CxCameraDecorator.h"

#include <QMutex>
#include <atomic>

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
    Timeout, // waits the whole time-out on the camera's clock, then returns false
};

class KSCORE_EXPORT CxFaultInjector : public CxCameraDecorator
{
public:
    explicit CxFaultInjector(std::shared_ptr<IxCamera> camera);
    ~CxFaultInjector() override;

    // `count` -1 means every time from now on. Parameter faults match the name as the caller
    // passes it, so "dp_unit_selector:settable" refuses only the query.
    void refuseParam(const QString& name, ExParamOp op = ExParamOp::Any, int count = -1);
    void refuseParamValue(const QString& name, int value, int count = -1);
    void refuseStart(int count = 1);
    void failStop(int count = 1); // the camera stops all the same; only the result says it failed
    // Captures fail from the `fromCapture`-th capture of an acquisition on (0 = the next one);
    // with `count` -1 the camera is lost for good, as on a disconnect.
    void failCaptures(ExCaptureFault kind, int count = 1, int fromCapture = 0);
    void clearFaults();

    int getParam(const QString& name, int& value, ExCaller caller) override;
    int setParam(const QString& name, int value, ExCaller caller) override;
    int startAcquisition() override;
    int stopAcquisition() override;
    int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) override;

private:
    struct Private;
    bool paramRefused(const QString& name, bool isSet, int value);

    std::unique_ptr<Private> d;
    // Captures look at the fault list only when there is one, so a camera without faults
    // pays no lock per image.
    std::atomic<bool> m_captureFaults{false};
    std::atomic<bool> m_acquiring{false};
    std::atomic<quint64> m_captureCalls{0}; // within the running acquisition
};
