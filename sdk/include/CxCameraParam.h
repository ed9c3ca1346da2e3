// One camera parameter as the host presents it: its current value, the values it
// offers and a staged new value that the owning CxCameraParameters commits.
#pragma once

#include "CxValue.h"
#include "ksApi.h"

#include <QList>
#include <QString>

class CxCameraParameters;

class KSCORE_EXPORT CxCameraParam
{
public:
    // One entry of an enumeration parameter's list of values.
    struct SxEnumItem
    {
        QString displayText;
        int value = 0;
    };

    const QString& name() const { return m_name; }
    // The value the camera holds now (an invalid value when the camera refuses the read).
    CxValue value() const;
    // Stages a new value; addParamCommitToBatch and endCommitBatch send it to the camera.
    bool setParamValue(const CxValue& value);
    CxValue pendingValue() const { return m_pending; }
    bool isEnumeration() const { return !m_items.isEmpty(); }
    const QList<SxEnumItem>& enumItems() const { return m_items; }

private:
    friend class CxCameraParameters;
    CxCameraParam(KSCORE_HANDLE hCam, const QString& name, const QList<SxEnumItem>& items);

    KSCORE_HANDLE m_hCam;
    QString m_name;
    QList<SxEnumItem> m_items;
    CxValue m_pending;
};
