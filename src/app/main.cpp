#include "AppPrompts.h"
#include "CoreDispatch.h"
#include "DocGenWindows.h"
#include "Globals.h"
#include "GuardedApplication.h"
#include "HelpIntegration.h"
#include "ItemTools.h"
#include "LastResortHandlers.h"
#include "MemoryTuning.h"
#include "OfferRecovery.h"
#include "Options.h"
#include "ProjectWindow.h"
#include "RecoveryFiles.h"
#include "ScriptGenWindows.h"
#include "SyncWindows.h"
#include "SystemComponents.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "frmEditObjectPermissions.h"
#include "frmEditObjectText.h"
#include "frmInitialize.h"
#include "frmSQLQuery.h"
#include "mdiMain.h"

#include <cstdio>
#include <cstring>

namespace {

const char* const usage =
    "Usage: tarmo [--help] [--version]\n"
    "\n"
    "TARMO keeps the stored procedures, triggers, user defined functions and views of a\n"
    "SQL Server database in a version store: check out, edit, test, check in, history.\n"
    "Projects, servers and stores are chosen inside the program; it takes no other\n"
    "arguments.\n"
    "\n"
    "  -h, --help     show this help and exit\n"
    "  -v, --version  show the version and exit\n";

// The arguments are answered before any window system is touched, so that --help and --version
// work without a display.
int handleArguments(int argc, char* argv[]) {
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (!std::strcmp(arg, "--help") || !std::strcmp(arg, "-h")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (!std::strcmp(arg, "--version") || !std::strcmp(arg, "-v")) {
            std::printf("tarmo %s\n", qPrintable(App::VersionText()));
            return 0;
        }
        // Options of Qt itself (-platform, -style, ...) pass through.
        if (!std::strcmp(arg, "-platform") || !std::strcmp(arg, "-style") || !std::strcmp(arg, "-display")) {
            ++i;
            continue;
        }
        std::fprintf(stderr, "tarmo: unexpected argument '%s'\nTry 'tarmo --help' for more information.\n",
                     arg);
        return 2;
    }
    return -1;
}

// Once the start is over and a project window stands, the texts that an earlier run lost are offered
// back, each in a query window of its own. Without a project window they wait for the next start.
void offerLostTexts(RecoveryFiles& recovery) {
    auto* main = gDatabase ? dynamic_cast<mdiMain*>(gDatabase->MainWindow()) : nullptr;
    if (!main)
        return;
    OfferRecovery(recovery, [main](const RecoveredText& entry) {
        if (!main->OpenRecoveredText(entry.title, entry.text))
            throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Reopen Text"),
                             QStringLiteral("No query window could be opened for the text."));
    });
}

// With TARMO_EXIT_WHEN_SHOWN=1 the program ends as soon as its main window is shown, so that the
// time of a start can be taken from outside.
class ExitWhenShown : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && qobject_cast<mdiMain*>(watched))
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        return false;
    }
};

} // namespace

int main(int argc, char* argv[]) {
    TuneAllocator();
    if (const int answered = handleArguments(argc, argv); answered >= 0)
        return answered;

    GuardedApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tarmo"));
    QApplication::setApplicationDisplayName(QStringLiteral("TARMO"));
    QApplication::setApplicationVersion(App::VersionText());

    installPrompts(std::make_unique<AppPrompts>());
    gHelp = std::make_unique<HelpIntegration>();
    RecoveryFiles recovery;
    InstallLastResortHandlers(recovery);
    SystemComponents::RegisterPlatformComponents();
    SetProjectWindowFactory([] {
        auto* window = new mdiMain;
        window->AdoptDispatch(std::make_unique<CoreDispatch>(*gDatabase));
        frmEditObjectText::Install(*window);
        frmEditObjectPermissions::Install(*window);
        frmSQLQuery::Install(*window);
        ItemTools::Install(*window);
        SyncWindows::Install(*window);
        DocGenWindows::Install(*window);
        ScriptGenWindows::Install(*window);
        Options::Install(*window);
        window->Factories().Help = HelpHook();
        return window;
    });

    if (qEnvironmentVariableIntValue("TARMO_EXIT_WHEN_SHOWN") == 1)
        app.installEventFilter(new ExitWhenShown(&app));

    auto* splash = new frmInitialize;
    QObject::connect(
        splash, &frmInitialize::Finished, &app, [&recovery] { offerLostTexts(recovery); },
        Qt::QueuedConnection);
    splash->StartTARMO();
    const int exitCode = app.exec();
    // The help window goes with the program, before the application object that it needs.
    gHelp.reset();
    return exitCode;
}
