#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "StoreRights.h"
#include "TARMOError.h"
#include "TestStores.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>

namespace {

QString writeFile(const QString& path, const QByteArray& content) {
    if (FileExists(path))
        SetReadOnlyFile(path, false);
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(content);
    return path;
}

void runSql(const QString& database, const char* sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(database.toUtf8().constData(), &db), SQLITE_OK);
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    EXPECT_EQ(rc, SQLITE_OK) << (message ? message : "");
    sqlite3_free(message);
    sqlite3_close(db);
}

// A store with the administrator, Bob and Carl, and the projects $/P and $/P/Sub.
// Public, for the table of steps below.
class StoreRulesTest : public ::testing::TestWithParam<StoreKind> {
public:
    void SetUp() override {
        SKIP_UNLESS_AVAILABLE(GetParam());
        ini = CreateStore(GetParam(), folder.Path(QStringLiteral("store")), QStringLiteral("secret"));
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("secret"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("b"));
        admin.AddUser(QStringLiteral("Carl"), QStringLiteral("c"));
        admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("P"), QString());
        admin.Item(QStringLiteral("$/P")).NewSubproject(QStringLiteral("Sub"), QString());
        bob.Open(ini, QStringLiteral("Bob"), QStringLiteral("b"));
        carl.Open(ini, QStringLiteral("Carl"), QStringLiteral("c"));
        QDir().mkpath(work(QString()));
    }
    QString work(const QString& name) const { return folder.Path(QStringLiteral("work/") + name); }
    StoreItem addFile(VersionStore& store, const QString& spec) {
        const QString project = spec.section(QLatin1Char('/'), 0, -2);
        const QString name = spec.section(QLatin1Char('/'), -1);
        return store.Item(project).Add(writeFile(work(name), "text of " + name.toUtf8()), QString());
    }

    TempFolder folder;
    QString ini;
    VersionStore admin, bob, carl;
};

// Each step of the store needs one right in the item's project: refused without exactly that right
// (with an error naming it), done with it.
TEST_P(StoreRulesTest, EveryStepNeedsItsRight) {
    struct Case {
        const char* step;
        int right;
        std::function<void(StoreRulesTest&, const QString&)> prepare;
        std::function<void(StoreRulesTest&, const QString&)> run;
    };
    auto none = [](StoreRulesTest&, const QString&) {};
    auto checkedOut = [](StoreRulesTest& t, const QString& f) {
        t.bob.Item(f).Checkout(QString(), t.work(QStringLiteral("bob.sp")));
    };
    const std::vector<Case> cases = {
        {"get", StoreRights::Read, none,
         [](StoreRulesTest& t, const QString& f) {
             QString local = t.work(QStringLiteral("got.sp"));
             t.bob.Item(f).Get(local);
         }},
        {"history", StoreRights::Read, none,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).Versions(); }},
        {"status", StoreRights::Read, none,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).Checkouts(); }},
        {"dir", StoreRights::Read, none,
         [](StoreRulesTest& t, const QString&) { t.bob.Item(QStringLiteral("$/P")).Items(true); }},
        {"checkout", StoreRights::Checkout, none,
         [](StoreRulesTest& t, const QString& f) {
             t.bob.Item(f).Checkout(QString(), t.work(QStringLiteral("bob.sp")));
         }},
        {"checkin", StoreRights::Checkout, checkedOut,
         [](StoreRulesTest& t, const QString& f) {
             t.bob.Item(f).Checkin(QString(), t.work(QStringLiteral("bob.sp")));
         }},
        {"undo checkout", StoreRights::Checkout, checkedOut,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).UndoCheckout(QString()); }},
        {"label", StoreRights::Checkout, none,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).Label(QStringLiteral("L"), QString()); }},
        {"add", StoreRights::Add, none,
         [](StoreRulesTest& t, const QString& f) {
             const QString local =
                 writeFile(t.work(QStringLiteral("new-") + f.section(QLatin1Char('/'), -1)), "n");
             t.bob.Item(QStringLiteral("$/P")).Add(local, QString());
         }},
        {"new project", StoreRights::Add, none,
         [](StoreRulesTest& t, const QString& f) {
             t.bob.Item(QStringLiteral("$/P"))
                 .NewSubproject(f.section(QLatin1Char('/'), -1) + QStringLiteral("-project"), QString());
         }},
        {"rename", StoreRights::Add, none,
         [](StoreRulesTest& t, const QString& f) {
             t.bob.Item(f).SetName(f.section(QLatin1Char('/'), -1) + QStringLiteral("x"));
         }},
        {"delete", StoreRights::Add, none,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).SetDeleted(true); }},
        {"recover", StoreRights::Add,
         [](StoreRulesTest& t, const QString& f) { t.admin.Item(f).SetDeleted(true); },
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f, true).SetDeleted(false); }},
        {"recover as", StoreRights::Add,
         [](StoreRulesTest& t, const QString& f) { t.admin.Item(f).SetDeleted(true); },
         [](StoreRulesTest& t, const QString& f) {
             t.bob.Item(f, true).RecoverAs(QStringLiteral("again.sp"));
         }},
        {"destroy", StoreRights::Destroy, none,
         [](StoreRulesTest& t, const QString& f) { t.bob.Item(f).Destroy(); }},
    };
    const QString project = QStringLiteral("$/P");
    const QString bobName = QStringLiteral("Bob");
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(c.step);
        const QString file = QStringLiteral("$/P/f%1.sp").arg(i);
        addFile(admin, file);
        admin.SetRights(project, bobName, StoreRights::All);
        c.prepare(*this, file);

        admin.SetRights(project, bobName, StoreRights::All & ~c.right);
        const CaughtError refused = ErrorOf([&] { c.run(*this, file); });
        EXPECT_EQ(refused.number, StoreErrors::NoRight);
        EXPECT_EQ(
            refused.text,
            QStringLiteral("Bob does not have the %1 right in '$/P'.").arg(StoreRights::Format(c.right)));

        admin.SetRights(project, bobName, c.right);
        const CaughtError done = ErrorOf([&] { c.run(*this, file); });
        EXPECT_EQ(done.number, 0) << done.text.toStdString();
        // What the step needs the administrator has without any entry.
        admin.SetRights(project, bobName, StoreRights::All);
    }
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P/f0.sp")).Destroy(); }).number, 0);
}

TEST_P(StoreRulesTest, RightsComeFromTheNearestProjectUpThePath) {
    addFile(admin, QStringLiteral("$/root.sp"));
    addFile(admin, QStringLiteral("$/P/Sub/deep.sp"));
    admin.SetRights(QStringLiteral("$/"), QStringLiteral("bob"), StoreRights::Read);
    admin.SetRights(QStringLiteral("$/P"), QStringLiteral("bob"), StoreRights::Read | StoreRights::Add);
    admin.SetRights(QStringLiteral("$/P/Sub"), QStringLiteral("bob"), StoreRights::None);

    EXPECT_EQ(bob.Item(QStringLiteral("$/root.sp")).Versions().size(), 1);
    EXPECT_EQ(ErrorOf([&] { addFile(bob, QStringLiteral("$/mine.sp")); }).text,
              QStringLiteral("Bob does not have the add right in '$/'."));
    EXPECT_EQ(ErrorOf([&] { addFile(bob, QStringLiteral("$/P/mine.sp")); }).number, 0);
    EXPECT_EQ(ErrorOf([&] { bob.Item(QStringLiteral("$/P/Sub/deep.sp")).Versions(); }).number,
              StoreErrors::NoRight);
    EXPECT_EQ(ErrorOf([&] { bob.Item(QStringLiteral("$/P/Sub")).Items(false); }).number,
              StoreErrors::NoRight);

    // Dropping the entry of $/P/Sub gives the project back to $/P.
    admin.InheritRights(QStringLiteral("$/P/Sub"), QStringLiteral("bob"));
    EXPECT_EQ(bob.Item(QStringLiteral("$/P/Sub/deep.sp")).Versions().size(), 1);
    EXPECT_EQ(ErrorOf([&] { addFile(bob, QStringLiteral("$/P/Sub/mine.sp")); }).number, 0);

    const QList<VersionStore::UserRights> listed = bob.Rights(QStringLiteral("$/P/Sub"));
    ASSERT_EQ(listed.size(), 3);
    EXPECT_TRUE(listed[0].Administrator);
    EXPECT_EQ(listed[0].Rights, StoreRights::All);
    EXPECT_EQ(listed[1].UserName, QStringLiteral("Bob"));
    EXPECT_EQ(listed[1].Rights, StoreRights::Read | StoreRights::Add);
    EXPECT_EQ(listed[1].From, QStringLiteral("$/P"));
    EXPECT_EQ(listed[2].Rights, StoreRights::Default);
    EXPECT_EQ(listed[2].From, QString()) << "Carl has no entry: the store's default";
}

TEST_P(StoreRulesTest, OnlyTheAdministratorSetsRulesAndHeAlwaysHasEveryRight) {
    addFile(carl, QStringLiteral("$/P/c.sp"));
    EXPECT_EQ(ErrorOf([&] { carl.Item(QStringLiteral("$/P/c.sp")).Destroy(); }).text,
              QStringLiteral("Carl does not have the destroy right in '$/P'."))
        << "the default is everything but destroy";

    EXPECT_EQ(ErrorOf([&] {
                  bob.SetRights(QStringLiteral("$/P"), QStringLiteral("Carl"), StoreRights::All);
              }).number,
              StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] {
                  bob.SetRights(QStringLiteral("$/P"), QStringLiteral("Bob"), StoreRights::All);
              }).number,
              StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] { bob.SetDefaultRights(StoreRights::All); }).number, StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] { bob.SetMultipleCheckouts(true); }).number, StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] {
                  admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Admin"), StoreRights::None);
              }).number,
              StoreErrors::Permission);
    EXPECT_EQ(ErrorOf([&] { admin.SetRights(QStringLiteral("$/P/c.sp"), QStringLiteral("Bob"), 0); }).number,
              StoreErrors::WrongType);
    EXPECT_EQ(ErrorOf([&] { admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Nobody"), 0); }).number,
              StoreErrors::Login);

    admin.SetDefaultRights(StoreRights::Read);
    EXPECT_EQ(carl.DefaultRights(), StoreRights::Read);
    EXPECT_EQ(ErrorOf([&] { addFile(carl, QStringLiteral("$/P/c2.sp")); }).number, StoreErrors::NoRight);
    EXPECT_EQ(ErrorOf([&] { addFile(admin, QStringLiteral("$/P/a.sp")); }).number, 0);
    admin.Item(QStringLiteral("$/P/c.sp")).Destroy();
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P/c.sp")); }).number, StoreErrors::NotFound);
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P/c.sp"), true); }).number, StoreErrors::NotFound)
        << "destroyed is gone, not deleted";
}

// Nobody renames, deletes or destroys what another user holds, or a project that holds it; his own
// check-out is no obstacle.
TEST_P(StoreRulesTest, WhatAnotherUserHoldsStaysWhereItIs) {
    addFile(admin, QStringLiteral("$/P/Sub/x.sp"));
    bob.Item(QStringLiteral("$/P/Sub/x.sp")).Checkout(QString(), work(QStringLiteral("x.sp")));
    StoreItem x = carl.Item(QStringLiteral("$/P/Sub/x.sp"));
    const QString held = QStringLiteral("'$/P/Sub/x.sp' is checked out by Bob.");
    EXPECT_EQ(ErrorOf([&] { x.SetName(QStringLiteral("y.sp")); }).text, held);
    EXPECT_EQ(ErrorOf([&] { x.SetDeleted(true); }).text, held);
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P/Sub/x.sp")).Destroy(); }).text, held);
    const CaughtError project = ErrorOf([&] { carl.Item(QStringLiteral("$/P")).SetDeleted(true); });
    EXPECT_EQ(project.number, StoreErrors::CheckedOutByOther);
    EXPECT_EQ(project.text, QStringLiteral("'$/P' holds '$/P/Sub/x.sp', which is checked out by Bob."));
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P/Sub")).SetName(QStringLiteral("S2")); }).number,
              StoreErrors::CheckedOutByOther);
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P")).Destroy(); }).number,
              StoreErrors::CheckedOutByOther);
    EXPECT_EQ(x.Name(), QStringLiteral("x.sp"));
    EXPECT_FALSE(admin.Item(QStringLiteral("$/P")).Deleted());

    // Holding it together with the other user changes nothing.
    admin.SetMultipleCheckouts(true);
    x.Checkout(QString(), work(QStringLiteral("carl-x.sp")));
    EXPECT_EQ(ErrorOf([&] { x.SetDeleted(true); }).text, held);

    carl.Item(QStringLiteral("$/P/Sub/x.sp")).UndoCheckout(QString());
    StoreItem own = bob.Item(QStringLiteral("$/P/Sub/x.sp"));
    own.SetName(QStringLiteral("mine.sp"));
    own.SetDeleted(true);
    EXPECT_TRUE(own.Checkouts().isEmpty()) << "deleting gives his check-out back";
    admin.Item(QStringLiteral("$/P")).Destroy();
    EXPECT_EQ(ErrorOf([&] { admin.Item(QStringLiteral("$/P")); }).number, StoreErrors::NotFound);
}

// The option lives in the store: every user sees the administrator's change at once, whatever his ini
// says; the ini's value only seeds an old store that had none.
TEST_P(StoreRulesTest, MultipleCheckoutsIsTheStoresOwnOption) {
    addFile(admin, QStringLiteral("$/P/m.sp"));
    bob.Item(QStringLiteral("$/P/m.sp")).Checkout(QString(), work(QStringLiteral("bob-m.sp")));
    StoreItem m = carl.Item(QStringLiteral("$/P/m.sp"));

    QFile iniFile(ini);
    ASSERT_TRUE(iniFile.open(QIODevice::Append));
    iniFile.write("MultipleCheckouts = yes\n");
    iniFile.close();
    VersionStore reopened;
    reopened.Open(ini, QStringLiteral("Carl"), QStringLiteral("c"));
    EXPECT_FALSE(reopened.MultipleCheckouts());
    EXPECT_EQ(ErrorOf([&] { m.Checkout(QString(), work(QStringLiteral("carl-m.sp"))); }).number,
              StoreErrors::CheckedOutByOther);

    admin.SetMultipleCheckouts(true);
    EXPECT_TRUE(carl.MultipleCheckouts());
    m.Checkout(QString(), work(QStringLiteral("carl-m.sp")));
    EXPECT_EQ(m.Holders(), (QStringList{QStringLiteral("Bob"), QStringLiteral("Carl")}));
}

// A store written before it kept options, rights and checksums is brought up to date when opened:
// its texts read as before, the ini's option moves into it, and the rules apply from then on.
TEST_P(StoreRulesTest, AnOlderStoreIsUpgradedInPlace) {
    if (GetParam() != StoreKind::Embedded)
        GTEST_SKIP() << "a server's store is made at its present level";
    {
        StoreItem item = addFile(admin, QStringLiteral("$/P/old.sp"));
        item.Checkout(QString(), work(QStringLiteral("old.sp")));
        writeFile(work(QStringLiteral("old.sp")), "second");
        item.Checkin(QString(), work(QStringLiteral("old.sp")));
    }
    admin.Close();
    bob.Close();
    carl.Close();
    const QString data = folder.Path(QStringLiteral("store/data/store.db"));
    runSql(data, "DROP TABLE options; DROP TABLE rights; ALTER TABLE history DROP COLUMN checksum;");
    writeFile(ini, "DataFolder = data\nMultipleCheckouts = yes\n");

    VersionStore store;
    store.Open(ini, QStringLiteral("Bob"), QStringLiteral("b"));
    EXPECT_TRUE(store.MultipleCheckouts());
    const QList<StoreVersion> versions = store.Item(QStringLiteral("$/P/old.sp")).Versions();
    ASSERT_EQ(versions.size(), 2);
    EXPECT_EQ(versions[0].Text(), QByteArray("second"));
    EXPECT_EQ(versions[1].Text(), QByteArray("text of old.sp"));
    EXPECT_EQ(ErrorOf([&] { store.Item(QStringLiteral("$/P/old.sp")).Destroy(); }).number,
              StoreErrors::NoRight);

    store.Close();
    writeFile(ini, "DataFolder = data\nMultipleCheckouts = no\n");
    store.Open(ini, QStringLiteral("Bob"), QStringLiteral("b"));
    EXPECT_TRUE(store.MultipleCheckouts()) << "seeded once, then the store's own";
}

INSTANTIATE_TEST_SUITE_P(Engines, StoreRulesTest, ::testing::Values(StoreKind::Embedded, StoreKind::Server),
                         StoreKindName);

} // namespace
