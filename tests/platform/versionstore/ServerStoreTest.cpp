// What only a store on a server has to show: its rules hold against a client that talks to the
// server directly, its ini names it without a password, and a server that goes away is an error of
// the store, never the end of the program.
#include "PgConnection.h"
#include "StoreErrors.h"
#include "StoreIni.h"
#include "StoreRights.h"
#include "TARMOError.h"
#include "TestPostgres.h"
#include "TestStores.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

class ServerStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        SKIP_UNLESS_AVAILABLE(StoreKind::Server);
        ini = CreateStore(StoreKind::Server, folder.Path(QStringLiteral("store")), QStringLiteral("secret"));
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("secret"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bobpw"));
        StoreItem project = admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("P"), QString());
        QFile file(folder.Path(QStringLiteral("a.sp")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("text");
        file.close();
        project.Add(folder.Path(QStringLiteral("a.sp")), QString());
        database = PgConnection::DatabaseOf(StoreIni::Read(ini).server);
    }
    // Bob's own connection to the server, as any program with his password could make it.
    std::unique_ptr<PgConnection> bobDirect() const {
        return std::make_unique<PgConnection>(TestPostgres::Instance()->Url(database),
                                              database + QStringLiteral(".bob"), QStringLiteral("bobpw"));
    }

    TempFolder folder;
    QString ini;
    QString database;
    VersionStore admin;
};

TEST_F(ServerStoreTest, TheIniNamesTheServerWithoutAPassword) {
    QFile file(ini);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.contains("Store = postgresql://")) << text.toStdString();
    EXPECT_FALSE(text.contains("tarmo-owner-pw"));
    EXPECT_FALSE(text.contains("tarmo_owner"));
    EXPECT_FALSE(text.contains("DataFolder"));

    // A password written into the ini by hand is refused, not used.
    const QString withPassword = folder.Path(QStringLiteral("password.ini"));
    QFile written(withPassword);
    ASSERT_TRUE(written.open(QIODevice::WriteOnly));
    written.write("Store = postgresql://someone:pw@localhost/db\n");
    written.close();
    VersionStore store;
    EXPECT_EQ(
        ErrorOf([&] { store.Open(withPassword, QStringLiteral("Admin"), QStringLiteral("secret")); }).number,
        StoreErrors::IniFile);
    EXPECT_TRUE(StoreIni::PasswordInUrl(QStringLiteral("postgresql://u:p@h/db")));
    EXPECT_TRUE(StoreIni::PasswordInUrl(QStringLiteral("postgresql://h/db?password=p")));
    EXPECT_FALSE(StoreIni::PasswordInUrl(QStringLiteral("postgresql://u@h:5432/db")));
    EXPECT_FALSE(StoreIni::PasswordInUrl(QStringLiteral("postgresql:///db?host=/tmp/a:b@c")));
}

TEST_F(ServerStoreTest, AUserTalkingToTheServerDirectlyCannotBypassTheRules) {
    std::unique_ptr<PgConnection> bob = bobDirect();
    // The tables and the helpers are the owner's alone.
    for (const char* sql : {"SELECT * FROM tarmo.history", "UPDATE tarmo.items SET name = 'x' WHERE id = 2",
                            "INSERT INTO tarmo.checkouts(item, \"user\", date) VALUES (2, 'Admin', 0)",
                            "UPDATE tarmo.users SET admin = true",
                            "SELECT tarmo.record(2, 'Admin', 'Checked in', '', 'x'::bytea)",
                            "SELECT tarmo.make_user('Eve', NULL, true)"}) {
        const CaughtError error = ErrorOf([&] { bob->Query(sql); });
        EXPECT_EQ(error.number, StoreErrors::Permission) << sql << ": " << error.text.toStdString();
    }
    // The functions that are his check him by the login the server authenticated, whatever he passes.
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT tarmo.api_set_rights(1, 'Bob', 15)"); }).number,
              StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT tarmo.api_add_user('Eve', 'x')"); }).number,
              StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT tarmo.api_set_password('Admin', 'x')"); }).number,
              StoreErrors::Permission);
    // Names that would break paths are refused by the server too, not only by the program.
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT tarmo.api_new_project(2, 'a/b', '')"); }).number,
              StoreErrors::NameStructure);
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT tarmo.api_new_project(2, 'a:b', '')"); }).number,
              StoreErrors::InvalidName);
    admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Bob"), 0);
    EXPECT_EQ(ErrorOf([&] { bob->Query("SELECT * FROM tarmo.api_texts(2, '{3}')"); }).number,
              StoreErrors::NoRight);
    // Nor may he read a project's texts by naming items of another project.
    admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Bob"), StoreRights::Read);
    admin.SetRights(QStringLiteral("$/"), QStringLiteral("Bob"), StoreRights::Read);
    admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Secret"), QString());
    admin.SetRights(QStringLiteral("$/Secret"), QStringLiteral("Bob"), 0);
    const PgResult leaked = bob->Query("SELECT * FROM tarmo.api_texts(1, '{3}')");
    EXPECT_EQ(leaked.Rows(), 0);
}

TEST_F(ServerStoreTest, AServerThatGoesAwayIsAnErrorAndComesBack) {
    VersionStore bob;
    bob.Open(ini, QStringLiteral("Bob"), QStringLiteral("bobpw"));
    const StoreItem item = bob.Item(QStringLiteral("$/P/a.sp"));
    LocalPostgres& server = *TestPostgres::Instance();
    ASSERT_TRUE(server.Stop());
    EXPECT_EQ(ErrorOf([&] { item.Versions(); }).number, StoreErrors::Database);
    EXPECT_EQ(ErrorOf([&] { item.Name(); }).number, StoreErrors::Database);
    VersionStore late;
    EXPECT_EQ(ErrorOf([&] { late.Open(ini, QStringLiteral("Bob"), QStringLiteral("bobpw")); }).number,
              StoreErrors::Database);
    ASSERT_TRUE(server.Start());
    // The open session reaches the server again on its next step.
    EXPECT_EQ(item.Versions().size(), 1);
    EXPECT_EQ(ErrorOf([&] { late.Open(ini, QStringLiteral("Bob"), QStringLiteral("wrong")); }).number,
              StoreErrors::Login);
    EXPECT_EQ(ErrorOf([&] { late.Open(ini, QStringLiteral("Nobody"), QStringLiteral("x")); }).number,
              StoreErrors::Login);
}

// A session whose connection the server drops (a restart, a network cut) fails the step it was in,
// as the store's error, and goes on with the next one on a new connection; a check-out that fails
// before its commit never happened.
TEST_F(ServerStoreTest, AConnectionLostMidStepIsAnErrorAndTheStepDidNotHappen) {
    VersionStore bob;
    bob.Open(ini, QStringLiteral("Bob"), QStringLiteral("bobpw"));
    StoreItem item = bob.Item(QStringLiteral("$/P/a.sp"));
    LocalPostgres& server = *TestPostgres::Instance();
    auto dropBob = [&] {
        PgConnection owner(server.OwnerUrl(database), QString(), QString());
        owner.Query("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = $1",
                    {PgParam::Text(database + QStringLiteral(".bob"))});
    };
    dropBob();
    EXPECT_EQ(ErrorOf([&] { item.Versions(); }).number, StoreErrors::Database);
    EXPECT_EQ(item.Versions().size(), 1);

    // A check-out that fails between the server's step and the commit (here its working file can't be
    // written) is rolled back on the server.
    const QString local = folder.Path(QStringLiteral("bob-a.sp"));
    EXPECT_EQ(ErrorOf([&] { item.Checkout(QString(), folder.Path(QStringLiteral("missing/a.sp"))); }).number,
              StoreErrors::LocalFile);
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::NotCheckedOut);
    item.Checkout(QString(), local);
    dropBob();
    // The check-out was committed before the cut: it stands, and the check-in goes through afterwards.
    EXPECT_EQ(ErrorOf([&] { item.IsCheckedOut(); }).number, StoreErrors::Database);
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(item.Checkin(QStringLiteral("after the cut"), local), 2);
}

// Users are roles of the whole server, named after their store's database, so two stores on one server
// may each have a Bob, with passwords of their own.
TEST_F(ServerStoreTest, TwoStoresOnOneServerKeepTheirUsersApart) {
    TempFolder other;
    const QString otherIni =
        CreateStore(StoreKind::Server, other.Path(QStringLiteral("store")), QStringLiteral("o"));
    {
        VersionStore otherAdmin;
        otherAdmin.Open(otherIni, QStringLiteral("Admin"), QStringLiteral("o"));
        otherAdmin.AddUser(QStringLiteral("Bob"), QStringLiteral("other-bob"));
    }
    VersionStore here, there;
    EXPECT_EQ(ErrorOf([&] { here.Open(ini, QStringLiteral("Bob"), QStringLiteral("other-bob")); }).number,
              StoreErrors::Login);
    here.Open(ini, QStringLiteral("bob"), QStringLiteral("bobpw"));
    there.Open(otherIni, QStringLiteral("BOB"), QStringLiteral("other-bob"));
    EXPECT_EQ(here.UserName(), QStringLiteral("Bob"));
    EXPECT_EQ(there.Item(QStringLiteral("$/")).Items(false).size(), 0);
    EXPECT_EQ(here.Item(QStringLiteral("$/")).Items(false).size(), 1);
    // A store is made once per database.
    EXPECT_EQ(ErrorOf([&] {
                  VersionStore::CreateOnServer(folder.Path(QStringLiteral("again")),
                                               TestPostgres::Instance()->OwnerUrl(database),
                                               QStringLiteral("x"));
              }).number,
              StoreErrors::NameExists);
    EXPECT_FALSE(QFile::exists(folder.Path(QStringLiteral("again/srcsafe.ini"))));
}

// Lists travel to the server as array literals and come back as array texts: what a name may hold
// (quotes, commas, backslashes, braces, spaces, nothing) and what a text may hold (any byte) arrive
// as they were.
TEST_F(ServerStoreTest, ArraysOfNamesAndTextsTravelIntact) {
    PgConnection owner(TestPostgres::Instance()->OwnerUrl(database), QString(), QString());
    const QStringList names = {QStringLiteral("plain"),
                               QStringLiteral("with \"quotes\""),
                               QStringLiteral("a,b"),
                               QStringLiteral("back\\slash"),
                               QStringLiteral("{x}"),
                               QStringLiteral(" spaced "),
                               QString(),
                               QStringLiteral("NULL"),
                               QStringLiteral("\u00e9t\u00e9")};
    const PgResult echoed = owner.Query("SELECT $1::text[]", {PgParam::TextArray(names)});
    QStringList expected = names;
    expected[6] = QStringLiteral("");
    EXPECT_EQ(echoed.TextArray(0, 0), expected);
    EXPECT_EQ(owner.Query("SELECT '{}'::text[]").TextArray(0, 0), QStringList());
    const QList<QByteArray> texts = {QByteArray("one"), QByteArray("\0\xff\\\"", 4), QByteArray()};
    const PgResult bytes =
        owner.Query("SELECT t, octet_length(t) FROM unnest($1::bytea[]) t", {PgParam::BytesArray(texts)});
    ASSERT_EQ(bytes.Rows(), 3);
    for (int row = 0; row < 3; ++row) {
        EXPECT_EQ(bytes.Bytes(row, 0), texts[row].isNull() ? QByteArray("") : texts[row]);
        EXPECT_EQ(bytes.Int(row, 1), texts[row].size());
    }
    EXPECT_EQ(owner.Query("SELECT $1::bigint[]", {PgParam::IntArray({1, -2, 3000000000})}).IntArray(0, 0),
              (QList<qint64>{1, -2, 3000000000}));
}

} // namespace
