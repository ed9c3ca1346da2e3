#include "SimRegistry.h"
#include "ksSim/CxSimulation.h"

#include <QFile>
#include <QHash>
#include <QMutex>
#include <QtDebug>

namespace {

struct SxRegistry
{
    QMutex mutex;
    bool configured = false;
    QList<CxSimCameraConfig> cameras;
    QHash<KSCORE_HANDLE, std::shared_ptr<CxSimCamera>> open;
    // Cameras closed while acquiring: a reader may still be reading the last image it got,
    // so the camera and its buffers live on until that reader asks for its next image.
    QHash<KSCORE_HANDLE, std::shared_ptr<CxSimCamera>> retired;
    quintptr nextHandle = 0x1000;
};

SxRegistry& registry()
{
    static SxRegistry instance;
    return instance;
}

// Caller holds the registry mutex.
QList<CxSimCameraConfig>& configured(SxRegistry& r)
{
    if (!r.configured) {
        r.cameras = CxSimulation::defaultConfiguration();
        r.configured = true;
    }
    return r.cameras;
}

} // namespace

QList<CxSimCameraConfig> CxSimulation::defaultConfiguration()
{
    QFile file(QStringLiteral(":/ksCore/default_cameras.json"));
    QList<CxSimCameraConfig> cameras;
    QString error;
    if (!file.open(QIODevice::ReadOnly) ||
        !parseConfiguration(file.readAll(), file.fileName(), &cameras, &error))
        qCritical("built-in camera configuration unusable: %s", qPrintable(error));
    return cameras;
}

QList<CxSimCameraConfig> CxSimulation::configuration()
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    return configured(r);
}

void CxSimulation::setConfiguration(const QList<CxSimCameraConfig>& cameras)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    r.cameras = cameras;
    r.configured = true;
}

void CxSimulation::addCamera(const CxSimCameraConfig& camera)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    QList<CxSimCameraConfig>& cameras = configured(r);
    for (CxSimCameraConfig& existing : cameras) {
        if (existing.id == camera.id) {
            existing = camera;
            return;
        }
    }
    cameras.append(camera);
}

CxSimCamera* CxSimulation::camera(KSCORE_HANDLE hCam)
{
    return ksLookupCamera(hCam).get();
}

KSCORE_HANDLE CxSimulation::open(const QString& id, QString* error)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    for (const CxSimCameraConfig& config : configured(r)) {
        if (config.id != id)
            continue;
        std::unique_ptr<CxSimCamera> camera = CxSimCamera::create(config, error);
        if (!camera)
            return nullptr;
        // Handles are never reused, so a stale one can only miss.
        auto hCam = reinterpret_cast<KSCORE_HANDLE>(r.nextHandle);
        r.nextHandle += 0x10;
        r.open.insert(hCam, std::shared_ptr<CxSimCamera>(camera.release()));
        return hCam;
    }
    if (error)
        *error = QStringLiteral("no camera \"%1\" is configured").arg(id);
    return nullptr;
}

void CxSimulation::close(KSCORE_HANDLE hCam)
{
    SxRegistry& r = registry();
    std::shared_ptr<CxSimCamera> camera;
    {
        QMutexLocker lock(&r.mutex);
        camera = r.open.take(hCam);
    }
    if (!camera)
        return;
    const bool acquiring = camera->isAcquiring();
    camera->stopAcquisition();
    if (acquiring) {
        QMutexLocker lock(&r.mutex);
        r.retired.insert(hCam, camera);
    }
}

void ksReleaseRetiredCamera(KSCORE_HANDLE hCam)
{
    std::shared_ptr<CxSimCamera> camera;
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    camera = r.retired.take(hCam);
    lock.unlock(); // the camera goes here, outside the registry's lock
}

std::shared_ptr<CxSimCamera> ksLookupCamera(KSCORE_HANDLE hCam)
{
    SxRegistry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.open.value(hCam);
}
