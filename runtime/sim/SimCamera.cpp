#include "ksSim/CxSimCamera.h"

#include "LinkModel.h"
#include "ParameterModel.h"
#include "ksCamera/CxTsan.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMutex>
#include <QWaitCondition>
#include <climits>
#include <cmath>
#include <cstring>
#include <deque>
#include <random>
#include <vector>

namespace {

constexpr double kTicksPerUs = CxLinkModel::kTicksPerUs;
// Frames skipped for a slow host that are still made word by word.
constexpr quint64 kSkippedFramesMade = 8;

// A frame on its way to the host: when its first word left the camera (its time stamp)
// and when its last word arrived.
struct SxFrame
{
    quint32 number = 0;
    double start = 0.0;
    double ready = 0.0;
    const quint64* data = nullptr;
};

// A frame waiting in the camera's internal buffer (plain images only).
struct SxQueued
{
    quint32 number = 0;
    double captured = 0.0;
};

} // namespace

struct CxSimCamera::Private
{
    explicit Private(const CxSimCameraConfig& c) : config(c), params(c), link(c.link) {}

    CxSimCameraConfig config;
    mutable QMutex mutex;
    QWaitCondition wake;
    CxParameterModel params;
    CxLinkModel link;
    ExPacing pacing = ExPacing::RealTime;

    // The camera clock between acquisitions: uptime at open plus elapsed (real time) or
    // the virtual clock where the last acquisition left it.
    QElapsedTimer sinceOpen;
    double idleClock = 0.0;

    bool acquiring = false;
    bool pattern = false;
    bool unsafePolicy = false;
    ExPacing runPacing = ExPacing::RealTime;
    QElapsedTimer wall;
    double acqStart = 0.0;
    double virtualNow = 0.0;
    quint32 nextFrameNumber = 0;
    quint64 delivered = 0;

    int width = 0;
    int height = 0;
    int format = 0;
    quint64 frameBytes = 0;
    quint64 frameWords = 0;
    double sensorPeriod = 0.0; // ticks between two sensor frames
    double nominalFrame = 0.0; // ticks one frame usually takes to reach the host

    std::vector<quint64> buffers[2];
    int bufferIndex = 0;
    std::vector<std::vector<quint64>> replay;
    std::vector<SxFrame> replayFrames;
    double replayCycle = 0.0;

    std::deque<SxQueued> cameraFifo;
    quint64 fifoBytes = 0;
    double nextCapture = 0.0;
    bool overflowing = false;

    bool havePending = false;
    SxFrame pending;
    std::mt19937_64 events;

    double now() const;
    void startRun();
    void fillPlainImage(std::vector<quint64>& buffer, quint32 seed);
    SxFrame produce(quint64* out);
    SxFrame producePattern(quint64* out);
    SxFrame producePlain();
    // Takes the sensor frame due next; a full buffer misses it and every trigger up to `until`.
    void captureNext(double until);
    void skipForSlowConsumer();
    void addRandomEvents(double seconds);
    bool waitUntil(double ticks);
    void deliver(const SxFrame& frame, KS_IMG* image);
};

double CxSimCamera::Private::now() const
{
    if (!acquiring)
        return idleClock;
    if (runPacing == ExPacing::RealTime)
        return acqStart + static_cast<double>(wall.nsecsElapsed()) / 4.0;
    return virtualNow;
}

void CxSimCamera::Private::fillPlainImage(std::vector<quint64>& buffer, quint32 seed)
{
    // A diagonal gradient: cheap, and visibly an image rather than noise.
    auto* bytes = reinterpret_cast<quint8*>(buffer.data());
    const quint64 lineBytes = frameBytes / quint64(height);
    for (int y = 0; y < height; ++y)
        for (quint64 x = 0; x < lineBytes; ++x)
            bytes[quint64(y) * lineBytes + x] = static_cast<quint8>(x + quint64(y) + seed);
}

void CxSimCamera::Private::startRun()
{
    width = params.value("width");
    height = params.value("height");
    format = params.value("imgdataformat");
    pattern = format == KS_FRM_TRANSPORT_DATA &&
              params.value("test_pattern_generator_selector") == KS_TESTPAT_GEN_FPGA &&
              params.value("test_pattern") == KS_TESTPAT_DEVICE_SPEC_COUNTER;
    unsafePolicy = params.value("buffer_policy") == KS_BP_UNSAFE;
    frameBytes = quint64(width) * quint64(height) * quint64(CxParameterModel::bytesPerPixel(format));
    frameWords = (frameBytes + 7) / 8;
    sensorPeriod = double(quint64(width) * quint64(height) * 2) / config.sensor.dataRateMBps * kTicksPerUs;
    const double linkFrame = double(frameBytes) / config.link.rateMBps * kTicksPerUs;
    nominalFrame = pattern ? linkFrame : std::max(linkFrame, sensorPeriod);

    const bool resetClock = params.value("ts_rst_mode") == KS_TS_RST_MODE_ON_SOURCE &&
                            params.value("ts_rst_source") == KS_TS_RST_SOURCE_ACQUISITION_START;
    if (pacing == ExPacing::RealTime && !resetClock)
        idleClock = config.uptimeSeconds * 1e6 * kTicksPerUs + double(sinceOpen.nsecsElapsed()) / 4.0;
    acqStart = resetClock ? 0.0 : idleClock;
    virtualNow = acqStart;
    runPacing = pacing;
    wall.start();

    link.reset(acqStart, config.seed);
    events.seed(config.seed ^ 0x9E3779B97F4A7C15ull);
    params.resetCounters();
    cameraFifo.clear();
    fifoBytes = 0;
    nextCapture = acqStart;
    overflowing = false;
    havePending = false;
    nextFrameNumber = 0;
    delivered = 0;
    bufferIndex = 0;
    for (auto& buffer : buffers)
        buffer.assign(frameWords, 0);
    if (!pattern) {
        fillPlainImage(buffers[0], 0);
        fillPlainImage(buffers[1], 1);
    }

    replay.clear();
    replayFrames.clear();
    if (runPacing == ExPacing::Replay) {
        const int n = std::max(1, config.replayFrames);
        replay.resize(n);
        for (int i = 0; i < n; ++i) {
            replay[i].assign(frameWords, 0);
            if (!pattern)
                fillPlainImage(replay[i], quint32(i));
            replayFrames.push_back(produce(replay[i].data()));
        }
        replayCycle = replayFrames.back().ready - acqStart;
        params.resetCounters(); // generating ahead is not transferring
    }
}

void CxSimCamera::Private::captureNext(double until)
{
    const double at = nextCapture;
    nextCapture += sensorPeriod;
    const quint32 number = nextFrameNumber++;
    const quint64 capacity = std::max<quint64>(quint64(std::max(config.bufferSize, 0)), frameBytes);
    if (fifoBytes + frameBytes > capacity) {
        // The trigger finds the buffer full: the frame is never taken, the host sees a gap.
        // Nothing leaves the buffer before `until`, so every trigger up to then is missed
        // alike: counted at once rather than one by one, however short the sensor's period.
        const double more =
            until >= nextCapture ? std::floor((until - nextCapture) / sensorPeriod) + 1.0 : 0.0;
        const quint64 extra = more < 1e15 ? quint64(more) : quint64(1e15);
        nextFrameNumber += quint32(extra);
        // Past `until` even where a period is below the clock's resolution.
        nextCapture = std::max(nextCapture + double(extra) * sensorPeriod, std::nextafter(until, INFINITY));
        const int count = int(std::min<quint64>(extra + 1, INT_MAX));
        params.addToCounter(KS_CNT_MISSED_TRG_OVERFLOW, count);
        params.addToCounter(KS_CNT_TRANSPORT_SKIP, count);
        if (!overflowing)
            params.addToCounter(KS_CNT_BUFFER_OVERFLOW, 1);
        overflowing = true;
        return;
    }
    overflowing = false;
    cameraFifo.push_back({number, at});
    fifoBytes += frameBytes;
}

SxFrame CxSimCamera::Private::producePattern(quint64* out)
{
    SxFrame frame;
    frame.number = nextFrameNumber++;
    frame.start = link.clock();
    frame.ready = link.send(frameWords, out);
    return frame;
}

SxFrame CxSimCamera::Private::producePlain()
{
    if (cameraFifo.empty())
        captureNext(nextCapture);
    const SxQueued head = cameraFifo.front();
    // The frame streams out while the sensor reads it, so it cannot arrive before its
    // readout has ended.
    link.idleUntil(head.captured);
    link.send(frameWords, nullptr);
    link.idleUntil(head.captured + sensorPeriod);
    const double end = link.clock();
    while (nextCapture <= end)
        captureNext(end);
    cameraFifo.pop_front();
    fifoBytes -= frameBytes;
    SxFrame frame;
    frame.number = head.number;
    frame.start = head.captured;
    frame.ready = end;
    return frame;
}

SxFrame CxSimCamera::Private::produce(quint64* out)
{
    SxFrame frame = pattern ? producePattern(out) : producePlain();
    frame.data = out;
    params.addToCounter(KS_CNT_TRANSFERRED, 1);
    return frame;
}

void CxSimCamera::Private::skipForSlowConsumer()
{
    const double lag = now() - (link.clock() + nominalFrame);
    const double allowed = double(std::max(config.queueDepth, 1)) * nominalFrame;
    if (nominalFrame <= 0.0 || lag <= allowed)
        return;
    if (!unsafePolicy) {
        // Under the safe policy the host holds on to its buffers and the link waits for one.
        link.idleUntil(now() - allowed);
        return;
    }
    const double behind = (lag - allowed) / nominalFrame;
    const quint64 skipped = behind < 1e15 ? quint64(behind) : quint64(1e15);
    // The frames the host misses cross the link all the same. The last few are made in
    // full, so that their disturbances count; the rest move the link on at its nominal
    // rate, which keeps the work under the camera's lock bounded for any link rate.
    const quint64 made = std::min<quint64>(skipped, kSkippedFramesMade);
    const quint64 jumped = skipped - made;
    if (jumped > 0) {
        link.idleUntil(link.clock() + double(jumped) * nominalFrame);
        nextFrameNumber += quint32(jumped);
        params.addToCounter(KS_CNT_TRANSFERRED, int(std::min<quint64>(jumped, INT_MAX)));
    }
    for (quint64 i = 0; i < made; ++i)
        produce(nullptr);
    params.addToCounter(KS_CNT_API_SKIP, int(std::min<quint64>(skipped, INT_MAX)));
}

void CxSimCamera::Private::addRandomEvents(double seconds)
{
    for (int selector = 0; selector < 6; ++selector) {
        const double rate = config.counterRates[selector];
        if (rate <= 0.0 || seconds <= 0.0)
            continue;
        std::poisson_distribution<int> count(rate * seconds);
        params.addToCounter(selector, count(events));
    }
}

// Waits on the camera clock (real time only). False when the acquisition was stopped.
bool CxSimCamera::Private::waitUntil(double ticks)
{
    while (acquiring) {
        const double remaining = ticks - now();
        if (remaining <= 0.0)
            return true;
        QDeadlineTimer deadline;
        deadline.setPreciseRemainingTime(0, qint64(remaining * 4.0), Qt::PreciseTimer);
        waitOn(wake, mutex, deadline);
    }
    return false;
}

void CxSimCamera::Private::deliver(const SxFrame& frame, KS_IMG* image)
{
    const quint64 us = quint64(frame.start / kTicksPerUs);
    image->data = const_cast<quint64*>(frame.data);
    image->dataSize = frameBytes;
    image->width = quint32(width);
    image->height = quint32(height);
    image->frameNumber = frame.number;
    image->timestampSec = quint32(us / 1000000);
    image->timestampUsec = quint32(us % 1000000);
    image->dataFormat = quint32(format);
    image->bytesPerPixel = quint32(CxParameterModel::bytesPerPixel(format));
    image->flags = pattern ? KS_IMG_FLAG_TEST_PATTERN : 0;
    image->transferTicks = quint64(frame.ready - frame.start);
    ++delivered;
}

std::unique_ptr<CxSimCamera> CxSimCamera::create(const CxSimCameraConfig& config, QString* error)
{
    std::unique_ptr<CxSimCamera> camera(new CxSimCamera(config));
    QString why;
    if (!camera->d->params.applyPowerOnValues(config.parameters, &why)) {
        if (error)
            *error = why;
        return nullptr;
    }
    return camera;
}

CxSimCamera::CxSimCamera(const CxSimCameraConfig& config) : d(new Private(config))
{
    d->pacing = config.pacing;
    d->sinceOpen.start();
    d->idleClock = config.uptimeSeconds * 1e6 * kTicksPerUs;
}

CxSimCamera::~CxSimCamera()
{
    stopAcquisition();
}

const CxSimCameraConfig& CxSimCamera::config() const
{
    return d->config;
}

SxCameraDescription CxSimCamera::description() const
{
    return d->config.description();
}

int CxSimCamera::getParam(const QString& name, int& value, ExCaller)
{
    QMutexLocker lock(&d->mutex);
    return d->params.get(name, value);
}

int CxSimCamera::setParam(const QString& name, int value, ExCaller)
{
    QMutexLocker lock(&d->mutex);
    return d->params.set(name, value, d->acquiring);
}

int CxSimCamera::startAcquisition()
{
    QMutexLocker lock(&d->mutex);
    if (d->acquiring)
        return KS_ERR_ALREADY_ACQUIRING;
    d->acquiring = true;
    d->startRun();
    return KS_OK;
}

int CxSimCamera::stopAcquisition()
{
    QMutexLocker lock(&d->mutex);
    if (!d->acquiring)
        return KS_ERR_NOT_ACQUIRING;
    d->idleClock = d->now();
    d->acquiring = false;
    d->replay.clear();
    d->wake.wakeAll();
    return KS_OK;
}

int CxSimCamera::waitOutCapture(unsigned int timeoutMs)
{
    QMutexLocker lock(&d->mutex);
    if (!d->acquiring)
        return KS_ERR_NOT_ACQUIRING;
    const double timeoutTicks = double(timeoutMs) * 1000.0 * kTicksPerUs;
    if (d->runPacing != ExPacing::RealTime) {
        d->virtualNow += timeoutTicks;
        return KS_ERR_TIMEOUT;
    }
    return d->waitUntil(d->now() + timeoutTicks) ? int(KS_ERR_TIMEOUT) : int(KS_ERR_ABORTED);
}

int CxSimCamera::getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious)
{
    Q_UNUSED(releasePrevious) // two buffers in turn keep the previous image valid either way
    QMutexLocker lock(&d->mutex);
    if (!image || image->size != sizeof(KS_IMG))
        return KS_ERR_INVALID_ARGUMENT;
    if (!d->acquiring)
        return KS_ERR_NOT_ACQUIRING;

    if (d->runPacing == ExPacing::Replay) {
        const quint64 n = d->replayFrames.size();
        const quint64 cycle = d->delivered / n;
        SxFrame frame = d->replayFrames[d->delivered % n];
        frame.number += quint32(cycle * n);
        frame.start += double(cycle) * d->replayCycle;
        frame.ready += double(cycle) * d->replayCycle;
        d->virtualNow = frame.ready;
        d->params.addToCounter(KS_CNT_TRANSFERRED, 1);
        d->deliver(frame, image);
        return KS_OK;
    }

    if (!d->havePending) {
        if (d->runPacing == ExPacing::RealTime)
            d->skipForSlowConsumer();
        d->bufferIndex ^= 1;
        d->pending = d->produce(d->buffers[d->bufferIndex].data());
        d->addRandomEvents((d->pending.ready - d->pending.start) / (kTicksPerUs * 1e6));
        d->havePending = true;
    }
    if (d->runPacing == ExPacing::RealTime) {
        const double deadline = d->now() + double(timeoutMs) * 1000.0 * kTicksPerUs;
        if (d->pending.ready > deadline)
            return d->waitUntil(deadline) ? int(KS_ERR_TIMEOUT) : int(KS_ERR_ABORTED);
        if (!d->waitUntil(d->pending.ready))
            return KS_ERR_ABORTED;
    } else {
        d->virtualNow = std::max(d->virtualNow, d->pending.ready);
    }
    d->havePending = false;
    d->deliver(d->pending, image);
    return KS_OK;
}

QStringList CxSimCamera::parameterNames() const
{
    QMutexLocker lock(&d->mutex);
    return d->params.parameterNames();
}

QList<CxCameraParam::SxEnumItem> CxSimCamera::enumItems(const QString& name) const
{
    QMutexLocker lock(&d->mutex);
    return d->params.enumItems(name);
}

ExPacing CxSimCamera::pacing() const
{
    QMutexLocker lock(&d->mutex);
    return d->pacing;
}

void CxSimCamera::transportInfo(KS_TRANSPORT_INFO* info)
{
    const SxSensorConfig& c = config().sensor;
    const quint64 bytes = quint64(c.width) * quint64(c.height) * 2u;
    if ((info->request & KS_TI_FRAME_RATE) && bytes > 0) {
        info->payloadBytes = bytes;
        info->frameRate = c.dataRateMBps * 1e6 / double(bytes);
        info->flags |= KS_TI_FRAME_RATE;
    }
}

bool CxSimCamera::isAcquiring() const
{
    QMutexLocker lock(&d->mutex);
    return d->acquiring;
}

bool CxSimCamera::isPatternActive() const
{
    QMutexLocker lock(&d->mutex);
    return d->acquiring && d->pattern;
}

int CxSimCamera::counterValue(int selector) const
{
    QMutexLocker lock(&d->mutex);
    return selector >= 0 && selector < 6 ? d->params.counter(selector) : 0;
}

int CxSimCamera::parameterValue(const QString& name) const
{
    QMutexLocker lock(&d->mutex);
    return d->params.value(name);
}

quint64 CxSimCamera::capturesDelivered() const
{
    QMutexLocker lock(&d->mutex);
    return d->delivered;
}
