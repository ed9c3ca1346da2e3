// One simulated camera: its parameter model, the link model that produces the throughput
// counter pattern or plain images, and its counters. Faults and the call log wrap it like
// any other camera (CxCameraRegistry).
//
// Threading: every operation may be called from any thread; the camera serialises them
// with one mutex, which getImage releases while it waits for a frame, so parameter access
// and stopAcquisition from the GUI thread go through while the acquisition worker waits.
// A stop wakes a waiting capture.
#pragma once

#include "ksCamera/IxCamera.h"
#include "ksSim/CxSimCameraConfig.h"

class KSCORE_EXPORT CxSimCamera : public IxCamera
{
public:
    // Null and a message when the configuration's power-on values do not fit the model.
    static std::unique_ptr<CxSimCamera> create(const CxSimCameraConfig& config, QString* error);
    ~CxSimCamera() override;

    const CxSimCameraConfig& config() const;

    SxCameraDescription description() const override;
    int getParam(const QString& name, int& value, ExCaller caller) override;
    int setParam(const QString& name, int value, ExCaller caller) override;
    QStringList parameterNames() const override;
    QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const override;
    int startAcquisition() override;
    int stopAcquisition() override;
    bool isAcquiring() const override;
    int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) override;
    // Real time: waits until the time-out or a stop. Otherwise the virtual clock moves on.
    int waitOutCapture(unsigned int timeoutMs) override;
    // The sensor's frame rate; a simulated camera has no stream statistics and waits for nothing.
    void transportInfo(KS_TRANSPORT_INFO* info) override;

    ExPacing pacing() const;
    bool isPatternActive() const; // the running acquisition sends the throughput pattern
    int counterValue(int selector) const;
    int parameterValue(const QString& name) const; // unchecked
    quint64 capturesDelivered() const;

private:
    explicit CxSimCamera(const CxSimCameraConfig& config);
    struct Private;
    std::unique_ptr<Private> d;
};
