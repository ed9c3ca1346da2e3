#include "NetworkNamespace.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace {
const char* const kMarker = "KS_NETWORK_NAMESPACE";
}

bool isNamespaced()
{
    return qEnvironmentVariableIsSet(kMarker);
}

int runNamespaced(const QString& program, const QStringList& arguments, int timeoutMs, QString* unavailable)
{
    QProcess probe;
    probe.start(QStringLiteral("unshare"), {QStringLiteral("-n"), QStringLiteral("true")});
    if (!probe.waitForFinished(10000) || probe.exitStatus() != QProcess::NormalExit ||
        probe.exitCode() != 0) {
        if (unavailable)
            *unavailable = QStringLiteral("network namespaces are not allowed here (unshare -n: %1)")
                               .arg(probe.error() == QProcess::FailedToStart
                                        ? QStringLiteral("not installed")
                                        : QString::fromLocal8Bit(probe.readAllStandardError()).trimmed());
        return -1;
    }
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kMarker), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.start(
        QStringLiteral("unshare"),
        QStringList{QStringLiteral("-n"), QStringLiteral("sh"), QStringLiteral("-c"),
                    QStringLiteral("ip link set lo up && ip addr add 127.0.0.2/8 dev lo && exec \"$@\""),
                    QStringLiteral("sh"), program} +
            arguments);
    if (!child.waitForFinished(timeoutMs)) {
        child.kill();
        child.waitForFinished(5000);
        return 1;
    }
    return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : 1;
}
