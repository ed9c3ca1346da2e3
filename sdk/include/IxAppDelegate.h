// The host application as plug-ins see it: docking, file-dialog memory, camera control
// hand-over and plot registration. A host application implements it and installs its
// implementation with setInstance(); without one, instance() answers with a built-in
// delegate that accepts every call and records it (see CxRecordingAppDelegate).
//
// Threading: GUI thread only.
#pragma once

#include "ksApi.h"

#include <QString>
#include <Qt>

class QWidget;

class KSCORE_EXPORT IxAppDelegate
{
public:
    static IxAppDelegate* instance();
    // Installs the host's delegate; null goes back to the built-in recording delegate.
    // The caller keeps ownership.
    static void setInstance(IxAppDelegate* delegate);

    virtual ~IxAppDelegate();

    virtual QString applicationName() const = 0;
    virtual QWidget* mainWindow() const = 0;
    virtual QString lastUsedDirectory() const = 0;
    virtual void setLastUsedDirectory(const QString& directory) = 0;
    virtual void showStatusMessage(const QString& message, int timeoutMs) = 0;
    // Docks a plug-in's widget in the main window. `options` is reserved and must be 0.
    virtual void addPluginWidget(QWidget* widget, Qt::DockWidgetArea initialArea,
                                 Qt::DockWidgetAreas allowedAreas, int options) = 0;
    virtual void removePluginWidget(QWidget* widget) = 0;
    // false: a plug-in drives the camera now and the host keeps its hands off it.
    virtual void setCameraControlEnabled(KSCORE_HANDLE hCam, bool enabled) = 0;
    virtual bool isCameraControlEnabled(KSCORE_HANDLE hCam) const = 0;
    // The user's experience level, 0 (basic) to 4 (expert).
    virtual int level() const = 0;
    virtual void registerPlotWidget(QWidget* plot) = 0;
    virtual void unregisterPlotWidget(QWidget* plot) = 0;
};
