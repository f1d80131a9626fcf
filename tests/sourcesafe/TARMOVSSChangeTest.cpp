#include "VssTestFixture.h"

#include "GeneralHelpers.h"

#include <QDir>

namespace {

using ChangeTest = VssTest;

const QString x = QStringLiteral("x.sp");

// A refusal because of the item's state is a quiet False; an error is a box with the operation's
// title and the store's description in brackets, unless silent.
TEST_F(ChangeTest, StateRefusalsAreSilentAndErrorsAreReported) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    auto carol = Connect(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("create")));
    ASSERT_TRUE(bob->CheckOut(x));

    EXPECT_FALSE(bob->CheckOut(x)) << "already checked out by the user";
    EXPECT_FALSE(carol->CheckOut(x));
    EXPECT_FALSE(carol->CheckIn(x, QStringLiteral("mine")));
    EXPECT_FALSE(carol->UndoCheckout(x));
    EXPECT_FALSE(carol->RenameItem(x, QStringLiteral("y.sp")));
    EXPECT_FALSE(carol->RenameItemWithNewContent(x, QStringLiteral("y.sp"), QStringLiteral("t")));
    EXPECT_FALSE(carol->RenameItem(QStringLiteral("gone.sp"), QStringLiteral("y.sp"), false, true));
    EXPECT_TRUE(Boxes().isEmpty());

    // ChangeItemContent doesn't look first: the store's refusal is its failure.
    EXPECT_FALSE(carol->ChangeItemContent(x, QStringLiteral("t")));
    EXPECT_FALSE(carol->CheckOut(QStringLiteral("gone.sp"), true));
    EXPECT_FALSE(carol->CheckOut(QStringLiteral("gone.sp")));
    EXPECT_FALSE(carol->RenameItem(QStringLiteral("gone.sp"), QStringLiteral("y.sp")));
    EXPECT_FALSE(carol->GetLatestVersion(QStringLiteral("gone.sp")));
    EXPECT_FALSE(carol->RemoveItem(QStringLiteral("gone.sp")));
    EXPECT_FALSE(carol->CheckIn(QStringLiteral("gone.sp")));
    EXPECT_FALSE(carol->UndoCheckout(QStringLiteral("gone.sp")));
    EXPECT_EQ(carol->ItemContent(QStringLiteral("gone.sp")), QString());
    EXPECT_EQ(carol->ItemContentForVersion(QStringLiteral("gone.sp"), 1), QString());
    const QStringList boxes = Boxes();
    const QString missing = QStringLiteral("\n('$/Sales/gone.sp' was not found.)");
    EXPECT_EQ(boxes,
              (QStringList{
                  QStringLiteral("Could not change Item|An error ocuured while trying to change the item "
                                 "'x.sp'.\n('$/Sales/x.sp' is checked out by Bob.)"),
                  QStringLiteral("Could not check out|An error ocuured while trying to check out the item "
                                 "'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not Rename Item|An error ocuured while renaming the item 'gone.sp' "
                                 "to 'y.sp.") +
                      missing,
                  QStringLiteral("Could not get latest version|An error ocuured while trying to get the "
                                 "latest version of the item 'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not remove Item|An error ocuured while trying to remove the item "
                                 "'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not check in|An error ocuured while trying to check in the item "
                                 "'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not undo check out|An error ocuured while trying to undo the check "
                                 "out for the item 'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not get Item Content|An error ocuured while trying to retrieve the "
                                 "contents for item 'gone.sp'.") +
                      missing,
                  QStringLiteral("Could not get Item Content|An error ocuured while trying to retrieve the "
                                 "contents for item 'gone.sp', version '1'.") +
                      missing,
              }));
}

TEST_F(ChangeTest, CheckOutCheckInAndUndoMoveTheWorkingFile) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    const QString local = bob->GetItemFileName(x);
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one"), false, QStringLiteral("first")));
    EXPECT_TRUE(IsReadOnlyFile(local));

    ASSERT_TRUE(bob->CheckOut(x));
    EXPECT_FALSE(IsReadOnlyFile(local));
    WriteFile(local, QStringLiteral("two"));
    // The local file is the content when none is given.
    ASSERT_TRUE(bob->CheckIn(x, QString(), QStringLiteral("second")));
    EXPECT_TRUE(IsReadOnlyFile(local));
    EXPECT_EQ(bob->ItemContentForVersion(x, 2), QStringLiteral("two"));

    ASSERT_TRUE(bob->CheckOut(x));
    ASSERT_TRUE(bob->CheckIn(x, QStringLiteral("three"), QStringLiteral("third")));
    EXPECT_EQ(ReadFile(local), QStringLiteral("three"));

    ASSERT_TRUE(bob->CheckOut(x));
    WriteFile(local, QStringLiteral("abandoned"));
    ASSERT_TRUE(bob->UndoCheckout(x));
    EXPECT_EQ(ReadFile(local), QStringLiteral("three"));
    EXPECT_TRUE(IsReadOnlyFile(local));
    EXPECT_EQ(bob->CheckedOutBy(x), QString());

    // A checked-out file keeps the user's work through a "get latest".
    ASSERT_TRUE(bob->CheckOut(x));
    WriteFile(local, QStringLiteral("in progress"));
    EXPECT_TRUE(bob->GetLatestVersion(x));
    EXPECT_EQ(ReadFile(local), QStringLiteral("in progress"));

    // Somebody else's get replaces his stale copy with the head version, read-only.
    auto carol = Connect(QStringLiteral("Carol"), QStringLiteral("carol"));
    WriteFile(carol->GetItemFileName(x), QStringLiteral("stale"));
    EXPECT_TRUE(carol->GetLatestVersion(x));
    EXPECT_EQ(ReadFile(carol->GetItemFileName(x)), QStringLiteral("three"));
    EXPECT_TRUE(IsReadOnlyFile(carol->GetItemFileName(x)));
    EXPECT_TRUE(Boxes().isEmpty());
}

TEST_F(ChangeTest, RemovedItemsComeBackWithTheirHistory) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    const QString local = bob->GetItemFileName(x);
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one"), false, QStringLiteral("first")));
    ASSERT_TRUE(bob->RemoveItem(x));
    EXPECT_FALSE(FileExists(local)) << "the read-only local copy goes too";
    EXPECT_FALSE(bob->ItemExists(x));
    EXPECT_TRUE(bob->ItemExists(x, true));
    EXPECT_TRUE(bob->ItemIsDeleted(x));
    EXPECT_EQ(bob->ItemContent(x, true, -1, false, true), QStringLiteral("one"));

    // Adding the name again continues the old item.
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("again"), false, QStringLiteral("back")));
    EXPECT_FALSE(bob->ItemIsDeleted(x));
    const QList<TARMOHistoryData> history = bob->GetItemHistory(x);
    ASSERT_EQ(history.size(), 5);
    EXPECT_EQ(history[0].VersionNumber(), 0) << "element 0 stays empty";
    EXPECT_EQ(history[0].Action(), QString());
    EXPECT_EQ(history[1].VersionNumber(), 4);
    EXPECT_EQ(history[1].Comment(), QStringLiteral("back"));
    EXPECT_EQ(history[2].Action(), QStringLiteral("Recovered"));
    EXPECT_EQ(history[3].Action(), QStringLiteral("Deleted"));
    EXPECT_EQ(history[4].Action(), QStringLiteral("Created"));
    EXPECT_EQ(history[4].Comment(), QStringLiteral("first"));
    EXPECT_EQ(bob->ItemContent(x), QStringLiteral("again"));
    EXPECT_EQ(bob->ItemContentForVersion(x, 1), QStringLiteral("one"));
    EXPECT_TRUE(Boxes().isEmpty());
}

TEST_F(ChangeTest, RenamesMoveTheItemAndMayBringADeletedOneBack) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one")));
    ASSERT_TRUE(bob->RenameItem(x, QStringLiteral("y.sp")));
    EXPECT_FALSE(bob->ItemExists(x));
    EXPECT_EQ(bob->ItemContent(QStringLiteral("y.sp")), QStringLiteral("one"));

    ASSERT_TRUE(bob->RenameItemWithNewContent(QStringLiteral("y.sp"), QStringLiteral("z.sp"),
                                              QStringLiteral("two"), QStringLiteral("renamed")));
    EXPECT_EQ(bob->CheckedOutBy(QStringLiteral("z.sp")), QString());
    const QList<TARMOHistoryData> history = bob->GetItemHistory(QStringLiteral("z.sp"));
    EXPECT_EQ(history[1].Action(), QStringLiteral("Renamed 'y.sp' to 'z.sp'"));
    EXPECT_EQ(history[2].Comment(), QStringLiteral("renamed"));
    EXPECT_EQ(bob->ItemContent(QStringLiteral("z.sp")), QStringLiteral("two"));

    // Undelete under a new name: the deleted item is found, renamed and living again.
    ASSERT_TRUE(bob->RemoveItem(QStringLiteral("z.sp")));
    EXPECT_FALSE(bob->RenameItem(QStringLiteral("z.sp"), QStringLiteral("w.sp"), true, true, false));
    ASSERT_TRUE(bob->RenameItem(QStringLiteral("z.sp"), QStringLiteral("w.sp"), false, true, true));
    EXPECT_FALSE(bob->ItemIsDeleted(QStringLiteral("z.sp")));
    EXPECT_TRUE(bob->ItemExists(QStringLiteral("w.sp")));
    EXPECT_EQ(bob->ItemContent(QStringLiteral("w.sp")), QStringLiteral("two"));

    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("x")));
    EXPECT_FALSE(bob->RenameItem(x, QStringLiteral("w.sp")));
    ASSERT_EQ(Boxes().size(), 1);
    EXPECT_TRUE(Boxes()[0].startsWith(QStringLiteral("Could not Rename Item|An error ocuured while renaming "
                                                     "the item 'x.sp' to 'w.sp.\n(An item named 'w.sp'")));
}

} // namespace
