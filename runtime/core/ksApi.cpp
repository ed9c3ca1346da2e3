// The camera-API entry points: find the camera behind the handle and let it answer.

#include "ksApi.h"
#include "SimRegistry.h"

namespace {

std::shared_ptr<CxSimCamera> cameraOrError(KSCORE_HANDLE hCam, int* errorCode)
{
    std::shared_ptr<CxSimCamera> camera = ksLookupCamera(hCam);
    if (!camera && errorCode)
        *errorCode = KS_ERR_INVALID_HANDLE;
    return camera;
}

} // namespace

bool ksApi_GetParamInt(KSCORE_HANDLE hCam, const char* name, int& value, int* errorCode)
{
    std::shared_ptr<CxSimCamera> camera = cameraOrError(hCam, errorCode);
    return camera && camera->getParam(name, value, errorCode);
}

bool ksApi_SetParamInt(KSCORE_HANDLE hCam, const char* name, int value, int* errorCode)
{
    std::shared_ptr<CxSimCamera> camera = cameraOrError(hCam, errorCode);
    return camera && camera->setParam(name, value, errorCode);
}

int ksApi_StartAcquisition(KSCORE_HANDLE hCam)
{
    std::shared_ptr<CxSimCamera> camera = ksLookupCamera(hCam);
    return camera ? camera->startAcquisition() : 0;
}

int ksApi_StopAcquisition(KSCORE_HANDLE hCam)
{
    std::shared_ptr<CxSimCamera> camera = ksLookupCamera(hCam);
    return camera ? camera->stopAcquisition() : int(KS_ERR_INVALID_HANDLE);
}

bool ksApi_GetImage(KSCORE_HANDLE hCam, unsigned int timeoutMs, KS_IMG* image, int* errorCode,
                    bool releasePrevious)
{
    std::shared_ptr<CxSimCamera> camera = cameraOrError(hCam, errorCode);
    if (!camera) {
        ksReleaseRetiredCamera(hCam);
        return false;
    }
    return camera->getImage(timeoutMs, image, errorCode, releasePrevious);
}

void ksCoreVersion(int& major, int& minor, int& build)
{
    major = KSCORE_VERSION_MAJOR;
    minor = KSCORE_VERSION_MINOR;
    build = KSCORE_VERSION_BUILD;
}
