#include "VssTestFixture.h"

#include "GeneralHelpers.h"
#include "VersionStore.h"

#include <QDir>

namespace {

using ReadTest = VssTest;

const QString x = QStringLiteral("x.sp");

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

TEST_F(ReadTest, ItemContentUsesTheLocalCopyOnlyForTheUsersOwnCheckout) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    const QString local = bob->GetItemFileName(x);
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("head")));
    ASSERT_TRUE(bob->CheckOut(x));
    WriteFile(local, QStringLiteral("unsaved work"));

    EXPECT_EQ(bob->ItemContent(x), QStringLiteral("unsaved work"));
    EXPECT_EQ(bob->ItemContent(x, false), QStringLiteral("head"));
    EXPECT_EQ(ReadFile(local), QStringLiteral("unsaved work")) << "the local file is not touched";
    EXPECT_EQ(filesIn(Work(QStringLiteral("Bob"))), QStringList{x}) << "no temporary file is left behind";

    QFile::remove(local);
    EXPECT_EQ(bob->ItemContent(x), QStringLiteral("head"));

    // Nobody's check-out: the local copy is replaced by the head version.
    ASSERT_TRUE(bob->CheckIn(x, QStringLiteral("second")));
    WriteFile(local, QStringLiteral("stray"));
    EXPECT_EQ(bob->ItemContent(x), QStringLiteral("second"));
    EXPECT_EQ(ReadFile(local), QStringLiteral("second"));

    // Old versions come through a temporary file that is gone afterwards; a missing number is "" quietly.
    EXPECT_EQ(bob->ItemContent(x, true, 1), QStringLiteral("head"));
    EXPECT_EQ(bob->ItemContentForVersion(x, 2), QStringLiteral("second"));
    EXPECT_EQ(bob->ItemContentForVersion(x, 7), QString());
    EXPECT_EQ(filesIn(Work(QStringLiteral("Bob"))), QStringList{x});
    EXPECT_TRUE(Boxes().isEmpty());
}

TEST_F(ReadTest, ItemsFilterByEndingAndDeletedState) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    for (const char* name : {"1.sp", "2.SP", "3.sp", "4.trg"})
        ASSERT_TRUE(bob->AddItem(QString::fromLatin1(name), QStringLiteral("t")));
    ASSERT_TRUE(bob->RemoveItem(QStringLiteral("3.sp")));
    bob->CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("Sub"));

    auto names = [](const TARMOVSSItems& items) {
        QStringList result;
        for (const TARMOVSSItem& item : items)
            result << item.Name();
        return result;
    };
    EXPECT_EQ(names(bob->Items(QStringLiteral("*.sp"))), QStringList{QStringLiteral("1.sp")});
    EXPECT_EQ(names(bob->Items(QStringLiteral("*.sp"), true)),
              (QStringList{QStringLiteral("1.sp"), QStringLiteral("3.sp")}));
    EXPECT_EQ(names(bob->Items(QString(), true, true)), QStringList{QStringLiteral("3.sp")});
    EXPECT_EQ(names(bob->Items()), (QStringList{QStringLiteral("1.sp"), QStringLiteral("2.SP"),
                                                QStringLiteral("4.trg"), QStringLiteral("Sub")}));
    TARMOVSSItems all = bob->Items(QStringLiteral("*"));
    EXPECT_EQ(all.Count(), 4);
    EXPECT_EQ(all.ActiveVSSConnection(), bob.get());
    EXPECT_EQ(all.Item(QStringLiteral("4.TRG")).ActiveVSSConnection(), bob.get());
}

TEST_F(ReadTest, HoldersAreNamedAsTheConnectionSpellsThem) {
    QDir().mkpath(Work(QStringLiteral("BOB")));
    auto bob = Connect(QStringLiteral("BOB"), QStringLiteral("bob"));
    auto carol = Connect(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("t")));
    ASSERT_TRUE(bob->CheckOut(x));

    EXPECT_EQ(bob->CheckedOutBy(x), QStringLiteral("BOB"));
    EXPECT_EQ(carol->CheckedOutBy(x), QStringLiteral("Bob"));
    const TARMOVSSItem item = carol->Item(x);
    EXPECT_TRUE(item.IsCheckedOut());
    EXPECT_EQ(item.CheckedOutBy(), QStringLiteral("Bob"));
    EXPECT_EQ(item.ActiveVSSConnection(), carol.get());
    EXPECT_EQ(carol->Items().Item(x).CheckedOutBy(), QStringLiteral("Bob"));
    EXPECT_THROW(carol->Item(QStringLiteral("gone.sp")), TARMOError);
}

TEST(ReadTestMulti, TwoHoldersAreJoinedByACommaAndABlank) {
    TempFolder folder;
    ScriptedPromptsScope prompts;
    const QString ini = VersionStore::Create(folder.Path(), QStringLiteral("pw"), true);
    {
        VersionStore admin;
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
        admin.AddUser(QStringLiteral("Ann"), QStringLiteral("a"));
        admin.AddUser(QStringLiteral("Ben"), QStringLiteral("b"));
        admin.AddUser(QStringLiteral("Cy"), QStringLiteral("c"));
    }
    auto connect = [&](const QString& user, const QString& password) {
        auto vss = std::make_unique<TARMOVSS>();
        QDir().mkpath(folder.Path(user));
        EXPECT_EQ(vss->OpenConnection(ini, user, password, QStringLiteral("$/"),
                                      folder.Path(user) + QLatin1Char('/')),
                  QString());
        return vss;
    };
    auto ann = connect(QStringLiteral("Ann"), QStringLiteral("a"));
    auto ben = connect(QStringLiteral("Ben"), QStringLiteral("b"));
    auto cy = connect(QStringLiteral("Cy"), QStringLiteral("c"));
    ASSERT_TRUE(ann->AddItem(x, QStringLiteral("t")));
    ASSERT_TRUE(ann->CheckOut(x));
    // TARMOVSS checks out only what nobody holds; a second holder comes in through the store itself.
    EXPECT_FALSE(ben->CheckOut(x));
    VersionStore store;
    store.Open(ini, QStringLiteral("Ben"), QStringLiteral("b"));
    store.Item(QStringLiteral("$/x.sp")).Checkout(QString(), folder.Path(QStringLiteral("Ben/x.sp")));

    EXPECT_EQ(cy->CheckedOutBy(x), QStringLiteral("Ann, Ben"));
    EXPECT_EQ(ann->CheckedOutBy(x), QStringLiteral("Ann"));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(ReadTest, HistoryMarksLabelsAndDatesSpanTheProject) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    QString start, end;
    bob->GetDate(start, end);
    EXPECT_EQ(start, QStringLiteral("2100.01.01"));
    EXPECT_EQ(end, QStringLiteral("1900.01.01"));

    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("t"), false, QStringLiteral("made")));
    {
        VersionStore store;
        store.Open(ini, QStringLiteral("Bob"), QStringLiteral("bob"));
        store.Item(QStringLiteral("$/Sales/x.sp"))
            .Label(QStringLiteral("Release 1"), QStringLiteral("shipped"));
    }
    const QList<TARMOHistoryData> history = bob->GetItemHistory(x);
    ASSERT_EQ(history.size(), 3);
    EXPECT_TRUE(history[1].IsLabel());
    EXPECT_EQ(history[1].Action(), QStringLiteral("Labeled 'Release 1'"));
    EXPECT_EQ(history[1].LabelComment(), QStringLiteral("shipped"));
    EXPECT_EQ(history[1].VersionNumber(), 1);
    EXPECT_FALSE(history[2].IsLabel());
    EXPECT_EQ(history[2].LabelComment(), QString());
    EXPECT_EQ(history[2].UserName(), QStringLiteral("Bob"));
    EXPECT_EQ(history[2].Comment(), QStringLiteral("made"));
    EXPECT_TRUE(TARMOHistoryData::ParseDate(history[2].VersionDate()).isValid());

    bob->GetDate(start, end);
    const QDateTime first = TARMOHistoryData::ParseDate(start);
    const QDateTime last = TARMOHistoryData::ParseDate(end);
    ASSERT_TRUE(first.isValid() && last.isValid());
    EXPECT_LE(first, last);
    EXPECT_EQ(start, history[2].VersionDate());
    EXPECT_LE(qAbs(first.secsTo(QDateTime::currentDateTime())), 3600) << "local time, not a shifted zone";
}

} // namespace
