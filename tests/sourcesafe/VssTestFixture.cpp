#include "VssTestFixture.h"

#include "GeneralHelpers.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>

void VssTest::SetUp() {
    ini = VersionStore::Create(folder.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
    VersionStore admin;
    admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"));
    admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bob"));
    admin.AddUser(QStringLiteral("Carol"), QStringLiteral("carol"));
    admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Sales"), QString());
    QDir().mkpath(Work(QStringLiteral("Bob")));
    QDir().mkpath(Work(QStringLiteral("Carol")));
}

std::unique_ptr<TARMOVSS> VssTest::Connect(const QString& user, const QString& password) {
    auto vss = std::make_unique<TARMOVSS>();
    vss->SetGeneralWorkingFolder(Work(user));
    const QString error = vss->OpenConnection(ini, user, password, QStringLiteral("$\\Sales\\"), {}, true);
    EXPECT_EQ(error, QString());
    return vss;
}

QString VssTest::Work(const QString& user, const QString& name) const {
    return folder.Path(QStringLiteral("work-") + user) +
           (name.isEmpty() ? QString() : QStringLiteral("/") + name);
}

QStringList VssTest::Boxes() {
    QStringList boxes;
    for (const auto& record : prompts->Records())
        if (record.kind == ScriptedPrompts::Kind::Message) {
            EXPECT_EQ(record.icon, Prompt::Icon::Critical) << record.text.toStdString();
            boxes << record.title + QLatin1Char('|') + record.text;
        }
    return boxes;
}

QString ReadFile(const QString& path) {
    return ReadTextFile(path);
}

void WriteFile(const QString& path, const QString& text) {
    WriteTextFile(path, text);
}
