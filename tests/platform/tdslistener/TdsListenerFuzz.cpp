// libFuzzer entry for the TDS listener: any bytes, as what one client sends on its connection,
// through the joining of packets, the pre-login, the login and the batches of a connection to a
// server folder that lives as long as the process. Run by scripts/fuzz; an input it stops on belongs
// in fuzz/regressions, which tarmo_tdslistener_tests replays.
#include "PasswordHash.h"
#include "TdsFuzzCheck.h"

#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryDir folder;
    static const QString server = [] {
        // The fuzzer's logins test the protocol, not the cost of guessing a password.
        qputenv(PasswordHash::CheapHashVariable, "1");
        const QString path = folder.filePath(QStringLiteral("srv"));
        CreateFuzzServer(path);
        return path;
    }();
    const QString fault = CheckClientBytes(
        server, QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(fault));
        __builtin_trap();
    }
    return 0;
}
