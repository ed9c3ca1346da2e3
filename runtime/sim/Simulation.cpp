#include "ksSim/CxSimulation.h"

#include "ksCamera/CxCameraRegistry.h"

#include <QFile>
#include <QHash>
#include <QMutex>
#include <QtDebug>

namespace {

struct SxConfigured
{
    QMutex mutex;
    bool configured = false;
    QList<CxSimCameraConfig> cameras;
};

SxConfigured& registry()
{
    static SxConfigured instance;
    return instance;
}

// Caller holds the registry mutex.
QList<CxSimCameraConfig>& configured(SxConfigured& r)
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
    SxConfigured& r = registry();
    QMutexLocker lock(&r.mutex);
    return configured(r);
}

void CxSimulation::setConfiguration(const QList<CxSimCameraConfig>& cameras)
{
    SxConfigured& r = registry();
    QMutexLocker lock(&r.mutex);
    r.cameras = cameras;
    r.configured = true;
}

void CxSimulation::addCamera(const CxSimCameraConfig& camera)
{
    SxConfigured& r = registry();
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
    return dynamic_cast<CxSimCamera*>(CxCameraRegistry::device(hCam));
}

std::shared_ptr<IxCameraBackend> CxSimulation::backend()
{
    static const std::shared_ptr<IxCameraBackend> instance = std::make_shared<CxSimBackend>();
    return instance;
}

QList<SxCameraDescription> CxSimBackend::cameras() const
{
    QList<SxCameraDescription> all;
    for (const CxSimCameraConfig& config : CxSimulation::configuration())
        all.append(config.description());
    return all;
}

bool CxSimBackend::accepts(const QString& id) const
{
    for (const CxSimCameraConfig& config : CxSimulation::configuration())
        if (config.id == id)
            return true;
    return false;
}

std::shared_ptr<IxCamera> CxSimBackend::open(const QString& id, QString* error)
{
    for (const CxSimCameraConfig& config : CxSimulation::configuration())
        if (config.id == id)
            return std::shared_ptr<IxCamera>(CxSimCamera::create(config, error).release());
    if (error)
        *error = QStringLiteral("no camera \"%1\" is configured").arg(id);
    return nullptr;
}
