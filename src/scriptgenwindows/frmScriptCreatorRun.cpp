// The runs of the wizard: building the object list of a mode with its steps, and writing the script.
#include "frmScriptCreator.h"

#include "ImageList.h"
#include "ScriptCreator.h"
#include "ScriptMessages.h"
#include "ScriptObjectChecklist.h"
#include "ScriptSteps.h"
#include "ScriptWriter.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "UserPrompts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

const ImageList& pictures() {
    static const ImageList images;
    return images;
}

} // namespace

void frmScriptCreator::reject() {
    if (!mbIdle && !mbCancel) {
        if (ScriptMessages::InterruptProcess()) {
            mbCancel = true;
            mStepModel->RequestCancel();
        }
        return;
    }
    // A script being written ends in order first: the writer sees the flag, and the window closes
    // once it has stopped.
    if (mbWriting) {
        mbCancel = true;
        mStepModel->RequestCancel();
        return;
    }
    closeNow();
}

void frmScriptCreator::closeNow() {
    {
        BusyCursor busy;
        SaveSettings();
    }
    QDialog::reject();
}

void frmScriptCreator::RunSelectedMode() {
    const int mode = SelectedMode();
    // The ticks of a custom list survive a step back: the list is built once per wizard run.
    if (mode == 4 && mbCustomLoaded) {
        ShowPage(Page::Custom);
        return;
    }
    {
        BusyCursor busy;
        mbIdle = false;
        fraProgressCaption->clear();
        ShowPage(Page::Progress);
        mStepModel->Clear();
        fraProgressCaption->setText(ScriptBuilder::ProgressCaption(static_cast<ScriptMode>(mode)));
        BuildList(mode);
        mbIdle = true;
    }
    if (mbCancel)
        closeNow();
}

void frmScriptCreator::BuildList(int mode) {
    ScriptBuildOutcome outcome = ScriptBuildOutcome::Cancelled;
    switch (mode) {
    case 1:
        outcome = mBuilder->BuildTimeFrameList(TimeFrame());
        break;
    case 2: {
        TARMOSQL& other = mCreator->SQLConnection();
        const bool windows = chkUseWindowsAuth->isChecked();
        other.SetServer(txtSQLServer->text());
        other.SetDatabase(cboSQLDatabase->currentText());
        other.SetUseWinNTAuth(windows);
        other.SetUserName(windows ? QString() : txtSQLUsername->text());
        other.SetPassword(windows ? QString() : txtSQLPassword->text());
        outcome = mBuilder->BuildCompareList();
        break;
    }
    case 3:
        outcome = mBuilder->BuildAllList();
        break;
    case 4:
        mCustomRows.clear();
        outcome = mBuilder->BuildCustomCandidates(mCustomRows, mSettings->ShowOwnerNameInName());
        break;
    default:
        return;
    }
    if (mbCancel || outcome == ScriptBuildOutcome::Cancelled)
        return;
    // Modes 3 and 4 always move on, to the destination and to the custom list.
    if (mode >= 3)
        outcome = ScriptBuildOutcome::Found;

    switch (outcome) {
    case ScriptBuildOutcome::Found:
        if (mode == 4) {
            FillCustomList();
            ShowPage(Page::Custom);
        } else {
            ShowPage(Page::Finish);
            cmdCreateFile->setFocus();
        }
        break;
    case ScriptBuildOutcome::NoObjects:
        if (mode == 1) {
            ShowPage(Page::VSS);
            dtpFrom->setFocus();
        } else if (mode == 2) {
            ShowPage(Page::AnotherDB);
            txtSQLPassword->setFocus();
        }
        break;
    case ScriptBuildOutcome::ConnectFailed:
        ShowPage(Page::AnotherDB);
        cboSQLDatabase->setFocus();
        break;
    case ScriptBuildOutcome::Cancelled:
        break;
    }
}

void frmScriptCreator::FillCustomList() {
    lvwItems->clear();
    for (int i = 0; i < mCustomRows.size(); ++i) {
        const ScriptCustomRow& row = mCustomRows.at(i);
        lvwItems->AddObject(i, pictures().Icon(row.Icon), row.Text, row.TypeName);
    }
    mbCustomLoaded = true;
}

void frmScriptCreator::cmdFinished_Click() {
    const QString fileName = txtFileLocation->text().trimmed();
    if (fileName.isEmpty()) {
        ScriptMessages::NoScriptFileName();
        cmdCreateFile->setFocus();
        return;
    }
    if (QFileInfo::exists(fileName) && !ScriptMessages::OverwriteScriptFile()) {
        cmdCreateFile->setFocus();
        return;
    }
    WriteScript();
}

void frmScriptCreator::WriteScript() {
    bool written = false;
    {
        BusyCursor busy;
        SaveSettings();
        mCreator->SetFileName(txtFileLocation->text().trimmed());
        ShowPage(Page::Progress);
        cmdBack->setEnabled(false);
        cmdFinished->setEnabled(false);
        mStepModel->Clear();
        mbWriting = true;
        written = ScriptWriter(*mCreator, *mStepModel).WriteScript();
        mbWriting = false;
    }
    if (mbCancel) {
        closeNow();
        return;
    }
    ShowPage(Page::Finish);
    if (!written)
        return;
    cmdFinished->setEnabled(false);
    cmdCancel->setText(QStringLiteral("Close"));
    cmdCancel->setFocus();
    ScriptMessages::ScriptGenerated();
}
