// Loads the host's plug-ins as the real host does: every library in the plug-in folder
// through Qt's plug-in loader, cast to CxPlugin, initialised, then given the settings.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class CxPlugin;
class QPluginLoader;
class QSettings;

class CxPluginHost
{
public:
    ~CxPluginHost();

    // Loads what it can; `errors` gets one line per library that failed, with Qt's reason.
    void loadAll(const QString& folder, QSettings* settings, QStringList* errors);
    // Saves every plug-in's settings, then deletes the plug-in objects.
    void saveAndUnload(QSettings* settings);

    QList<CxPlugin*> plugins() const { return m_plugins; }

private:
    QList<QPluginLoader*> m_loaders;
    QList<CxPlugin*> m_plugins;
};
