// The host runtime's cameras: the backends that find and open them (the simulation first)
// and the camera behind each open handle, wrapped in its fault injector and call log.
//
// Threading: every function may be called from any thread. A handle's camera lives as
// long as a caller holds the pointer it got, so a camera closed during a call finishes
// that call. A camera closed while acquiring is stopped and kept until its reader's next
// capture call: the image the reader got last stays readable, as a driver's buffer would.
#pragma once

#include "ksCamera/CxCallLog.h"
#include "ksCamera/CxFaultInjector.h"
#include "ksCamera/IxCamera.h"

class KSCORE_EXPORT CxCameraRegistry
{
public:
    // Backends are asked in the order they were added, after the simulation.
    static void addBackend(std::shared_ptr<IxCameraBackend> backend);
    // Every backend's cameras, as last found.
    static QList<SxCameraDescription> cameras();
    // Whether some backend takes the identifier (listed or not, as a real camera's address).
    static bool accepts(const QString& id);
    // Every backend looks for cameras again; takes seconds with real cameras, so call it
    // off the GUI thread.
    static void discover();

    // Null and why in `error` when no backend opens it.
    static KSCORE_HANDLE open(const QString& id, QString* error);
    static void close(KSCORE_HANDLE hCam);

    // The camera as the camera API sees it (through its call log and faults); null for
    // unknown handles.
    static std::shared_ptr<IxCamera> camera(KSCORE_HANDLE hCam);
    // The backend's own camera under the wrappers, for the backend's tests.
    static IxCamera* device(KSCORE_HANDLE hCam);
    static CxCallLog* callLog(KSCORE_HANDLE hCam);
    static CxFaultInjector* faults(KSCORE_HANDLE hCam);

    // Whether cameras opened from now on log their calls (off by default).
    static void setCallLogging(bool enabled);

    // A capture call on a camera that was closed while acquiring: its caller has done with
    // the last image it got, so the camera can go.
    static void releaseRetired(KSCORE_HANDLE hCam);
};
