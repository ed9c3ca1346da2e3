#include "CxCameraManager.h"

#include "ksCamera/CxCameraRegistry.h"

#include <QThread>
#include <QtDebug>

CxCameraManager* CxCameraManager::instance()
{
    // Never destroyed: cameras are released with the runtime's registry at exit, and
    // plug-ins may still disconnect from the manager while they are torn down.
    static CxCameraManager* manager = new CxCameraManager;
    return manager;
}

CxCameraManager::CxCameraManager()
{
    qRegisterMetaType<KSCORE_HANDLE>("KSCORE_HANDLE");
}

CxCameraManager::~CxCameraManager() = default;

const CxCameraManager::SxOpened* CxCameraManager::find(KSCORE_HANDLE hCam) const
{
    for (const SxOpened& opened : m_opened)
        if (opened.hCam == hCam)
            return &opened;
    return nullptr;
}

CxCameraManager::SxOpened* CxCameraManager::find(KSCORE_HANDLE hCam)
{
    return const_cast<SxOpened*>(std::as_const(*this).find(hCam));
}

QStringList CxCameraManager::availableCameras() const
{
    QStringList ids;
    for (const SxCameraDescription& camera : CxCameraRegistry::cameras())
        ids.append(camera.id);
    return ids;
}

bool CxCameraManager::isOpenOrOpening(const QString& cameraId) const
{
    for (const SxOpened& opened : m_opened)
        if (opened.id == cameraId)
            return true;
    return m_opening.contains(cameraId);
}

KSCORE_HANDLE CxCameraManager::openCamera(const QString& cameraId)
{
    if (isOpenOrOpening(cameraId)) {
        m_lastOpenError = QStringLiteral("camera \"%1\" is open already").arg(cameraId);
        return nullptr;
    }
    KSCORE_HANDLE hCam = CxCameraRegistry::open(cameraId, &m_lastOpenError);
    if (!hCam) {
        qWarning("cannot open camera: %s", qPrintable(m_lastOpenError));
        return nullptr;
    }
    adopt(hCam, cameraId);
    return hCam;
}

bool CxCameraManager::openCameraInBackground(const QString& cameraId)
{
    if (isOpenOrOpening(cameraId))
        return false;
    m_opening.append(cameraId);
    auto result = std::make_shared<std::pair<KSCORE_HANDLE, QString>>(nullptr, QString());
    QThread* worker = QThread::create(
        [cameraId, result]() { result->first = CxCameraRegistry::open(cameraId, &result->second); });
    connect(worker, &QThread::finished, this, [this, worker, cameraId, result]() {
        worker->deleteLater();
        m_opening.removeAll(cameraId);
        if (result->first) {
            adopt(result->first, cameraId);
            return;
        }
        m_lastOpenError = result->second;
        emit cameraOpenFailed(cameraId, result->second);
    });
    worker->start();
    return true;
}

void CxCameraManager::adopt(KSCORE_HANDLE hCam, const QString& cameraId)
{
    SxOpened opened;
    opened.hCam = hCam;
    opened.id = cameraId;
    const SxCameraDescription camera = CxCameraRegistry::camera(hCam)->description();
    if (camera.hasParameterSet) {
        opened.parameters = new CxCameraParameters(
            hCam, {camera.modelName, camera.serialNumber, camera.userName, camera.nameSelection});
    }
    m_opened.append(opened);
    emit cameraOpened(hCam);
}

bool CxCameraManager::closeCamera(KSCORE_HANDLE hCam)
{
    if (!find(hCam))
        return false;
    // Receivers stop what they run on the camera, so it must still answer during the signal.
    emit cameraClosed(hCam);
    for (int i = 0; i < m_opened.size(); ++i) {
        if (m_opened[i].hCam == hCam) {
            delete m_opened[i].parameters;
            m_opened.removeAt(i);
            break;
        }
    }
    CxCameraRegistry::close(hCam);
    return true;
}

void CxCameraManager::closeAllCameras()
{
    while (!m_opened.isEmpty())
        closeCamera(m_opened.last().hCam);
}

QList<KSCORE_HANDLE> CxCameraManager::openedCameras() const
{
    QList<KSCORE_HANDLE> handles;
    for (const SxOpened& opened : m_opened)
        handles.append(opened.hCam);
    return handles;
}

CxCameraParameters* CxCameraManager::cameraParameters(KSCORE_HANDLE hCam) const
{
    const SxOpened* opened = find(hCam);
    return opened ? opened->parameters : nullptr;
}

QString CxCameraManager::cameraId(KSCORE_HANDLE hCam) const
{
    const SxOpened* opened = find(hCam);
    return opened ? opened->id : QString();
}

bool CxCameraManager::startAcquisition(KSCORE_HANDLE hCam)
{
    SxOpened* opened = find(hCam);
    if (!opened || opened->running || !ksApi_StartAcquisition(hCam))
        return false;
    opened->running = true;
    emit acquisitionStarted(hCam);
    return true;
}

bool CxCameraManager::stopAcquisition(KSCORE_HANDLE hCam)
{
    SxOpened* opened = find(hCam);
    if (!opened || !opened->running)
        return false;
    ksApi_StopAcquisition(hCam);
    opened->running = false;
    emit acquisitionFinished(hCam);
    return true;
}

bool CxCameraManager::isCameraConnected(KSCORE_HANDLE hCam) const
{
    std::shared_ptr<IxCamera> camera = find(hCam) ? CxCameraRegistry::camera(hCam) : nullptr;
    return camera && camera->isConnected();
}

bool CxCameraManager::isCameraRunning(KSCORE_HANDLE hCam) const
{
    const SxOpened* opened = find(hCam);
    return opened && opened->running;
}

bool CxCameraManager::setImageFormat(KSCORE_HANDLE hCam, int format)
{
    std::shared_ptr<IxCamera> camera = find(hCam) ? CxCameraRegistry::camera(hCam) : nullptr;
    if (!camera ||
        camera->setParam(QStringLiteral("imgdataformat"), format, IxCamera::ExCaller::Host) != KS_OK)
        return false;
    emit imageFormatChanged(hCam);
    return true;
}

void CxCameraManager::notifyImageFormatChanged(KSCORE_HANDLE hCam)
{
    if (find(hCam))
        emit imageFormatChanged(hCam);
}
