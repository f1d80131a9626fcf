#include "frmEditObjectText.h"

#include "DefaultTextTags.h"
#include "GeneralHelpers.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMOObjectVSS.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"
#include "frmComment.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmItemDescription.h"
#include "mdiMain.h"
#include "modParser.h"

#include <QFontMetrics>
#include <QMdiSubWindow>
#include <QVBoxLayout>

#include <algorithm>
#include <stdexcept>

namespace {
// The status bar is 250 twips high.
constexpr int statusBarTwips = 250;

double twipsPerPixelY() {
    return ScreenMetrics::Current().twipsPerPixelY;
}

// The tags of a default text as they stand now, for a new object of the current project.
DefaultTextTagValues creationTagValues(const TARMODatabase& database, const QString& table,
                                       const QString& owner) {
    DefaultTextTagValues values;
    values.Created = QDateTime::currentDateTime();
    values.TableName = table;
    values.TableOwner = owner;
    if (const TARMOProject* project = database.Project().get()) {
        values.VSSUserName = project->VSS().UserName();
        values.SQLUserName = project->SQL().UserName();
    }
    return values;
}
} // namespace

frmEditObjectText::frmEditObjectText(mdiMain& main, QWidget* parent)
    : EditorChildWindow(main, parent)
    , mtxtSQL(new SQLTextEditor(this))
    , mStatusBar(new StatusPanels(this)) {
    setObjectName(QStringLiteral("frmEditObjectText"));
    mtxtSQL->setObjectName(QStringLiteral("txtSQL"));
    mStatusBar->setObjectName(QStringLiteral("picStatusBar"));
    mStatusBar->setFixedHeight(static_cast<int>(statusBarTwips / twipsPerPixelY()) + 4);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(mtxtSQL, 1);
    layout->addWidget(mStatusBar);
    SetEditor(mtxtSQL);
    SetStatusPanels(mStatusBar);

    connect(mtxtSQL, &SQLTextEditor::bcCaretMove, this,
            [this](long, long, long column, long line) { caretMoved(column, line); });
}

frmEditObjectText::~frmEditObjectText() = default;

void frmEditObjectText::Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().OpenObjectWindow = [window](TARMODatabase& database,
                                                 std::shared_ptr<DispatchedObject> object) -> QWidget* {
        auto* form = new frmEditObjectText(*window);
        form->OpenObject(database, std::move(object));
        return form;
    };
    main.Factories().NewObjectWindow = [window](TARMODatabase& database,
                                                std::shared_ptr<DispatchedObject> object,
                                                const QString& strDefaultText, const QString& strTableName,
                                                const QString& strTableOwner) -> QWidget* {
        // Only a trigger belongs to the table whose node was selected; for any other kind the table
        // tags vanish.
        const bool onTable = object && object->ObjectType() == QLatin1String("Trigger");
        const DefaultTextTagValues values = creationTagValues(database, onTable ? strTableName : QString(),
                                                              onTable ? strTableOwner : QString());
        auto* form = new frmEditObjectText(*window);
        form->NewObject(database, std::move(object), ReplaceDefaultTextTags(strDefaultText, values));
        return form;
    };
}

TARMOObjectVSS& frmEditObjectText::object() const {
    return *mVersioned;
}

// --- Opening and loading

void frmEditObjectText::NewObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                                  const QString& strDefaultText) {
    openCommon(sdbCurrent, std::move(objToOpen), true);
    LoadItem(strDefaultText);
}

void frmEditObjectText::OpenObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen) {
    openCommon(sdbCurrent, std::move(objToOpen), false);
    LoadItem(QString());
}

void frmEditObjectText::openCommon(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                                   bool bNew) {
    BeginOpening(sdbCurrent);
    mbNewObject = bNew;
    mobjCurrent = std::move(objToOpen);
    mVersioned = mobjCurrent ? mobjCurrent->Versioned() : nullptr;
    if (!mVersioned)
        throw std::invalid_argument("frmEditObjectText: the object is not a versioned object");
    rebuildPanels(QString());
    SetStatus(QString());
    mbCanGetLatest = mbCanEdit = mbCanCheckOut = mbCanUndoCheckOut = false;
    mbCanPermissions = mbCanDescription = mbCanOpenFile = mbCanSaveFile = false;
}

void frmEditObjectText::LoadItem(const QString& strDefaultText) {
    mtxtSQL->LoadFile(object().FileName());
    if (!strDefaultText.isEmpty())
        mtxtSQL->SetText(strDefaultText);
    mbCanGetLatest = mbCanEdit = mbCanCheckOut = mbCanUndoCheckOut = false;
    mbCanPermissions = mbCanDescription = mbCanOpenFile = mbCanSaveFile = false;
    mstrCaption.clear();
    SetStatus(QStringLiteral("Getting Data"));
    if (object().IsNew()) {
        mbCanEdit = mbCanOpenFile = mbCanSaveFile = true;
    } else {
        mbCanPermissions = mbCanDescription = true;
        if (object().IsCheckedOutByMe())
            mbCanEdit = mbCanUndoCheckOut = mbCanOpenFile = mbCanSaveFile = true;
        else
            mbCanGetLatest = mbCanCheckOut = true;
    }
    mlngIcon = Main().GetIconIndex(object().IconToUse(), false);
    if (mlngIcon > 0) {
        setWindowIcon(Main().Images().IconAt(static_cast<int>(mlngIcon)));
        if (QMdiSubWindow* sub = subWindow())
            sub->setWindowIcon(windowIcon());
    }
    RefreshCaption();
    // Read again from its file, the text holds nothing unsaved.
    TextSaved();
    SetStatus(QString());
    NotifyCommandState();
}

void frmEditObjectText::RefreshCaption() {
    if (!mVersioned)
        return;
    if (object().IsNew()) {
        mstrCaption = QStringLiteral("New (") + object().ObjectDisplayName() + QLatin1Char(')');
    } else {
        QString owner;
        if (Database() && Database()->ShowOwnerNameInName() && !object().Owner().isEmpty())
            owner = object().Owner() + QLatin1Char('.');
        mstrCaption = owner + object().Name() + QStringLiteral(" (") + object().ObjectDisplayName() +
                      QStringLiteral(") - Edit");
        if (!object().IsCheckedOutByMe())
            mstrCaption += QStringLiteral(" [Read Only]");
    }
    setWindowTitle(mstrCaption);
}

// --- Status bar

void frmEditObjectText::rebuildPanels(const QString& onCloseText) {
    const QString status = mStatusBar->PanelText(QStringLiteral("Status"));
    const QString caret = mStatusBar->PanelText(QStringLiteral("Caret"));
    const QFontMetrics metrics(mStatusBar->font());
    mStatusBar->ClearPanels();
    mStatusBar->AddPanel(QStringLiteral("Status"), 64, true);
    if (!onCloseText.isEmpty())
        mStatusBar->AddPanel(QStringLiteral("OnClose"), metrics.horizontalAdvance(onCloseText) + 12);
    // Sized once for the widest text it is to hold, so that it doesn't jump as the caret moves.
    const int caretWidth = metrics.horizontalAdvance(QStringLiteral("Ln 99999, Col 99999")) + 12;
    mStatusBar->AddPanel(QStringLiteral("Caret"), std::max(64, caretWidth));
    mStatusBar->SetPanelText(QStringLiteral("Status"), status.isEmpty() ? QStringLiteral("Ready.") : status);
    mStatusBar->SetPanelText(QStringLiteral("OnClose"), onCloseText);
    mStatusBar->SetPanelText(QStringLiteral("Caret"), caret);
}

void frmEditObjectText::RefreshStatusBar() {
    if (!mVersioned || !Database())
        return;
    QString text;
    if (object().IsNew() && !Database()->ShowSaveChangesNew()) {
        switch (Database()->SaveChangesNewDefault()) {
        case 1:
            text = QStringLiteral("it will be Checked In");
            break;
        case 2:
            text = QStringLiteral("it's Text will be Saved");
            break;
        case 3:
            text = QStringLiteral("all changes will be Discarded");
            break;
        default:
            break;
        }
    }
    if (object().IsCheckedOutByMe() && !Database()->ShowSaveChangesEdit()) {
        switch (Database()->SaveChangesEditDefault()) {
        case 1:
            text = QStringLiteral(" it will be Checked In");
            break;
        case 2:
            text = QStringLiteral("it's Text will be Saved");
            break;
        case 4:
            text = QStringLiteral("all changes will be Discarded but will remain Checked Out");
            break;
        case 5:
            text = QStringLiteral("all changes will be Discarded and Checkout will be Undone");
            break;
        default:
            break;
        }
    }
    rebuildPanels(text.isEmpty() ? QString() : QStringLiteral("On Closing this item ") + text);
}

void frmEditObjectText::caretMoved(long column, long line) {
    mStatusBar->SetPanelText(QStringLiteral("Caret"),
                             QStringLiteral("Ln %1, Col %2").arg(line + 1).arg(column + 1));
}

// --- Contract members

QString frmEditObjectText::ObjectTag() const {
    return mVersioned ? object().ObjectType() : QString();
}

QString frmEditObjectText::ObjectKey() const {
    if (!mVersioned)
        return {};
    return object().IsNew() ? QStringLiteral("NEW") : QStringLiteral("I") + object().DBID();
}

QString frmEditObjectText::TextOrigin() const {
    return mVersioned ? object().FileName() : QString();
}

bool frmEditObjectText::CanShowHistory() const {
    return !mbNewObject && Main().Factories().HistoryWindow != nullptr;
}

// --- Text and files

namespace {
QString fileFilter(const TARMOObjectVSS& object) {
    return object.ObjectDisplayName() + QStringLiteral(" Files (*") + object.FileExtension() +
           QStringLiteral(");;SQL Script Files (*.sql);;All Files (*)");
}
} // namespace

void frmEditObjectText::OpenText() {
    if (mtxtSQL->IsModified() &&
        prompts().MessageBox(
            QStringLiteral("Are you sure you want to load a file? Changes made to the object will be lost."),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Discard Changes Made?")) != Prompt::Answer::Yes)
        return;
    SetStatus(QStringLiteral("Loading Text"));
    const QString chosen =
        prompts().OpenFileName(QStringLiteral("Load SQL from a File"), fileFilter(object()), QString());
    if (chosen.isEmpty()) {
        SetStatus(QString());
        return;
    }
    const QString text = ReadTextFile(chosen);
    SetStatus(QString());
    if (!text.isEmpty()) {
        mtxtSQL->SetText(text);
        prompts().MessageBox(QStringLiteral("The File was sussessfully loaded!"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("File Loaded"));
    } else {
        prompts().MessageBox(QStringLiteral("The specified file is empty!"), Prompt::Buttons::OK,
                             Prompt::Icon::Exclamation, QStringLiteral("File not Loaded"));
    }
}

bool frmEditObjectText::SaveText(bool bPrompt) {
    if (object().IsNew()) {
        const QString proposed = object().FileName();
        const QString chosen = prompts().SaveFileName(QStringLiteral("Save ") + object().ObjectDisplayName(),
                                                      fileFilter(object()), proposed);
        // Cancel leaves the proposed name, so choosing it again counts as no choice either.
        if (chosen.isEmpty() || chosen == proposed)
            return false;
        SetStatus(QStringLiteral("Saving Text"));
        mtxtSQL->SaveFile(chosen);
        object().SetFileName(chosen);
        mtxtSQL->LoadFile(chosen);
    } else {
        SetStatus(QStringLiteral("Saving Text"));
        mtxtSQL->SaveFile();
    }
    TextSaved();
    SetStatus(QString());
    if (bPrompt)
        prompts().MessageBox(QStringLiteral("Text has been successfully Saved"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("Text Saved"));
    return true;
}

// --- Source-control actions

bool frmEditObjectText::TestItem(bool bShowConfirmation) {
    if (!object().TestItem(mtxtSQL->Text()))
        return false;
    if (bShowConfirmation)
        prompts().MessageBox(QStringLiteral("Syntax is OK"), Prompt::Buttons::OK, Prompt::Icon::Information,
                             QStringLiteral("Syntax OK"));
    return true;
}

void frmEditObjectText::refreshTreeNode(bool bUseParent) {
    Main().RefreshItem(object().ObjectType(), QStringLiteral("I") + object().DBID(), bUseParent);
}

bool frmEditObjectText::RunGetLatestVersion() {
    SetStatus(QStringLiteral("Getting Latest Version"));
    const bool done = object().GetLatestVersion();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

bool frmEditObjectText::RunCheckOut() {
    SetStatus(QStringLiteral("Checking Out Item"));
    const bool done = object().CheckOut();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

bool frmEditObjectText::RunCheckIn() {
    SetStatus(QStringLiteral("Checking In Item"));
    QString comment;
    if (Database()->ShowCommentPrompt()) {
        // The syntax is tested before the user is asked to type a comment that would be wasted.
        if (!TestItem(false) || !frmComment::GetComment(comment, this)) {
            SetStatus(QString());
            return false;
        }
    }
    if (!object().CheckIn(mtxtSQL->Text(), comment)) {
        SetStatus(QString());
        return false;
    }
    LoadItem(QString());
    if (mbNewObject) {
        if (Database()->ShowDescriptionPrompt())
            ChangeDescription();
        mbNewObject = object().IsNew();
        // The history comes with the first check-in.
        NotifyCommandState();
        Main().RefreshItem(object().ParentObjectType(), object().ParentObjectType(), false);
        if (Database()->ShowPermissionsOnNewObjectCreate() && object().HasPermissions())
            Main().EditPermissions(QString(), QString(), mobjCurrent);
    } else {
        refreshTreeNode();
    }
    SetStatus(QString());
    return true;
}

bool frmEditObjectText::UndoCheckout(bool bPrompt) {
    bool ask = false;
    if (bPrompt) {
        BusyCursor busy;
        ask = mtxtSQL->IsModified() ||
              !modParser::SQLTextsEqual(mtxtSQL->Text(), object().GetContent(TARMOObjectVSS::LocationVSS),
                                        false, false);
    }
    if (ask && prompts().MessageBox(QStringLiteral("Are you sure you want to discard the changes made?"),
                                    Prompt::Buttons::YesNo, Prompt::Icon::Question,
                                    QStringLiteral("Undo Checkout?")) != Prompt::Answer::Yes)
        return false;
    SetStatus(QStringLiteral("Undoing Check Out of Item"));
    const bool done = object().UndoCheckout();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

void frmEditObjectText::ShowHistory() {
    const auto& history = Main().Factories().HistoryWindow;
    if (!history || !Database())
        return;
    BusyCursor busy;
    const QString key = ObjectKey();
    if (history(*Database(), this, mobjCurrent)) {
        BusyCursor mainBusy;
        RunGetLatestVersion();
        Main().RefreshItem(ObjectTag(), key, true);
    }
}

void frmEditObjectText::ChangeDescription() {
    QString newDescription;
    bool changed = false;
    {
        BusyCursor busy;
        const QString current = object().Description();
        changed = frmItemDescription::GetDescription(current, newDescription, this);
        if (changed) {
            SetStatus(QStringLiteral("Saving Item Description"));
            object().SetDescription(newDescription);
        }
    }
    SetStatus(QString());
}

// --- Closing

bool frmEditObjectText::ClosingCheck() {
    BusyCursor busy;
    // A window that never got its object has nothing to lose.
    if (!mVersioned || !Database() || !mtxtSQL->IsModified())
        return true;
    switch (frmEditObjectTextSavePrompt::ChangesMade(*Database(), object().IsNew(), this)) {
    case 1:
        return RunCheckIn();
    case 2:
        return SaveText(false);
    case 3:
    case 4:
        return true;
    case 5:
        return UndoCheckout(false);
    default:
        return false;
    }
}

void frmEditObjectText::Unloading() {
    if (mVersioned && object().IsNew())
        object().ClearNewObjectFile();
}

void frmEditObjectText::BecameActive(bool bToFront) {
    if (bToFront)
        RefreshStatusBar();
}
