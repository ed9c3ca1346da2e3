#include "ksCamera/CxCallLog.h"

QString SxCallLogEntry::toString() const
{
    switch (kind) {
    case GetParam:
        return QStringLiteral("get %1").arg(name);
    case SetParam:
        return QStringLiteral("set %1 %2").arg(name).arg(value);
    case Start:
        return QStringLiteral("start");
    case Stop:
        return QStringLiteral("stop");
    case GetImage:
        return QStringLiteral("image");
    case HostGetParam:
        return QStringLiteral("host get %1").arg(name);
    case HostSetParam:
        return QStringLiteral("host set %1 %2").arg(name).arg(value);
    }
    return QString();
}

CxCallLog::CxCallLog(std::shared_ptr<IxCamera> camera, bool enabled)
    : CxCameraDecorator(std::move(camera)), m_enabled(enabled)
{
}

void CxCallLog::setEnabled(bool enabled)
{
    m_enabled = enabled;
}

void CxCallLog::record(SxCallLogEntry::ExKind kind, const QString& name, int value, int error)
{
    if (!m_enabled)
        return;
    QMutexLocker lock(&m_mutex);
    if (m_log.size() < kLimit) {
        m_log.push_back({kind, name, value, error == KS_OK, error});
        return;
    }
    m_log[m_oldest] = {kind, name, value, error == KS_OK, error};
    m_oldest = (m_oldest + 1) % kLimit;
}

QList<SxCallLogEntry> CxCallLog::callLog() const
{
    QMutexLocker lock(&m_mutex);
    QList<SxCallLogEntry> entries;
    entries.reserve(qsizetype(m_log.size()));
    for (size_t i = 0; i < m_log.size(); ++i)
        entries.append(m_log[(m_oldest + i) % m_log.size()]);
    return entries;
}

QStringList CxCallLog::callLogText(bool withImages) const
{
    QStringList lines;
    for (const SxCallLogEntry& entry : callLog())
        if (withImages || entry.kind != SxCallLogEntry::GetImage)
            lines.append(entry.toString());
    return lines;
}

void CxCallLog::clearCallLog()
{
    QMutexLocker lock(&m_mutex);
    m_log.clear();
    m_oldest = 0;
}

int CxCallLog::getParam(const QString& name, int& value, ExCaller caller)
{
    const int error = m_camera->getParam(name, value, caller);
    const bool host = caller == ExCaller::Host;
    // The host's reads keep what the camera left in `value`; the API's only what it read.
    record(host ? SxCallLogEntry::HostGetParam : SxCallLogEntry::GetParam, name,
           host || error == KS_OK ? value : 0, error);
    return error;
}

int CxCallLog::setParam(const QString& name, int value, ExCaller caller)
{
    const int error = m_camera->setParam(name, value, caller);
    record(caller == ExCaller::Host ? SxCallLogEntry::HostSetParam : SxCallLogEntry::SetParam, name, value,
           error);
    return error;
}

int CxCallLog::startAcquisition()
{
    const int error = m_camera->startAcquisition();
    record(SxCallLogEntry::Start, QString(), 0, error);
    return error;
}

int CxCallLog::stopAcquisition()
{
    const int error = m_camera->stopAcquisition();
    record(SxCallLogEntry::Stop, QString(), 0, error);
    return error;
}

int CxCallLog::getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious)
{
    const int error = m_camera->getImage(timeoutMs, image, releasePrevious);
    record(SxCallLogEntry::GetImage, QString(), error == KS_OK && image->data ? int(image->frameNumber) : 0,
           error);
    return error;
}
