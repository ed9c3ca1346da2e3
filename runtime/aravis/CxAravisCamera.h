// One GenICam camera through Aravis behind the camera interface: the plug-in's parameter
// names mapped to GenICam features, a pump thread that hands Aravis's buffers on through a
// bounded queue, and the counters the stream statistics give.
//
// Threading: feature access, start and stop are serialised by one mutex; the pump thread
// and getImage meet only at the queue, so a capture that waits never holds up a parameter
// read or a stop, and a stop wakes it at once.
#pragma once

#include <arv.h>

#include "ksAravis/CxAravisBackend.h"

#include <QElapsedTimer>
#include <QWaitCondition>
#include <atomic>
#include <deque>
#include <optional>
#include <thread>
#include <vector>

class CxAravisCamera : public IxCamera
{
public:
    // Takes over `camera`; null and why in `error` when the camera is unusable.
    static std::shared_ptr<CxAravisCamera> create(ArvCamera* camera, const QString& id, QString* error);
    ~CxAravisCamera() override;

    SxCameraDescription description() const override;
    int getParam(const QString& name, int& value, ExCaller caller) override;
    int setParam(const QString& name, int value, ExCaller caller) override;
    QStringList parameterNames() const override;
    QList<CxCameraParam::SxEnumItem> enumItems(const QString& name) const override;
    int startAcquisition() override;
    int stopAcquisition() override;
    bool isAcquiring() const override;
    int getImage(unsigned int timeoutMs, KS_IMG* image, bool releasePrevious) override;
    int waitOutCapture(unsigned int timeoutMs) override;
    QString lastRefusal() const override;
    // False once the camera stopped answering (its heartbeat failed).
    bool isConnected() const override;
    // The frame rate and payload, a trigger it waits for, and the GigE Vision stream's
    // statistics.
    void transportInfo(KS_TRANSPORT_INFO* info) override;

private:
    CxAravisCamera(ArvCamera* camera, const QString& id);

    // Feature access under m_control; each returns KS_OK or a KS_ERROR.
    int readParam(const QString& name, int& value);
    int writeParam(const QString& name, int value, bool dryRun);
    int writeInteger(const char* feature, qint64 value, bool dryRun);
    int writeEnumeration(const char* feature, const QString& entry, bool dryRun);
    bool hasFeature(const char* feature) const;
    QString enumerationValue(const char* feature);
    int writePixelFormat(int depth, int packing, bool dryRun);
    int switchEntry(const char* feature, bool on, const QString& onEntry, QString* replaced, bool dryRun);
    int refuse(int error, const QString& why);
    int deviceRegister(int& value);

    QString waitingFor();
    void pump();
    void releaseDelivered(bool keepNewest);
    quint32 unwrapFrameId(guint64 raw);
    int counter(int selector);
    static void onControlLost(ArvDevice* device, gpointer self);

    ArvCamera* m_camera = nullptr;
    ArvDevice* m_device = nullptr;
    bool m_gigE = false;
    SxCameraDescription m_description;
    std::optional<SxCounterPatternProfile> m_profile;
    bool m_timestampReset = false; // the camera can reset its clock by command
    QString m_timestampCommand;

    mutable QMutex m_control;
    QString m_refusal;
    // The plug-in's names that have no feature of their own, kept here.
    int m_bufferPolicy = 1;
    int m_imageFormat = 0;
    int m_patternSelector = 0;
    int m_testPattern = 0;
    int m_packing = 0; // asked for while the pixel format has no packed variant
    int m_tsResetMode = 1;
    int m_tsResetSource = 0;
    int m_counterSelector = 0;
    int m_unitSelector = 0;
    int m_registerSelector = 0;
    int m_userRegister = 1;
    // What the counter pattern replaced, put back when it is switched off.
    QString m_formatBefore;
    QString m_patternBefore;
    QString m_selectorBefore;

    // The running acquisition.
    std::atomic<bool> m_acquiring{false};
    std::atomic<bool> m_lost{false};
    ArvStream* m_stream = nullptr;
    std::thread m_pumpThread;
    std::atomic<bool> m_pumpStop{false};
    QMutex m_queueMutex;
    QWaitCondition m_queueWake;
    std::deque<ArvBuffer*> m_queue;    // complete frames not yet handed on
    std::deque<ArvBuffer*> m_handedOn; // handed to the reader, oldest first
    bool m_handedOnOrphaned = false;   // their stream is gone: free them instead of pushing back
    bool m_unsafePolicy = false;
    bool m_patternRun = false;
    std::atomic<quint64> m_transferred{0};
    std::atomic<quint64> m_failed{0};
    std::atomic<quint64> m_apiSkipped{0};
    quint64 m_missingFrames = 0; // what the last stream saw, once it is gone
    bool m_haveFrameId = false;
    guint64 m_lastRawId = 0;
    quint64 m_wraps = 0;
    bool m_rebase = false;
    bool m_haveRebase = false;
    qint64 m_rebaseNs = 0;
    QElapsedTimer m_sinceStart;
};
