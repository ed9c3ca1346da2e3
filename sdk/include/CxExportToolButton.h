// The host's export button: a tool button with a menu of export types. Clicking it emits
// exportClicked() with the chosen type; the owner renders what it wants to export and
// passes it back to exportImage().
#pragma once

#include "ksCoreGlobal.h"

#include <QImage>
#include <QList>
#include <QToolButton>

class QMenu;

class KSCOREGUI_EXPORT CxExportToolButton : public QToolButton
{
    Q_OBJECT

public:
    enum ExExportType
    {
        etNone = 0,
        etSaveToFile = 1,
        etCopyToClipboard = 2,
    };

    explicit CxExportToolButton(QWidget* parent = nullptr);

    void addSupportedExportType(ExExportType type);
    QList<ExExportType> supportedExportTypes() const { return m_types; }
    // Unsupported types are ignored.
    void setExportType(ExExportType type);
    // Settings bring arbitrary ints: only a known type reaches the enum.
    void setExportType(int type)
    {
        if (type == etSaveToFile || type == etCopyToClipboard)
            setExportType(static_cast<ExExportType>(type));
    }
    ExExportType exportType() const { return m_type; }

    // Saves the image to a file chosen in a save dialog with `filter` (the format follows
    // the chosen file's suffix) or copies it to the clipboard. True when done.
    bool exportImage(const QImage& image, ExExportType type, QWidget* parent, const QString& filter);

    // A file name to use instead of asking; for unattended runs. Empty asks again.
    void setPresetFileName(const QString& fileName) { m_presetFileName = fileName; }
    QString lastExportedFile() const { return m_lastFile; }

    static QString exportTypeText(ExExportType type);

signals:
    void exportClicked(int exportType);

private slots:
    void onClicked();
    void onMenuTriggered(QAction* action);

private:
    QMenu* m_menu;
    QList<ExExportType> m_types;
    ExExportType m_type = etNone;
    QString m_presetFileName;
    QString m_lastFile;
};
