#include "CxCameraParameters.h"

#include "CxCameraManager.h"
#include "ksCamera/CxCameraRegistry.h"

#include <QtDebug>

CxCameraParameters::CxCameraParameters(KSCORE_HANDLE hCam, const SxCameraInfo& info)
    : m_hCam(hCam), m_info(info)
{
}

CxCameraParameters::~CxCameraParameters()
{
    qDeleteAll(m_params);
}

CxCameraParam* CxCameraParameters::findParam(const QString& name, bool reportMissing)
{
    if (CxCameraParam* param = m_params.value(name))
        return param;
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(m_hCam);
    if (!camera || !camera->parameterNames().contains(name)) {
        if (reportMissing)
            qWarning("camera has no parameter \"%s\"", qPrintable(name));
        return nullptr;
    }
    auto* param = new CxCameraParam(m_hCam, name, camera->enumItems(name));
    m_params.insert(name, param);
    return param;
}

void CxCameraParameters::addParamCommitToBatch(const QString& name)
{
    if (!m_batch.contains(name))
        m_batch.append(name);
}

bool CxCameraParameters::endCommitBatch(int mode)
{
    Q_UNUSED(mode) // values are always read live from the camera, so there is nothing to refresh
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(m_hCam);
    bool allWritten = camera != nullptr;
    bool formatChanged = false;
    for (const QString& name : std::as_const(m_batch)) {
        CxCameraParam* param = m_params.value(name);
        if (!param || !param->m_pending.isValid())
            continue;
        const bool written =
            camera && camera->setParam(name, param->m_pending.toInt(), IxCamera::ExCaller::Host) == KS_OK;
        param->m_pending = CxValue();
        allWritten = allWritten && written;
        formatChanged = formatChanged || (written && name == QLatin1String("imgdataformat"));
    }
    m_batch.clear();
    if (formatChanged)
        CxCameraManager::instance()->notifyImageFormatChanged(m_hCam);
    return allWritten;
}
