#include "CxHostDelegate.h"

#include "CxDarkTheme.h"

#include <QDir>
#include <QDockWidget>
#include <QMainWindow>
#include <QSettings>
#include <QStatusBar>
#include <qcustomplot.h>

namespace {
const char* const kLastDirectoryKey = "Host/LastUsedDirectory";
const char* const kLevelKey = "Host/UserLevel";
} // namespace

CxHostDelegate::CxHostDelegate(QMainWindow* window, QSettings* settings)
    : m_window(window), m_settings(settings)
{
    m_level = qBound(0, m_settings->value(QLatin1String(kLevelKey), 3).toInt(), 4);
    IxAppDelegate::setInstance(this);
}

CxHostDelegate::~CxHostDelegate()
{
    IxAppDelegate::setInstance(nullptr);
}

QString CxHostDelegate::applicationName() const
{
    return QStringLiteral("Lumorix");
}

QWidget* CxHostDelegate::mainWindow() const
{
    return m_window;
}

QString CxHostDelegate::lastUsedDirectory() const
{
    return m_settings->value(QLatin1String(kLastDirectoryKey), QDir::homePath()).toString();
}

void CxHostDelegate::setLastUsedDirectory(const QString& directory)
{
    m_settings->setValue(QLatin1String(kLastDirectoryKey), directory);
}

void CxHostDelegate::showStatusMessage(const QString& message, int timeoutMs)
{
    m_window->statusBar()->showMessage(message, timeoutMs);
}

void CxHostDelegate::addPluginWidget(QWidget* widget, Qt::DockWidgetArea initialArea,
                                     Qt::DockWidgetAreas allowedAreas, int)
{
    auto* dock = new QDockWidget(widget->windowTitle(), m_window);
    dock->setObjectName(widget->objectName() + QStringLiteral("Dock"));
    dock->setAllowedAreas(allowedAreas);
    dock->setWidget(widget);
    m_window->addDockWidget(initialArea, dock);
    // A measuring panel is what the user came for: it gets most of the window's height.
    m_window->resizeDocks({dock}, {560}, Qt::Vertical);
    CxDarkTheme::keepTablesReadable(widget);
}

void CxHostDelegate::removePluginWidget(QWidget* widget)
{
    if (auto* dock = qobject_cast<QDockWidget*>(widget->parentWidget())) {
        m_window->removeDockWidget(dock);
        dock->setWidget(nullptr);
        dock->deleteLater();
    }
}

void CxHostDelegate::setCameraControlEnabled(KSCORE_HANDLE hCam, bool enabled)
{
    if (enabled)
        m_locked.remove(hCam);
    else
        m_locked.insert(hCam);
    emit cameraControlChanged(hCam);
}

bool CxHostDelegate::isCameraControlEnabled(KSCORE_HANDLE hCam) const
{
    return !m_locked.contains(hCam);
}

int CxHostDelegate::level() const
{
    return m_level;
}

void CxHostDelegate::setLevel(int level)
{
    m_level = qBound(0, level, 4);
    m_settings->setValue(QLatin1String(kLevelKey), m_level);
}

void CxHostDelegate::registerPlotWidget(QWidget* plot)
{
    // Plug-ins draw white axes and texts on the host's dark plot background.
    if (auto* customPlot = qobject_cast<QCustomPlot*>(plot))
        CxDarkTheme::keepPlotReadable(customPlot);
    plot->setAutoFillBackground(true);
}

void CxHostDelegate::unregisterPlotWidget(QWidget*) {}
