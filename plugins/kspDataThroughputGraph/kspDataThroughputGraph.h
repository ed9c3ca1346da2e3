// The object the host loads from the plug-in library: it names the plug-in, creates and
// docks the panel, and hands the host's settings store to the panel inside the plug-in's
// own group. Everything the plug-in does happens in the panel (CxDataGraphForm).
#pragma once

#include "CxPlugin.h"

#include <QObject>

class CxDataGraphForm;

#define CxDataThroughputGraphPlugin_iid KS_VENDOR_PREFIX ".Lumorix.CxDataThroughputGraphPlugin"

class CxDataThroughputGraphPlugin : public QObject, public CxPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CxDataThroughputGraphPlugin_iid)
    Q_INTERFACES(CxPlugin)

public:
    CxDataThroughputGraphPlugin() = default;
    // The panel belongs to the host's dock once init() has handed it over.
    ~CxDataThroughputGraphPlugin() override = default;

    bool init() override;
    void loadSettings(QSettings* settings) override;
    void saveSettings(QSettings* settings) override;
    QString name() const override;
    QString author() const override;
    QString description() const override;
    void version(int& major, int& minor, int& build) const override;
    using CxPlugin::version;
    QString website() const override;

    CxDataGraphForm* panel() const { return m_panel; }

private:
    CxDataGraphForm* m_panel = nullptr;
};

// Set by init(); the host may look it up, the plug-in itself never reads it.
extern "C" Q_DECL_EXPORT CxDataThroughputGraphPlugin* g_pPlugin;
