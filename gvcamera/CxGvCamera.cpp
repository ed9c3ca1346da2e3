#include <arv.h>

#include "CxGvCamera.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

// Registers this camera adds to those the fake camera reads itself.
constexpr guint32 kTestPatternRegister = 0x400;
constexpr guint32 kLinkTimeCounter = 2;
constexpr double kTicksPerUs = 250.0;
// GigE Vision bootstrap registers: where the fake camera keeps its identity, as discovery
// reports it, the description's address, and the time stamp's.
constexpr guint32 kModelOffset = 0x68;
constexpr guint32 kVendorOffset = 0x48;
constexpr guint32 kVersionOffset = 0x88;
constexpr guint32 kFirstUrlOffset = 0x200;
constexpr guint32 kFirstUrlLength = 512;
constexpr guint32 kTickFrequencyHigh = 0x93c;
constexpr guint32 kTickFrequencyLow = 0x940;
constexpr guint32 kTimestampControlRegister = 0x944; // bit 0: reset, bit 1: latch
constexpr guint32 kTimestampValueHigh = 0x948;
constexpr guint32 kTimestampValueLow = 0x94c;
constexpr guint32 kFrameCountRegister = 0x414;
constexpr guint32 kSingleFrame = 2; // AcquisitionMode; 1 is Continuous
constexpr guint32 kMultiFrame = 3;
constexpr guint32 kTimestampReset = 1;
constexpr guint32 kTimestampLatch = 2;

// The whole field is written, the text cut to leave its terminating zero.
void writeString(ArvFakeCamera* camera, guint32 offset, const char* text, size_t room)
{
    QByteArray field(qsizetype(room), '\0');
    std::strncpy(field.data(), text, room - 1);
    arv_fake_camera_write_memory(camera, offset, guint32(room), field.constData());
}

} // namespace

struct CxGvCamera::Private
{
    QTemporaryDir folder;
    ArvGvFakeCamera* server = nullptr;
    // Handed to the fill through Aravis's own lock, which ThreadSanitizer does not see.
    std::atomic<ArvFakeCamera*> camera{nullptr};
    double linkRate = 400.0;
    // The fill runs on the fake camera's own thread; the clock's start is read by the thread
    // that answers the time stamp's latch too.
    std::atomic<qint64> epochUs{0};
    double linkFree = 0.0; // device ticks at which the link is free for the next frame
    std::atomic<quint64> sent{0};
    std::atomic<quint64> counterFrames{0};
    std::atomic<quint32> framesThisAcquisition{0}; // counted by the fill, from each start again
    // What the fake camera does not do itself: keep the clock's value, bound the frame period
    // by the exposure. A thread of its own does it every millisecond.
    std::thread registers;
    std::atomic<bool> stopRegisters{false};
    // The time stamp control register is changed by the fill and by that thread.
    std::mutex controlMutex;

    static void fill(ArvBuffer* buffer, void* data, guint32, guint32, ArvPixelFormat format);
    void answerRegisters();
    // A single or multi-frame acquisition ends with its last frame: the fake camera sends this
    // one and then sees the acquisition stopped.
    void endAcquisitionAfter(ArvFakeCamera* camera);
    void describe(const SxGvCameraOptions& options);
};

void CxGvCamera::Private::endAcquisitionAfter(ArvFakeCamera* fake)
{
    guint32 mode = 0;
    guint32 count = 1;
    arv_fake_camera_read_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_MODE, &mode);
    if (mode == kMultiFrame)
        arv_fake_camera_read_register(fake, kFrameCountRegister, &count);
    if ((mode == kSingleFrame || mode == kMultiFrame) && ++framesThisAcquisition >= std::max(count, 1u))
        arv_fake_camera_write_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION, 0);
}

void CxGvCamera::Private::answerRegisters()
{
    while (!stopRegisters) {
        ArvFakeCamera* fake = camera;
        // The fake camera answers a read at once, before this thread could see a latch that
        // came just before it: the value is kept at most a millisecond old all the time, and
        // a latch is acknowledged.
        {
            std::lock_guard<std::mutex> lock(controlMutex);
            const quint64 ticks = quint64(double(g_get_monotonic_time() - epochUs) * kTicksPerUs);
            arv_fake_camera_write_register(fake, kTimestampValueHigh, guint32(ticks >> 32));
            arv_fake_camera_write_register(fake, kTimestampValueLow, guint32(ticks));
            guint32 control = 0;
            arv_fake_camera_read_register(fake, kTimestampControlRegister, &control);
            if (control & kTimestampLatch)
                arv_fake_camera_write_register(fake, kTimestampControlRegister, control & ~kTimestampLatch);
        }
        guint32 acquiring = 0;
        arv_fake_camera_read_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION, &acquiring);
        if (!acquiring)
            framesThisAcquisition = 0;
        guint32 exposure = 0;
        guint32 period = 0;
        arv_fake_camera_read_register(fake, ARV_FAKE_CAMERA_REGISTER_EXPOSURE_TIME_US, &exposure);
        arv_fake_camera_read_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US, &period);
        if (exposure > period)
            arv_fake_camera_write_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US,
                                           exposure);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// This camera's own identity: its version, its description's name, its clock's frequency.
void CxGvCamera::Private::describe(const SxGvCameraOptions& options)
{
    writeString(camera, kVendorOffset, CxGvCamera::kVendor, 32);
    writeString(camera, kModelOffset, options.model.toUtf8().constData(), 32);
    writeString(camera, kVersionOffset, "ks-gv-camera " KS_GV_CAMERA_VERSION, 32);
    char url[kFirstUrlLength + 1] = {};
    arv_fake_camera_read_memory(camera, kFirstUrlOffset, kFirstUrlLength, url);
    QByteArray text(url);
    text.replace("arv-fake-camera.xml", "ks-gv-camera.xml");
    writeString(camera, kFirstUrlOffset, text.constData(), kFirstUrlLength);
    arv_fake_camera_write_register(camera, kTickFrequencyHigh, 0);
    arv_fake_camera_write_register(camera, kTickFrequencyLow, guint32(kTicksPerUs * 1e6));
}

void CxGvCamera::Private::fill(ArvBuffer* buffer, void* data, guint32, guint32, ArvPixelFormat format)
{
    auto* d = static_cast<Private*>(data);
    ArvFakeCamera* camera = d->camera;
    const qint64 nowUs = g_get_monotonic_time();
    {
        std::lock_guard<std::mutex> lock(d->controlMutex);
        guint32 control = 0;
        arv_fake_camera_read_register(camera, kTimestampControlRegister, &control);
        if (control & kTimestampReset) {
            // The reset is seen with the first frame after it, which is where a run starts.
            d->epochUs = nowUs;
            d->linkFree = 0.0;
            arv_fake_camera_write_register(camera, kTimestampControlRegister, control & ~kTimestampReset);
        }
    }
    guint32 pattern = 0;
    arv_fake_camera_read_register(camera, kTestPatternRegister, &pattern);
    const quint64 bytes = quint64(arv_buffer_get_image_width(buffer)) *
                          quint64(arv_buffer_get_image_height(buffer)) *
                          quint64(ARV_PIXEL_FORMAT_BIT_PER_PIXEL(format)) / 8u;
    auto* out = static_cast<quint8*>(const_cast<void*>(arv_buffer_get_data(buffer, nullptr)));
    const double start = std::max(double(nowUs - d->epochUs) * kTicksPerUs, d->linkFree);
    const double ticksPerByte = kTicksPerUs / d->linkRate;
    if (pattern == kLinkTimeCounter && format == ARV_PIXEL_FORMAT_MONO_16) {
        auto* words = reinterpret_cast<quint64*>(out);
        for (quint64 i = 0; i < bytes / 8; ++i)
            words[i] = quint64(start + double(i * 8) * ticksPerByte);
        ++d->counterFrames;
    } else {
        for (quint64 i = 0; i < bytes; ++i)
            out[i] = quint8(i + d->sent);
    }
    d->linkFree = start + double(bytes) * ticksPerByte;
    // In ticks, as the leader carries them: the client turns them into time by the tick frequency.
    arv_buffer_set_timestamp(buffer, guint64(start));
    ++d->sent;
    d->endAcquisitionAfter(camera);
}

CxGvCamera::CxGvCamera() : d(new Private) {}

CxGvCamera::~CxGvCamera()
{
    stop();
}

bool CxGvCamera::start(const SxGvCameraOptions& options, QString* error)
{
    // The description lives in a static library, whose resources the linker keeps only when asked.
    Q_INIT_RESOURCE(gvcamera);
    stop();
    // Aravis reads the description from a file; the one built in is written out for it.
    const QString description = d->folder.filePath(QStringLiteral("ks-gv-camera.xml"));
    QFile source(QStringLiteral(":/ksGvCamera/ks-gv-camera.xml"));
    QFile::remove(description);
    if (!d->folder.isValid() || !source.copy(description)) {
        if (error)
            *error = QStringLiteral("cannot write the camera description to %1").arg(description);
        return false;
    }
    g_random_set_seed(options.seed);
    // Set before the fake camera's thread exists, which is the only one that fills.
    d->linkRate = options.linkRateMBps;
    d->epochUs = g_get_monotonic_time();
    d->linkFree = 0.0;
    d->sent = 0;
    d->counterFrames = 0;
    const QByteArray address = options.address.toUtf8();
    const QByteArray serial = options.serialNumber.toUtf8();
    d->server = arv_gv_fake_camera_new_full(address.constData(), serial.constData(),
                                            QFile::encodeName(description).constData());
    if (!d->server || !arv_gv_fake_camera_is_running(d->server)) {
        if (error)
            *error = QStringLiteral("cannot serve a camera on %1 (no interface with that address, or its "
                                    "GVCP port 3956 is taken)")
                         .arg(options.address);
        stop();
        return false;
    }
    g_object_set(d->server, "gvsp-lost-ratio", options.loss, nullptr);
    d->camera = arv_gv_fake_camera_get_fake_camera(d->server);
    d->describe(options);
    arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_WIDTH, guint32(options.width));
    arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_HEIGHT, guint32(options.height));
    arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_PIXEL_FORMAT,
                                   ARV_PIXEL_FORMAT_MONO_16);
    const guint32 period = guint32(1e6 / options.fps + 0.5);
    arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US, period);
    // An exposure that fits the asked frame rate, as a user would set it.
    arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_EXPOSURE_TIME_US,
                                   std::min(period, 1000u));
    arv_fake_camera_set_fill_pattern(d->camera, &Private::fill, d.get());
    d->stopRegisters = false;
    d->registers = std::thread(&Private::answerRegisters, d.get());
    return true;
}

void CxGvCamera::stop()
{
    d->stopRegisters = true;
    if (d->registers.joinable())
        d->registers.join();
    if (d->server)
        g_object_unref(d->server); // joins the camera's thread
    d->server = nullptr;
    d->camera = nullptr;
}

void CxGvCamera::stopStreaming()
{
    if (d->camera)
        arv_fake_camera_write_register(d->camera, ARV_FAKE_CAMERA_REGISTER_ACQUISITION, 0);
}

quint64 CxGvCamera::framesSent() const
{
    return d->sent;
}

quint64 CxGvCamera::counterFrames() const
{
    return d->counterFrames;
}
