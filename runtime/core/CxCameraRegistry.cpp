#include "ksCamera/CxCameraRegistry.h"

#include "ksSim/CxSimulation.h"

#include <QHash>
#include <QMutex>

IxCamera::~IxCamera() = default;
IxCameraBackend::~IxCameraBackend() = default;

namespace {

// A camera behind a handle: what the camera API calls (the outermost wrapper) and each layer.
struct SxOpenCamera
{
    std::shared_ptr<CxCallLog> api;
    std::shared_ptr<CxFaultInjector> faults;
    std::shared_ptr<IxCamera> device;
};

struct SxRegistry
{
    QMutex mutex;
    QList<std::shared_ptr<IxCameraBackend>> backends{CxSimulation::backend()};
    QHash<KSCORE_HANDLE, SxOpenCamera> open;
    // Cameras closed while acquiring: a reader may still be reading the last image it got,
    // so the camera and its buffers live on until that reader asks for its next image.
    QHash<KSCORE_HANDLE, SxOpenCamera> retired;
    quintptr nextHandle = 0x1000;
    bool callLogging = false;
};

SxRegistry& registry()
{
    static SxRegistry instance;
    return instance;
}

QList<std::shared_ptr<IxCameraBackend>> backends()
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.backends;
}

SxOpenCamera lookup(KSCORE_HANDLE hCam)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.open.value(hCam);
}

} // namespace

void CxCameraRegistry::addBackend(std::shared_ptr<IxCameraBackend> backend)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    if (backend && !r.backends.contains(backend))
        r.backends.append(std::move(backend));
}

QList<SxCameraDescription> CxCameraRegistry::cameras()
{
    QList<SxCameraDescription> all;
    for (const std::shared_ptr<IxCameraBackend>& backend : backends())
        all += backend->cameras();
    return all;
}

bool CxCameraRegistry::accepts(const QString& id)
{
    for (const std::shared_ptr<IxCameraBackend>& backend : backends())
        if (backend->accepts(id))
            return true;
    return false;
}

void CxCameraRegistry::discover()
{
    for (const std::shared_ptr<IxCameraBackend>& backend : backends())
        backend->discover();
}

KSCORE_HANDLE CxCameraRegistry::open(const QString& id, QString* error)
{
    for (const std::shared_ptr<IxCameraBackend>& backend : backends()) {
        if (!backend->accepts(id))
            continue;
        // Opening a real camera takes seconds; the registry is not locked meanwhile.
        std::shared_ptr<IxCamera> device = backend->open(id, error);
        if (!device)
            return nullptr;
        SxRegistry& r = registry();
        QMutexLocker lock(&r.mutex);
        SxOpenCamera camera;
        camera.device = device;
        camera.faults = std::make_shared<CxFaultInjector>(device);
        camera.api = std::make_shared<CxCallLog>(camera.faults, r.callLogging);
        // Handles are never reused, so a stale one can only miss.
        auto hCam = reinterpret_cast<KSCORE_HANDLE>(r.nextHandle);
        r.nextHandle += 0x10;
        r.open.insert(hCam, camera);
        return hCam;
    }
    if (error)
        *error = QStringLiteral("no camera \"%1\" is configured").arg(id);
    return nullptr;
}

void CxCameraRegistry::close(KSCORE_HANDLE hCam)
{
    SxRegistry& r = registry();
    SxOpenCamera camera;
    {
        QMutexLocker lock(&r.mutex);
        camera = r.open.take(hCam);
    }
    if (!camera.api)
        return;
    const bool acquiring = camera.api->isAcquiring();
    camera.api->stopAcquisition();
    if (acquiring) {
        QMutexLocker lock(&r.mutex);
        r.retired.insert(hCam, camera);
    }
}

void CxCameraRegistry::releaseRetired(KSCORE_HANDLE hCam)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    SxOpenCamera camera = r.retired.take(hCam);
    lock.unlock(); // the camera goes here, outside the registry's lock
}

std::shared_ptr<IxCamera> CxCameraRegistry::camera(KSCORE_HANDLE hCam)
{
    return lookup(hCam).api;
}

IxCamera* CxCameraRegistry::device(KSCORE_HANDLE hCam)
{
    return lookup(hCam).device.get();
}

CxCallLog* CxCameraRegistry::callLog(KSCORE_HANDLE hCam)
{
    return lookup(hCam).api.get();
}

CxFaultInjector* CxCameraRegistry::faults(KSCORE_HANDLE hCam)
{
    return lookup(hCam).faults.get();
}

void CxCameraRegistry::setCallLogging(bool enabled)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    r.callLogging = enabled;
}
