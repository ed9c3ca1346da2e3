// The interface every host plug-in implements. The host loads a plug-in library through
// Qt's plug-in loader, casts the root object to CxPlugin by CxPlugin_iid, calls init() and
// then loadSettings(); on shutdown saveSettings() and then deletes the root object.
//
// Threading: the host calls every operation on its GUI thread.
#pragma once

#include "ksCoreGlobal.h"

#include <QObject>
#include <QString>

class QSettings;
class QGraphicsSceneMouseEvent;
class CxImageData;

// The virtual operations keep this order: plug-ins built against earlier hosts rely on it.
class KSCORE_EXPORT CxPlugin
{
public:
    virtual ~CxPlugin();

    virtual bool init();
    virtual void finish();
    virtual void loadSettings(QSettings* settings);
    virtual void saveSettings(QSettings* settings);
    virtual QString copyrightNotice() const;
    virtual QString name() const;
    virtual QString author() const;
    virtual QString description() const;
    virtual void version(int& major, int& minor, int& build) const;
    // "major.minor.build" of the numbers above.
    virtual QString version() const;
    virtual QString website() const;
    virtual void activeViewChanged(int viewId);
    virtual void viewAboutToClose(int viewId);
    virtual void newCameraConnected(void* hCam);
    virtual void cameraDisconnected(void* hCam);
    virtual void viewGotNewImage(int viewId, const CxImageData* image);
    virtual void viewMouseBtnPressEvent(int viewId, QGraphicsSceneMouseEvent* event);
    virtual void viewMouseMoveEvent(int viewId, QGraphicsSceneMouseEvent* event);
    virtual void viewMouseBtnReleaseEvent(int viewId, QGraphicsSceneMouseEvent* event);
    virtual void viewMouseDoubleClickEvent(int viewId, QGraphicsSceneMouseEvent* event);
    virtual bool customCommand(const QString& command, int arg1, int arg2, void* in, void* out);
};

#define CxPlugin_iid KS_VENDOR_PREFIX ".CxPlugin"
Q_DECLARE_INTERFACE(CxPlugin, CxPlugin_iid)
