// The host's parameter set of one opened camera: parameter lookup, the camera's
// description and batched commits of staged values.
#pragma once

#include "CxCameraParam.h"

#include <QMap>
#include <QStringList>

class KSCORE_EXPORT CxCameraParameters
{
public:
    // Describes the camera for display. `nameSelection` below 1 picks `serialNumber` as the
    // identifying text, otherwise `userName`.
    struct SxCameraInfo
    {
        QString modelName;
        QString serialNumber;
        QString userName;
        int nameSelection = 0;
    };

    enum ExCommitMode
    {
        cmNoRefresh = 0,
        cmRefresh = 1, // re-read every parameter after the commit
    };

    CxCameraParameters(KSCORE_HANDLE hCam, const SxCameraInfo& info);
    ~CxCameraParameters();
    CxCameraParameters(const CxCameraParameters&) = delete;
    CxCameraParameters& operator=(const CxCameraParameters&) = delete;

    KSCORE_HANDLE handle() const { return m_hCam; }
    // The parameter of that name, null when the camera has none. With `reportMissing`
    // a missing name is logged as a warning.
    CxCameraParam* findParam(const QString& name, bool reportMissing = true);
    const SxCameraInfo& cameraInfo() const { return m_info; }

    void addParamCommitToBatch(const QString& name);
    // Writes every batched parameter's staged value to the camera, in batch order; true
    // when all writes succeeded. Announces an image-format change to the camera manager.
    bool endCommitBatch(int mode);

private:
    KSCORE_HANDLE m_hCam;
    SxCameraInfo m_info;
    QMap<QString, CxCameraParam*> m_params;
    QStringList m_batch;
};
