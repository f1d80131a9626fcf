#include "LastResortHandlers.h"

#include "CrashCopies.h"
#include "RecoveryFiles.h"
#include "TARMOError.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

constexpr int fatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

// A stack overflow leaves no stack to run a handler on.
alignas(16) char gSignalStack[64 * 1024];

void onFatalSignal(int signalNumber) {
    CrashCopies::WriteAll();
    // The handler was installed to run once: the raised signal now takes its default course, with the
    // core dump or the parent's notice that it brings.
    std::raise(signalNumber);
}

void describeCurrentException() {
    const std::exception_ptr current = std::current_exception();
    if (!current) {
        std::fputs("tarmo: terminated\n", stderr);
        return;
    }
    try {
        std::rethrow_exception(current);
    } catch (const TARMOError& e) {
        std::fprintf(stderr, "tarmo: unexpected error: %s\n", e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarmo: unexpected error: %s\n", e.what());
    } catch (...) {
        std::fputs("tarmo: unexpected error of an unknown kind\n", stderr);
    }
}

[[noreturn]] void onTerminate() {
    static std::atomic<bool> entered{false};
    if (!entered.exchange(true)) {
        int kept = -1;
        try {
            if (RecoveryFiles* files = InstalledRecoveryFiles())
                kept = files->SnapshotAll();
        } catch (...) {
            CrashCopies::WriteAll();
        }
        describeCurrentException();
        if (kept > 0)
            std::fprintf(stderr, "tarmo: %d unsaved text(s) kept in %s\n", kept,
                         qPrintable(InstalledRecoveryFiles()->Folder()));
    }
    // The texts are written already; the abort must not write the older copies over them.
    std::signal(SIGABRT, SIG_DFL);
    std::abort();
}

void installSignalHandlers() {
    stack_t stack{};
    stack.ss_sp = gSignalStack;
    stack.ss_size = sizeof gSignalStack;
    sigaltstack(&stack, nullptr);

    struct sigaction action {};
    action.sa_handler = onFatalSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND | SA_ONSTACK;
    for (const int signalNumber : fatalSignals)
        sigaction(signalNumber, &action, nullptr);
}

} // namespace

void InstallLastResortHandlers(RecoveryFiles& files) {
    files.makeInstalled();
    static std::atomic<bool> installed{false};
    if (installed.exchange(true))
        return;
    installSignalHandlers();
    std::set_terminate(onTerminate);
}
