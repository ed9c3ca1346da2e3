#include "CxAravisCamera.h"

#include "ksCamera/CxTsan.h"

#include <QtDebug>
#include <utility>

namespace {

constexpr int kFormatSensor = 0;       // the camera's own pixel format
constexpr int kQueueDepth = 4;         // images the host holds, as a simulated camera's default
constexpr int kBuffersBeyondQueue = 8; // in flight in Aravis while the queue is full
constexpr guint64 kPumpPollUs = 50000; // how soon the pump sees a stop; nothing else wakes a pop
const char* const kNoPattern = "This camera cannot send the link-time counter pattern; use Standard Sensor "
                               "Acquisition";

// The plug-in's names this backend answers to.
const QStringList kMappedNames = {"imgdataformat",
                                  "buffer_policy",
                                  "width",
                                  "height",
                                  "output_bit_depth",
                                  "output_bit_packing",
                                  "LUTEnable",
                                  "test_pattern_generator_selector",
                                  "test_pattern",
                                  "ts_rst_mode",
                                  "ts_rst_source",
                                  "counter_selector",
                                  "counter_value",
                                  "device_unit_selector",
                                  "device_unit_register_selector",
                                  "device_unit_register_value"};

struct SxPixelFormat
{
    const char* name;
    int depth;
    int packing;
};
const SxPixelFormat kPixelFormats[] = {
    {"Mono8", 8, 0}, {"Mono12", 12, 0}, {"Mono12p", 12, 1}, {"Mono16", 16, 0}};

const SxPixelFormat* pixelFormat(const QString& name)
{
    for (const SxPixelFormat& format : kPixelFormats)
        if (name == QLatin1String(format.name))
            return &format;
    return nullptr;
}

// What a GenICam failure means to the camera API.
int errorCode(const GError* error)
{
    if (!error)
        return KS_OK;
    if (error->domain == ARV_GC_ERROR) {
        switch (error->code) {
        case ARV_GC_ERROR_OUT_OF_RANGE:
        case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
            return KS_ERR_OUT_OF_RANGE;
        case ARV_GC_ERROR_READ_ONLY:
            return KS_ERR_READ_ONLY;
        case ARV_GC_ERROR_NODE_NOT_FOUND:
        case ARV_GC_ERROR_PROPERTY_NOT_DEFINED:
            return KS_ERR_UNKNOWN_PARAMETER;
        default:
            return KS_ERR_REFUSED;
        }
    }
    if (error->domain == ARV_DEVICE_ERROR && error->code == ARV_DEVICE_ERROR_FEATURE_NOT_FOUND)
        return KS_ERR_UNKNOWN_PARAMETER;
    return KS_ERR_DEVICE;
}

// Takes the error: its code, and its message where the caller wants it.
int consume(GError* error, QString* message = nullptr)
{
    const int code = errorCode(error);
    if (error && message)
        *message = QString::fromUtf8(error->message);
    g_clear_error(&error);
    return code;
}

ArvGcFeatureNode* featureNode(ArvDevice* device, const char* name)
{
    ArvGcNode* node = arv_device_get_feature(device, name);
    return ARV_IS_GC_FEATURE_NODE(node) ? ARV_GC_FEATURE_NODE(node) : nullptr;
}

// Whether the feature could be written now: implemented, available, not locked, and
// writable (arv_device_get_feature_access_mode answers a truth value in this version, so
// the node is asked).
bool writable(ArvGcFeatureNode* node)
{
    if (!node)
        return false;
    GError* error = nullptr;
    bool ok = arv_gc_feature_node_is_implemented(node, &error) && !error;
    ok = ok && arv_gc_feature_node_is_available(node, &error) && !error;
    ok = ok && !arv_gc_feature_node_is_locked(node, &error) && !error;
    g_clear_error(&error);
    const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(node);
    return ok && (mode == ARV_GC_ACCESS_MODE_RW || mode == ARV_GC_ACCESS_MODE_WO);
}

} // namespace

std::shared_ptr<CxAravisCamera> CxAravisCamera::create(ArvCamera* camera, const QString& id, QString* error)
{
    std::shared_ptr<CxAravisCamera> self(new CxAravisCamera(camera, id));
    if (!self->m_device) {
        if (error)
            *error = QStringLiteral("%1: the camera has no GenICam device").arg(id);
        return nullptr;
    }
    return self;
}

CxAravisCamera::CxAravisCamera(ArvCamera* camera, const QString& id) : m_camera(camera)
{
    m_device = arv_camera_get_device(camera);
    if (!m_device)
        return;
    // Both are off by default: Aravis would write a Width of 100000 and report success.
    arv_camera_set_range_check_policy(camera, ARV_RANGE_CHECK_POLICY_ENABLE);
    arv_camera_set_access_check_policy(camera, ARV_ACCESS_CHECK_POLICY_ENABLE);
    m_gigE = arv_camera_is_gv_device(camera);
    tsanPublish(this);
    g_signal_connect(m_device, "control-lost", G_CALLBACK(&CxAravisCamera::onControlLost), this);

    auto text = [&](const char* (*get)(ArvCamera*, GError**)) {
        GError* e = nullptr;
        const char* value = get(camera, &e);
        g_clear_error(&e);
        return QString::fromUtf8(value ? value : "");
    };
    m_description.id = id;
    const QString vendor = text(arv_camera_get_vendor_name);
    m_description.modelName = text(arv_camera_get_model_name);
    m_description.serialNumber = text(arv_camera_get_device_serial_number);
    m_description.userName = vendor;
    m_description.link = QStringLiteral("USB3 Vision");
    if (m_gigE) {
        GSocketAddress* socket = arv_gv_device_get_device_address(ARV_GV_DEVICE(m_device));
        GInetAddress* address = G_IS_INET_SOCKET_ADDRESS(socket)
                                    ? g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(socket))
                                    : nullptr;
        gchar* text = address ? g_inet_address_to_string(address) : nullptr;
        m_description.link = QStringLiteral("GigE Vision, %1").arg(QString::fromUtf8(text ? text : "?"));
        g_free(text);
    }
    for (const SxCounterPatternProfile& profile : CxAravisBackend::counterPatternProfiles())
        if ((profile.vendor.isEmpty() || profile.vendor == vendor) &&
            profile.model == m_description.modelName)
            m_profile = profile;
    for (const char* command : {"TimestampReset", "GevTimestampControlReset"}) {
        if (!m_timestampReset && hasFeature(command)) {
            m_timestampReset = true;
            m_timestampCommand = QString::fromLatin1(command);
        }
    }
}

CxAravisCamera::~CxAravisCamera()
{
    // First, so that the heartbeat thread no longer reaches a camera that is going.
    if (m_device)
        g_signal_handlers_disconnect_by_data(m_device, this);
    stopAcquisition();
    releaseDelivered(false);
    g_object_unref(m_camera);
}

void CxAravisCamera::onControlLost(ArvDevice*, gpointer self)
{
    auto* camera = static_cast<CxAravisCamera*>(self);
    tsanReceive(camera);
    QMutexLocker lock(&camera->m_queueMutex);
    camera->m_lost = true;
    camera->m_queueWake.wakeAll();
}

bool CxAravisCamera::isConnected() const
{
    return !m_lost;
}

// Caller holds m_control. A frame trigger that is on is the usual reason a camera sends nothing.
QString CxAravisCamera::waitingFor()
{
    if (!hasFeature("TriggerMode") || enumerationValue("TriggerMode") != QLatin1String("On"))
        return QString();
    const QString selector = hasFeature("TriggerSelector") ? enumerationValue("TriggerSelector") : QString();
    const QString source = hasFeature("TriggerSource") ? enumerationValue("TriggerSource") : QString();
    QString text = selector.isEmpty() ? QStringLiteral("TriggerMode is On")
                                      : QStringLiteral("TriggerMode is On for %1").arg(selector);
    return source.isEmpty() ? text + QStringLiteral(": the camera waits for a trigger")
                            : text + QStringLiteral(": the camera waits for a trigger from %1").arg(source);
}

void CxAravisCamera::transportInfo(KS_TRANSPORT_INFO* info)
{
    if (info->request & KS_TI_STREAM) {
        static const char* const names[KS_STREAM_STATS] = {
            "n_missing_packets", "n_resend_requests", "n_resent_packets",   "n_underruns",
            "n_failures",        "n_timeouts",        "n_transferred_bytes"};
        QMutexLocker lock(&m_queueMutex);
        if (m_stream && ARV_IS_GV_STREAM(m_stream)) {
            for (int k = 0; k < KS_STREAM_STATS; ++k)
                info->stream[k] = arv_stream_get_info_uint64_by_name(m_stream, names[k]);
            info->flags |= KS_TI_STREAM;
        }
    }
    if (!(info->request & (KS_TI_FRAME_RATE | KS_TI_WAITING)) || m_lost)
        return;
    QMutexLocker lock(&m_control);
    const QByteArray waiting = waitingFor().toUtf8();
    if ((info->request & KS_TI_WAITING) && !waiting.isEmpty()) {
        qstrncpy(info->waitingFor, waiting.constData(), sizeof(info->waitingFor));
        info->flags |= KS_TI_WAITING;
    }
    // A triggered camera, or one whose rate is switched off, has no rate of its own to send at.
    GError* error = nullptr;
    if (!(info->request & KS_TI_FRAME_RATE) || !waiting.isEmpty() ||
        (hasFeature("AcquisitionFrameRateEnable") &&
         !arv_device_get_boolean_feature_value(m_device, "AcquisitionFrameRateEnable", &error))) {
        g_clear_error(&error);
        return;
    }
    const double payload = double(arv_camera_get_payload(m_camera, &error));
    const double rate = error ? 0.0 : arv_camera_get_frame_rate(m_camera, &error);
    if (!error && payload > 0.0 && rate > 0.0) {
        info->payloadBytes = quint64(payload);
        info->frameRate = rate;
        info->flags |= KS_TI_FRAME_RATE;
    }
    g_clear_error(&error);
}

SxCameraDescription CxAravisCamera::description() const
{
    return m_description;
}

QString CxAravisCamera::lastRefusal() const
{
    QMutexLocker lock(&m_control);
    return m_refusal;
}

int CxAravisCamera::refuse(int error, const QString& why)
{
    m_refusal = why;
    qWarning("%s: %s", qPrintable(m_description.id), qPrintable(why));
    return error;
}

bool CxAravisCamera::hasFeature(const char* feature) const
{
    GError* error = nullptr;
    const bool implemented = arv_device_is_feature_implemented(m_device, feature, &error);
    g_clear_error(&error);
    return implemented;
}

QString CxAravisCamera::enumerationValue(const char* feature)
{
    GError* error = nullptr;
    const char* value = arv_device_get_string_feature_value(m_device, feature, &error);
    g_clear_error(&error);
    return QString::fromUtf8(value ? value : "");
}

// ---------------------------------------------------------------------------------------
// Parameters

QStringList CxAravisCamera::parameterNames() const
{
    QMutexLocker lock(&m_control); // GenICam nodes are read with the camera's other requests
    QStringList names = kMappedNames;
    if (!hasFeature("LUTEnable"))
        names.removeAll(QStringLiteral("LUTEnable"));
    return names;
}

QList<CxCameraParam::SxEnumItem> CxAravisCamera::enumItems(const QString& name) const
{
    if (name == QLatin1String("imgdataformat")) {
        QList<CxCameraParam::SxEnumItem> items{{QStringLiteral("Sensor data"), kFormatSensor}};
        if (m_profile)
            items.append({QStringLiteral("Transport data"), KS_FRM_TRANSPORT_DATA});
        return items;
    }
    if (name == QLatin1String("buffer_policy"))
        return {{QStringLiteral("Unsafe"), 0}, {QStringLiteral("Safe"), 1}};
    return {};
}

int CxAravisCamera::getParam(const QString& name, int& value, ExCaller)
{
    QMutexLocker lock(&m_control);
    if (m_lost)
        return KS_ERR_DEVICE; // each request would wait out the control channel's time-out
    if (name.endsWith(QLatin1String(KS_SETTABLE_SUFFIX)))
        return KS_ERR_INVALID_ARGUMENT;
    return readParam(name, value);
}

int CxAravisCamera::setParam(const QString& name, int value, ExCaller)
{
    QMutexLocker lock(&m_control);
    if (m_lost)
        return KS_ERR_DEVICE;
    const QString suffix = QStringLiteral(KS_SETTABLE_SUFFIX);
    if (name.endsWith(suffix))
        return writeParam(name.chopped(suffix.size()), value, true);
    return writeParam(name, value, false);
}

int CxAravisCamera::readParam(const QString& name, int& value)
{
    GError* error = nullptr;
    if (name == QLatin1String("width") || name == QLatin1String("height")) {
        const qint64 v = arv_device_get_integer_feature_value(
            m_device, name == QLatin1String("width") ? "Width" : "Height", &error);
        if (error)
            return consume(error);
        value = int(v);
        return KS_OK;
    }
    if (name == QLatin1String("output_bit_depth") || name == QLatin1String("output_bit_packing")) {
        const SxPixelFormat* format = pixelFormat(enumerationValue("PixelFormat"));
        if (!format)
            return KS_ERR_OUT_OF_RANGE; // not a monochrome format the mapping knows
        value = name == QLatin1String("output_bit_depth")
                    ? format->depth
                    : (format->depth == 12 ? format->packing : m_packing);
        return KS_OK;
    }
    if (name == QLatin1String("LUTEnable")) {
        const bool on = arv_device_get_boolean_feature_value(m_device, "LUTEnable", &error);
        if (error)
            return consume(error);
        value = on ? 1 : 0;
        return KS_OK;
    }
    if (name == QLatin1String("counter_value"))
        return m_counterSelector >= 0 && m_counterSelector <= 2 ? (value = counter(m_counterSelector), KS_OK)
                                                                : int(KS_ERR_OUT_OF_RANGE);
    if (name == QLatin1String("device_unit_register_value"))
        return deviceRegister(value);
    const std::pair<const char*, int*> kept[] = {{"imgdataformat", &m_imageFormat},
                                                 {"buffer_policy", &m_bufferPolicy},
                                                 {"test_pattern_generator_selector", &m_patternSelector},
                                                 {"test_pattern", &m_testPattern},
                                                 {"ts_rst_mode", &m_tsResetMode},
                                                 {"ts_rst_source", &m_tsResetSource},
                                                 {"counter_selector", &m_counterSelector},
                                                 {"device_unit_selector", &m_unitSelector},
                                                 {"device_unit_register_selector", &m_registerSelector}};
    for (const auto& [keptName, field] : kept) {
        if (name == QLatin1String(keptName)) {
            value = *field;
            return KS_OK;
        }
    }
    return KS_ERR_UNKNOWN_PARAMETER; // no mapping: never a silent success
}

// Unit 8 register 4096 is the sensor's data rate in MB/s, which a GenICam camera gives as its
// payload at its frame rate; unit 1 register 55 is a plain register the host may write.
int CxAravisCamera::deviceRegister(int& value)
{
    if (m_unitSelector == KS_DEV_UNIT_SENSOR && m_registerSelector == KS_DEV_REG_SENSOR_DATA_RATE) {
        GError* error = nullptr;
        const double payload = double(arv_camera_get_payload(m_camera, &error));
        const double rate = error ? 0.0 : arv_camera_get_frame_rate(m_camera, &error);
        if (error)
            return consume(error);
        value = int(payload * rate / 1e6 + 0.5);
        return KS_OK;
    }
    if (m_unitSelector == KS_DEV_UNIT_LINK && m_registerSelector == KS_DEV_REG_LINK_MODE) {
        value = m_userRegister;
        return KS_OK;
    }
    return KS_ERR_OUT_OF_RANGE;
}

int CxAravisCamera::writeInteger(const char* feature, qint64 value, bool dryRun)
{
    ArvGcFeatureNode* node = featureNode(m_device, feature);
    if (!node)
        return KS_ERR_UNKNOWN_PARAMETER;
    if (!writable(node))
        return m_acquiring ? KS_ERR_LOCKED_WHILE_ACQUIRING : KS_ERR_READ_ONLY;
    if (dryRun) {
        if (!ARV_IS_GC_INTEGER(node))
            return KS_ERR_INVALID_ARGUMENT;
        GError* error = nullptr;
        ArvGcInteger* integer = ARV_GC_INTEGER(node);
        const qint64 minimum = arv_gc_integer_get_min(integer, &error);
        const qint64 maximum = error ? 0 : arv_gc_integer_get_max(integer, &error);
        const qint64 increment = error ? 1 : arv_gc_integer_get_inc(integer, &error);
        if (error)
            return consume(error);
        const bool fits =
            value >= minimum && value <= maximum && (increment <= 1 || (value - minimum) % increment == 0);
        return fits ? KS_OK : KS_ERR_OUT_OF_RANGE;
    }
    GError* error = nullptr;
    arv_device_set_integer_feature_value(m_device, feature, value, &error);
    return consume(error);
}

int CxAravisCamera::writeEnumeration(const char* feature, const QString& entry, bool dryRun)
{
    ArvGcFeatureNode* node = featureNode(m_device, feature);
    if (!node)
        return KS_ERR_UNKNOWN_PARAMETER;
    if (!writable(node))
        return m_acquiring ? KS_ERR_LOCKED_WHILE_ACQUIRING : KS_ERR_READ_ONLY;
    GError* error = nullptr;
    const QByteArray name = entry.toUtf8();
    const bool available =
        arv_device_is_enumeration_entry_available(m_device, feature, name.constData(), &error);
    if (error)
        return consume(error);
    if (!available)
        return KS_ERR_OUT_OF_RANGE;
    if (dryRun)
        return KS_OK;
    arv_device_set_string_feature_value(m_device, feature, name.constData(), &error);
    return consume(error);
}

int CxAravisCamera::writePixelFormat(int depth, int packing, bool dryRun)
{
    for (const SxPixelFormat& format : kPixelFormats)
        if (format.depth == depth && (depth != 12 || format.packing == packing))
            return writeEnumeration("PixelFormat", QString::fromLatin1(format.name), dryRun);
    return KS_ERR_OUT_OF_RANGE;
}

// The counter pattern's entry of an enumeration feature, remembering the entry it replaces;
// switched off, the feature goes back to that entry.
int CxAravisCamera::switchEntry(const char* feature, bool on, const QString& onEntry, QString* replaced,
                                bool dryRun)
{
    const QString current = enumerationValue(feature);
    const QString entry = on ? onEntry : *replaced;
    const int error = entry.isEmpty() ? int(KS_OK) : writeEnumeration(feature, entry, dryRun);
    if (error == KS_OK && !dryRun && on)
        *replaced = current;
    return error;
}

int CxAravisCamera::writeParam(const QString& name, int value, bool dryRun)
{
    const bool locked = m_acquiring;
    if (name == QLatin1String("width") || name == QLatin1String("height"))
        return locked ? KS_ERR_LOCKED_WHILE_ACQUIRING
                      : writeInteger(name == QLatin1String("width") ? "Width" : "Height", value, dryRun);
    if (name == QLatin1String("output_bit_depth") || name == QLatin1String("output_bit_packing")) {
        if (locked)
            return KS_ERR_LOCKED_WHILE_ACQUIRING;
        const SxPixelFormat* current = pixelFormat(enumerationValue("PixelFormat"));
        const bool isDepth = name == QLatin1String("output_bit_depth");
        const int depth = isDepth ? value : (current ? current->depth : 0);
        const int packing =
            isDepth ? (current && current->depth == 12 ? current->packing : m_packing) : value;
        if (!isDepth && (value < 0 || value > 1))
            return KS_ERR_OUT_OF_RANGE;
        // Packing means something only to 12-bit formats; for the others it waits until the
        // depth comes back to 12, as the plug-in's restore writes packing before depth.
        if (!isDepth && depth != 12) {
            if (!dryRun)
                m_packing = value;
            return KS_OK;
        }
        const int error = writePixelFormat(depth, packing, dryRun);
        if (error == KS_OK && !dryRun)
            m_packing = packing;
        return error;
    }
    if (name == QLatin1String("LUTEnable")) {
        ArvGcFeatureNode* node = featureNode(m_device, "LUTEnable");
        if (!node)
            return KS_ERR_UNKNOWN_PARAMETER;
        if (value < 0 || value > 1)
            return KS_ERR_OUT_OF_RANGE;
        if (!writable(node))
            return KS_ERR_READ_ONLY;
        if (dryRun)
            return KS_OK;
        GError* error = nullptr;
        arv_device_set_boolean_feature_value(m_device, "LUTEnable", value != 0, &error);
        return consume(error);
    }
    if (name == QLatin1String("buffer_policy")) {
        if (value < 0 || value > 1)
            return KS_ERR_OUT_OF_RANGE;
        if (!dryRun)
            m_bufferPolicy = value;
        return KS_OK;
    }
    if (name == QLatin1String("imgdataformat")) {
        if (value != kFormatSensor && value != KS_FRM_TRANSPORT_DATA)
            return KS_ERR_OUT_OF_RANGE;
        if (locked)
            return KS_ERR_LOCKED_WHILE_ACQUIRING;
        if (value == KS_FRM_TRANSPORT_DATA && !m_profile)
            return dryRun ? int(KS_ERR_OUT_OF_RANGE)
                          : refuse(KS_ERR_OUT_OF_RANGE, QString::fromLatin1(kNoPattern));
        if (value == m_imageFormat)
            return KS_OK;
        const int error = switchEntry("PixelFormat", value == KS_FRM_TRANSPORT_DATA, m_profile->pixelFormat,
                                      &m_formatBefore, dryRun);
        if (error == KS_OK && !dryRun)
            m_imageFormat = value;
        return error;
    }
    if (name == QLatin1String("test_pattern")) {
        if (value != 0 && value != KS_TESTPAT_DEVICE_SPEC_COUNTER)
            return KS_ERR_OUT_OF_RANGE;
        if (value == KS_TESTPAT_DEVICE_SPEC_COUNTER && !m_profile)
            return dryRun ? int(KS_ERR_OUT_OF_RANGE)
                          : refuse(KS_ERR_OUT_OF_RANGE, QString::fromLatin1(kNoPattern));
        if (value == m_testPattern)
            return KS_OK;
        if (!hasFeature("TestPattern"))
            return KS_ERR_UNKNOWN_PARAMETER;
        const int error = switchEntry("TestPattern", value == KS_TESTPAT_DEVICE_SPEC_COUNTER,
                                      m_profile->testPattern, &m_patternBefore, dryRun);
        if (error == KS_OK && !dryRun)
            m_testPattern = value;
        return error;
    }
    if (name == QLatin1String("test_pattern_generator_selector")) {
        if (value != 0 && value != KS_TESTPAT_GEN_FPGA)
            return KS_ERR_OUT_OF_RANGE;
        if (value == m_patternSelector || !m_profile || m_profile->selectorFeature.isEmpty()) {
            if (!dryRun)
                m_patternSelector = value;
            return KS_OK;
        }
        const int error =
            switchEntry(m_profile->selectorFeature.toLatin1().constData(), value == KS_TESTPAT_GEN_FPGA,
                        m_profile->selectorEntry, &m_selectorBefore, dryRun);
        if (error == KS_OK && !dryRun)
            m_patternSelector = value;
        return error;
    }
    if (name == QLatin1String("counter_selector")) {
        // Only the stream's counters exist: missed triggers and buffer overflows are the
        // camera's own and GenICam has no common name for them.
        if (value < 0 || value > 2)
            return KS_ERR_OUT_OF_RANGE;
        if (!dryRun)
            m_counterSelector = value;
        return KS_OK;
    }
    if (name == QLatin1String("device_unit_register_value")) {
        if (m_unitSelector == KS_DEV_UNIT_SENSOR && m_registerSelector == KS_DEV_REG_SENSOR_DATA_RATE)
            return KS_ERR_READ_ONLY;
        if (m_unitSelector != KS_DEV_UNIT_LINK || m_registerSelector != KS_DEV_REG_LINK_MODE)
            return KS_ERR_OUT_OF_RANGE;
        if (!dryRun)
            m_userRegister = value;
        return KS_OK;
    }
    const std::pair<const char*, int*> kept[] = {{"ts_rst_mode", &m_tsResetMode},
                                                 {"ts_rst_source", &m_tsResetSource},
                                                 {"device_unit_selector", &m_unitSelector},
                                                 {"device_unit_register_selector", &m_registerSelector}};
    for (const auto& [keptName, field] : kept) {
        if (name == QLatin1String(keptName)) {
            if (value < 0)
                return KS_ERR_OUT_OF_RANGE;
            if (!dryRun)
                *field = value;
            return KS_OK;
        }
    }
    if (name == QLatin1String("counter_value"))
        return KS_ERR_READ_ONLY;
    return KS_ERR_UNKNOWN_PARAMETER;
}

// ---------------------------------------------------------------------------------------
// Acquisition

int CxAravisCamera::startAcquisition()
{
    QMutexLocker lock(&m_control);
    if (m_acquiring)
        return KS_ERR_ALREADY_ACQUIRING;
    if (m_lost)
        return refuse(KS_ERR_DEVICE, QStringLiteral("the camera does not answer any more"));
    GError* error = nullptr;
    QString message;
    m_rebase = false;
    if (m_tsResetMode == KS_TS_RST_MODE_ON_SOURCE && m_tsResetSource == KS_TS_RST_SOURCE_ACQUISITION_START) {
        if (m_timestampReset) {
            arv_camera_execute_command(m_camera, m_timestampCommand.toLatin1().constData(), &error);
            m_rebase = consume(error) != KS_OK;
        } else {
            // No command to reset its clock: time stamps count from the start all the same.
            m_rebase = true;
        }
    }
    m_stream = arv_camera_create_stream(m_camera, nullptr, nullptr, &error);
    if (!m_stream) {
        consume(error, &message);
        return refuse(KS_ERR_DEVICE, QStringLiteral("no stream: %1").arg(message));
    }
    if (ARV_IS_GV_STREAM(m_stream)) {
        // Loopback and fast links deliver a frame faster than the default socket buffer holds.
        g_object_set(m_stream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                     4 * 1024 * 1024, nullptr);
    }
    const guint payload = arv_camera_get_payload(m_camera, &error);
    if (error) {
        consume(error, &message);
        g_clear_object(&m_stream);
        return refuse(KS_ERR_DEVICE, QStringLiteral("no payload size: %1").arg(message));
    }
    m_unsafePolicy = m_bufferPolicy == KS_BP_UNSAFE;
    for (int i = 0; i < kQueueDepth + kBuffersBeyondQueue; ++i)
        arv_stream_push_buffer(m_stream, arv_buffer_new(payload, nullptr));
    arv_camera_set_acquisition_mode(m_camera, ARV_ACQUISITION_MODE_CONTINUOUS, &error);
    g_clear_error(&error);
    arv_camera_start_acquisition(m_camera, &error);
    if (error) {
        consume(error, &message);
        g_clear_object(&m_stream);
        return refuse(KS_ERR_REFUSED, QStringLiteral("the camera did not start: %1").arg(message));
    }
    m_patternRun = m_imageFormat == KS_FRM_TRANSPORT_DATA && m_testPattern == KS_TESTPAT_DEVICE_SPEC_COUNTER;
    m_transferred = 0;
    m_failed = 0;
    m_apiSkipped = 0;
    m_missingFrames = 0;
    m_haveFrameId = false;
    m_wraps = 0;
    m_haveRebase = false;
    {
        QMutexLocker queueLock(&m_queueMutex);
        releaseDelivered(false);
        m_handedOnOrphaned = false;
    }
    m_sinceStart.start();
    m_pumpStop = false;
    m_acquiring = true;
    m_pumpThread = std::thread(&CxAravisCamera::pump, this);
    return KS_OK;
}

int CxAravisCamera::stopAcquisition()
{
    QMutexLocker lock(&m_control);
    if (!m_acquiring)
        return KS_ERR_NOT_ACQUIRING;
    m_pumpStop = true;
    {
        QMutexLocker queueLock(&m_queueMutex);
        m_acquiring = false;
        m_queueWake.wakeAll();
    }
    m_pumpThread.join();
    GError* error = nullptr;
    int result = KS_OK;
    ArvStream* stream = nullptr;
    // A camera that vanished would keep this call waiting for its control channel.
    if (!m_lost) {
        arv_camera_stop_acquisition(m_camera, &error);
        result = consume(error) == KS_OK ? int(KS_OK) : int(KS_ERR_DEVICE);
    }
    {
        QMutexLocker queueLock(&m_queueMutex);
        for (ArvBuffer* buffer : m_queue)
            g_object_unref(buffer);
        m_queue.clear();
        // The reader may still read the image it got last; it goes at its next call.
        m_handedOnOrphaned = true;
        if (ARV_IS_GV_STREAM(m_stream))
            m_missingFrames = arv_stream_get_info_uint64_by_name(m_stream, "n_missing_frames");
        stream = std::exchange(m_stream, nullptr);
    }
    if (m_lost) {
        // A GigE Vision stream closes its channel on the camera as it goes, which a vanished
        // camera never answers: let it wait on a thread of its own.
        g_thread_unref(g_thread_new(
            "ks-stream-release",
            [](gpointer doomed) -> gpointer {
                g_object_unref(doomed);
                return nullptr;
            },
            stream));
    } else {
        g_object_unref(stream);
    }
    return result;
}

bool CxAravisCamera::isAcquiring() const
{
    return m_acquiring;
}

void CxAravisCamera::pump()
{
    while (!m_pumpStop) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(m_stream, kPumpPollUs);
        if (!buffer)
            continue;
        const ArvBufferStatus status = arv_buffer_get_status(buffer);
        if (status != ARV_BUFFER_STATUS_SUCCESS) {
            if (status != ARV_BUFFER_STATUS_ABORTED)
                ++m_failed;
            arv_stream_push_buffer(m_stream, buffer);
            continue;
        }
        ++m_transferred;
        QMutexLocker lock(&m_queueMutex);
        if (int(m_queue.size()) >= kQueueDepth) {
            if (m_unsafePolicy) {
                // The reader lags: the oldest waiting frame goes, as a driver's unsafe policy does.
                arv_stream_push_buffer(m_stream, m_queue.front());
                m_queue.pop_front();
                ++m_apiSkipped;
            } else {
                // The safe policy holds on to every frame; Aravis then runs out of buffers and
                // the camera's own counters tell what was lost.
                while (int(m_queue.size()) >= kQueueDepth && !m_pumpStop)
                    waitOn(m_queueWake, m_queueMutex, QDeadlineTimer(20));
            }
        }
        if (m_pumpStop) {
            arv_stream_push_buffer(m_stream, buffer);
            break;
        }
        m_queue.push_back(buffer);
        m_queueWake.wakeAll();
    }
}

// Caller holds m_queueMutex.
void CxAravisCamera::releaseDelivered(bool keepNewest)
{
    while (m_handedOn.size() > (keepNewest ? 1u : 0u)) {
        ArvBuffer* buffer = m_handedOn.front();
        m_handedOn.pop_front();
        if (m_handedOnOrphaned || !m_stream)
            g_object_unref(buffer);
        else
            arv_stream_push_buffer(m_stream, buffer);
    }
}

quint32 CxAravisCamera::unwrapFrameId(guint64 raw)
{
    // GigE Vision's 16-bit block ids skip 0 when they wrap; USB3 Vision's are 64-bit.
    if (m_gigE && raw <= 0xFFFF) {
        if (m_haveFrameId && raw < m_lastRawId && m_lastRawId - raw > 0x8000)
            ++m_wraps;
        m_lastRawId = raw;
        m_haveFrameId = true;
        return quint32(raw + m_wraps * 0xFFFF);
    }
    return quint32(raw);
}

int CxAravisCamera::getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious)
{
    if (!image || image->size != sizeof(KS_IMG))
        return KS_ERR_INVALID_ARGUMENT;
    QMutexLocker lock(&m_queueMutex);
    releaseDelivered(!releasePrevious);
    if (!m_acquiring)
        return KS_ERR_NOT_ACQUIRING;
    QDeadlineTimer deadline(timeoutMs);
    while (m_queue.empty() && m_acquiring && !m_lost) {
        if (!waitOn(m_queueWake, m_queueMutex, deadline))
            return KS_ERR_TIMEOUT;
    }
    if (m_lost)
        return KS_ERR_DEVICE;
    if (!m_acquiring)
        return KS_ERR_ABORTED;
    ArvBuffer* buffer = m_queue.front();
    m_queue.pop_front();
    m_handedOn.push_back(buffer);
    m_queueWake.wakeAll(); // room for a pump that waits under the safe policy

    size_t size = 0;
    const void* data = arv_buffer_get_data(buffer, &size);
    const ArvPixelFormat format = arv_buffer_get_image_pixel_format(buffer);
    qint64 stampNs = qint64(arv_buffer_get_timestamp(buffer));
    if (m_rebase) {
        if (!m_haveRebase) {
            m_rebaseNs = stampNs - m_sinceStart.nsecsElapsed();
            m_haveRebase = true;
        }
        stampNs -= m_rebaseNs;
    }
    const quint64 us = quint64(std::max<qint64>(stampNs, 0)) / 1000;
    image->data = const_cast<void*>(data);
    image->dataSize = size;
    image->width = quint32(arv_buffer_get_image_width(buffer));
    image->height = quint32(arv_buffer_get_image_height(buffer));
    image->frameNumber = unwrapFrameId(arv_buffer_get_frame_id(buffer));
    image->timestampSec = quint32(us / 1000000);
    image->timestampUsec = quint32(us % 1000000);
    image->dataFormat = quint32(m_patternRun ? KS_FRM_TRANSPORT_DATA : kFormatSensor);
    image->bytesPerPixel = std::max(1u, quint32(ARV_PIXEL_FORMAT_BIT_PER_PIXEL(format)) / 8u);
    image->flags = m_patternRun ? KS_IMG_FLAG_TEST_PATTERN : 0;
    image->transferTicks = 0; // the link time is in the pattern, not known to the stream
    return KS_OK;
}

int CxAravisCamera::waitOutCapture(unsigned int timeoutMs)
{
    QMutexLocker lock(&m_queueMutex);
    QDeadlineTimer deadline(timeoutMs);
    while (m_acquiring)
        if (!waitOn(m_queueWake, m_queueMutex, deadline))
            return KS_ERR_TIMEOUT;
    return KS_ERR_ABORTED;
}

int CxAravisCamera::counter(int selector)
{
    switch (selector) {
    case KS_CNT_TRANSPORT_SKIP: {
        // Frames the stream gave up (not those a stop aborted) and frames it never saw a packet of.
        quint64 missing = m_missingFrames;
        QMutexLocker lock(&m_queueMutex);
        if (m_stream && ARV_IS_GV_STREAM(m_stream))
            missing = arv_stream_get_info_uint64_by_name(m_stream, "n_missing_frames");
        return int(m_failed + missing);
    }
    case KS_CNT_API_SKIP:
        return int(m_apiSkipped);
    case KS_CNT_TRANSFERRED:
        return int(m_transferred);
    default:
        return 0;
    }
}
