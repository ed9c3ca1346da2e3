#include "DataGraphSetupDlg.h"

#include "DataGraphForm.h"
#include "ui_DataGraphSetupDlg.h"

#include <QLineEdit>

CxDataGraphSetupDlg::CxDataGraphSetupDlg(CxDataGraphForm* form, QWidget* parent)
    : QDialog(parent), ui(new Ui_CxDataGraphSetupDlg), m_form(form)
{
    ui->setupUi(this);
    Qt::WindowFlags flags = windowFlags();
    flags &= ~(Qt::WindowMaximizeButtonHint | Qt::WindowContextHelpButtonHint);
    flags |= Qt::CustomizeWindowHint | Qt::MSWindowsFixedSizeDialogHint;
    setWindowFlags(flags);

    // The period moves in whole steps only, never to a typed value in between.
    if (auto* edit = ui->spinSamplePeriod->findChild<QLineEdit*>())
        edit->setReadOnly(true);

    ui->spinSamplePeriod->setValue(m_form->samplePeriod);
    ui->spinCapacity->setValue((m_form->maxSamples + 500000) / 1000000);
    ui->graphRefreshPeriod->setValue(m_form->refreshTimer.interval() / 1000);
    ui->measureMode->setCurrentIndex(m_form->measureMode);
    connect(ui->measureMode, SIGNAL(currentIndexChanged(int)), this, SLOT(onComboboxCurrentModeChanged(int)));

    adjustSize();
    setFixedSize(size());

    if (m_form->measureMode == 1) {
        ui->spinSamplePeriod->setEnabled(false);
        ui->label_samplePeriod->setEnabled(false);
        ui->label_bytes->setEnabled(false);
    }
}

CxDataGraphSetupDlg::~CxDataGraphSetupDlg()
{
    delete ui;
}

void CxDataGraphSetupDlg::onComboboxCurrentModeChanged(int index)
{
    if (index != 0 && index != 1)
        return;
    const bool enabled = index == 0;
    ui->spinSamplePeriod->setEnabled(enabled);
    ui->label_samplePeriod->setEnabled(enabled);
    ui->label_bytes->setEnabled(enabled);
}

void CxDataGraphSetupDlg::accept()
{
    m_form->samplePeriod = ui->spinSamplePeriod->value();
    m_form->maxSamples = ui->spinCapacity->value() * 1000000;
    m_form->measureMode = ui->measureMode->currentIndex();
    m_form->refreshTimer.setInterval(ui->graphRefreshPeriod->value() * 1000);
    QDialog::accept();
}
