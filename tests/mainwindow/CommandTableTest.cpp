#include "MainWindowFixture.h"

#include <QMenu>
#include <QSet>

#include <algorithm>

namespace {
using Rule = mdiMain::CommandRule;

QString named(Command command) {
    return CommandName(command) + QStringLiteral(" (%1)").arg(CommandNumber(command));
}

// Installs a maker for every window of the other subsystems; each call is noted and makes nothing.
void recordFactories(ChildWindowFactories& factories, QStringList& made) {
    factories.OpenObjectWindow = [&made](TARMODatabase&, std::shared_ptr<DispatchedObject>) -> QWidget* {
        made << QStringLiteral("object");
        return nullptr;
    };
    factories.NewObjectWindow = [&made](TARMODatabase&, std::shared_ptr<DispatchedObject>, const QString&,
                                        const QString&, const QString&) -> QWidget* {
        made << QStringLiteral("new");
        return nullptr;
    };
    factories.PermissionWindow = [&made](TARMODatabase&, std::shared_ptr<DispatchedObject>, const QString&,
                                         const QString&) -> QWidget* {
        made << QStringLiteral("permissions");
        return nullptr;
    };
    factories.QueryWindow = [&made](TARMODatabase&) -> QWidget* {
        made << QStringLiteral("query");
        return nullptr;
    };
    factories.RenameDialog = [&made](TARMODatabase&, QWidget*, const QString&, const QString&) {
        made << QStringLiteral("rename");
        return QString();
    };
    auto modal = [&made](const char* what) {
        return [&made, what](TARMODatabase&, QWidget*) {
            made << QString::fromLatin1(what);
            return false;
        };
    };
    factories.Synchronize = modal("sync");
    factories.Undelete = modal("undelete");
    factories.Options = [&made](TARMODatabase&, QWidget*) { made << QStringLiteral("options"); };
    factories.DocumentGenerator = [&made](TARMODatabase&, QWidget*) { made << QStringLiteral("doc"); };
    factories.ScriptGenerator = [&made](TARMODatabase&, QWidget*) { made << QStringLiteral("script"); };
    factories.Help = [&made](QWidget*, long) { made << QStringLiteral("help"); };
}
} // namespace

TEST(CommandTable, EveryCommandHasOneRowThatCanRun) {
    QSet<long> seen;
    for (const mdiMain::CommandRow& row : mdiMain::CommandTable()) {
        EXPECT_FALSE(seen.contains(CommandNumber(row.command)))
            << qPrintable(named(row.command)) << " has two rows";
        seen.insert(CommandNumber(row.command));
        if (row.rule == Rule::ChildCan) {
            EXPECT_TRUE(row.can && row.childAction && !row.handler) << qPrintable(named(row.command));
        } else {
            EXPECT_TRUE(row.handler && !row.childAction) << qPrintable(named(row.command));
        }
        EXPECT_TRUE(!(row.button || row.entry) || row.can)
            << qPrintable(named(row.command)) << ": a switched entry needs a member to follow";
    }
    for (Command command : AllCommands)
        EXPECT_TRUE(seen.contains(CommandNumber(command))) << qPrintable(named(command)) << " has no row";
    EXPECT_EQ(static_cast<size_t>(seen.size()), std::size(AllCommands))
        << "a row for a command that the list doesn't name";
}

TEST_F(MainWindowTest, EveryCommandThatAnEntryKeyOrButtonCarriesHasAHandler) {
    auto expectHandled = [](Command command, const QString& where) {
        EXPECT_NE(mdiMain::FindCommand(command), nullptr)
            << qPrintable(where) << " carries " << qPrintable(named(command));
    };
    // Menus, the pop-up menu, both toolbars and the New button's menu: every action that carries a command.
    int carried = 0;
    for (QAction* action : window->findChildren<QAction*>())
        if (action->property("tarmoCommand").isValid()) {
            expectHandled(MainMenus::CommandOf(action), action->objectName());
            ++carried;
        }
    EXPECT_GT(carried, 0);

    for (const ShortcutRow& row : window->Shortcuts().Rows())
        expectHandled(row.Cmd, ShortcutText(row.KeyCode, row.Shift));

    // The context panel, for an object in every state the model knows.
    auto panelCommands = [&] {
        for (const QString& bar : panel().BarKeys())
            for (const QString& entry : panel().EntryKeys(bar))
                if (panel().EntryCommand(bar, entry) != 0)
                    expectHandled(CommandFromNumber(panel().EntryCommand(bar, entry)), entry);
    };
    open({QStringLiteral("Stored Procedures")});
    auto archive = dispatch.Object(QStringLiteral("103"));
    QTreeWidgetItem* archiveNode = node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")});
    for (auto [inSQL, inVSS, byMe] : {std::tuple{true, false, false}, std::tuple{false, true, false},
                                      std::tuple{true, true, true}, std::tuple{true, true, false}}) {
        archive->mInSQL = inSQL;
        archive->mInVSS = inVSS;
        archive->mByMe = byMe;
        select(nullptr);
        select(archiveNode);
        panelCommands();
    }
    EXPECT_TRUE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupCheckOut")));
}

TEST(ShortcutTable, NoTwoRowsShareAKeyAndEveryRowRunsACommand) {
    ShortcutTable table;
    table.Fill();
    ASSERT_FALSE(table.IsEmpty());
    QSet<QPair<int, int>> keys;
    for (const ShortcutRow& row : table.Rows()) {
        const QString text = ShortcutText(row.KeyCode, row.Shift);
        EXPECT_FALSE(keys.contains({row.KeyCode, row.Shift})) << qPrintable(text) << " twice";
        keys.insert({row.KeyCode, row.Shift});
        EXPECT_EQ(table.Find(row.KeyCode, row.Shift), &row) << qPrintable(text);
        for (int mask = 0; mask < 8; ++mask) {
            if (mask != row.Shift) {
                EXPECT_NE(table.Find(row.KeyCode, mask), &row) << qPrintable(text) << " with mask " << mask;
            }
        }
        EXPECT_NE(mdiMain::FindCommand(row.Cmd), nullptr) << qPrintable(text);
        EXPECT_TRUE(
            table.CaptionWithShortcut(row.Cmd, QStringLiteral("&X")).startsWith(QStringLiteral("&X\t")));
    }
    for (Command command : AllCommands)
        if (!table.RowOfCommand(command)) {
            EXPECT_EQ(table.CaptionWithShortcut(command, QStringLiteral("&X")), QStringLiteral("&X"));
        }
}

// Each child state the window meets, and for each command with a rule on the child: the entries it
// switches follow the child's member, and the command runs the child's action exactly when they are on.
TEST_F(MainWindowTest, ChildCommandsAndTheirEntriesFollowTheActiveChild) {
    using C = Command;
    QList<C> everyChildCommand;
    for (const mdiMain::CommandRow& row : mdiMain::CommandTable())
        if (row.rule == Rule::ChildCan)
            everyChildCommand << row.command;
    struct State {
        const char* name;
        QString tag; // "" no child at all
        FormType formType;
        QList<int> can; // members that answer true; {-1} all of them
        QList<C> runs;  // the commands that reach the child
    };
    const QList<State> states = {
        {"no child", {}, FormType::ObjectEdit, {}, {}},
        {"a window that doesn't take edit commands", QStringLiteral("OTHER"), FormType::ObjectEdit, {-1}, {}},
        {"an object window that can do everything",
         QStringLiteral("ALLOWEDIT"),
         FormType::ObjectEdit,
         {-1},
         everyChildCommand},
        {"an object window that can do nothing", QStringLiteral("ALLOWEDIT"), FormType::ObjectEdit, {}, {}},
        {"an object window that can check in",
         QStringLiteral("ALLOWEDIT"),
         FormType::ObjectEdit,
         {FakeChild::kCheckIn},
         {C::CheckIn}},
        {"an object window that can't check in",
         QStringLiteral("ALLOWEDIT"),
         FormType::ObjectEdit,
         {FakeChild::kCheckOut, FakeChild::kGetLatest, FakeChild::kShowHistory, FakeChild::kPermissions,
          FakeChild::kDescription},
         {C::GetLatest, C::CheckOut, C::Description, C::History}},
        {"a query window",
         QStringLiteral("ALLOWEDIT"),
         FormType::Query,
         {FakeChild::kUndo, FakeChild::kRedo, FakeChild::kCut, FakeChild::kCopy, FakeChild::kPaste,
          FakeChild::kFind, FakeChild::kReplace, FakeChild::kOpenFile, FakeChild::kSaveFile,
          FakeChild::kTestSQL},
         {C::LoadText, C::SaveText, C::Undo, C::Redo, C::Cut, C::Copy, C::Paste, C::TestSql, C::Find,
          C::FindNext, C::FindPrevious, C::Replace}},
    };
    for (const State& state : states) {
        SCOPED_TRACE(state.name);
        qDeleteAll(window->MdiArea()->subWindowList());
        FakeChild* child = nullptr;
        if (!state.tag.isEmpty()) {
            child = addChild(QStringLiteral("w"), QStringLiteral("StoredProcedure"), QStringLiteral("I101"));
            child->mTag = state.tag;
            child->mFormType = state.formType;
            for (int i = 0; i < 17; ++i)
                child->mCan[i] = state.can.contains(-1) || state.can.contains(i);
        }
        window->UpdateCommands();
        const bool editChild = child && state.tag == QLatin1String("ALLOWEDIT");
        QList<C> ran;
        for (const mdiMain::CommandRow& row : mdiMain::CommandTable()) {
            if (!row.can)
                continue;
            const bool can = editChild && (child->*row.can)();
            for (const char* key : {row.button, row.entry}) {
                if (key) {
                    EXPECT_EQ(window->Menus().Entry(QString::fromLatin1(key))->isEnabled(), can) << key;
                }
            }
            if (row.rule != Rule::ChildCan)
                continue;
            log.clear();
            window->DoCommand(row.command);
            EXPECT_EQ(log.size(), can ? 1 : 0)
                << qPrintable(named(row.command)) << ": " << qPrintable(log.join(' '));
            if (!log.isEmpty())
                ran << row.command;
        }
        QStringList ranNames, expectedNames;
        for (C command : ran)
            ranNames << CommandName(command);
        for (C command : state.runs)
            expectedNames << CommandName(command);
        EXPECT_EQ(ranNames, expectedNames);
    }
}

TEST_F(MainWindowTest, CommandsThatNeedANodeOrAProjectDoNothingWithout) {
    QStringList made;
    recordFactories(window->Factories(), made);
    select(nullptr);
    int checked = 0;
    for (const mdiMain::CommandRow& row : mdiMain::CommandTable())
        if (row.rule == Rule::NeedsSelectedNode) {
            window->DoCommand(row.command);
            ++checked;
        }
    EXPECT_GT(checked, 0);
    EXPECT_TRUE(made.isEmpty()) << qPrintable(made.join(' '));
    EXPECT_TRUE(dispatch.Log.isEmpty()) << qPrintable(dispatch.Log.join(' '));
    EXPECT_TRUE(prompts->Records().isEmpty());

    // A window that was never given a project.
    mdiMain bare;
    recordFactories(bare.Factories(), made);
    for (const mdiMain::CommandRow& row : mdiMain::CommandTable())
        if (row.rule == Rule::NeedsProject)
            bare.DoCommand(row.command);
    EXPECT_TRUE(made.isEmpty()) << qPrintable(made.join(' '));

    // The same commands with the project and a node: each reaches what it needs.
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    prompts->QueueAnswer(Prompt::Answer::No);
    for (Command command : {Command::Edit, Command::Rename, Command::Delete, Command::Synchronize,
                            Command::NewQueryWindow, Command::Undelete, Command::Options})
        window->DoCommand(command);
    EXPECT_EQ(made,
              (QStringList{QStringLiteral("object"), QStringLiteral("rename"), QStringLiteral("sync"),
                           QStringLiteral("query"), QStringLiteral("undelete"), QStringLiteral("options")}));
    EXPECT_EQ(prompts->Records().size(), 1) << "Delete asks";
}

TEST_F(MainWindowTest, ANumberThatIsNoCommandDoesNothing) {
    QStringList made;
    recordFactories(window->Factories(), made);
    FakeChild* child =
        addChild(QStringLiteral("w"), QStringLiteral("StoredProcedure"), QStringLiteral("I101"));
    for (bool& can : child->mCan)
        can = true;
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    dispatch.Log.clear();
    dispatch.Reads.clear();
    int unknown = 0;
    for (long number = -1; number <= 100; ++number) {
        const Command command = CommandFromNumber(number);
        if (std::find(std::begin(AllCommands), std::end(AllCommands), command) != std::end(AllCommands))
            continue;
        ++unknown;
        window->DoCommand(command, QStringLiteral("mnuPopup:%1").arg(number));
        window->DoCommand(command, QStringLiteral("NEWITEM:1"));
    }
    EXPECT_GT(unknown, 0);
    EXPECT_TRUE(log.isEmpty()) << qPrintable(log.join(' '));
    EXPECT_TRUE(made.isEmpty()) << qPrintable(made.join(' '));
    EXPECT_TRUE(dispatch.Log.isEmpty()) << qPrintable(dispatch.Log.join(' '));
    EXPECT_TRUE(dispatch.Reads.isEmpty());
    EXPECT_TRUE(prompts->Records().isEmpty());
    EXPECT_EQ(window->MdiArea()->subWindowList().size(), 1);
    EXPECT_TRUE(window->isVisible());
}
