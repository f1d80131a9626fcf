#include "ListenerFixture.h"

#include "EmbeddedServer.h"

const QString ListenerFixture::kSaPassword = QStringLiteral("Sa-pw1");
const QString ListenerFixture::kDevPassword = QStringLiteral("dev;pw}");
TempFolder* ListenerFixture::sFolder = nullptr;
TdsListener* ListenerFixture::sListener = nullptr;

void ListenerFixture::SetUpTestSuite() {
    sFolder = new TempFolder();
    EmbeddedServer::Create(Folder(), kSaPassword);
    {
        EmbeddedServer server(Folder());
        auto session = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("master"));
        session->Execute(QStringLiteral("CREATE DATABASE Sales"));
        session->Execute(
            QStringLiteral("CREATE LOGIN dev WITH PASSWORD = 'dev;pw}', DEFAULT_DATABASE = Sales"));
        session->Execute(QStringLiteral("USE Sales"));
        session->Execute(QStringLiteral("CREATE USER dev FOR LOGIN dev"));
    }
    sListener = new TdsListener(Folder());
    sListener->SetServerName(QStringLiteral("TESTSRV"));
    sListener->Start(QStringLiteral("127.0.0.1"), 0);
}

void ListenerFixture::TearDownTestSuite() {
    delete sListener;
    sListener = nullptr;
    delete sFolder;
    sFolder = nullptr;
}

QString ListenerFixture::Folder() {
    return sFolder->Path(QStringLiteral("srv"));
}
