// The plug-in module as the host meets it: loaded through Qt's plug-in loader, cast to the
// host's interface, initialised, and handed the settings store.

#include "CxPlugin.h"
#include "PanelTestSupport.h"

#include <QLibrary>
#include <QPluginLoader>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

using namespace paneltest;

class TestPlugin : public QObject
{
    Q_OBJECT

private slots:
    void loaderReadsTheMetadataAndCastsAsTheHostDoes();
    void initDocksThePanelAndSettingsPassThroughTheGroup();
    void whatIsNotOurPluginIsRejected();
};

void TestPlugin::loaderReadsTheMetadataAndCastsAsTheHostDoes()
{
    QPluginLoader loader(QStringLiteral(PLUGIN_PATH));
    const QJsonObject meta = loader.metaData();
    QCOMPARE(meta.value("IID").toString(),
             QStringLiteral("invalid.quorvane.Lumorix.CxDataThroughputGraphPlugin"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("CxDataThroughputGraphPlugin"));
    QVERIFY2(!meta.contains("MetaData"), "the plug-in carries no JSON metadata of its own");

    QObject* root = loader.instance();
    QVERIFY2(root, qPrintable(loader.errorString()));
    QCOMPARE(loader.instance(), root);

    auto* plugin = qobject_cast<CxPlugin*>(root);
    QVERIFY(plugin);
    QCOMPARE(root->qt_metacast("CxPlugin"), static_cast<void*>(plugin));
    QCOMPARE(root->qt_metacast(CxPlugin_iid), static_cast<void*>(plugin));
    QVERIFY(static_cast<void*>(plugin) != static_cast<void*>(root));
    QCOMPARE(root->qt_metacast("CxDataThroughputGraphPlugin"), static_cast<void*>(root));
    QCOMPARE(root->qt_metacast(nullptr), nullptr);

    QCOMPARE(plugin->name(), QStringLiteral("Data Throughput Graph Tool"));
    QCOMPARE(plugin->description(),
             QStringLiteral("Measures the available bandwidth during time and shows results in graph."));
    QVERIFY(!plugin->author().isEmpty());
    QVERIFY(plugin->website().endsWith(QLatin1String(".invalid")));
    int major = -1, minor = -1, build = -1, coreMajor = 0, coreMinor = 0, coreBuild = 0;
    plugin->version(major, minor, build);
    ksCoreVersion(coreMajor, coreMinor, coreBuild);
    QCOMPARE(QList<int>({major, minor, build}), QList<int>({coreMajor, coreMinor, coreBuild}));

    // A deleted root object is made anew on the next request.
    delete root;
    QObject* fresh = loader.instance();
    QVERIFY(fresh);
    QVERIFY(qobject_cast<CxPlugin*>(fresh));
}

void TestPlugin::initDocksThePanelAndSettingsPassThroughTheGroup()
{
    QPluginLoader loader(QStringLiteral(PLUGIN_PATH));
    auto* plugin = qobject_cast<CxPlugin*>(loader.instance());
    QVERIFY(plugin);
    QTemporaryDir dir;
    QSettings settings(dir.filePath("host.ini"), QSettings::IniFormat);
    settings.setValue("Other/key", 1);

    // Before init there is no panel: the group opens and closes, nothing is written.
    plugin->loadSettings(&settings);
    plugin->saveSettings(&settings);
    QCOMPARE(settings.group(), QString());
    QCOMPARE(settings.allKeys(), QStringList({"Other/key"}));

    recorder()->clearCalls();
    QVERIFY(plugin->init());
    QCOMPARE(recorder()->calls().filter("addPluginWidget"), QStringList({"addPluginWidget 8 12 0"}));
    // The module carries its own copy of the panel class, so it is known by name here.
    QWidget* panel = recorder()->dockedWidgets().last().widget;
    QVERIFY(panel);
    QCOMPARE(panel->metaObject()->className(), "CxDataGraphForm");
    QLibrary library(QStringLiteral(PLUGIN_PATH));
    auto** global = reinterpret_cast<QObject**>(library.resolve("g_pPlugin"));
    QVERIFY(global);
    QCOMPARE(*global, loader.instance());

    settings.setValue("DataThroughputGraphPlugin/DTGTSamplePeriod", 8192);
    settings.setValue("DataThroughputGraphPlugin/DTGTMaxSamples", "not a number");
    plugin->loadSettings(&settings);
    settings.clear();
    plugin->saveSettings(&settings);
    QCOMPARE(settings.group(), QString());
    QCOMPARE(settings.value("DataThroughputGraphPlugin/DTGTSamplePeriod").toInt(), 8192);
    QCOMPARE(settings.value("DataThroughputGraphPlugin/DTGTMaxSamples").toInt(), 0);
    QCOMPARE(settings.value("DataThroughputGraphPlugin/DTGTLiveGraph").toInt(), 1);
    delete panel;
}

void TestPlugin::whatIsNotOurPluginIsRejected()
{
    QPluginLoader notAPlugin(QStringLiteral(NOT_A_PLUGIN_PATH));
    QVERIFY(!notAPlugin.load());
    QVERIFY(!notAPlugin.errorString().isEmpty());

    QPluginLoader other(QStringLiteral(OTHER_INTERFACE_PATH));
    QObject* root = other.instance();
    QVERIFY2(root, qPrintable(other.errorString()));
    QCOMPARE(qobject_cast<CxPlugin*>(root), nullptr);
}

QTEST_MAIN(TestPlugin)
#include "tst_plugin.moc"
