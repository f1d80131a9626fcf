#include "frmSQLQuery.h"

#include "ErrorReport.h"
#include "GeneralHelpers.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"
#include "mdiMain.h"
#include "multiGrid.h"

#include <QAction>
#include <QEvent>
#include <QFontMetrics>
#include <QShortcut>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <cmath>

#include <algorithm>

namespace {
constexpr int statusBarTwips = 250;
constexpr int splitterSize = 10;
const QString sqlFilter = QStringLiteral("All SQL Files (*.sql);;All Files (*)");

double twipsPerPixelY() {
    return ScreenMetrics::Current().twipsPerPixelY;
}
} // namespace

frmSQLQuery::frmSQLQuery(mdiMain& main, QWidget* parent)
    : EditorChildWindow(main, parent)
    , mtbrQuery(new QToolBar(this))
    , mpicContainer(new QWidget(this))
    , mSplitter(new QSplitter(Qt::Vertical, mpicContainer))
    , mtxtSQL(new SQLTextEditor)
    , mgrdResults(new multiGrid)
    , mcmdSplit(new QToolButton(mpicContainer))
    , mStatusBar(new StatusPanels(this)) {
    setObjectName(QStringLiteral("frmSQLQuery"));
    mtbrQuery->setObjectName(QStringLiteral("tbrQuery"));
    mpicContainer->setObjectName(QStringLiteral("picContainer"));
    mtxtSQL->setObjectName(QStringLiteral("txtSQL"));
    mcmdSplit->setObjectName(QStringLiteral("cmdSplit"));
    mStatusBar->setObjectName(QStringLiteral("picStatusBar"));
    mStatusBar->setFixedHeight(static_cast<int>(statusBarTwips / twipsPerPixelY()) + 4);

    // The splitter moves an outline while dragged, and the halves keep their proportion on resize.
    mSplitter->setObjectName(QStringLiteral("splResults"));
    mSplitter->setOpaqueResize(false);
    mSplitter->setHandleWidth(splitterSize);
    mSplitter->setChildrenCollapsible(false);
    mSplitter->addWidget(mtxtSQL);
    mSplitter->addWidget(mgrdResults);
    mcmdSplit->setArrowType(Qt::DownArrow);
    mcmdSplit->setFixedSize(48, splitterSize);
    mcmdSplit->setFocusPolicy(Qt::NoFocus);
    mcmdSplit->setToolTip(QStringLiteral("Show/Hide Query Results Panel"));
    mcmdSplit->raise();
    // The container is laid out by hand, so it says itself how small it may get.
    mpicContainer->setMinimumSize(240, 160);
    mpicContainer->installEventFilter(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(mtbrQuery);
    layout->addWidget(mpicContainer, 1);
    layout->addWidget(mStatusBar);
    SetEditor(mtxtSQL);
    SetStatusPanels(mStatusBar);

    connect(mSplitter, &QSplitter::splitterMoved, this, [this](int position) {
        const int available = mSplitter->height() - mSplitter->handleWidth();
        if (available > 0)
            mdblProportion = static_cast<double>(position) / available;
        layoutContainer();
    });
    connect(mcmdSplit, &QToolButton::clicked, this, [this] { ShowResultsPanel(!mgrdResults->isVisible()); });
    connect(mtxtSQL, &SQLTextEditor::bcCaretMove, this, [this](long, long, long column, long line) {
        mStatusBar->SetPanelText(QStringLiteral("Caret"),
                                 QStringLiteral("Ln %1, Col %2").arg(line + 1).arg(column + 1));
    });

    // Alt+X runs the query wherever the focus is inside the window.
    auto* execute = new QShortcut(QKeySequence(Qt::ALT | Qt::Key_X), this);
    execute->setContext(Qt::WidgetWithChildrenShortcut);
    connect(execute, &QShortcut::activated, this, [this] { Guarded([this] { ExecuteSQL(); }); });
    // The editor sees its keys before any shortcut does.
    connect(mtxtSQL, &SQLTextEditor::bcKeyDown, this, [this](int& KeyCode, int& Shift) {
        if (KeyCode == Qt::Key_X && (Shift & 4) && !(Shift & 2)) {
            KeyCode = 0;
            ExecuteSQL();
        }
    });
}

frmSQLQuery::~frmSQLQuery() = default;

void frmSQLQuery::Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().QueryWindow = [window](TARMODatabase& database) -> QWidget* {
        auto* form = new frmSQLQuery(*window);
        form->OpenSQLQuery(database);
        return form;
    };
}

// --- Opening

void frmSQLQuery::OpenSQLQuery(TARMODatabase& sdbCurrent) {
    BeginOpening(sdbCurrent);

    const QFontMetrics metrics(mStatusBar->font());
    mStatusBar->ClearPanels();
    mStatusBar->AddPanel(QStringLiteral("Status"), 64, true);
    mStatusBar->AddPanel(QStringLiteral("Caret"),
                         metrics.horizontalAdvance(QStringLiteral("Ln 99999, Col 99999")) + 12);
    SetStatus(QString());
    RefreshCaption();
    mstrFileName.clear();

    // A scratch file the editor stays bound to; it is emptied by every new window.
    if (const auto& project = sdbCurrent.Project()) {
        const QString scratch = project->VSS().GetItemFileName(QStringLiteral("SQLQuery.sql"));
        try {
            CreateTextFile(scratch, QString());
            mtxtSQL->LoadFile(scratch);
        } catch (const TARMOError&) {
            // Without a working folder the window works on the text alone.
        }
        mgrdResults->SetSQLConnection(&project->SQL());
    }
    buildToolBand();
    const long icon = CurrentIcon();
    if (icon > 0)
        setWindowIcon(Main().Images().IconAt(static_cast<int>(icon)));
    ShowResultsPanel(true);
}

void frmSQLQuery::buildToolBand() {
    mtbrQuery->clear();
    mtbrQuery->setWindowTitle(QStringLiteral("SQL Query Toolbar"));
    mtbrQuery->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    struct Button {
        int command;
        const char* key;
        const char* caption;
        const char* tip;
        const char* icon;
        bool check;
    };
    const Button buttons[] = {
        {1, "SQWBAR:PARSE", "Parse SQL", "Parse Selected SQL", "SQLQUERY:PARSE", false},
        {2, "SQWBAR:EXECUTE", "Execute SQL", "Execute Selected SQL", "SQLQUERY:EXECUTE", false},
        {0, "SQWBAR:SPACER1", "-", "", "", false},
        {3, "SQWBAR:PANEL", "Show/Hide Query Results Panel", "Show/Hide Query Results Panel",
         "SQLQUERY:PANEL", true},
    };
    for (const Button& b : buttons) {
        if (b.command == 0) {
            mtbrQuery->addSeparator()->setObjectName(QString::fromLatin1(b.key));
            continue;
        }
        QAction* action = mtbrQuery->addAction(Main().Images().Icon(QString::fromLatin1(b.icon)),
                                               QString::fromLatin1(b.caption));
        action->setObjectName(QString::fromLatin1(b.key));
        action->setToolTip(QString::fromLatin1(b.tip));
        action->setCheckable(b.check);
        const int command = b.command;
        connect(action, &QAction::triggered, this,
                [this, command] { Guarded([&] { ToolbarCommand(command); }); });
    }
}

QAction* frmSQLQuery::ToolbarButton(const QString& key) const {
    for (QAction* action : mtbrQuery->actions())
        if (action->objectName() == key)
            return action;
    return nullptr;
}

void frmSQLQuery::RefreshCaption() {
    setWindowTitle(QStringLiteral("SQL Query Window"));
}

long frmSQLQuery::CurrentIcon() const {
    return Main().GetIconIndex(QStringLiteral("SQLQUERY"), false);
}

// --- Running

void frmSQLQuery::ToolbarCommand(int lngCommand) {
    switch (lngCommand) {
    case 1:
        ParseSQL();
        break;
    case 2:
        ExecuteSQL();
        break;
    case 3:
        // The button has already flipped its own check; the panel follows it.
        ShowResultsPanel(ToolbarButton(QStringLiteral("SQWBAR:PANEL"))->isChecked());
        break;
    default:
        break;
    }
}

void frmSQLQuery::runQuery(bool bExecute) {
    // A selection counts as given even when it holds only blanks: then nothing runs.
    const QString selected = mtxtSQL->SelectedText();
    const QString text = selected.isEmpty() ? mtxtSQL->Text() : selected;
    if (text.trimmed().isEmpty())
        return;
    BusyCursor busy;
    if (bExecute)
        mgrdResults->ExecuteQuery(text);
    else
        mgrdResults->ParseQuery(text);
    ShowResultsPanel(true);
}

void frmSQLQuery::ShowResultsPanel(bool bShow) {
    if (QAction* panel = ToolbarButton(QStringLiteral("SQWBAR:PANEL")))
        panel->setChecked(bShow);
    mgrdResults->setVisible(bShow);
    mcmdSplit->setArrowType(bShow ? Qt::DownArrow : Qt::UpArrow);
    layoutContainer();
}

// --- Layout

bool frmSQLQuery::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mpicContainer && event->type() == QEvent::Resize)
        layoutContainer();
    return QWidget::eventFilter(watched, event);
}

void frmSQLQuery::layoutContainer() {
    const int w = mpicContainer->width();
    const int h = mpicContainer->height();
    if (w <= 0 || h <= 0)
        return;
    const int buttonX = (w - mcmdSplit->width()) / 2;
    if (!mgrdResults->isVisibleTo(this)) {
        mSplitter->setGeometry(0, 0, w, h - mcmdSplit->height());
        mcmdSplit->move(buttonX, h - mcmdSplit->height());
        mcmdSplit->raise();
        return;
    }
    mSplitter->setGeometry(0, 0, w, h);
    const int available = h - mSplitter->handleWidth();
    if (!mbSplitterPlaced) {
        mbSplitterPlaced = true;
        mdblProportion = 0.5;
    }
    const int textHeight = static_cast<int>(std::lround(available * mdblProportion));
    mSplitter->setSizes({textHeight, available - textHeight});
    mcmdSplit->move(buttonX, mSplitter->handle(1)->y());
    mcmdSplit->raise();
}

// --- Files

void frmSQLQuery::OpenText() {
    if (mtxtSQL->IsModified() &&
        prompts().MessageBox(
            QStringLiteral("Are you sure you want to load a file? Changes made to the object will be lost."),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Discard Changes Made?")) != Prompt::Answer::Yes)
        return;
    SetStatus(QStringLiteral("Opening SQL File"));
    const QString chosen = prompts().OpenFileName(QStringLiteral("Open SQL File"), sqlFilter, mstrFileName);
    if (!chosen.isEmpty() && FileExists(chosen)) {
        const QString text = ReadTextFile(chosen);
        mstrFileName = chosen;
        mtxtSQL->SetText(text);
    }
    SetStatus(QString());
}

bool frmSQLQuery::SaveText(bool bPrompt) {
    if (mstrFileName.isEmpty()) {
        const QString chosen =
            prompts().SaveFileName(QStringLiteral("Save SQL Query"), sqlFilter, mstrFileName);
        if (chosen.isEmpty())
            return false;
        mstrFileName = chosen;
    }
    try {
        WriteTextFile(mstrFileName, mtxtSQL->Text());
        mtxtSQL->SaveFile();
    } catch (const TARMOError& error) {
        prompts().MessageBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                             QStringLiteral("Save SQL Query"));
        return false;
    }
    TextSaved();
    if (bPrompt)
        prompts().MessageBox(QStringLiteral("SQL Query has been successfully Saved"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("SQL Query Saved"));
    return true;
}

// --- Closing

bool frmSQLQuery::ClosingCheck() {
    if (!mtxtSQL->IsModified())
        return true;
    switch (prompts().MessageBox(QStringLiteral("Would you like to save the changes made?"),
                                 Prompt::Buttons::YesNoCancel, Prompt::Icon::Question,
                                 QStringLiteral("Save SQL"))) {
    case Prompt::Answer::No:
        return true;
    case Prompt::Answer::Yes:
        return SaveText(true);
    default:
        return false;
    }
}

// --- Showing

void frmSQLQuery::showEvent(QShowEvent* event) {
    EditorChildWindow::showEvent(event);
    layoutContainer();
}
