#include "kspDataThroughputGraph.h"

#include "DataGraphForm.h"
#include "IxAppDelegate.h"
#include "ksApi.h"

#include <QLocale>
#include <QSettings>

CxDataThroughputGraphPlugin* g_pPlugin = nullptr;

namespace {
const char* const kSettingsGroup = "DataThroughputGraphPlugin";
}

bool CxDataThroughputGraphPlugin::init()
{
    g_pPlugin = this;
    // The host's language, which it sets as the default locale.
    CxDataGraphForm::installTranslation(QLocale());
    IxAppDelegate* delegate = IxAppDelegate::instance();
    auto* panel = new CxDataGraphForm(nullptr);
    m_panel = panel;
    delegate->addPluginWidget(panel, Qt::BottomDockWidgetArea,
                              Qt::TopDockWidgetArea | Qt::BottomDockWidgetArea, 0);
    return true;
}

void CxDataThroughputGraphPlugin::loadSettings(QSettings* settings)
{
    settings->beginGroup(QLatin1String(kSettingsGroup));
    if (m_panel)
        m_panel->loadSettings(settings);
    settings->endGroup();
}

void CxDataThroughputGraphPlugin::saveSettings(QSettings* settings)
{
    settings->beginGroup(QLatin1String(kSettingsGroup));
    if (m_panel)
        m_panel->saveSettings(settings);
    settings->endGroup();
}

QString CxDataThroughputGraphPlugin::name() const
{
    return tr("Data Throughput Graph Tool");
}

QString CxDataThroughputGraphPlugin::author() const
{
    return QStringLiteral("Quorvane Imaging Systems");
}

QString CxDataThroughputGraphPlugin::description() const
{
    return tr("Measures the available bandwidth during time and shows results in graph.");
}

void CxDataThroughputGraphPlugin::version(int& major, int& minor, int& build) const
{
    // The plug-in ships with the host core and reports its version.
    ksCoreVersion(major, minor, build);
}

QString CxDataThroughputGraphPlugin::website() const
{
    return QStringLiteral("https://www.quorvane.invalid");
}
