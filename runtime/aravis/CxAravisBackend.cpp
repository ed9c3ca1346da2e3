#include "CxAravisCamera.h"

std::shared_ptr<CxAravisBackend> CxAravisBackend::instance()
{
    static const std::shared_ptr<CxAravisBackend> backend = std::make_shared<CxAravisBackend>();
    return backend;
}

QList<SxCounterPatternProfile> CxAravisBackend::counterPatternProfiles()
{
    // ks-gv-camera, the GigE Vision camera this project serves for tests and demonstrations.
    return {{QStringLiteral("Quorvane"), QStringLiteral("KS-GV-Camera"), QStringLiteral("Mono16"),
             QStringLiteral("LinkTimeCounter"), QStringLiteral("TestPatternGeneratorSelector"),
             QStringLiteral("LinkUnit")}};
}

QList<SxCameraDescription> CxAravisBackend::cameras() const
{
    QMutexLocker lock(&m_listMutex);
    return m_cameras;
}

void CxAravisBackend::discover()
{
    QList<SxCameraDescription> found;
    {
        QMutexLocker lock(&m_deviceMutex);
        arv_update_device_list();
        for (unsigned int i = 0; i < arv_get_n_devices(); ++i) {
            const QString protocol = QString::fromUtf8(arv_get_device_protocol(i));
            if (protocol == QLatin1String("Fake"))
                continue;
            SxCameraDescription camera;
            camera.id = QLatin1String(kPrefix) + QString::fromUtf8(arv_get_device_id(i));
            camera.modelName = QString::fromUtf8(arv_get_device_model(i));
            camera.serialNumber = QString::fromUtf8(arv_get_device_serial_nbr(i));
            camera.userName = QString::fromUtf8(arv_get_device_vendor(i));
            const QString address = QString::fromUtf8(arv_get_device_address(i));
            camera.link = protocol == QLatin1String("GigEVision")
                              ? QStringLiteral("GigE Vision, %1").arg(address)
                              : QStringLiteral("USB3 Vision");
            found.append(camera);
        }
    }
    QMutexLocker lock(&m_listMutex);
    m_cameras = found;
}

bool CxAravisBackend::accepts(const QString& id) const
{
    return id.startsWith(QLatin1String(kPrefix));
}

std::shared_ptr<IxCamera> CxAravisBackend::open(const QString& id, QString* error)
{
    const QByteArray name = id.mid(int(qstrlen(kPrefix))).toUtf8();
    QMutexLocker lock(&m_deviceMutex);
    GError* failure = nullptr;
    ArvCamera* camera = arv_camera_new(name.constData(), &failure);
    if (!camera) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(id, failure ? QString::fromUtf8(failure->message)
                                                              : QStringLiteral("no such camera"));
        g_clear_error(&failure);
        return nullptr;
    }
    std::shared_ptr<CxAravisCamera> opened = CxAravisCamera::create(camera, id, error);
    if (opened) {
        // A camera opened by address is listed from now on, under the id it was opened by.
        QMutexLocker listLock(&m_listMutex);
        bool listed = false;
        for (const SxCameraDescription& known : std::as_const(m_cameras))
            listed = listed || known.id == id;
        if (!listed)
            m_cameras.append(opened->description());
    }
    return opened;
}
