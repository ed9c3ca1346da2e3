#include "ksCamera/CxFaultInjector.h"

#include <QList>

namespace {

struct SxParamFault
{
    QString name;
    ExParamOp op = ExParamOp::Any;
    bool anyValue = true;
    int value = 0;
    int remaining = -1;
};

struct SxCaptureFault
{
    ExCaptureFault kind = ExCaptureFault::Fail;
    int remaining = 1;
    quint64 fromCapture = 0;
};

// Takes one use of a fault; false when it is used up.
bool consume(int& remaining)
{
    if (remaining == 0)
        return false;
    if (remaining > 0)
        --remaining;
    return true;
}

} // namespace

struct CxFaultInjector::Private
{
    QMutex mutex;
    QList<SxParamFault> paramFaults;
    QList<SxCaptureFault> captureFaults;
    int startFaults = 0;
    int stopFaults = 0;
};

CxFaultInjector::CxFaultInjector(std::shared_ptr<IxCamera> camera)
    : CxCameraDecorator(std::move(camera)), d(new Private)
{
}

CxFaultInjector::~CxFaultInjector() = default;

void CxFaultInjector::refuseParam(const QString& name, ExParamOp op, int count)
{
    QMutexLocker lock(&d->mutex);
    d->paramFaults.append({name, op, true, 0, count});
}

void CxFaultInjector::refuseParamValue(const QString& name, int value, int count)
{
    QMutexLocker lock(&d->mutex);
    d->paramFaults.append({name, ExParamOp::Set, false, value, count});
}

void CxFaultInjector::refuseStart(int count)
{
    QMutexLocker lock(&d->mutex);
    d->startFaults = count;
}

void CxFaultInjector::failStop(int count)
{
    QMutexLocker lock(&d->mutex);
    d->stopFaults = count;
}

void CxFaultInjector::failCaptures(ExCaptureFault kind, int count, int fromCapture)
{
    QMutexLocker lock(&d->mutex);
    SxCaptureFault fault;
    fault.kind = kind;
    fault.remaining = count;
    // Counted within the running acquisition, or the next one when idle.
    fault.fromCapture = quint64(std::max(fromCapture, 0)) + (m_acquiring ? m_captureCalls.load() : 0);
    d->captureFaults.append(fault);
    m_captureFaults = true;
}

void CxFaultInjector::clearFaults()
{
    QMutexLocker lock(&d->mutex);
    d->paramFaults.clear();
    d->captureFaults.clear();
    d->startFaults = 0;
    d->stopFaults = 0;
    m_captureFaults = false;
}

bool CxFaultInjector::paramRefused(const QString& name, bool isSet, int value)
{
    QMutexLocker lock(&d->mutex);
    for (int i = 0; i < d->paramFaults.size(); ++i) {
        SxParamFault& fault = d->paramFaults[i];
        if (fault.name != name || (fault.op == ExParamOp::Set && !isSet) ||
            (fault.op == ExParamOp::Get && isSet))
            continue;
        if (!fault.anyValue && (!isSet || fault.value != value))
            continue;
        if (consume(fault.remaining)) {
            if (fault.remaining == 0)
                d->paramFaults.removeAt(i);
            return true;
        }
    }
    return false;
}

int CxFaultInjector::getParam(const QString& name, int& value, ExCaller caller)
{
    return paramRefused(name, false, 0) ? int(KS_ERR_REFUSED) : m_camera->getParam(name, value, caller);
}

int CxFaultInjector::setParam(const QString& name, int value, ExCaller caller)
{
    return paramRefused(name, true, value) ? int(KS_ERR_REFUSED) : m_camera->setParam(name, value, caller);
}

int CxFaultInjector::startAcquisition()
{
    {
        QMutexLocker lock(&d->mutex);
        // An acquiring camera answers for itself.
        if (!m_camera->isAcquiring() && consume(d->startFaults))
            return KS_ERR_REFUSED;
    }
    const int error = m_camera->startAcquisition();
    if (error == KS_OK) {
        m_captureCalls = 0;
        m_acquiring = true;
    }
    return error;
}

int CxFaultInjector::stopAcquisition()
{
    const int error = m_camera->stopAcquisition();
    if (error != KS_OK)
        return error;
    m_acquiring = false;
    QMutexLocker lock(&d->mutex);
    return consume(d->stopFaults) ? int(KS_ERR_DEVICE) : error;
}

int CxFaultInjector::getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious)
{
    if (!image || image->size != sizeof(KS_IMG) || !m_acquiring)
        return m_camera->getImage(timeoutMs, image, releasePrevious);
    const quint64 call = m_captureCalls++;
    if (!m_captureFaults)
        return m_camera->getImage(timeoutMs, image, releasePrevious);
    ExCaptureFault kind;
    {
        QMutexLocker lock(&d->mutex);
        int hit = -1;
        for (int i = 0; i < d->captureFaults.size() && hit < 0; ++i) {
            SxCaptureFault& fault = d->captureFaults[i];
            if (call >= fault.fromCapture && consume(fault.remaining))
                hit = i;
        }
        if (hit < 0)
            return m_camera->getImage(timeoutMs, image, releasePrevious);
        kind = d->captureFaults[hit].kind;
        if (d->captureFaults[hit].remaining == 0)
            d->captureFaults.removeAt(hit);
    }
    switch (kind) {
    case ExCaptureFault::Fail:
        return KS_ERR_DEVICE;
    case ExCaptureFault::NoData:
        image->data = nullptr;
        return KS_OK;
    case ExCaptureFault::Timeout:
        return m_camera->waitOutCapture(timeoutMs);
    }
    return KS_ERR_DEVICE;
}
