#include "VssTestFixture.h"

#include "GeneralHelpers.h"

#include <QDir>

namespace {

using FailureTest = VssTest;

const QString x = QStringLiteral("x.sp");

// What the user is told when his working folder went away, and that the store kept nothing of the
// failed step: the item is free, so another user (or he, with the folder back) may take it.
TEST_F(FailureTest, ARemovedWorkingFolderLeavesNoCheckoutBehind) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one")));
    ASSERT_TRUE(QDir(Work(QStringLiteral("Bob"))).removeRecursively());

    EXPECT_FALSE(bob->CheckOut(x));
    EXPECT_EQ(bob->CheckedOutBy(x), QString());
    EXPECT_FALSE(bob->ChangeItemContent(x, QStringLiteral("two")));
    EXPECT_EQ(bob->CheckedOutBy(x), QString());
    EXPECT_FALSE(bob->GetLatestVersion(x));
    const QStringList boxes = Boxes();
    ASSERT_EQ(boxes.size(), 3);
    EXPECT_TRUE(boxes[0].startsWith(QStringLiteral("Could not check out|"))) << boxes[0].toStdString();
    for (const QString& box : boxes)
        EXPECT_TRUE(box.contains(QStringLiteral("the working folder '") + Work(QStringLiteral("Bob")) +
                                 QStringLiteral("' does not exist")))
            << box.toStdString();
    EXPECT_EQ(bob->GetItemHistory(x).size(), 2) << "no version came of it";

    QDir().mkpath(Work(QStringLiteral("Bob")));
    ASSERT_TRUE(bob->CheckOut(x));
    EXPECT_EQ(ReadFile(bob->GetItemFileName(x)), QStringLiteral("one"));
}

TEST_F(FailureTest, AFailedAddOverADeletedItemLeavesItDeleted) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one")));
    ASSERT_TRUE(bob->RemoveItem(x));
    ASSERT_TRUE(QDir(Work(QStringLiteral("Bob"))).removeRecursively());

    EXPECT_FALSE(bob->AddItem(x, QStringLiteral("two")));
    EXPECT_TRUE(bob->ItemIsDeleted(x));
    EXPECT_FALSE(bob->ItemExists(x));
    auto carol = Connect(QStringLiteral("Carol"), QStringLiteral("carol"));
    EXPECT_EQ(carol->ItemContent(x, true, -1, false, true), QStringLiteral("one"));
}

// Bringing a deleted item back under a name that a living item has is refused as one step: the
// item stays deleted under its old name, where the list of deleted objects finds it.
TEST_F(FailureTest, AnUndeleteUnderATakenNameChangesNothing) {
    auto bob = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    ASSERT_TRUE(bob->AddItem(x, QStringLiteral("one")));
    ASSERT_TRUE(bob->RemoveItem(x));
    ASSERT_TRUE(bob->AddItem(QStringLiteral("y.sp"), QStringLiteral("other")));

    EXPECT_FALSE(bob->RenameItem(x, QStringLiteral("y.sp"), false, true, true));
    EXPECT_TRUE(bob->ItemIsDeleted(x));
    EXPECT_EQ(bob->ItemContent(QStringLiteral("y.sp")), QStringLiteral("other"));
    EXPECT_EQ(bob->GetItemHistory(x, true).size(), 3) << "created and deleted, nothing more";
    ASSERT_EQ(Boxes().size(), 1);
}

// The working folder may come from a project record without its closing separator.
TEST_F(FailureTest, AWorkingFolderWithoutSeparatorHoldsTheFiles) {
    const QString folderWithout = Work(QStringLiteral("Dave"));
    QDir().mkpath(folderWithout);
    TARMOVSS vss;
    ASSERT_EQ(vss.OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"), QStringLiteral("$/Sales"),
                                 folderWithout, true),
              QString());
    EXPECT_EQ(vss.GetItemFileName(x), folderWithout + QStringLiteral("/x.sp"));
    ASSERT_TRUE(vss.AddItem(x, QStringLiteral("one")));
    ASSERT_TRUE(vss.CheckOut(x));
    EXPECT_EQ(ReadFile(folderWithout + QStringLiteral("/x.sp")), QStringLiteral("one"));
    EXPECT_EQ(QDir(folder.Path()).entryList(QStringList{QStringLiteral("work-Dave*")}, QDir::Files),
              QStringList());
}

} // namespace
