#include "CxValue.h"

CxValue::CxValue(int value) : m_value(value) {}

CxValue::CxValue(const QVariant& value) : m_value(value) {}

int CxValue::toInt(bool* ok) const
{
    return m_value.toInt(ok);
}
