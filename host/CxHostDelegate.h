// The host application as its plug-ins see it: docks their widgets, remembers the last
// directory of a file dialog, takes cameras out of the user's hands while a plug-in
// measures them, and gives plug-in plots the host's dark theme.
#pragma once

#include "IxAppDelegate.h"

#include <QObject>
#include <QSet>

class QMainWindow;
class QSettings;

class CxHostDelegate : public QObject, public IxAppDelegate
{
    Q_OBJECT

public:
    CxHostDelegate(QMainWindow* window, QSettings* settings);
    ~CxHostDelegate() override;

    QString applicationName() const override;
    QWidget* mainWindow() const override;
    QString lastUsedDirectory() const override;
    void setLastUsedDirectory(const QString& directory) override;
    void showStatusMessage(const QString& message, int timeoutMs) override;
    void addPluginWidget(QWidget* widget, Qt::DockWidgetArea initialArea, Qt::DockWidgetAreas allowedAreas,
                         int options) override;
    void removePluginWidget(QWidget* widget) override;
    void setCameraControlEnabled(KSCORE_HANDLE hCam, bool enabled) override;
    bool isCameraControlEnabled(KSCORE_HANDLE hCam) const override;
    int level() const override;
    void registerPlotWidget(QWidget* plot) override;
    void unregisterPlotWidget(QWidget* plot) override;

    void setLevel(int level);

signals:
    void cameraControlChanged(KSCORE_HANDLE hCam);

private:
    QMainWindow* m_window;
    QSettings* m_settings;
    QSet<KSCORE_HANDLE> m_locked;
    int m_level = 3;
};
