// Real GenICam cameras (GigE Vision, USB3 Vision) through Aravis, listed as
// "aravis:<device id>"; "aravis:<IP address>" opens a GigE Vision camera that discovery
// does not reach.
//
// Threading: cameras() never blocks; discover() and open() take seconds (Aravis waits up to
// a second for discovery answers and 2.5 s for a control channel that does not answer), so
// the host calls them off its GUI thread. Discovery and opening are serialised.
#pragma once

#include "ksCamera/IxCamera.h"

#include <QMutex>

// How a camera model sends the link-time counter: a test pattern that fills each frame with
// its device clock, 250 ticks per microsecond, as each 64-bit word leaves the camera.
struct SxCounterPatternProfile
{
    QString vendor;          // DeviceVendorName; empty matches any
    QString model;           // DeviceModelName
    QString pixelFormat;     // PixelFormat entry the pattern needs, 16 bits per pixel
    QString testPattern;     // TestPattern entry that sends the counter
    QString selectorFeature; // optional: a selector to set first, such as TestPatternGeneratorSelector
    QString selectorEntry;
};

class CxAravisBackend : public IxCameraBackend
{
public:
    static constexpr const char* kPrefix = "aravis:";

    // The backend the host adds to CxCameraRegistry; one per process.
    static std::shared_ptr<CxAravisBackend> instance();
    // The camera models known to send the counter pattern.
    static QList<SxCounterPatternProfile> counterPatternProfiles();

    QList<SxCameraDescription> cameras() const override;
    void discover() override;
    bool accepts(const QString& id) const override;
    std::shared_ptr<IxCamera> open(const QString& id, QString* error) override;

private:
    mutable QMutex m_listMutex;
    QList<SxCameraDescription> m_cameras;
    QMutex m_deviceMutex; // Aravis's device list is not to be rebuilt while a camera opens
};
