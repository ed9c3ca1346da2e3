// An application delegate that accepts every call and remembers it: what IxAppDelegate
// answers when no host application has installed its own, and what tests inspect.
#pragma once

#include "IxAppDelegate.h"

#include <QHash>
#include <QList>
#include <QStringList>

class KSCORE_EXPORT CxRecordingAppDelegate : public IxAppDelegate
{
public:
    struct SxDockedWidget
    {
        QWidget* widget = nullptr;
        Qt::DockWidgetArea initialArea = Qt::NoDockWidgetArea;
        Qt::DockWidgetAreas allowedAreas;
        int options = 0;
    };

    QString applicationName() const override;
    QWidget* mainWindow() const override { return nullptr; }
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

    void setLevel(int level) { m_level = level; }
    // One line per call, such as "setCameraControlEnabled 0x1000 false".
    QStringList calls() const { return m_calls; }
    void clearCalls() { m_calls.clear(); }
    QList<SxDockedWidget> dockedWidgets() const { return m_docked; }
    QList<QWidget*> plotWidgets() const { return m_plots; }

private:
    QStringList m_calls;
    QString m_lastDirectory;
    int m_level = 4;
    QList<SxDockedWidget> m_docked;
    QList<QWidget*> m_plots;
    QHash<KSCORE_HANDLE, bool> m_controlEnabled;
};
