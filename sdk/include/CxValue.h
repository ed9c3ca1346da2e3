// A parameter value as the host's parameter machinery passes it around.
#pragma once

#include "ksCoreGlobal.h"

#include <QVariant>

class KSCORE_EXPORT CxValue
{
public:
    CxValue() = default;
    CxValue(int value);
    explicit CxValue(const QVariant& value);

    bool isValid() const { return m_value.isValid(); }
    int toInt(bool* ok = nullptr) const;
    QVariant toVariant() const { return m_value; }

    bool operator==(const CxValue& other) const { return m_value == other.m_value; }

private:
    QVariant m_value;
};
