#include "TestSupport.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

// No test may touch the real user's settings: the whole run starts inside isolated folders.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    IsolatedUserFolders folders;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
