#pragma once

#include "EmbeddedServer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <memory>

// A fresh embedded server in a temporary folder, and a session of sa on it.
class SaSessionTest : public ::testing::Test {
protected:
    void SetUp() override {
        EmbeddedServer::Create(temp.Path(QStringLiteral("srv")), QStringLiteral("secret"));
        server = std::make_unique<EmbeddedServer>(temp.Path(QStringLiteral("srv")));
        session = server->Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
        ASSERT_TRUE(session);
    }

    TempFolder temp;
    std::unique_ptr<EmbeddedServer> server;
    std::unique_ptr<EmbeddedSession> session;
};
