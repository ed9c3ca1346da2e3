#include "CxPluginHost.h"

#include "CxPlugin.h"

#include <QDir>
#include <QLibrary>
#include <QPluginLoader>

CxPluginHost::~CxPluginHost()
{
    qDeleteAll(m_loaders);
}

void CxPluginHost::loadAll(const QString& folder, QSettings* settings, QStringList* errors)
{
    const QDir dir(folder);
    if (!dir.exists()) {
        errors->append(QStringLiteral("%1: no such plug-in folder").arg(folder));
        return;
    }
    const QStringList files = dir.entryList(QDir::Files, QDir::Name);
    for (const QString& file : files) {
        const QString path = dir.absoluteFilePath(file);
        if (!QLibrary::isLibrary(path))
            continue;
        auto* loader = new QPluginLoader(path);
        QObject* root = loader->instance();
        auto* plugin = qobject_cast<CxPlugin*>(root);
        if (!plugin) {
            errors->append(root ? QStringLiteral("%1: not a Lumorix plug-in (interface %2 missing)")
                                      .arg(path, QLatin1String(CxPlugin_iid))
                                : QStringLiteral("%1: %2").arg(path, loader->errorString()));
            loader->unload();
            delete loader;
            continue;
        }
        plugin->init();
        plugin->loadSettings(settings);
        m_loaders.append(loader);
        m_plugins.append(plugin);
    }
}

void CxPluginHost::saveAndUnload(QSettings* settings)
{
    for (CxPlugin* plugin : std::as_const(m_plugins)) {
        plugin->saveSettings(settings);
        delete dynamic_cast<QObject*>(plugin);
    }
    m_plugins.clear();
}
