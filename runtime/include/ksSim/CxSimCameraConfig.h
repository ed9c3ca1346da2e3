// Description of one simulated camera: identity, sensor, link, buffer, counters and pacing.
// Every field has a default, so a configuration file names only what differs.
#pragma once

#include "ksCamera/IxCamera.h"
#include "ksCoreGlobal.h"

#include <QList>
#include <QMap>
#include <QString>

// A periodic drop of the link rate: from `phaseMs` on, every `periodMs` the link runs at
// `rateMBps` for `lengthMs`.
struct SxLinkDip
{
    double periodMs = 1000.0;
    double lengthMs = 10.0;
    double rateMBps = 0.0;
    double phaseMs = 0.0;
};

struct SxLinkConfig
{
    QString type = QStringLiteral("USB3");
    double rateMBps = 400.0; // 1 MB = 1,000,000 bytes
    double jitter = 0.0;     // relative rate noise per 512-byte block, 0.02 = +-2 %
    QList<SxLinkDip> dips;
    double stallIntervalMs = 0.0; // mean distance between short stalls, 0 = none
    double stallLengthUs = 0.0;
};

struct SxSensorConfig
{
    int width = 1024;
    int height = 1024;
    double dataRateMBps = 300.0; // what the sensor produces at 16 bits per pixel
};

enum class ExPacing
{
    RealTime, // frames arrive when the link would have delivered them
    Unpaced,  // same frames on a virtual clock, as fast as they can be generated
    Replay,   // a few frames generated at start and handed out in turn, for consumer benchmarks
};

struct KSCORE_EXPORT CxSimCameraConfig
{
    QString id = QStringLiteral("sim0");
    QString modelName = QStringLiteral("KSC Simulated Camera");
    QString serialNumber = QStringLiteral("00000000");
    QString userName;
    int nameSelection = 0;

    SxSensorConfig sensor;
    SxLinkConfig link;
    int bufferSize = 64 * 1024 * 1024; // the camera's internal frame buffer, bytes
    QList<int> supportedCounters{0, 1, 2, 3, 4, 5};
    double counterRates[6] = {0, 0, 0, 0, 0, 0}; // extra events per second, by counter selector
    quint64 seed = 1;
    ExPacing pacing = ExPacing::RealTime;
    int replayFrames = 8;
    int queueDepth = 4; // host-side image buffers before frames are skipped or the link waits
    bool hasParameterSet = true;
    bool dataProcessing = true;    // has the FPGA data-processing unit (frame buffer selectors)
    double uptimeSeconds = 3600.0; // camera clock when opened
    QMap<QString, int> parameters; // power-on values that differ from the defaults

    static QString pacingName(ExPacing pacing);
    // What the host lists of this camera.
    SxCameraDescription description() const;
};
