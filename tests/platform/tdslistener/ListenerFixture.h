#pragma once

#include "TdsListener.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

// One embedded server for a suite, with the database Sales, the login dev (password "dev;pw}")
// and a listener on a free loopback port.
class ListenerFixture : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    static QString Folder();
    static QString EmbeddedName() { return QStringLiteral("embedded:") + Folder(); }
    static QString TcpName() { return QStringLiteral("127.0.0.1,%1").arg(sListener->Port()); }
    static uint16_t Port() { return sListener->Port(); }
    static TdsListener& Listener() { return *sListener; }

    static const QString kSaPassword;
    static const QString kDevPassword;

private:
    static TempFolder* sFolder;
    static TdsListener* sListener;
};
