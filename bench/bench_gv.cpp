// Real cameras through Aravis, measured on two ks-gv-camera instances served in-process in a
// network namespace of its own:
//   gv_frames_ratio    frames the tool's worker completes from one camera, per frame sent,
//                      against a bare Aravis consumer (pop, count, push back) on the other,
//                      both running at once (the median of three runs);
//   gv_rate_error_pct  the link rate the tool measures against the rate the camera's counter
//                      describes.

#include <arv.h>

#include "CameraLineData.h"
#include "CxCameraManager.h"
#include "CxGvCamera.h"
#include "NetworkNamespace.h"
#include "ksAravis/CxAravisBackend.h"
#include "ksCamera/CxCameraRegistry.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

namespace {

constexpr double kLinkRate = 400.0;
constexpr double kFps = 500.0;
constexpr int kRunMs = 3000;

// Completed frames of a consumer that does nothing but count them.
quint64 bareConsumer(const char* address, const std::atomic<bool>& stop)
{
    GError* error = nullptr;
    ArvCamera* camera = arv_camera_new(address, &error);
    if (!camera) {
        fprintf(stderr, "bench_gv: %s\n", error ? error->message : "no camera");
        g_clear_error(&error);
        return 0;
    }
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    g_object_set(stream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                 4 * 1024 * 1024, nullptr);
    const guint payload = arv_camera_get_payload(camera, &error);
    for (int i = 0; i < 12; ++i)
        arv_stream_push_buffer(stream, arv_buffer_new(payload, nullptr));
    arv_camera_set_acquisition_mode(camera, ARV_ACQUISITION_MODE_CONTINUOUS, &error);
    arv_camera_start_acquisition(camera, &error);
    g_clear_error(&error);
    quint64 completed = 0;
    while (!stop) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 50000);
        if (!buffer)
            continue;
        completed += arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS ? 1 : 0;
        arv_stream_push_buffer(stream, buffer);
    }
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return completed;
}

struct SxRun
{
    double ratio = 0.0;
    double rate = 0.0;
    quint64 ours = 0;
    quint64 bare = 0;
    quint64 oursSent = 0;
    quint64 bareSent = 0;
};

SxRun measure()
{
    SxGvCameraOptions options;
    options.fps = kFps;
    options.linkRateMBps = kLinkRate;
    CxGvCamera measured;
    CxGvCamera reference;
    QString error;
    options.address = QStringLiteral("127.0.0.1");
    measured.start(options, &error);
    options.address = QStringLiteral("127.0.0.2");
    options.serialNumber = QStringLiteral("KSGV0002");
    reference.start(options, &error);

    KSCORE_HANDLE hCam = CxCameraManager::instance()->openCamera(QStringLiteral("aravis:127.0.0.1"));
    CxCameraLineData line;
    line.hCam = hCam;
    line.autoTransport = false;
    std::atomic<bool> stop{false};
    quint64 bare = 0;
    std::thread consumer([&] { bare = bareConsumer("127.0.0.2", stop); });
    SxRun run;
    if (!hCam || !line.startMeasurement(4096, 10000000)) {
        fprintf(stderr, "bench_gv: the tool could not measure ks-gv-camera\n");
    } else {
        QThread::msleep(kRunMs);
        line.stopMeasurement();
    }
    stop = true;
    consumer.join();
    run.ours = quint64(line.frames.size());
    run.bare = bare;
    run.oursSent = measured.counterFrames();
    run.bareSent = reference.framesSent();
    const double oursPerSent = double(run.ours) / double(std::max<quint64>(measured.counterFrames(), 1));
    const double barePerSent = double(bare) / double(std::max<quint64>(reference.framesSent(), 1));
    run.ratio = barePerSent > 0.0 ? oursPerSent / barePerSent : 0.0;
    run.rate = line.linkAverage();
    CxCameraManager::instance()->closeAllCameras();
    return run;
}

int benchmark()
{
    CxCameraRegistry::addBackend(CxAravisBackend::instance());
    QList<SxRun> runs;
    for (int i = 0; i < 3; ++i)
        runs.append(measure());
    std::sort(runs.begin(), runs.end(), [](const SxRun& a, const SxRun& b) { return a.ratio < b.ratio; });
    const SxRun& median = runs[1];
    auto count = [](quint64 n) { return static_cast<unsigned long long>(n); };
    printf("figure gv_frames_ratio %.3f ratio (tool %llu of %llu frames sent, bare Aravis %llu of %llu, 256 "
           "x 256 "
           "Mono16 at %g fps, %d ms)\n",
           median.ratio, count(median.ours), count(median.oursSent), count(median.bare),
           count(median.bareSent), kFps, kRunMs);
    printf("figure gv_rate_error_pct %.3f %% (measured %.3f MB/s, counter at %g MB/s)\n",
           100.0 * std::abs(median.rate - kLinkRate) / kLinkRate, median.rate, kLinkRate);
    fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (isNamespaced())
        return benchmark();
    QString unavailable;
    const int code = runNamespaced(QCoreApplication::applicationFilePath(), {}, 120000, &unavailable);
    if (code < 0)
        fprintf(stderr, "bench_gv: %s\n", qPrintable(unavailable));
    return code < 0 ? 1 : code;
}
