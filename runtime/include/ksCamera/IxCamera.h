// One camera behind the camera API, whatever drives it (the simulation, Aravis), and the
// backend that finds and opens cameras of its kind.
//
// Threading: every operation may be called from any thread. A camera serialises its own
// state; getImage must not block parameter access or stopAcquisition while it waits, and a
// stop wakes a waiting getImage. Only one thread fetches images from one camera at a time.
#pragma once

#include "CxCameraParam.h"
#include "ksApi.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

// What a camera says of itself, for the host's lists and parameter sets.
struct SxCameraDescription
{
    QString id; // what CxCameraManager::openCamera takes, unique across backends
    QString modelName;
    QString serialNumber;
    QString userName;
    int nameSelection = 0; // below 1 the serial number identifies the camera, else the user name
    QString link;          // the link as a person reads it: "USB3, 380 MB/s", "GigE Vision, 127.0.0.1"
    bool hasParameterSet = true;
};

class KSCORE_EXPORT IxCamera
{
public:
    // Who asks: the camera API (the plug-ins) or the host application itself. Cameras answer
    // both alike; the call log tells them apart.
    enum class ExCaller
    {
        Api,
        Host,
    };

    virtual ~IxCamera();

    virtual SxCameraDescription description() const = 0;

    // KS_OK or a KS_ERROR. A name ending in ":settable" asks whether `value` could be
    // written and writes nothing.
    virtual int getParam(const QString& name, int& value, ExCaller caller) = 0;
    virtual int setParam(const QString& name, int value, ExCaller caller) = 0;
    virtual QStringList parameterNames() const = 0;
    virtual QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const = 0;

    // KS_OK when the camera acquires, or stopped; otherwise the reason.
    virtual int startAcquisition() = 0;
    virtual int stopAcquisition() = 0;
    virtual bool isAcquiring() const = 0;
    // KS_OK when a capture ended with an image (whose `data` may still be null). The image
    // stays valid until the next call; with `releasePrevious` false one call longer.
    virtual int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) = 0;
    // Spends what a capture that times out costs on this camera's clock: KS_ERR_TIMEOUT, or
    // KS_ERR_ABORTED when a stop came first. Fault injection uses it to time out like the
    // camera would.
    virtual int waitOutCapture(unsigned int timeoutMs) = 0;
    // Why the camera refused its last request, in words a user can act on; empty when it has
    // nothing to add to the error code.
    virtual QString lastRefusal() const { return QString(); }
    // False once the camera stopped answering, as a real camera does when unplugged.
    virtual bool isConnected() const { return true; }
    // Fills the parts of `info` it asks for that the camera knows, setting their flags.
    virtual void transportInfo(KS_TRANSPORT_INFO* info) { Q_UNUSED(info); }
};

class KSCORE_EXPORT IxCameraBackend
{
public:
    virtual ~IxCameraBackend();

    // The cameras it can open now, as last found. Never blocks for long.
    virtual QList<SxCameraDescription> cameras() const = 0;
    // Looks for cameras again; may take seconds, so not on the GUI thread.
    virtual void discover() {}
    // Whether an identifier is this backend's to open (listed or not).
    virtual bool accepts(const QString& id) const = 0;
    // Null, and why in `error`, when the camera cannot be opened.
    virtual std::shared_ptr<IxCamera> open(const QString& id, QString* error) = 0;
};
