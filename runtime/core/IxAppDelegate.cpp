#include "IxAppDelegate.h"

#include "ksSim/CxRecordingAppDelegate.h"

#include <QDir>

namespace {

IxAppDelegate* g_installed = nullptr;

QString handleText(KSCORE_HANDLE hCam)
{
    return QStringLiteral("0x") + QString::number(reinterpret_cast<quintptr>(hCam), 16);
}

} // namespace

IxAppDelegate::~IxAppDelegate()
{
    if (g_installed == this)
        g_installed = nullptr;
}

IxAppDelegate* IxAppDelegate::instance()
{
    static CxRecordingAppDelegate fallback;
    return g_installed ? g_installed : &fallback;
}

void IxAppDelegate::setInstance(IxAppDelegate* delegate)
{
    g_installed = delegate;
}

QString CxRecordingAppDelegate::applicationName() const
{
    return QStringLiteral("Lumorix");
}

QString CxRecordingAppDelegate::lastUsedDirectory() const
{
    return m_lastDirectory.isEmpty() ? QDir::homePath() : m_lastDirectory;
}

void CxRecordingAppDelegate::setLastUsedDirectory(const QString& directory)
{
    m_calls.append(QStringLiteral("setLastUsedDirectory %1").arg(directory));
    m_lastDirectory = directory;
}

void CxRecordingAppDelegate::showStatusMessage(const QString& message, int timeoutMs)
{
    m_calls.append(QStringLiteral("showStatusMessage %1 %2").arg(message).arg(timeoutMs));
}

void CxRecordingAppDelegate::addPluginWidget(QWidget* widget, Qt::DockWidgetArea initialArea,
                                             Qt::DockWidgetAreas allowedAreas, int options)
{
    m_calls.append(
        QStringLiteral("addPluginWidget %1 %2 %3").arg(int(initialArea)).arg(int(allowedAreas)).arg(options));
    m_docked.append({widget, initialArea, allowedAreas, options});
}

void CxRecordingAppDelegate::removePluginWidget(QWidget* widget)
{
    m_calls.append(QStringLiteral("removePluginWidget"));
    for (int i = 0; i < m_docked.size(); ++i)
        if (m_docked[i].widget == widget)
            m_docked.removeAt(i--);
}

void CxRecordingAppDelegate::setCameraControlEnabled(KSCORE_HANDLE hCam, bool enabled)
{
    m_calls.append(QStringLiteral("setCameraControlEnabled %1 %2")
                       .arg(handleText(hCam), enabled ? QStringLiteral("true") : QStringLiteral("false")));
    m_controlEnabled.insert(hCam, enabled);
}

bool CxRecordingAppDelegate::isCameraControlEnabled(KSCORE_HANDLE hCam) const
{
    return m_controlEnabled.value(hCam, true);
}

int CxRecordingAppDelegate::level() const
{
    return m_level;
}

void CxRecordingAppDelegate::registerPlotWidget(QWidget* plot)
{
    m_calls.append(QStringLiteral("registerPlotWidget"));
    m_plots.append(plot);
}

void CxRecordingAppDelegate::unregisterPlotWidget(QWidget* plot)
{
    m_calls.append(QStringLiteral("unregisterPlotWidget"));
    m_plots.removeAll(plot);
}
