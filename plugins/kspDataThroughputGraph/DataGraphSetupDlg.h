// The panel's setup dialog: measurement mode, sample period, store capacity and the live
// graph's refresh period. It edits the form's fields only when the user confirms; the
// form's on_btnSetup_clicked applies the consequences (clearing data, rebuilding rows).
#pragma once

#include <QDialog>

class CxDataGraphForm;
class Ui_CxDataGraphSetupDlg;

class CxDataGraphSetupDlg : public QDialog
{
    Q_OBJECT

public:
    CxDataGraphSetupDlg(CxDataGraphForm* form, QWidget* parent);
    ~CxDataGraphSetupDlg() override;

    void accept() override;

private slots:
    void onComboboxCurrentModeChanged(int index);

private:
    Ui_CxDataGraphSetupDlg* ui;
    CxDataGraphForm* m_form;
};
