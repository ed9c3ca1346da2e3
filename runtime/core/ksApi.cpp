// The camera-API entry points: find the camera behind the handle and let it answer.

#include "ksApi.h"
#include "ksCamera/CxCameraRegistry.h"

namespace {

std::shared_ptr<IxCamera> cameraOrError(KSCORE_HANDLE hCam, int* errorCode)
{
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(hCam);
    if (!camera && errorCode)
        *errorCode = KS_ERR_INVALID_HANDLE;
    return camera;
}

bool report(int error, int* errorCode)
{
    if (errorCode)
        *errorCode = error;
    return error == KS_OK;
}

QString nameOf(const char* name)
{
    return QString::fromLatin1(name ? name : "");
}

} // namespace

bool ksApi_GetParamInt(KSCORE_HANDLE hCam, const char* name, int& value, int* errorCode)
{
    std::shared_ptr<IxCamera> camera = cameraOrError(hCam, errorCode);
    return camera && report(camera->getParam(nameOf(name), value, IxCamera::ExCaller::Api), errorCode);
}

bool ksApi_SetParamInt(KSCORE_HANDLE hCam, const char* name, int value, int* errorCode)
{
    std::shared_ptr<IxCamera> camera = cameraOrError(hCam, errorCode);
    return camera && report(camera->setParam(nameOf(name), value, IxCamera::ExCaller::Api), errorCode);
}

int ksApi_StartAcquisition(KSCORE_HANDLE hCam)
{
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(hCam);
    return camera && camera->startAcquisition() == KS_OK ? 1 : 0;
}

int ksApi_StopAcquisition(KSCORE_HANDLE hCam)
{
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(hCam);
    return camera ? camera->stopAcquisition() : int(KS_ERR_INVALID_HANDLE);
}

bool ksApi_GetImage(KSCORE_HANDLE hCam, unsigned int timeoutMs, KS_IMG* image, int* errorCode,
                    bool releasePrevious)
{
    std::shared_ptr<IxCamera> camera = cameraOrError(hCam, errorCode);
    if (!camera) {
        CxCameraRegistry::releaseRetired(hCam);
        return false;
    }
    return report(camera->getImage(timeoutMs, image, releasePrevious), errorCode);
}

bool ksApi_GetTransportInfo(KSCORE_HANDLE hCam, KS_TRANSPORT_INFO* info)
{
    if (!info || info->size != sizeof(KS_TRANSPORT_INFO))
        return false;
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(hCam);
    if (!camera)
        return false;
    info->flags = 0;
    camera->transportInfo(info);
    info->flags &= info->request;
    return true;
}

void ksCoreVersion(int& major, int& minor, int& build)
{
    major = KSCORE_VERSION_MAJOR;
    minor = KSCORE_VERSION_MINOR;
    build = KSCORE_VERSION_BUILD;
}
