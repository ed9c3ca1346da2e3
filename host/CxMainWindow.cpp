#include "CxMainWindow.h"

#include "CxCameraManager.h"
#include "CxDarkTheme.h"
#include "CxHostDelegate.h"
#include "ksCamera/CxCameraRegistry.h"
#include "ui_MainWindow.h"

#include <QActionGroup>
#include <QImage>
#include <QPixmap>
#include <QThread>

namespace {
enum : int
{
    colId,
    colModel,
    colLink,
    colState,
};
const char* const kLevelNames[] = {
    QT_TRANSLATE_NOOP("CxMainWindow", "0 - Basic"), QT_TRANSLATE_NOOP("CxMainWindow", "1 - Standard"),
    QT_TRANSLATE_NOOP("CxMainWindow", "2 - Advanced"), QT_TRANSLATE_NOOP("CxMainWindow", "3 - Expert"),
    QT_TRANSLATE_NOOP("CxMainWindow", "4 - Developer")};

// The high byte of each pixel as an 8-bit grey image; enough for a glance at the stream.
QImage toGrey(const KS_IMG& image)
{
    const int bytes = qMax(1u, image.bytesPerPixel);
    QImage grey(int(image.width), int(image.height), QImage::Format_Grayscale8);
    const auto* data = static_cast<const uchar*>(image.data);
    for (uint y = 0; y < image.height; ++y) {
        uchar* line = grey.scanLine(int(y));
        const uchar* source = data + quint64(y) * image.width * bytes;
        for (uint x = 0; x < image.width; ++x)
            line[x] = source[x * bytes + bytes - 1];
    }
    return grey;
}
} // namespace

CxMainWindow::CxMainWindow() : ui(new Ui_CxMainWindow)
{
    ui->setupUi(this);
    connect(ui->actionQuit, &QAction::triggered, this, &QWidget::close);
    connect(ui->actionRefresh, &QAction::triggered, this, &CxMainWindow::discoverCameras);
    connect(ui->btnRefresh, &QPushButton::clicked, this, &CxMainWindow::discoverCameras);
    connect(ui->btnOpen, &QPushButton::clicked, this, &CxMainWindow::onOpen);
    connect(ui->btnClose, &QPushButton::clicked, this, &CxMainWindow::onClose);
    connect(ui->btnAcquire, &QPushButton::clicked, this, &CxMainWindow::onAcquire);
    connect(ui->comboFormat, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &CxMainWindow::onFormatChosen);
    connect(ui->cameraTable, &QTableWidget::itemSelectionChanged, this, &CxMainWindow::refreshControls);

    CxCameraManager* manager = CxCameraManager::instance();
    connect(manager, &CxCameraManager::cameraOpened, this, &CxMainWindow::onCameraChanged);
    // A new row may need room, after the panels have taken it; runs and mode switches keep
    // the window as it is.
    connect(manager, &CxCameraManager::cameraOpened, this, [this]() {
        if (m_fitTables)
            QTimer::singleShot(0, this, [this]() { CxDarkTheme::fitTables(this); });
    });
    connect(manager, &CxCameraManager::cameraClosed, this, &CxMainWindow::onCameraChanged,
            Qt::QueuedConnection);
    connect(manager, &CxCameraManager::acquisitionStarted, this, &CxMainWindow::onCameraChanged);
    connect(manager, &CxCameraManager::acquisitionFinished, this, &CxMainWindow::onCameraChanged);
    connect(manager, &CxCameraManager::imageFormatChanged, this, &CxMainWindow::onCameraChanged);
    connect(manager, &CxCameraManager::cameraOpenFailed, this, &CxMainWindow::onOpenFailed);

    m_liveTimer.setInterval(100);
    connect(&m_liveTimer, &QTimer::timeout, this, &CxMainWindow::updateLiveView);
    m_liveTimer.start();
    // A real camera that vanishes says so only when asked.
    m_connectionTimer.setInterval(1000);
    connect(&m_connectionTimer, &QTimer::timeout, this, &CxMainWindow::checkConnections);
    m_connectionTimer.start();
    refreshCameraList();
}

CxMainWindow::~CxMainWindow()
{
    delete ui;
}

void CxMainWindow::setDelegate(CxHostDelegate* delegate)
{
    m_delegate = delegate;
    connect(delegate, &CxHostDelegate::cameraControlChanged, this, &CxMainWindow::onCameraChanged);
    auto* levels = new QActionGroup(this);
    for (int level = 0; level < 5; ++level) {
        QAction* action = ui->menuLevel->addAction(tr(kLevelNames[level]));
        action->setCheckable(true);
        action->setChecked(level == delegate->level());
        levels->addAction(action);
        connect(action, &QAction::triggered, this, [this, level]() { m_delegate->setLevel(level); });
    }
    refreshControls();
}

void CxMainWindow::selectCamera(const QString& id)
{
    for (int row = 0; row < ui->cameraTable->rowCount(); ++row)
        if (ui->cameraTable->item(row, colId)->text() == id)
            ui->cameraTable->selectRow(row);
}

QString CxMainWindow::selectedId() const
{
    const QList<QTableWidgetItem*> selected = ui->cameraTable->selectedItems();
    return selected.isEmpty() ? QString() : ui->cameraTable->item(selected.first()->row(), colId)->text();
}

KSCORE_HANDLE CxMainWindow::handleOf(const QString& id) const
{
    CxCameraManager* manager = CxCameraManager::instance();
    for (KSCORE_HANDLE hCam : manager->openedCameras())
        if (manager->cameraId(hCam) == id)
            return hCam;
    return nullptr;
}

void CxMainWindow::refreshCameraList()
{
    const QString selected = selectedId();
    const QList<SxCameraDescription> cameras = CxCameraRegistry::cameras();
    ui->cameraTable->setRowCount(cameras.size());
    CxCameraManager* manager = CxCameraManager::instance();
    for (int row = 0; row < cameras.size(); ++row) {
        const SxCameraDescription& camera = cameras[row];
        const KSCORE_HANDLE hCam = handleOf(camera.id);
        QString state = tr("Closed");
        if (hCam && !manager->isCameraConnected(hCam))
            state = tr("Disconnected");
        else if (hCam && m_delegate && !m_delegate->isCameraControlEnabled(hCam))
            state = tr("Measured by plug-in");
        else if (hCam && manager->isCameraRunning(hCam))
            state = tr("Acquiring");
        else if (hCam)
            state = tr("Open", "camera state");
        const QStringList texts = {camera.id, camera.modelName, camera.link, state};
        for (int column = 0; column < texts.size(); ++column) {
            QTableWidgetItem* item = ui->cameraTable->item(row, column);
            if (!item) {
                item = new QTableWidgetItem;
                ui->cameraTable->setItem(row, column, item);
            }
            item->setText(texts[column]);
        }
    }
    ui->cameraTable->resizeColumnsToContents();
    if (selected.isEmpty() && !cameras.isEmpty())
        ui->cameraTable->selectRow(0);
    refreshControls();
}

void CxMainWindow::refreshControls()
{
    const KSCORE_HANDLE hCam = handleOf(selectedId());
    const bool free = hCam && (!m_delegate || m_delegate->isCameraControlEnabled(hCam));
    const bool running = hCam && CxCameraManager::instance()->isCameraRunning(hCam);
    ui->btnOpen->setEnabled(!selectedId().isEmpty() && !hCam);
    ui->btnClose->setEnabled(free);
    ui->btnAcquire->setEnabled(free);
    ui->btnAcquire->setText(running ? tr("Stop Acquisition") : tr("Start Acquisition"));

    m_updatingFormat = true;
    ui->comboFormat->clear();
    CxCameraParameters* parameters = hCam ? CxCameraManager::instance()->cameraParameters(hCam) : nullptr;
    CxCameraParam* format =
        parameters ? parameters->findParam(QStringLiteral("imgdataformat"), false) : nullptr;
    if (format) {
        for (const CxCameraParam::SxEnumItem& item : format->enumItems())
            ui->comboFormat->addItem(item.displayText, item.value);
        ui->comboFormat->setCurrentIndex(ui->comboFormat->findData(format->value().toInt()));
    }
    ui->comboFormat->setEnabled(free && format && !running);
    m_updatingFormat = false;
}

void CxMainWindow::onOpen()
{
    const QString id = selectedId();
    // A real camera takes up to seconds to open, or to give up.
    if (!id.isEmpty() && CxCameraManager::instance()->openCameraInBackground(id)) {
        statusBar()->showMessage(tr("Opening camera %1...").arg(id));
        m_openingId = id;
        ui->btnOpen->setEnabled(false);
    }
}

void CxMainWindow::onOpenFailed(const QString& id, const QString& reason)
{
    m_openingId.clear();
    statusBar()->showMessage(tr("Camera %1 could not be opened: %2").arg(id, reason), 10000);
    refreshControls();
}

void CxMainWindow::discoverCameras()
{
    if (m_discovering)
        return;
    m_discovering = true;
    ui->btnRefresh->setEnabled(false);
    statusBar()->showMessage(tr("Looking for cameras..."));
    QThread* worker = QThread::create([]() { CxCameraRegistry::discover(); });
    connect(worker, &QThread::finished, this, [this, worker]() {
        worker->deleteLater();
        m_discovering = false;
        ui->btnRefresh->setEnabled(true);
        refreshCameraList();
        statusBar()->showMessage(tr("%n camera(s) found.", nullptr, ui->cameraTable->rowCount()), 5000);
    });
    worker->start();
}

void CxMainWindow::showRuntimeMessage(const QString& message)
{
    statusBar()->showMessage(message, 15000);
}

void CxMainWindow::onClose()
{
    if (KSCORE_HANDLE hCam = handleOf(selectedId()))
        CxCameraManager::instance()->closeCamera(hCam);
}

void CxMainWindow::onAcquire()
{
    const KSCORE_HANDLE hCam = handleOf(selectedId());
    if (!hCam)
        return;
    CxCameraManager* manager = CxCameraManager::instance();
    const bool done =
        manager->isCameraRunning(hCam) ? manager->stopAcquisition(hCam) : manager->startAcquisition(hCam);
    if (!done)
        statusBar()->showMessage(tr("The camera refused the acquisition command."), 5000);
}

void CxMainWindow::onFormatChosen(int index)
{
    const KSCORE_HANDLE hCam = handleOf(selectedId());
    if (m_updatingFormat || !hCam || index < 0)
        return;
    if (!CxCameraManager::instance()->setImageFormat(hCam, ui->comboFormat->itemData(index).toInt()))
        statusBar()->showMessage(tr("The camera refused the image format."), 5000);
}

void CxMainWindow::onCameraChanged(KSCORE_HANDLE)
{
    // The camera opened in the background is here: its "Opening" message has done its job.
    if (!m_openingId.isEmpty() && handleOf(m_openingId)) {
        statusBar()->clearMessage();
        m_openingId.clear();
    }
    refreshCameraList();
}

void CxMainWindow::updateLiveView()
{
    const KSCORE_HANDLE hCam = handleOf(selectedId());
    if (!hCam || !CxCameraManager::instance()->isCameraRunning(hCam))
        return;
    KS_IMG image = KS_IMG();
    image.size = sizeof(KS_IMG);
    if (!ksApi_GetImage(hCam, 50, &image, nullptr, true) || !image.data)
        return;
    const QImage grey = toGrey(image);
    ui->liveView->setPixmap(QPixmap::fromImage(grey).scaled(ui->liveView->size(), Qt::KeepAspectRatio));
    ui->liveView->setToolTip(
        tr("Frame %1, %2 x %3").arg(image.frameNumber).arg(image.width).arg(image.height));
}

void CxMainWindow::checkConnections()
{
    CxCameraManager* manager = CxCameraManager::instance();
    QList<KSCORE_HANDLE> disconnected;
    for (KSCORE_HANDLE hCam : manager->openedCameras())
        if (!manager->isCameraConnected(hCam))
            disconnected.append(hCam);
    if (disconnected == m_disconnected)
        return;
    m_disconnected = disconnected;
    refreshCameraList();
}
