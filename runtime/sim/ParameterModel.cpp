#include "ParameterModel.h"

#include "ksApi.h"

#include <climits>

namespace {

const QString kSettable = QStringLiteral(KS_SETTABLE_SUFFIX);

quint64 key3(int a, int b, int c)
{
    return (quint64(quint32(a)) << 40) | (quint64(quint32(b) & 0xFFFFF) << 20) | (quint32(c) & 0xFFFFF);
}

QList<CxCameraParam::SxEnumItem> items(std::initializer_list<const char*> texts)
{
    QList<CxCameraParam::SxEnumItem> list;
    int value = 0;
    for (const char* text : texts)
        list.append({QString::fromLatin1(text), value++});
    return list;
}

} // namespace

CxParameterModel::CxParameterModel(const CxSimCameraConfig& config)
{
    // Values 0..N contiguous, so that an item's index is its value; 7 carries transport data.
    addEnum("imgdataformat", 0,
            items({"Mono8", "Mono10", "Mono12", "Mono16", "BayerRG8", "BayerRG12", "RGB8", "Transport data"}),
            true);
    addEnum("buffer_policy", 1, items({"Unsafe", "Safe"}));
    add("output_bit_depth", 12, 8, 16, false, true);
    add("output_bit_packing", 1, 0, 1, false, true);
    add("column_fpn_correction", 1, 0, 1);
    add("row_fpn_correction", 1, 0, 1);
    add("LUTEnable", 0, 0, 1);
    addEnum("test_pattern_generator_selector", 0, items({"Sensor", "FPGA"}));
    add("test_pattern", 0, 0, 15);
    add("width", config.sensor.width, config.sensor.width, config.sensor.width, true);
    add("height", config.sensor.height, config.sensor.height, config.sensor.height, true);
    add("ts_rst_mode", 1, 0, 3);
    add("ts_rst_source", 0, 0, 31);
    add("device_unit_selector", 0, 0, 15);
    add("device_unit_register_selector", 0, 0, 65535);
    add("device_unit_register_value", 0, INT_MIN, INT_MAX);
    add("counter_selector", 0, 0, 5);
    add("counter_value", 0, INT_MIN, INT_MAX, true);
    if (config.dataProcessing) {
        // Power-on selection points at the frame-buffer process, so that selecting the
        // parameter alone reads the buffer size.
        add("dp_unit_selector", KS_DP_UNIT_FPGA, 0, 3);
        add("dp_proc_selector", KS_DP_PROC_FRAME_BUFFER, 0, 7);
        add("dp_param_selector", 0, 0, 15);
        add("dp_param_value", 0, INT_MIN, INT_MAX);
        const int unit = KS_DP_UNIT_FPGA;
        const int frameBuffer = KS_DP_PROC_FRAME_BUFFER;
        m_dataProcessing.insert(key3(unit, frameBuffer, 0), {1, false, {0, 1}}); // frame buffer enable
        m_dataProcessing.insert(
            key3(unit, frameBuffer, KS_DP_PARAM_FRAMEBUF_MODE),
            {KS_DP_PARAM_VALUE_FRAMEBUF_MODE_ENABLED,
             false,
             {KS_DP_PARAM_VALUE_FRAMEBUF_MODE_DISABLED, KS_DP_PARAM_VALUE_FRAMEBUF_MODE_ENABLED}});
        m_dataProcessing.insert(key3(unit, frameBuffer, KS_DP_PARAM_FRAMEBUF_SIZE),
                                {config.bufferSize, true, {}});
        m_dataProcessing.insert(key3(1, 2, 0), {0, false, {0, 1}}); // defect pixel correction
    }
    m_registers.insert(key3(0, 0, 0), {0x030801, true, {}}); // firmware version
    m_registers.insert(key3(KS_DEV_UNIT_LINK, KS_DEV_REG_LINK_MODE, 0),
                       {KS_DEV_REG_LINK_MODE_NORMAL, false, {}});
    m_registers.insert(key3(KS_DEV_UNIT_SENSOR, KS_DEV_REG_SENSOR_DATA_RATE, 0),
                       {qRound(config.sensor.dataRateMBps), true, {}});
    for (int selector : config.supportedCounters)
        if (selector >= 0 && selector < 6)
            m_supported[selector] = true;
}

void CxParameterModel::add(const QString& name, int value, int minimum, int maximum, bool readOnly,
                           bool locked)
{
    m_values.insert(name, {value, minimum, maximum, readOnly, locked, {}});
}

void CxParameterModel::addEnum(const QString& name, int value, const QList<CxCameraParam::SxEnumItem>& list,
                               bool locked)
{
    m_values.insert(name, {value, list.first().value, list.last().value, false, locked, list});
}

bool CxParameterModel::applyPowerOnValues(const QMap<QString, int>& values, QString* error)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        auto param = m_values.find(it.key());
        if (param == m_values.end()) {
            *error = QStringLiteral("unknown parameter \"%1\"").arg(it.key());
            return false;
        }
        if (check(*param, it.value(), false) != KS_OK) {
            *error = QStringLiteral("parameter \"%1\" cannot take %2").arg(it.key()).arg(it.value());
            return false;
        }
        param->value = it.value();
    }
    return true;
}

bool CxParameterModel::hasParameter(const QString& name) const
{
    return m_values.contains(name);
}

QStringList CxParameterModel::parameterNames() const
{
    return m_values.keys();
}

QList<CxCameraParam::SxEnumItem> CxParameterModel::enumItems(const QString& name) const
{
    return m_values.value(name).items;
}

int CxParameterModel::bytesPerPixel(int imageDataFormat)
{
    switch (imageDataFormat) {
    case 0:
    case 4:
        return 1;
    case 6:
        return 3;
    default:
        return 2;
    }
}

bool CxParameterModel::counterSupported(int selector) const
{
    return selector >= 0 && selector < 6 && m_supported[selector];
}

void CxParameterModel::resetCounters()
{
    for (int& counter : m_counters)
        counter = 0;
}

quint64 CxParameterModel::dpKey() const
{
    return key3(value("dp_unit_selector"), value("dp_proc_selector"), value("dp_param_selector"));
}

quint64 CxParameterModel::registerKey() const
{
    return key3(value("device_unit_selector"), value("device_unit_register_selector"), 0);
}

int CxParameterModel::check(const SxParam& param, int v, bool acquiring) const
{
    if (param.readOnly)
        return KS_ERR_READ_ONLY;
    if (param.lockedWhileAcquiring && acquiring)
        return KS_ERR_LOCKED_WHILE_ACQUIRING;
    if (!param.items.isEmpty()) {
        for (const CxCameraParam::SxEnumItem& item : param.items)
            if (item.value == v)
                return KS_OK;
        return KS_ERR_OUT_OF_RANGE;
    }
    return v < param.minimum || v > param.maximum ? KS_ERR_OUT_OF_RANGE : KS_OK;
}

// Values whose meaning depends on a selector: the cell behind it decides.
int CxParameterModel::checkSelected(const QString& name, int v) const
{
    if (name == QLatin1String("counter_selector"))
        return counterSupported(v) ? KS_OK : KS_ERR_OUT_OF_RANGE;
    const QMap<quint64, SxCell>* cells = nullptr;
    quint64 key = 0;
    if (name == QLatin1String("dp_param_value")) {
        cells = &m_dataProcessing;
        key = dpKey();
    } else if (name == QLatin1String("device_unit_register_value")) {
        cells = &m_registers;
        key = registerKey();
    } else {
        return KS_OK;
    }
    auto cell = cells->constFind(key);
    if (cell == cells->cend())
        return KS_ERR_OUT_OF_RANGE;
    if (cell->readOnly)
        return KS_ERR_READ_ONLY;
    if (!cell->allowed.isEmpty() && !cell->allowed.contains(v))
        return KS_ERR_OUT_OF_RANGE;
    return KS_OK;
}

int CxParameterModel::get(const QString& name, int& v) const
{
    auto param = m_values.constFind(name);
    if (param == m_values.cend())
        return KS_ERR_UNKNOWN_PARAMETER;
    if (name == QLatin1String("dp_param_value") || name == QLatin1String("device_unit_register_value")) {
        const bool dataProcessing = name == QLatin1String("dp_param_value");
        const auto& cells = dataProcessing ? m_dataProcessing : m_registers;
        auto cell = cells.constFind(dataProcessing ? dpKey() : registerKey());
        if (cell == cells.cend())
            return KS_ERR_OUT_OF_RANGE;
        v = cell->value;
        return KS_OK;
    }
    if (name == QLatin1String("counter_value")) {
        const int selector = value("counter_selector");
        if (!counterSupported(selector))
            return KS_ERR_OUT_OF_RANGE;
        v = m_counters[selector];
        return KS_OK;
    }
    v = param->value;
    return KS_OK;
}

int CxParameterModel::set(const QString& fullName, int v, bool acquiring)
{
    const bool query = fullName.endsWith(kSettable);
    const QString name = query ? fullName.chopped(kSettable.size()) : fullName;
    auto param = m_values.find(name);
    if (param == m_values.end())
        return KS_ERR_UNKNOWN_PARAMETER;
    int result = check(*param, v, acquiring);
    if (result == KS_OK)
        result = checkSelected(name, v);
    if (result != KS_OK || query)
        return result;
    if (name == QLatin1String("dp_param_value"))
        m_dataProcessing[dpKey()].value = v;
    else if (name == QLatin1String("device_unit_register_value"))
        m_registers[registerKey()].value = v;
    else
        param->value = v;
    return KS_OK;
}
