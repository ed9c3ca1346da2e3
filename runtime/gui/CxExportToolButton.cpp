#include "CxExportToolButton.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QImageWriter>
#include <QMenu>
#include <QMessageBox>

CxExportToolButton::CxExportToolButton(QWidget* parent) : QToolButton(parent), m_menu(new QMenu(this))
{
    setPopupMode(QToolButton::MenuButtonPopup);
    setMenu(m_menu);
    connect(this, SIGNAL(clicked()), this, SLOT(onClicked()));
    connect(m_menu, SIGNAL(triggered(QAction*)), this, SLOT(onMenuTriggered(QAction*)));
}

QString CxExportToolButton::exportTypeText(ExExportType type)
{
    switch (type) {
    case etSaveToFile:
        return tr("Save to File...");
    case etCopyToClipboard:
        return tr("Copy to Clipboard");
    case etNone:
        break;
    }
    return QString();
}

void CxExportToolButton::addSupportedExportType(ExExportType type)
{
    if (type == etNone || m_types.contains(type))
        return;
    m_types.append(type);
    QAction* action = m_menu->addAction(exportTypeText(type));
    action->setData(int(type));
    if (m_type == etNone)
        setExportType(type);
}

void CxExportToolButton::setExportType(ExExportType type)
{
    if (!m_types.contains(type))
        return;
    m_type = type;
    setToolTip(exportTypeText(type));
}

void CxExportToolButton::onClicked()
{
    if (m_type != etNone)
        emit exportClicked(int(m_type));
}

void CxExportToolButton::onMenuTriggered(QAction* action)
{
    setExportType(static_cast<ExExportType>(action->data().toInt()));
    onClicked();
}

bool CxExportToolButton::exportImage(const QImage& image, ExExportType type, QWidget* parent,
                                     const QString& filter)
{
    if (image.isNull())
        return false;
    if (type == etCopyToClipboard) {
        QApplication::clipboard()->setImage(image);
        return true;
    }
    if (type != etSaveToFile)
        return false;
    QString fileName = m_presetFileName;
    if (fileName.isEmpty())
        fileName = QFileDialog::getSaveFileName(parent, tr("Export Image"), QString(), filter);
    if (fileName.isEmpty())
        return false;
    // The writer picks the format from the suffix; without one, PNG.
    const QByteArray format = QFileInfo(fileName).suffix().isEmpty() ? QByteArray("png") : QByteArray();
    QImageWriter writer(fileName, format);
    if (!writer.write(image)) {
        if (m_presetFileName.isEmpty())
            QMessageBox::critical(
                parent, tr("Export Image"),
                tr("The image could not be saved to %1:\n%2").arg(fileName, writer.errorString()));
        return false;
    }
    m_lastFile = fileName;
    return true;
}
