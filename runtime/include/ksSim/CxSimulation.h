// The host runtime's set of simulated cameras: which cameras exist (from a JSON
// configuration or the built-in default), the backend that opens them and the simulated
// camera behind a handle.
#pragma once

#include "ksApi.h"
#include "ksCamera/CxCameraRegistry.h"
#include "ksSim/CxSimCamera.h"
#include "ksSim/CxSimCameraConfig.h"

#include <QByteArray>
#include <QList>
#include <QString>

class KSCORE_EXPORT CxSimulation
{
public:
    // The built-in cameras: one whose link keeps up with its sensor, one whose link does not.
    static QList<CxSimCameraConfig> defaultConfiguration();

    // Parses a configuration document; false with a message naming `sourceName` and the
    // offending field. `out` is left untouched on failure.
    static bool parseConfiguration(const QByteArray& json, const QString& sourceName,
                                   QList<CxSimCameraConfig>* out, QString* error);
    // Reads and parses a file and makes it the configured set.
    static bool loadConfigurationFile(const QString& path, QString* error);

    // The cameras CxCameraManager can open. Cameras already open keep their settings.
    static QList<CxSimCameraConfig> configuration();
    static void setConfiguration(const QList<CxSimCameraConfig>& cameras);
    // Adds a camera, or replaces the one with the same id.
    static void addCamera(const CxSimCameraConfig& camera);

    // The simulated camera behind an open handle; null for unknown handles and other kinds.
    static CxSimCamera* camera(KSCORE_HANDLE hCam);

    // The backend that opens the configured cameras, first among CxCameraRegistry's.
    static std::shared_ptr<IxCameraBackend> backend();
};

class KSCORE_EXPORT CxSimBackend : public IxCameraBackend
{
public:
    QList<SxCameraDescription> cameras() const override;
    bool accepts(const QString& id) const override;
    std::shared_ptr<IxCamera> open(const QString& id, QString* error) override;
};
