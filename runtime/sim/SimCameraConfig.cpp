#include "ksSim/CxSimCameraConfig.h"

QString CxSimCameraConfig::pacingName(ExPacing pacing)
{
    switch (pacing) {
    case ExPacing::RealTime:
        return QStringLiteral("realtime");
    case ExPacing::Unpaced:
        return QStringLiteral("unpaced");
    case ExPacing::Replay:
        return QStringLiteral("replay");
    }
    return QString();
}

SxCameraDescription CxSimCameraConfig::description() const
{
    return {id,
            modelName,
            serialNumber,
            userName,
            nameSelection,
            QStringLiteral("%1, %2 MB/s").arg(link.type).arg(link.rateMBps),
            hasParameterSet};
}
