// Starts TARMO on a fresh copy of the demo, as the program starts, and saves a picture of every main
// window and dialog into a folder: scripts/screenshots runs it under the offscreen platform, once in the
// light palette and once in a dark one. Nothing of the user's own settings or demo is touched.
#include "AppPrompts.h"
#include "ChildWindowArea.h"
#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "DemoSeed.h"
#include "EditorChildWindow.h"
#include "Globals.h"
#include "ItemTools.h"
#include "Options.h"
#include "ProjectWindow.h"
#include "SQLTextEditor.h"
#include "ScreenshotRun.h"
#include "SyncWindows.h"
#include "SystemComponents.h"
#include "TARMODatabase.h"
#include "frmEditObjectPermissions.h"
#include "frmEditObjectText.h"
#include "frmInitialize.h"
#include "frmProjectDetails.h"
#include "frmSQLQuery.h"
#include "mdiMain.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QMdiSubWindow>
#include <QPalette>
#include <QPushButton>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTreeWidgetItem>

#include <cstdio>

namespace {

// Every question is answered with its safest button without being shown: the pictures are of the
// windows, and a question on the way (the synchronization offered at the first start) must not wait.
class UnattendedPrompts : public AppPrompts {
public:
    Prompt::Answer MessageBox(const QString&, Prompt::Buttons buttons, Prompt::Icon, const QString&,
                              int) override {
        return Prompt::SafestAnswer(buttons);
    }
};

QPalette darkPalette() {
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(45, 45, 48));
    dark.setColor(QPalette::WindowText, QColor(220, 220, 220));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::AlternateBase, QColor(45, 45, 48));
    dark.setColor(QPalette::Text, QColor(220, 220, 220));
    dark.setColor(QPalette::Button, QColor(60, 60, 64));
    dark.setColor(QPalette::ButtonText, QColor(220, 220, 220));
    dark.setColor(QPalette::Highlight, QColor(38, 79, 120));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::Link, QColor(110, 170, 255));
    dark.setColor(QPalette::ToolTipBase, QColor(60, 60, 64));
    dark.setColor(QPalette::ToolTipText, QColor(220, 220, 220));
    dark.setColor(QPalette::PlaceholderText, QColor(140, 140, 140));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    return dark;
}

QTreeWidgetItem* childNamed(QTreeWidgetItem* parent, const QString& text) {
    for (int i = 0; parent && i < parent->childCount(); ++i)
        if (parent->child(i)->text(0).startsWith(text))
            return parent->child(i);
    return nullptr;
}

QTreeWidgetItem* topNamed(DatabaseTree& tree, const QString& text) {
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        if (tree.topLevelItem(i)->text(0) == text)
            return tree.topLevelItem(i);
    return nullptr;
}

void select(mdiMain& main, QTreeWidgetItem* node) {
    if (!node)
        return;
    main.tvwDBT()->setCurrentItem(node);
    main.UpdateContextPanel();
}

void installWindows(mdiMain& window) {
    window.AdoptDispatch(std::make_unique<CoreDispatch>(*gDatabase));
    frmEditObjectText::Install(window);
    frmEditObjectPermissions::Install(window);
    frmSQLQuery::Install(window);
    ItemTools::Install(window);
    SyncWindows::Install(window);
    Options::Install(window);
}

// Opens the project the way the program does, through its splash, and gives the main window.
mdiMain* startProgram() {
    SystemComponents::RegisterPlatformComponents();
    SetProjectWindowFactory([] {
        auto* window = new mdiMain;
        installWindows(*window);
        return window;
    });
    QEventLoop waiting;
    auto* splash = new frmInitialize;
    QObject::connect(splash, &frmInitialize::Finished, &waiting, &QEventLoop::quit, Qt::QueuedConnection);
    splash->StartTARMO();
    waiting.exec();
    return gDatabase ? dynamic_cast<mdiMain*>(gDatabase->MainWindow()) : nullptr;
}

void closeChildren(mdiMain& main) {
    for (QMdiSubWindow* sub : main.MdiArea()->subWindowList())
        if (auto* form = qobject_cast<EditorChildWindow*>(sub->widget()))
            form->CloseItem(true);
    QApplication::processEvents();
}

void shootMainWindow(ScreenshotRun& run, mdiMain& main) {
    DatabaseTree& tree = *main.tvwDBT();
    QTreeWidgetItem* procedures = topNamed(tree, QStringLiteral("Stored Procedures"));
    QTreeWidgetItem* tables = topNamed(tree, QStringLiteral("Tables"));
    QTreeWidgetItem* views = topNamed(tree, QStringLiteral("Views"));
    for (QTreeWidgetItem* node : {procedures, tables, views})
        if (node)
            node->setExpanded(true);
    if (QTreeWidgetItem* customers = childNamed(tables, QStringLiteral("Customers")))
        customers->setExpanded(true);
    QTreeWidgetItem* object = childNamed(procedures, QStringLiteral("GetCustomerOrders"));
    select(main, object);
    run.Save(&main, QStringLiteral("main-window"));

    main.DoCommand(Command::Edit);
    run.Save(&main, QStringLiteral("object-window"));
    run.Modal(QStringLiteral("history"), "frmItemHistory", [&] { main.DoCommand(Command::History); });
    closeChildren(main);

    select(main, object);
    run.Modal(QStringLiteral("rename"), "frmRenameObject", [&] { main.DoCommand(Command::Rename); });
    run.Modal(QStringLiteral("undelete"), "frmUndelete", [&] { main.DoCommand(Command::Undelete); });

    main.DoCommand(Command::NewQueryWindow);
    if (auto* query = qobject_cast<frmSQLQuery*>(main.ActiveForm())) {
        query->txtSQL()->SetText(QStringLiteral("SELECT CustomerID, Name, City FROM dbo.Customers\n"
                                                "SELECT OrderID, CustomerID, Amount FROM dbo.Orders\n"));
        query->ExecuteSQL();
    }
    run.Save(&main, QStringLiteral("query-window"));
    closeChildren(main);

    select(main, childNamed(tables, QStringLiteral("Customers")));
    main.DoCommand(Command::Permissions);
    run.Save(&main, QStringLiteral("permissions"));
    closeChildren(main);
}

void shootDialogs(ScreenshotRun& run, mdiMain& main) {
    run.Modal(QStringLiteral("project-browser"), "frmProjectBrowser",
              [&] { main.DoCommand(Command::ProjectBrowser); });
    run.Modal(
        QStringLiteral("wizard"), "frmProjectDetails",
        [&] { frmProjectDetails::EditProject(gDatabase->GetDefaultProject(), &main); },
        [&](QWidget* window) {
            auto* wizard = static_cast<frmProjectDetails*>(window);
            for (int step = 1; step <= 5; ++step) {
                run.Save(wizard, QStringLiteral("wizard-step-%1").arg(step));
                if (step < 5)
                    wizard->cmdNext->click();
            }
        });
    run.Modal(QStringLiteral("login"), "frmSQLPassword", [] {
        QString user = QStringLiteral("sa"), password;
        prompts().SQLLogin(QStringLiteral("embedded:demo/server"), QStringLiteral("Demo"), user, password);
    });
    run.Modal(QStringLiteral("about"), "frmAbout", [&] { main.DoCommand(Command::About); });
    run.Modal(QStringLiteral("options"), "frmOptions", [&] { main.DoCommand(Command::Options); });
    run.Modal(QStringLiteral("sync-results"), "frmSyncResults",
              [&] { main.DoCommand(Command::Synchronize); });
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc < 2) {
        std::fputs("Usage: tarmo-screenshots OUTDIR [--dark]\n", stderr);
        return 2;
    }
    const bool dark = argc > 2 && QByteArray(argv[2]) == "--dark";
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral("config"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(QStringLiteral("data"))));

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tarmo"));
    QApplication::setApplicationDisplayName(QStringLiteral("TARMO"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (dark)
        QApplication::setPalette(darkPalette());
    installPrompts(std::make_unique<UnattendedPrompts>());

    const auto seeded = DemoSeed::Seed(home.filePath(QStringLiteral("demo")), false);
    if (!seeded.ok) {
        std::fprintf(stderr, "tarmo-screenshots: the demo could not be made: %s\n", qPrintable(seeded.error));
        return 1;
    }
    mdiMain* main = startProgram();
    if (!main) {
        std::fputs("tarmo-screenshots: the demo project did not open.\n", stderr);
        return 1;
    }
    ScreenshotRun run(QString::fromLocal8Bit(argv[1]), dark ? QStringLiteral("-dark") : QString());
    shootMainWindow(run, *main);
    shootDialogs(run, *main);
    closeChildren(*main);

    for (const QString& path : run.Saved())
        std::printf("%s\n", qPrintable(path));
    for (const QString& name : run.Failed())
        std::fprintf(stderr, "tarmo-screenshots: no picture of %s\n", qPrintable(name));
    return run.Failed().isEmpty() ? 0 : 1;
}
