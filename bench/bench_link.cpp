// How fast the simulated camera makes counter-pattern frames (unpaced) and hands out
// pre-made ones (replay): the ceiling for any consumer benchmark built on it.

#include "CxCameraManager.h"
#include "ksApi.h"
#include "ksSim/CxSimulation.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>

namespace {

void measure(const char* label, ExPacing pacing, double jitter)
{
    CxSimCameraConfig config;
    config.id = QString::fromLatin1(label);
    config.sensor.width = 2048;
    config.sensor.height = 1088;
    config.link.rateMBps = 380.0;
    config.link.jitter = jitter;
    config.pacing = pacing;
    CxSimulation::addCamera(config);
    KSCORE_HANDLE hCam = CxCameraManager::instance()->openCamera(config.id);
    ksApi_SetParamInt(hCam, "imgdataformat", 7);
    ksApi_SetParamInt(hCam, "test_pattern_generator_selector", 1);
    ksApi_SetParamInt(hCam, "test_pattern", 11);
    ksApi_StartAcquisition(hCam);
    const int frames = pacing == ExPacing::Replay ? 200000 : 200;
    QElapsedTimer timer;
    timer.start();
    quint64 bytes = 0;
    for (int i = 0; i < frames; ++i) {
        KS_IMG image = KS_IMG();
        image.size = sizeof(KS_IMG);
        if (ksApi_GetImage(hCam, 5000, &image))
            bytes += image.dataSize;
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    std::printf("%-22s %8d frames  %10.1f frames/s  %9.0f MB/s of pattern\n", label, frames, frames / seconds,
                double(bytes) / 1e6 / seconds);
    ksApi_StopAcquisition(hCam);
    CxCameraManager::instance()->closeCamera(hCam);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::printf("Simulated link, 2048 x 1088 transport frames (4.46 MB), link 380 MB/s\n");
    measure("unpaced", ExPacing::Unpaced, 0.0);
    measure("unpaced, 2 % jitter", ExPacing::Unpaced, 0.02);
    measure("replay", ExPacing::Replay, 0.0);
    return 0;
}
