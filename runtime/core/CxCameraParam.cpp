#include "CxCameraParam.h"

#include "ksCamera/CxCameraRegistry.h"

CxCameraParam::CxCameraParam(KSCORE_HANDLE hCam, const QString& name, const QList<SxEnumItem>& items)
    : m_hCam(hCam), m_name(name), m_items(items)
{
}

CxValue CxCameraParam::value() const
{
    std::shared_ptr<IxCamera> camera = CxCameraRegistry::camera(m_hCam);
    int value = 0;
    if (!camera || camera->getParam(m_name, value, IxCamera::ExCaller::Host) != KS_OK)
        return CxValue();
    return CxValue(value);
}

bool CxCameraParam::setParamValue(const CxValue& value)
{
    bool ok = false;
    const int v = value.toInt(&ok);
    if (!ok)
        return false;
    if (isEnumeration()) {
        bool listed = false;
        for (const SxEnumItem& item : m_items)
            listed = listed || item.value == v;
        if (!listed)
            return false;
    }
    m_pending = value;
    return true;
}
