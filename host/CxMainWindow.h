// The host's main window: the simulated and real cameras, opened and closed here, the
// host's own acquisition with a live view of the last frame, the image format, and the
// docks of the plug-in panels. Every action goes through the camera manager, so that the
// plug-ins hear the same signals as under the real host.
#pragma once

#include "ksApi.h"

#include <QMainWindow>
#include <QTimer>

class CxHostDelegate;
class Ui_CxMainWindow;

class CxMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    CxMainWindow();
    ~CxMainWindow() override;

    void setDelegate(CxHostDelegate* delegate);
    // Selects the camera of that identifier in the list.
    void selectCamera(const QString& id);
    // Looks for real cameras on a worker thread (it takes about a second) and lists them.
    void discoverCameras();
    // While on, the window widens whenever a camera comes or goes so that the panels' tables
    // show every column: for a first start, when the user has no size of his own yet.
    void setFitTables(bool on) { m_fitTables = on; }

public slots:
    // A message of the camera runtime, such as why a camera refused a setting.
    void showRuntimeMessage(const QString& message);

private slots:
    void refreshCameraList();
    void refreshControls();
    void onOpen();
    void onClose();
    void onAcquire();
    void onFormatChosen(int index);
    void onCameraChanged(KSCORE_HANDLE hCam);
    void onOpenFailed(const QString& id, const QString& reason);
    void updateLiveView();
    void checkConnections();

private:
    QString selectedId() const;
    KSCORE_HANDLE handleOf(const QString& id) const;

    Ui_CxMainWindow* ui;
    CxHostDelegate* m_delegate = nullptr;
    QTimer m_liveTimer;
    QTimer m_connectionTimer;
    QList<KSCORE_HANDLE> m_disconnected;
    bool m_updatingFormat = false;
    bool m_discovering = false;
    bool m_fitTables = false;
    QString m_openingId; // the camera opening in the background, while its message shows
};
