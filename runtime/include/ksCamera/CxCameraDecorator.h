// A camera around a camera: answers every call by passing it on, so that a wrapper (the call
// log, the fault injector) overrides only the calls it changes.
#pragma once

#include "ksCamera/IxCamera.h"

class KSCORE_EXPORT CxCameraDecorator : public IxCamera
{
public:
    explicit CxCameraDecorator(std::shared_ptr<IxCamera> camera) : m_camera(std::move(camera)) {}

    SxCameraDescription description() const override { return m_camera->description(); }
    int getParam(const QString& name, int& value, ExCaller caller) override
    {
        return m_camera->getParam(name, value, caller);
    }
    int setParam(const QString& name, int value, ExCaller caller) override
    {
        return m_camera->setParam(name, value, caller);
    }
    QStringList parameterNames() const override { return m_camera->parameterNames(); }
    QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const override
    {
        return m_camera->enumItems(name);
    }
    int startAcquisition() override { return m_camera->startAcquisition(); }
    int stopAcquisition() override { return m_camera->stopAcquisition(); }
    bool isAcquiring() const override { return m_camera->isAcquiring(); }
    int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) override
    {
        return m_camera->getImage(timeoutMs, image, releasePrevious);
    }
    int waitOutCapture(unsigned int timeoutMs) override { return m_camera->waitOutCapture(timeoutMs); }
    QString lastRefusal() const override { return m_camera->lastRefusal(); }
    bool isConnected() const override { return m_camera->isConnected(); }
    void transportInfo(KS_TRANSPORT_INFO* info) override { m_camera->transportInfo(info); }

protected:
    std::shared_ptr<IxCamera> m_camera;
};
