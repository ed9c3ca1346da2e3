// The host's registry of opened cameras and of the host's own acquisitions.
//
// Threading: GUI thread only. Signals are emitted synchronously from the call that caused
// them; "cameraClosed" is emitted while the camera can still be used through the camera API,
// so receivers may stop what they run on it.
#pragma once

#include "CxCameraParameters.h"
#include "ksApi.h"

#include <QList>
#include <QObject>
#include <QStringList>

class KSCORE_EXPORT CxCameraManager : public QObject
{
    Q_OBJECT

public:
    static CxCameraManager* instance();

    // Identifiers of the cameras that can be opened.
    QStringList availableCameras() const;
    // Opens a camera by identifier; null when unknown or already open (lastOpenError() says
    // why). A real camera takes up to seconds to open.
    KSCORE_HANDLE openCamera(const QString& cameraId);
    // Opens on a worker thread, so that a window stays responsive; "cameraOpened" or
    // "cameraOpenFailed" follows on this thread. False when it is open or opening already.
    bool openCameraInBackground(const QString& cameraId);
    QString lastOpenError() const { return m_lastOpenError; }
    // False once the camera stopped answering (a real camera unplugged or switched off).
    bool isCameraConnected(KSCORE_HANDLE hCam) const;
    bool closeCamera(KSCORE_HANDLE hCam);
    void closeAllCameras();

    QList<KSCORE_HANDLE> openedCameras() const;
    // The camera's parameter set, null for unknown handles and for cameras the host
    // has no parameter description of.
    CxCameraParameters* cameraParameters(KSCORE_HANDLE hCam) const;
    QString cameraId(KSCORE_HANDLE hCam) const;

    // The host's own acquisition (its live view), not a plug-in's.
    bool startAcquisition(KSCORE_HANDLE hCam);
    bool stopAcquisition(KSCORE_HANDLE hCam);
    bool isCameraRunning(KSCORE_HANDLE hCam) const;

    // Writes "imgdataformat" and announces the change.
    bool setImageFormat(KSCORE_HANDLE hCam, int format);
    // Announces a format change that was made through the parameter set.
    void notifyImageFormatChanged(KSCORE_HANDLE hCam);

signals:
    void cameraOpened(KSCORE_HANDLE hCam);
    void cameraClosed(KSCORE_HANDLE hCam);
    void acquisitionStarted(KSCORE_HANDLE hCam);
    void acquisitionFinished(KSCORE_HANDLE hCam);
    void imageFormatChanged(KSCORE_HANDLE hCam);
    void cameraOpenFailed(const QString& cameraId, const QString& reason);

private:
    CxCameraManager();
    ~CxCameraManager() override;

    struct SxOpened
    {
        KSCORE_HANDLE hCam = nullptr;
        QString id;
        CxCameraParameters* parameters = nullptr;
        bool running = false;
    };
    const SxOpened* find(KSCORE_HANDLE hCam) const;
    SxOpened* find(KSCORE_HANDLE hCam);
    bool isOpenOrOpening(const QString& cameraId) const;
    // Takes a camera the registry opened into the host's list and announces it.
    void adopt(KSCORE_HANDLE hCam, const QString& cameraId);

    QList<SxOpened> m_opened;
    QStringList m_opening;
    QString m_lastOpenError;
};
