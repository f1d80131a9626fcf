// libFuzzer entry for the embedded server: any bytes, read as UTF-8, through the scanner, the parser
// and a session that lives as long as the process. Run by scripts/fuzz; an input it stops on belongs
// in fuzz/regressions, which test_sqlengine replays.
#include "EmbeddedServer.h"
#include "SqlFuzzCheck.h"

#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryDir folder;
    static FuzzSession fuzz(folder.filePath(QStringLiteral("srv")));
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString fault = CheckArbitrarySql(fuzz.Session(), text);
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(fault));
        __builtin_trap();
    }
    return 0;
}
