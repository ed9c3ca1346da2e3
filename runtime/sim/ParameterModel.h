// The simulated camera's parameters: plain named values, the data-processing parameters
// behind their three selectors, the device register file behind its two selectors and the
// counters behind "counter_selector". Not thread-safe: the camera serialises access.
#pragma once

#include "CxCameraParam.h"
#include "ksSim/CxSimCameraConfig.h"

#include <QMap>
#include <algorithm>
#include <climits>
#include <QString>
#include <QStringList>

class CxParameterModel
{
public:
    explicit CxParameterModel(const CxSimCameraConfig& config);

    // Writes the configured power-on values; false and a message for unknown names or
    // values the parameter does not take.
    bool applyPowerOnValues(const QMap<QString, int>& values, QString* error);

    // KS_OK or the error; a name ending in ":settable" is answered without writing.
    int get(const QString& name, int& value) const;
    int set(const QString& name, int value, bool acquiring);

    bool hasParameter(const QString& name) const;
    QStringList parameterNames() const;
    QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const;
    static int bytesPerPixel(int imageDataFormat);

    // Raw access for the simulation itself (no checks).
    int value(const QString& name) const { return m_values.value(name).value; }
    bool counterSupported(int selector) const;
    int counter(int selector) const { return m_counters[selector]; }
    // A counter stops at its largest value rather than wrap into negative counts.
    void addToCounter(int selector, int amount)
    {
        m_counters[selector] = int(std::min<qint64>(qint64(m_counters[selector]) + amount, INT_MAX));
    }
    void resetCounters();

private:
    struct SxParam
    {
        int value = 0;
        int minimum = 0;
        int maximum = 0;
        bool readOnly = false;
        bool lockedWhileAcquiring = false;
        QList<CxCameraParam::SxEnumItem> items; // non-empty: only these values
    };
    struct SxCell
    {
        int value = 0;
        bool readOnly = false;
        QList<int> allowed; // empty: any value
    };

    void add(const QString& name, int value, int minimum, int maximum, bool readOnly = false,
             bool locked = false);
    void addEnum(const QString& name, int value, const QList<CxCameraParam::SxEnumItem>& items,
                 bool locked = false);
    int check(const SxParam& param, int value, bool acquiring) const;
    int checkSelected(const QString& name, int value) const;
    quint64 dpKey() const;
    quint64 registerKey() const;

    QMap<QString, SxParam> m_values;
    QMap<quint64, SxCell> m_dataProcessing; // (unit, process, parameter)
    QMap<quint64, SxCell> m_registers;      // (unit, register)
    bool m_supported[6] = {};
    int m_counters[6] = {};
};
