#include "PasswordHash.h"
#include "TestSupport.h"

#include <QCoreApplication>

#include <cstdio>
#include <gtest/gtest.h>

// No test may touch the real user's settings: the whole run starts inside isolated folders.
int main(int argc, char** argv) {
    // A real password hash costs a good part of a second; the suites make hundreds of logins, also
    // in the tools they start, which inherit the variable.
    qputenv(PasswordHash::CheapHashVariable, "1");
    // Nothing may wait for a person at a terminal: a password that isn't given is missing.
    if (!std::freopen("/dev/null", "r", stdin))
        return 1;
    QCoreApplication app(argc, argv);
    IsolatedUserFolders folders;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
