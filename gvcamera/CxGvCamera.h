// ks-gv-camera's camera: Aravis's fake GigE Vision camera with this project's GenICam
// description, whose frames carry the link-time counter when TestPattern is LinkTimeCounter
// and the pixel format Mono16. The counter is the device clock (250 ticks per microsecond) at
// which each 64-bit word would leave a link of the configured rate; frames leave back to
// back when the frame rate asks for more than the link carries. Tests run it in-process.
#pragma once

#include <QString>
#include <memory>

// The model the host knows to send the counter pattern.
inline constexpr const char* kGvCameraModel = "KS-GV-Camera";

struct SxGvCameraOptions
{
    QString address = QStringLiteral("127.0.0.1");
    QString serialNumber = QStringLiteral("KSGV0001");
    QString model =
        QString::fromLatin1(kGvCameraModel); // another name hides the counter pattern from the host
    int width = 256;
    int height = 256;
    double fps = 200.0;
    double linkRateMBps = 400.0; // 1 MB = 1,000,000 bytes
    double loss = 0.0;           // ratio of GVSP packets dropped on purpose
    quint32 seed = 42;           // the drop sequence
};

class CxGvCamera
{
public:
    CxGvCamera();
    ~CxGvCamera();
    CxGvCamera(const CxGvCamera&) = delete;
    CxGvCamera& operator=(const CxGvCamera&) = delete;

    // Listens on the address (GVCP port 3956); false and why when it cannot.
    bool start(const SxGvCameraOptions& options, QString* error);
    void stop();

    // Frames filled and sent since start, and those that carried the counter.
    quint64 framesSent() const;
    quint64 counterFrames() const;

    // Sends no more frames, as if the host had stopped the acquisition; what is on its way
    // still arrives. Tests compare what was sent with what the host counted.
    void stopStreaming();

    static constexpr const char* kVendor = "Quorvane";

private:
    struct Private;
    std::unique_ptr<Private> d;
};
