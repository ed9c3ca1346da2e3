// Reads the simulated cameras' JSON configuration. Every field is optional; a field that is
// unknown, of the wrong type or out of range is an error naming the file and the field.

#include "ksSim/CxSimulation.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <cmath>

namespace {

// Bounds of what the simulation honours: rates up to a 100 GB/s link, stalls no closer than
// 0.1 ms, a camera up some ten years, a sensor of at most 64 megapixels.
constexpr double kMaxNumber = 1e15;
constexpr double kMaxRateMBps = 100000.0;
constexpr double kMinStallIntervalMs = 0.1;
constexpr double kMaxStallLengthUs = 1e6;
constexpr double kMaxUptimeSeconds = 3e8;
constexpr double kMaxEventsPerSecond = 1e6;
constexpr double kMaxSensorPixels = 64.0 * 1024 * 1024;
constexpr double kMinBufferBytes = 1024.0;

const char* const kCounterKeys[6] = {"transportSkip",         "apiSkip",
                                     "transferred",           "missedTriggerOverlap",
                                     "missedTriggerOverflow", "bufferOverflow"};

// Walks one JSON object, remembering where it is for messages.
class CxObjectReader
{
public:
    CxObjectReader(const QJsonObject& object, const QString& path, QString* error)
        : m_object(object), m_path(path), m_error(error)
    {
    }

    bool ok() const { return m_error->isEmpty(); }
    QString field(const QString& key) const
    {
        return m_path.isEmpty() ? key : m_path + QLatin1Char('.') + key;
    }

    bool fail(const QString& key, const QString& message)
    {
        if (m_error->isEmpty())
            *m_error = QStringLiteral("%1: %2").arg(field(key), message);
        return false;
    }

    // Fails on any key not in `known`, so that a misspelt field is not silently ignored.
    void allowOnly(std::initializer_list<const char*> known)
    {
        QSet<QString> names;
        for (const char* name : known)
            names.insert(QString::fromLatin1(name));
        for (auto it = m_object.begin(); it != m_object.end(); ++it)
            if (!names.contains(it.key()))
                fail(it.key(), QStringLiteral("unknown field"));
    }

    void string(const char* key, QString* out)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return;
        if (!value.isString())
            fail(key, QStringLiteral("must be a string"));
        else
            *out = value.toString();
    }

    void boolean(const char* key, bool* out)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return;
        if (!value.isBool())
            fail(key, QStringLiteral("must be true or false"));
        else
            *out = value.toBool();
    }

    // `maximum` is what the simulation can honour: beyond it a camera would spend its time
    // in arithmetic rather than in frames.
    void number(const char* key, double* out, double minimum = 0.0, bool positive = false,
                double maximum = kMaxNumber)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return;
        if (!value.isDouble() || !std::isfinite(value.toDouble())) {
            fail(key, QStringLiteral("must be a number"));
            return;
        }
        const double v = value.toDouble();
        if (positive && (v <= 0.0 || v > maximum))
            fail(key, QStringLiteral("must be greater than 0 and at most %1").arg(maximum, 0, 'f', 0));
        else if (v > maximum)
            fail(key, QStringLiteral("must be at most %1").arg(maximum, 0, 'f', 0));
        else if (v < minimum)
            fail(key, v < 0.0 ? QStringLiteral("must not be negative")
                              : QStringLiteral("must be at least %1").arg(minimum));
        else
            *out = v;
    }

    template <typename T> void integer(const char* key, T* out, double minimum, double maximum)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return;
        const double v = value.toDouble();
        if (!value.isDouble() || v != std::floor(v))
            fail(key, QStringLiteral("must be a whole number"));
        else if (v < minimum || v > maximum)
            fail(key, v < 0.0 && minimum >= 0.0 ? QStringLiteral("must not be negative")
                                                : QStringLiteral("must be between %1 and %2")
                                                      .arg(minimum, 0, 'f', 0)
                                                      .arg(maximum, 0, 'f', 0));
        else
            *out = static_cast<T>(v);
    }

    bool object(const char* key, QJsonObject* out)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return false;
        if (!value.isObject())
            return fail(key, QStringLiteral("must be an object"));
        *out = value.toObject();
        return true;
    }

    bool array(const char* key, QJsonArray* out)
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (value.isUndefined())
            return false;
        if (!value.isArray())
            return fail(key, QStringLiteral("must be an array"));
        *out = value.toArray();
        return true;
    }

    const QJsonObject& json() const { return m_object; }

private:
    QJsonObject m_object;
    QString m_path;
    QString* m_error;
};

void readLink(const QJsonObject& json, const QString& path, SxLinkConfig* link, QString* error)
{
    CxObjectReader r(json, path, error);
    r.allowOnly({"type", "rate", "jitter", "dips", "stalls"});
    r.string("type", &link->type);
    r.number("rate", &link->rateMBps, 0.0, true, kMaxRateMBps);
    r.number("jitter", &link->jitter);
    if (link->jitter >= 1.0)
        r.fail("jitter", QStringLiteral("must be below 1"));
    QJsonArray dips;
    if (r.array("dips", &dips)) {
        link->dips.clear();
        for (int i = 0; i < dips.size() && r.ok(); ++i) {
            const QString dipPath = r.field(QStringLiteral("dips[%1]").arg(i));
            if (!dips[i].isObject()) {
                *error = QStringLiteral("%1: must be an object").arg(dipPath);
                return;
            }
            SxLinkDip dip;
            CxObjectReader d(dips[i].toObject(), dipPath, error);
            d.allowOnly({"period", "length", "rate", "phase"});
            d.number("period", &dip.periodMs, 0.0, true);
            d.number("length", &dip.lengthMs);
            d.number("rate", &dip.rateMBps, 0.0, true, kMaxRateMBps);
            d.number("phase", &dip.phaseMs);
            if (!d.json().contains(QLatin1String("rate")))
                d.fail("rate", QStringLiteral("is required"));
            link->dips.append(dip);
        }
    }
    QJsonObject stalls;
    if (r.object("stalls", &stalls)) {
        CxObjectReader s(stalls, r.field(QStringLiteral("stalls")), error);
        s.allowOnly({"interval", "length"});
        s.number("interval", &link->stallIntervalMs);
        s.number("length", &link->stallLengthUs, 0.0, false, kMaxStallLengthUs);
        if (link->stallIntervalMs > 0.0 && link->stallIntervalMs < kMinStallIntervalMs)
            s.fail("interval",
                   QStringLiteral("must be 0 (no stalls) or at least %1").arg(kMinStallIntervalMs));
    }
}

void readCamera(const QJsonObject& json, const QString& path, CxSimCameraConfig* camera, QString* error)
{
    CxObjectReader r(json, path, error);
    r.allowOnly({"id", "model", "serialNumber", "userName", "nameSelection", "sensor", "link", "bufferSize",
                 "counters", "counterRates", "seed", "pacing", "replayFrames", "queueDepth",
                 "hasParameterSet", "dataProcessing", "uptime", "parameters"});
    r.string("id", &camera->id);
    r.string("model", &camera->modelName);
    r.string("serialNumber", &camera->serialNumber);
    r.string("userName", &camera->userName);
    r.integer("nameSelection", &camera->nameSelection, -1e9, 1e9);
    r.integer("bufferSize", &camera->bufferSize, kMinBufferBytes, 2147483647.0);
    r.integer("seed", &camera->seed, 0, 9007199254740991.0);
    r.integer("replayFrames", &camera->replayFrames, 1, 1024);
    r.integer("queueDepth", &camera->queueDepth, 1, 1024);
    r.boolean("hasParameterSet", &camera->hasParameterSet);
    r.boolean("dataProcessing", &camera->dataProcessing);
    r.number("uptime", &camera->uptimeSeconds, 0.0, false, kMaxUptimeSeconds);
    if (camera->id.isEmpty())
        r.fail("id", QStringLiteral("must not be empty"));

    QString pacing;
    r.string("pacing", &pacing);
    if (!pacing.isEmpty()) {
        bool known = false;
        for (ExPacing p : {ExPacing::RealTime, ExPacing::Unpaced, ExPacing::Replay})
            if (pacing == CxSimCameraConfig::pacingName(p)) {
                camera->pacing = p;
                known = true;
            }
        if (!known)
            r.fail("pacing", QStringLiteral("must be \"realtime\", \"unpaced\" or \"replay\""));
    }

    QJsonObject sensor;
    if (r.object("sensor", &sensor)) {
        CxObjectReader s(sensor, r.field(QStringLiteral("sensor")), error);
        s.allowOnly({"width", "height", "dataRate"});
        s.integer("width", &camera->sensor.width, 4, 65536);
        s.integer("height", &camera->sensor.height, 1, 65536);
        s.number("dataRate", &camera->sensor.dataRateMBps, 0.0, true, kMaxRateMBps);
        if (double(camera->sensor.width) * double(camera->sensor.height) > kMaxSensorPixels)
            s.fail("height", QStringLiteral("width times height must be at most %1 pixels")
                                 .arg(kMaxSensorPixels, 0, 'f', 0));
    }
    // Every replayed frame is made ahead and kept: at most 1 GiB of them.
    if (double(camera->replayFrames) * double(camera->sensor.width) * double(camera->sensor.height) * 2.0 >
        1024.0 * 1024.0 * 1024.0)
        r.fail("replayFrames", QStringLiteral("times the frame size must be at most 1 GiB"));
    QJsonObject link;
    if (r.object("link", &link))
        readLink(link, r.field(QStringLiteral("link")), &camera->link, error);

    QJsonArray counters;
    if (r.array("counters", &counters)) {
        camera->supportedCounters.clear();
        for (int i = 0; i < counters.size(); ++i) {
            const double v = counters[i].toDouble(-1.0);
            if (!counters[i].isDouble() || v != std::floor(v) || v < 0 || v > 5) {
                r.fail("counters", QStringLiteral("entry %1 must be a counter selector from 0 to 5").arg(i));
                break;
            }
            camera->supportedCounters.append(int(v));
        }
    }
    QJsonObject rates;
    if (r.object("counterRates", &rates)) {
        CxObjectReader c(rates, r.field(QStringLiteral("counterRates")), error);
        c.allowOnly({kCounterKeys[0], kCounterKeys[1], kCounterKeys[2], kCounterKeys[3], kCounterKeys[4],
                     kCounterKeys[5]});
        for (int i = 0; i < 6; ++i)
            c.number(kCounterKeys[i], &camera->counterRates[i], 0.0, false, kMaxEventsPerSecond);
    }
    QJsonObject parameters;
    if (r.object("parameters", &parameters)) {
        for (auto it = parameters.begin(); it != parameters.end(); ++it) {
            const double v = it.value().toDouble();
            if (!it.value().isDouble() || v != std::floor(v) || std::fabs(v) > 2147483647.0) {
                r.fail("parameters", QStringLiteral("\"%1\" must be a whole number").arg(it.key()));
                break;
            }
            camera->parameters.insert(it.key(), int(v));
        }
    }
}

} // namespace

bool CxSimulation::parseConfiguration(const QByteArray& json, const QString& sourceName,
                                      QList<CxSimCameraConfig>* out, QString* error)
{
    QString why;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    QList<CxSimCameraConfig> cameras;
    if (parseError.error != QJsonParseError::NoError) {
        why = QStringLiteral("not valid JSON at offset %1: %2")
                  .arg(parseError.offset)
                  .arg(parseError.errorString());
    } else if (!document.isObject()) {
        why = QStringLiteral("the document must be an object with a \"cameras\" array");
    } else {
        CxObjectReader root(document.object(), QString(), &why);
        root.allowOnly({"cameras"});
        QJsonArray list;
        if (!root.array("cameras", &list) && why.isEmpty())
            root.fail("cameras", QStringLiteral("is required"));
        QSet<QString> ids;
        for (int i = 0; i < list.size() && why.isEmpty(); ++i) {
            const QString path = QStringLiteral("cameras[%1]").arg(i);
            if (!list[i].isObject()) {
                why = QStringLiteral("%1: must be an object").arg(path);
                break;
            }
            CxSimCameraConfig camera;
            camera.id = QStringLiteral("sim%1").arg(i);
            readCamera(list[i].toObject(), path, &camera, &why);
            if (why.isEmpty() && ids.contains(camera.id))
                why = QStringLiteral("%1.id: \"%2\" is used twice").arg(path, camera.id);
            if (why.isEmpty()) {
                // Catch power-on values the parameter model would refuse now rather than at open.
                QString modelError;
                if (!CxSimCamera::create(camera, &modelError))
                    why = QStringLiteral("%1.parameters: %2").arg(path, modelError);
            }
            ids.insert(camera.id);
            cameras.append(camera);
        }
    }
    if (!why.isEmpty()) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(sourceName, why);
        return false;
    }
    *out = cameras;
    return true;
}

bool CxSimulation::loadConfigurationFile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: cannot be read: %2").arg(path, file.errorString());
        return false;
    }
    QList<CxSimCameraConfig> cameras;
    if (!parseConfiguration(file.readAll(), path, &cameras, error))
        return false;
    setConfiguration(cameras);
    return true;
}
