#include "VersionStore.h"
#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "TARMOError.h"
#include "TestStores.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

long errorOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const TARMOError& e) {
        return e.Number();
    }
    return 0;
}

QString writeFile(const QString& path, const QByteArray& content) {
    if (FileExists(path))
        SetReadOnlyFile(path, false);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(content);
    return path;
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

class VersionStoreTest : public ::testing::TestWithParam<StoreKind> {
protected:
    void SetUp() override {
        SKIP_UNLESS_AVAILABLE(GetParam());
        ini = CreateStore(GetParam(), folder.Path(QStringLiteral("store")), QStringLiteral("secret"));
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("secret"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bobpw"));
        admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Sales"), QString());
        bob.Open(ini, QStringLiteral("bob"), QStringLiteral("bobpw"));
        QDir().mkpath(work(QString()));
    }
    QString work(const QString& name) const { return folder.Path(QStringLiteral("work/") + name); }
    StoreItem addFile(VersionStore& store, const QString& name, const QByteArray& text) {
        return store.Item(QStringLiteral("$/Sales")).Add(writeFile(work(name), text), QStringLiteral("new"));
    }

    TempFolder folder;
    QString ini;
    VersionStore admin;
    VersionStore bob;
};

TEST_P(VersionStoreTest, LoginsFailClearlyAndPasswordsAreNotStoredAsText) {
    VersionStore store;
    EXPECT_EQ(errorOf([&] { store.Open(ini, QStringLiteral("nobody"), QStringLiteral("x")); }),
              StoreErrors::Login);
    EXPECT_EQ(errorOf([&] { store.Open(ini, QStringLiteral("Bob"), QStringLiteral("BOBPW")); }),
              StoreErrors::Login);
    EXPECT_EQ(
        errorOf([&] { store.Open(folder.Path(QStringLiteral("none.ini")), QStringLiteral("Bob"), {}); }),
        StoreErrors::IniFile);
    writeFile(folder.Path(QStringLiteral("bad.ini")), "# nothing here\n");
    EXPECT_EQ(errorOf([&] { store.Open(folder.Path(QStringLiteral("bad.ini")), QStringLiteral("Bob"), {}); }),
              StoreErrors::IniFile);
    EXPECT_FALSE(store.IsOpen());
    EXPECT_EQ(errorOf([&] { store.Item(QStringLiteral("$/")); }), StoreErrors::NotOpen);

    // The user name is taken in any case and read back as the store spells it.
    EXPECT_EQ(bob.UserName(), QStringLiteral("Bob"));
    EXPECT_FALSE(bob.IsAdmin());
    EXPECT_EQ(errorOf([&] { bob.AddUser(QStringLiteral("Eve"), QStringLiteral("x")); }),
              StoreErrors::Permission);
    EXPECT_EQ(errorOf([&] { bob.SetPassword(QStringLiteral("Admin"), QStringLiteral("x")); }),
              StoreErrors::Permission);
    bob.SetPassword(QStringLiteral("Bob"), QStringLiteral("changed"));
    EXPECT_EQ(errorOf([&] { store.Open(ini, QStringLiteral("Bob"), QStringLiteral("bobpw")); }),
              StoreErrors::Login);
    store.Open(ini, QStringLiteral("Bob"), QStringLiteral("changed"));

    if (GetParam() == StoreKind::Embedded) {
        QFile data(folder.Path(QStringLiteral("store/data/store.db")));
        ASSERT_TRUE(data.open(QIODevice::ReadOnly));
        const QByteArray bytes = data.readAll();
        EXPECT_FALSE(bytes.contains("secret"));
        EXPECT_FALSE(bytes.contains("changed"));
    }

    EXPECT_EQ(
        errorOf([&] { CreateStore(GetParam(), folder.Path(QStringLiteral("store")), QStringLiteral("x")); }),
        StoreErrors::NameExists);
}

TEST_P(VersionStoreTest, PathsInEveryFormReachTheSameProject) {
    admin.Item(QStringLiteral("$/Sales")).NewSubproject(QStringLiteral("Orders"), QString());
    const StoreItem orders = admin.Item(QStringLiteral("$/Sales/Orders"));
    EXPECT_TRUE(admin.Item(QStringLiteral("$\\Sales\\Orders\\")) == orders);
    EXPECT_TRUE(admin.Item(QStringLiteral("$/sales/orders/")) == orders);
    EXPECT_EQ(admin.CurrentProject(), QStringLiteral("$/"));
    admin.SetCurrentProject(QStringLiteral("$\\Sales\\Orders\\"));
    EXPECT_EQ(admin.CurrentProject(), QStringLiteral("$/Sales/Orders"));
    addFile(admin, QStringLiteral("x.sp"), "x");
    admin.SetCurrentProject(QStringLiteral("$/Sales"));
    EXPECT_TRUE(admin.Item(admin.CurrentProject() + QStringLiteral("/x.sp")) ==
                admin.Item(QStringLiteral("x.sp")));
    EXPECT_EQ(errorOf([&] { admin.SetCurrentProject(QStringLiteral("$/Sales/x.sp")); }),
              StoreErrors::WrongType);
    EXPECT_EQ(errorOf([&] { admin.Item(QStringLiteral("$/Sales/x.sp/y")); }), StoreErrors::NotFound);
    EXPECT_EQ(errorOf([&] { admin.Item(QStringLiteral("$Sales")); }), StoreErrors::NotFound);
}

TEST_P(VersionStoreTest, NewNamesAreCheckedAndMustBeFree) {
    StoreItem sales = admin.Item(QStringLiteral("$/Sales"));
    EXPECT_EQ(errorOf([&] { sales.NewSubproject(QStringLiteral("a/b"), QString()); }),
              StoreErrors::NameStructure);
    EXPECT_EQ(errorOf([&] { sales.NewSubproject(QStringLiteral("  "), QString()); }),
              StoreErrors::NameStructure);
    EXPECT_EQ(errorOf([&] { sales.NewSubproject(QStringLiteral("a*b"), QString()); }),
              StoreErrors::InvalidName);
    sales.NewSubproject(QStringLiteral("Orders"), QString());
    EXPECT_EQ(errorOf([&] { sales.NewSubproject(QStringLiteral("ORDERS"), QString()); }),
              StoreErrors::NameExists);
    StoreItem x = addFile(admin, QStringLiteral("x.sp"), "x");
    addFile(admin, QStringLiteral("y.sp"), "y");
    EXPECT_EQ(errorOf([&] { x.SetName(QStringLiteral("Y.SP")); }), StoreErrors::NameExists);
    EXPECT_EQ(errorOf([&] { sales.Add(writeFile(work(QStringLiteral("x.sp")), "again"), QString()); }),
              StoreErrors::NameExists);
    x.SetName(QStringLiteral("X.sp")); // a change of case only is a rename of its own
    EXPECT_EQ(x.Name(), QStringLiteral("X.sp"));
}

TEST_P(VersionStoreTest, VersionsAreNumberedAndKeepTheirTexts) {
    StoreItem item = addFile(bob, QStringLiteral("p.sp"), "v1\r\n");
    const QString local = work(QStringLiteral("p.sp"));
    EXPECT_TRUE(IsReadOnlyFile(local)) << "an added file is no longer the user's to edit";

    item.Checkout(QString(), local);
    EXPECT_FALSE(IsReadOnlyFile(local));
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(admin.Item(QStringLiteral("$/Sales/p.sp")).IsCheckedOut(), StoreItem::CheckedOut);
    writeFile(local, "v2\r\n");
    item.Checkin(QStringLiteral("second"), local);
    EXPECT_TRUE(IsReadOnlyFile(local));
    item.Label(QStringLiteral("Release 1"), QStringLiteral("shipped"));
    item.SetName(QStringLiteral("q.sp"));

    const QList<StoreVersion> versions = item.Versions();
    ASSERT_EQ(versions.size(), 4);
    EXPECT_EQ(versions[0].Action(), QStringLiteral("Renamed 'p.sp' to 'q.sp'"));
    EXPECT_EQ(versions[0].VersionNumber(), 3);
    EXPECT_TRUE(versions[1].IsLabel());
    EXPECT_EQ(versions[1].Action(), QStringLiteral("Labeled 'Release 1'"));
    EXPECT_EQ(versions[1].VersionNumber(), 2) << "a label carries the number of the version it labels";
    EXPECT_EQ(versions[1].LabelComment(), QStringLiteral("shipped"));
    EXPECT_EQ(versions[2].Action(), QStringLiteral("Checked in"));
    EXPECT_EQ(versions[2].Comment(), QStringLiteral("second"));
    EXPECT_EQ(versions[2].UserName(), QStringLiteral("Bob"));
    EXPECT_EQ(versions[3].Action(), QStringLiteral("Created"));
    EXPECT_EQ(versions[3].Text(), QByteArray("v1\r\n")) << "line ends are kept as written";
    EXPECT_EQ(versions[0].Text(), QByteArray("v2\r\n"));

    QString old = work(QStringLiteral("old.sp"));
    versions[3].Get(old);
    EXPECT_EQ(readFile(old), QByteArray("v1\r\n"));
    EXPECT_TRUE(IsReadOnlyFile(old));
}

TEST_P(VersionStoreTest, CheckoutStateDecidesWhoMayChangeAnItem) {
    StoreItem mine = addFile(bob, QStringLiteral("c.sp"), "text");
    StoreItem theirs = admin.Item(QStringLiteral("$/Sales/c.sp"));
    const QString local = work(QStringLiteral("c.sp"));
    const QString adminLocal = work(QStringLiteral("admin-c.sp"));

    EXPECT_EQ(errorOf([&] { mine.Checkin(QString(), local); }), StoreErrors::NotCheckedOut);
    EXPECT_EQ(errorOf([&] { mine.UndoCheckout(local); }), StoreErrors::NotCheckedOut);
    mine.Checkout(QString(), local);
    EXPECT_EQ(errorOf([&] { mine.Checkout(QString(), local); }), StoreErrors::AlreadyCheckedOut);
    EXPECT_EQ(errorOf([&] { theirs.Checkout(QString(), adminLocal); }), StoreErrors::CheckedOutByOther);
    EXPECT_EQ(errorOf([&] { theirs.Checkin(QString(), adminLocal); }), StoreErrors::NotCheckedOut);
    EXPECT_EQ(errorOf([&] { theirs.SetDeleted(true); }), StoreErrors::CheckedOutByOther);
    EXPECT_EQ(theirs.Holders(), QStringList{QStringLiteral("Bob")});

    // A check-in whose working file is gone changes nothing: the item stays checked out, no version.
    QFile::remove(local);
    EXPECT_EQ(errorOf([&] { mine.Checkin(QString(), local); }), StoreErrors::LocalFile);
    EXPECT_EQ(mine.IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(mine.VersionNumber(), 1);

    mine.UndoCheckout(local);
    EXPECT_EQ(readFile(local), QByteArray("text")) << "undo brings the store's text back";
    EXPECT_TRUE(IsReadOnlyFile(local));
    EXPECT_EQ(theirs.IsCheckedOut(), StoreItem::NotCheckedOut);
    EXPECT_EQ(mine.VersionNumber(), 1);
}

TEST_P(VersionStoreTest, GetNeverReplacesTheWorkingFileOfACheckout) {
    StoreItem item = addFile(bob, QStringLiteral("g.sp"), "stored");
    const QString local = work(QStringLiteral("g.sp"));

    // Outside a check-out the store's text wins, even over a file somebody made writable.
    SetReadOnlyFile(local, false);
    writeFile(local, "stray");
    QString target = local;
    item.Get(target);
    EXPECT_EQ(readFile(local), QByteArray("stored"));
    EXPECT_TRUE(IsReadOnlyFile(local));

    item.Checkout(QString(), local);
    writeFile(local, "my edits");
    target = local;
    EXPECT_EQ(errorOf([&] { item.Get(target); }), StoreErrors::WorkingFileProtected);
    EXPECT_EQ(errorOf([&] { item.Versions().last().Get(target); }), StoreErrors::WorkingFileProtected);
    EXPECT_EQ(readFile(local), QByteArray("my edits"));

    // Elsewhere the user gets a writable copy, since he holds the check-out.
    QString other = work(QStringLiteral("copy.sp"));
    item.Get(other);
    EXPECT_EQ(readFile(other), QByteArray("stored"));
    EXPECT_FALSE(IsReadOnlyFile(other));
}

TEST_P(VersionStoreTest, DeletedItemsKeepTheirHistoryAndComeBack) {
    StoreItem item = addFile(bob, QStringLiteral("d.sp"), "one");
    item.SetDeleted(true);
    EXPECT_EQ(errorOf([&] { bob.Item(QStringLiteral("$/Sales/d.sp")); }), StoreErrors::NotFound);
    EXPECT_TRUE(bob.Item(QStringLiteral("$/Sales/d.sp"), true) == item);
    EXPECT_EQ(errorOf([&] { bob.Item(QStringLiteral("$/Sales/x.sp"), true); }), StoreErrors::NotFound);

    StoreItem sales = bob.Item(QStringLiteral("$/Sales"));
    EXPECT_EQ(sales.Items(false).size(), 0);
    ASSERT_EQ(sales.Items(true).size(), 1);
    EXPECT_TRUE(sales.Items(true)[0].Deleted());

    // A new living item of the name blocks recovery; without it the old item continues its numbering.
    StoreItem other = addFile(bob, QStringLiteral("d.sp"), "other");
    EXPECT_EQ(errorOf([&] { item.SetDeleted(false); }), StoreErrors::NameExists);
    other.SetDeleted(true);
    EXPECT_TRUE(bob.Item(QStringLiteral("$/Sales/d.sp"), true) == other) << "the latest deleted one is found";
    item.SetDeleted(false);
    EXPECT_EQ(item.VersionNumber(), 3);
    EXPECT_EQ(item.Versions()[0].Action(), QStringLiteral("Recovered"));
    EXPECT_EQ(item.Versions()[1].Action(), QStringLiteral("Deleted"));
    EXPECT_EQ(item.Versions()[0].Text(), QByteArray("one"));
    EXPECT_EQ(sales.Items(true).size(), 2);
}

TEST_P(VersionStoreTest, SeveralHoldersWhenTheStoreAllowsIt) {
    TempFolder other;
    const QString multi = CreateStore(GetParam(), other.Path(), QStringLiteral("pw"), true);
    VersionStore a;
    a.Open(multi, QStringLiteral("Admin"), QStringLiteral("pw"));
    a.AddUser(QStringLiteral("Zed"), QStringLiteral("z"));
    StoreItem item =
        a.Item(QStringLiteral("$/")).Add(writeFile(other.Path(QStringLiteral("m.sp")), "m"), QString());
    VersionStore z;
    z.Open(multi, QStringLiteral("zed"), QStringLiteral("z"));
    z.Item(QStringLiteral("$/m.sp")).Checkout(QString(), other.Path(QStringLiteral("z.sp")));
    item.Checkout(QString(), other.Path(QStringLiteral("m.sp")));
    EXPECT_EQ(item.Holders(), (QStringList{QStringLiteral("Zed"), QStringLiteral("Admin")}));
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(item.Checkouts().size(), 2);
}

INSTANTIATE_TEST_SUITE_P(Engines, VersionStoreTest, ::testing::Values(StoreKind::Embedded, StoreKind::Server),
                         StoreKindName);

} // namespace
