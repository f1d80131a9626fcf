// Registers two editors, one with unsaved text and one without, reports the text once, then changes
// it without reporting and goes down: "signal" by SIGSEGV, "throw" by a TARMOError that nothing
// catches. The crash path can only write what was last reported; the exception path asks the editors.
#include "LastResortHandlers.h"
#include "RecoveryFiles.h"
#include "TARMOError.h"

#include <QString>

#include <csignal>
#include <cstdio>
#include <cstring>

#include <sys/resource.h>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: recovery_crash_worker FOLDER signal|throw TEXT\n", stderr);
        return 2;
    }
    // The crash is the point; a core file of it is not.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);

    RecoveryFiles files(QString::fromLocal8Bit(argv[1]));
    InstallLastResortHandlers(files);
    QString text = QString::fromUtf8(argv[3]);
    files.Register(QStringLiteral("q1"), QStringLiteral("Query1"), QStringLiteral("srv.db"),
                   [&] { return text; });
    files.Register(QStringLiteral("e1"), QStringLiteral("dbo.Saved"), QStringLiteral("srv.db.dbo.Saved"),
                   [] { return QString(); });
    text += QStringLiteral("\n-- typed after the last report");

    if (!std::strcmp(argv[2], "signal"))
        std::raise(SIGSEGV);
    else if (!std::strcmp(argv[2], "throw"))
        throw TARMOError(3021, QStringLiteral("TARMOVSS"), QStringLiteral("No current record"));
    return 0;
}
