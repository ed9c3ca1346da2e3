// Shortcuts for tests that drive simulated cameras through the public runtime API.
#pragma once

#include "CxCameraManager.h"
#include "ksApi.h"
#include "ksSim/CxSimulation.h"

#include <QString>
#include <QVector>

namespace simtest {

// A camera with a plain link and no disturbances, unpaced, so tests run at full speed.
inline CxSimCameraConfig camera(const QString& id, double linkRate = 400.0, int width = 1024,
                                int height = 1024)
{
    CxSimCameraConfig config;
    config.id = id;
    config.modelName = QStringLiteral("Test camera");
    config.serialNumber = id.toUpper();
    config.sensor.width = width;
    config.sensor.height = height;
    config.sensor.dataRateMBps = 300.0;
    config.link.rateMBps = linkRate;
    config.pacing = ExPacing::Unpaced;
    return config;
}

// Registers the camera (replacing one with the same id) and opens it.
inline KSCORE_HANDLE open(const CxSimCameraConfig& config)
{
    CxSimulation::addCamera(config);
    return CxCameraManager::instance()->openCamera(config.id);
}

inline CxSimCamera* sim(KSCORE_HANDLE hCam)
{
    return CxSimulation::camera(hCam);
}

inline CxFaultInjector* faults(KSCORE_HANDLE hCam)
{
    return CxCameraRegistry::faults(hCam);
}

inline CxCallLog* logOf(KSCORE_HANDLE hCam)
{
    return CxCameraRegistry::callLog(hCam);
}

// Every test that drives simulated cameras reads their call logs.
inline const bool kCallLogging = (CxCameraRegistry::setCallLogging(true), true);

// Puts the camera into the throughput test-pattern configuration, time stamps reset at start.
inline bool selectCounterPattern(KSCORE_HANDLE hCam)
{
    return ksApi_SetParamInt(hCam, "imgdataformat", KS_FRM_TRANSPORT_DATA) &&
           ksApi_SetParamInt(hCam, "test_pattern_generator_selector", KS_TESTPAT_GEN_FPGA) &&
           ksApi_SetParamInt(hCam, "test_pattern", KS_TESTPAT_DEVICE_SPEC_COUNTER) &&
           ksApi_SetParamInt(hCam, "ts_rst_mode", KS_TS_RST_MODE_ON_SOURCE) &&
           ksApi_SetParamInt(hCam, "ts_rst_source", KS_TS_RST_SOURCE_ACQUISITION_START);
}

inline bool grab(KSCORE_HANDLE hCam, KS_IMG* image, unsigned int timeoutMs = 5000, int* error = nullptr)
{
    *image = KS_IMG();
    image->size = sizeof(KS_IMG);
    return ksApi_GetImage(hCam, timeoutMs, image, error, true) && image->data;
}

// Every `stride`-th word of a pattern frame.
inline QVector<quint64> sampleWords(const KS_IMG& image, quint64 stride)
{
    QVector<quint64> samples;
    const auto* words = static_cast<const quint64*>(image.data);
    const quint64 count = image.dataSize / 8;
    for (quint64 i = 0; i < count; i += stride)
        samples.append(words[i]);
    return samples;
}

inline void closeAll()
{
    CxCameraManager::instance()->closeAllCameras();
}

} // namespace simtest
