#include "StoreErrors.h"
#include "StoreRights.h"
#include "TARMOError.h"
#include "TestStores.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

void writeText(const QString& path, const QByteArray& text) {
    QFile file(path);
    if (file.exists())
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(text);
}

// What a listing must give of an item: read here one property at a time, as a walk over Items does.
StoreEntry walked(const StoreItem& item, const QString& userName) {
    StoreEntry entry;
    entry.Name = item.Name();
    entry.Type = item.Type();
    entry.CheckoutState = item.IsCheckedOut();
    entry.Holders = item.Holders();
    entry.VersionNumber = item.VersionNumber();
    for (const StoreCheckout& checkout : item.Checkouts())
        if (checkout.UserName.compare(userName, Qt::CaseInsensitive) == 0)
            entry.LocalSpec = checkout.LocalSpec;
    if (entry.Type == StoreItem::File) {
        try {
            entry.HasText = true;
            for (const StoreVersion& version : item.Versions())
                if (!version.IsLabel()) {
                    entry.Text = version.Text();
                    break;
                }
        } catch (const TARMOError&) {
            entry.HasText = false;
            entry.Text.clear();
        }
    }
    return entry;
}

void expectSame(const StoreEntry& listed, const StoreEntry& one) {
    const std::string name = one.Name.toStdString();
    EXPECT_EQ(listed.Name, one.Name);
    EXPECT_EQ(listed.Type, one.Type) << name;
    EXPECT_EQ(listed.CheckoutState, one.CheckoutState) << name;
    EXPECT_EQ(listed.Holders, one.Holders) << name;
    EXPECT_EQ(listed.LocalSpec, one.LocalSpec) << name;
    EXPECT_EQ(listed.VersionNumber, one.VersionNumber) << name;
    EXPECT_EQ(listed.HasText, one.HasText) << name;
    EXPECT_EQ(listed.Text, one.Text) << name;
}

// A project with everything a listing has to tell apart: several versions and a label, files held
// by the user, by others and by both, deleted files (one of them under a living file's name), a
// subproject, an empty text, names in mixed case and a text that no longer matches its checksum.
class StoreListingTest : public ::testing::TestWithParam<StoreKind> {
protected:
    void SetUp() override {
        SKIP_UNLESS_AVAILABLE(GetParam());
        ini = CreateStore(GetParam(), folder.Path(QStringLiteral("store")), QStringLiteral("pw"), true);
        QDir().mkpath(folder.Path(QStringLiteral("work")));
        VersionStore admin;
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
        for (const QString& user : {QStringLiteral("Ann"), QStringLiteral("Bob"), QStringLiteral("Cy")})
            admin.AddUser(user, user.toLower());
        StoreItem project = admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("P"), QString());
        project.NewSubproject(QStringLiteral("Sub"), QString());
        StoreItem a = add(project, QStringLiteral("a.sp"), "one");
        for (const char* text : {"two", "three"}) {
            a.Checkout(QString(), local(QStringLiteral("a.sp")));
            writeText(local(QStringLiteral("a.sp")), text);
            a.Checkin(QString(), local(QStringLiteral("a.sp")));
        }
        a.Label(QStringLiteral("release"), QString());
        add(project, QStringLiteral("Both.SP"), "held twice");
        add(project, QStringLiteral("other.sp"), "held by Bob");
        add(project, QStringLiteral("empty.sp"), "");
        add(project, QStringLiteral("gone.sp"), "deleted").SetDeleted(true);
        add(project, QStringLiteral("again.sp"), "first life").SetDeleted(true);
        add(project, QStringLiteral("again.sp"), "second life");
        add(project, QStringLiteral("damaged.sp"), "intact");
        admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Cy"), StoreRights::None);

        VersionStore bob;
        bob.Open(ini, QStringLiteral("Bob"), QStringLiteral("bob"));
        bob.Item(QStringLiteral("$/P/Both.SP")).Checkout(QString(), QString());
        bob.Item(QStringLiteral("$/P/other.sp")).Checkout(QString(), QString());
        ann.Open(ini, QStringLiteral("ann"), QStringLiteral("ann"));
        ann.Item(QStringLiteral("$/P/Both.SP"))
            .Checkout(QStringLiteral("mine"), local(QStringLiteral("both")));

        TamperWithStore(GetParam(), folder.Path(QStringLiteral("store")),
                        "UPDATE history SET content = CAST('tampered' AS BLOB) WHERE item = "
                        "(SELECT id FROM items WHERE name = 'damaged.sp')",
                        "UPDATE tarmo.history SET content = 'tampered'::bytea WHERE item = "
                        "(SELECT id FROM tarmo.items WHERE name = 'damaged.sp')");
    }

    QString local(const QString& name) const { return folder.Path(QStringLiteral("work/") + name); }

    StoreItem add(StoreItem& project, const QString& name, const QByteArray& text) {
        writeText(local(name), text);
        return project.Add(local(name), QString());
    }

    TempFolder folder;
    QString ini;
    VersionStore ann;
};

TEST_P(StoreListingTest, EntriesGiveWhatTheItemsSayOneByOne) {
    const StoreItem project = ann.Item(QStringLiteral("$/P"));
    const QList<StoreItem> items = project.Items(false);
    const QList<StoreEntry> entries = project.Entries(
        {}, [](const QString&) { return true; }, true);
    ASSERT_EQ(entries.size(), items.size());
    ASSERT_EQ(entries.size(), 7) << "the deleted files are left out, the subproject is not";
    for (qsizetype i = 0; i < items.size(); ++i)
        expectSame(entries[i], walked(items[i], ann.UserName()));

    // The cases themselves, so that a walk that went wrong the same way doesn't pass unseen.
    const auto find = [&](const QString& name) {
        for (const StoreEntry& entry : entries)
            if (entry.Name == name)
                return entry;
        ADD_FAILURE() << name.toStdString();
        return StoreEntry();
    };
    EXPECT_EQ(find(QStringLiteral("a.sp")).VersionNumber, 3);
    EXPECT_EQ(find(QStringLiteral("a.sp")).Text, "three");
    EXPECT_EQ(find(QStringLiteral("again.sp")).Text, "second life");
    EXPECT_EQ(find(QStringLiteral("Both.SP")).Holders,
              (QStringList{QStringLiteral("Bob"), QStringLiteral("Ann")}));
    EXPECT_EQ(find(QStringLiteral("Both.SP")).CheckoutState, StoreItem::CheckedOutMe);
    EXPECT_EQ(find(QStringLiteral("Both.SP")).LocalSpec, local(QStringLiteral("both")));
    EXPECT_EQ(find(QStringLiteral("other.sp")).CheckoutState, StoreItem::CheckedOut);
    EXPECT_TRUE(find(QStringLiteral("empty.sp")).HasText);
    EXPECT_FALSE(find(QStringLiteral("damaged.sp")).HasText);
    EXPECT_EQ(find(QStringLiteral("Sub")).Type, StoreItem::Project);

    // Texts only where asked; the rest of the listing stays the same.
    const QList<StoreEntry> bare = project.Entries();
    ASSERT_EQ(bare.size(), entries.size());
    for (const StoreEntry& entry : bare)
        EXPECT_FALSE(entry.HasText) << entry.Name.toStdString();

    // By the ending of the name, in the case given.
    const QList<StoreEntry> ending = project.Entries({QStringLiteral(".sp"), QStringLiteral("ub")});
    QStringList endingNames;
    for (const StoreEntry& entry : ending)
        endingNames << entry.Name;
    EXPECT_EQ(endingNames,
              (QStringList{QStringLiteral("a.sp"), QStringLiteral("again.sp"), QStringLiteral("damaged.sp"),
                           QStringLiteral("empty.sp"), QStringLiteral("other.sp"), QStringLiteral("Sub")}));

    // By name, in any case: deleted and unknown names are left out.
    const QList<StoreEntry> named =
        project.EntriesNamed({QStringLiteral("A.SP"), QStringLiteral("both.sp"), QStringLiteral("gone.sp"),
                              QStringLiteral("nope")},
                             [](const QString& name) { return name == QLatin1String("a.sp"); });
    ASSERT_EQ(named.size(), 2);
    expectSame(named[0], walked(items[0], ann.UserName()));
    EXPECT_EQ(named[1].Name, QStringLiteral("Both.SP"));
    EXPECT_FALSE(named[1].HasText);

    // Unless told to leave it out, a damaged text is reported as reading it alone reports it.
    const CaughtError alone =
        ErrorOf([&] { ann.Item(QStringLiteral("$/P/damaged.sp")).Versions()[0].Text(); });
    ASSERT_EQ(alone.number, StoreErrors::DamagedText);
    const CaughtError listed = ErrorOf([&] { project.Entries({}, [](const QString&) { return true; }); });
    EXPECT_EQ(listed.number, alone.number);
    EXPECT_EQ(listed.text, alone.text);
    EXPECT_EQ(ErrorOf([&] {
                  project.EntriesNamed({QStringLiteral("damaged.sp")}, [](const QString&) { return true; });
              }).text,
              alone.text);

    // A user who may not read the project reads nothing of it, by name or not.
    VersionStore cy;
    cy.Open(ini, QStringLiteral("Cy"), QStringLiteral("cy"));
    const StoreItem hidden = cy.Item(QStringLiteral("$/P"));
    EXPECT_EQ(ErrorOf([&] { hidden.Entries(); }).number, StoreErrors::NoRight);
    EXPECT_EQ(ErrorOf([&] { hidden.EntriesNamed({QStringLiteral("a.sp")}); }).number, StoreErrors::NoRight);
    EXPECT_EQ(ErrorOf([&] { hidden.EntriesNamed(QStringList()); }).number, StoreErrors::NoRight);
    EXPECT_EQ(ErrorOf([&] { hidden.Items(false); }).number, StoreErrors::NoRight);

    // An open session still reads a data file removed under it; whether the store is still there
    // is asked of the files.
    EXPECT_EQ(ErrorOf([&] { ann.RequirePresent(); }).number, 0);
    ASSERT_TRUE(QFile::remove(ini));
    EXPECT_EQ(ErrorOf([&] { ann.RequirePresent(); }).number, StoreErrors::IniFile);
}

TEST_P(StoreListingTest, FilesAddedInBulkAreAddedAllOrNone) {
    StoreItem project = ann.Item(QStringLiteral("$/P"));
    const QList<StoreItem> added =
        project.AddFiles({{QStringLiteral("n1.sp"), "first"}, {QStringLiteral("n2.sp"), QByteArray()}},
                         QStringLiteral("bulk"));
    ASSERT_EQ(added.size(), 2);
    for (const StoreItem& item : added) {
        const QList<StoreVersion> versions = item.Versions();
        ASSERT_EQ(versions.size(), 1);
        EXPECT_EQ(versions[0].VersionNumber(), 1);
        EXPECT_EQ(versions[0].Comment(), QStringLiteral("bulk"));
        EXPECT_EQ(versions[0].UserName(), QStringLiteral("Ann"));
    }
    EXPECT_EQ(added[0].Versions()[0].Text(), "first") << "its checksum was kept with it";
    EXPECT_EQ(added[1].Versions()[0].Text(), "");

    const int before = project.Items(false).size();
    // A name taken, a name given twice (in another case), a name the store doesn't take: none added.
    for (const QList<StoreNewFile>& batch :
         {QList<StoreNewFile>{{QStringLiteral("n3.sp"), "x"}, {QStringLiteral("a.sp"), "x"}},
          QList<StoreNewFile>{{QStringLiteral("n3.sp"), "x"}, {QStringLiteral("N3.SP"), "x"}},
          QList<StoreNewFile>{{QStringLiteral("n3.sp"), "x"}, {QStringLiteral("bad:name"), "x"}}}) {
        EXPECT_NE(ErrorOf([&] { project.AddFiles(batch, QString()); }).number, 0);
        EXPECT_EQ(project.Items(false).size(), before);
    }

    VersionStore cy;
    cy.Open(ini, QStringLiteral("Cy"), QStringLiteral("cy"));
    StoreItem hidden = cy.Item(QStringLiteral("$/P"));
    EXPECT_EQ(ErrorOf([&] {
                  hidden.AddFiles({{QStringLiteral("n4.sp"), "x"}}, QString());
              }).number,
              StoreErrors::NoRight);
    EXPECT_EQ(project.Items(false).size(), before);
}

INSTANTIATE_TEST_SUITE_P(Engines, StoreListingTest, ::testing::Values(StoreKind::Embedded, StoreKind::Server),
                         StoreKindName);

} // namespace
