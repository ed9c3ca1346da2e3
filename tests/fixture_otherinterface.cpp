// A well-formed Qt plug-in that implements some other interface than the host's CxPlugin.
#include <QObject>
#include <QtPlugin>

class CxOtherInterfacePlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "invalid.quorvane.Lumorix.SomethingElse")
};

#include "fixture_otherinterface.moc"
