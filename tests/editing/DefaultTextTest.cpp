#include "DefaultTextTags.h"
#include "GeneralHelpers.h"
#include "TARMODatabase.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

DefaultTextTagValues values(const QString& table = {}, const QString& owner = {}) {
    DefaultTextTagValues v;
    // A morning in February: day, month and hour all need their leading zero.
    v.Created = QDateTime(QDate(2026, 2, 3), QTime(9, 5, 59));
    v.VSSUserName = QStringLiteral("Admin");
    v.SQLUserName = QStringLiteral("sa");
    v.TableName = table;
    v.TableOwner = owner;
    return v;
}

void writeFile(const QString& path, const QString& text) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
}

} // namespace

// Every tag, in every occurrence, also where two stand side by side.
TEST(DefaultTextTags, EveryTagIsReplacedWhereverItStands) {
    const QString text = QStringLiteral(
        "-- <DATE> <TIME> by <DONEBYVSS> (<DONEBYSQL>)\r\n"
        "CREATE TRIGGER trg_<TABLE> ON <TABLEWITHOWNER> FOR INSERT AS -- <TABLEOWNER>.<TABLE>\r\n"
        "-- <DATE><TIME><DONEBYVSS>");
    EXPECT_EQ(ReplaceDefaultTextTags(text, values(QStringLiteral("Orders"), QStringLiteral("sales"))),
              QStringLiteral("-- 03.02.2026 09:05 by Admin (sa)\r\n"
                             "CREATE TRIGGER trg_Orders ON sales.Orders FOR INSERT AS -- sales.Orders\r\n"
                             "-- 03.02.202609:05Admin"));

    DefaultTextTagValues evening = values();
    evening.Created = QDateTime(QDate(2026, 12, 31), QTime(21, 30));
    EXPECT_EQ(ReplaceDefaultTextTags(QStringLiteral("<DATE> <TIME>"), evening),
              QStringLiteral("31.12.2026 21:30"))
        << "the hours run to 23";
}

// Only the seven tags in capitals are tags; anything else, comparison signs included, passes as it is.
TEST(DefaultTextTags, OtherTextAndOtherCasePassUnchanged) {
    const QStringList unchanged = {
        QString(),
        QStringLiteral("CREATE PROCEDURE dbo.p AS SELECT 1 WHERE 2 < 3 AND 4 > 1"),
        QStringLiteral("<date> <Time> <donebyvss> <Table> <tableowner> <TableWithOwner>"),
        QStringLiteral("< DATE> <DATE > <DATE <TABLE_OWNER> <TABLEWITH OWNER>"),
    };
    for (const QString& text : unchanged)
        EXPECT_EQ(ReplaceDefaultTextTags(text, values(QStringLiteral("Orders"), QStringLiteral("dbo"))),
                  text);
}

// Without a table (anything but a trigger made from a table's node) the table tags vanish; a table
// without an owner is named bare, with no leading dot.
TEST(DefaultTextTags, TableTagsFollowWhatTheTableNodeGave) {
    const QString text = QStringLiteral("[<TABLEWITHOWNER>] [<TABLE>] [<TABLEOWNER>]");
    EXPECT_EQ(ReplaceDefaultTextTags(text, values()), QStringLiteral("[] [] []"));
    EXPECT_EQ(ReplaceDefaultTextTags(text, values(QStringLiteral("Orders"))),
              QStringLiteral("[Orders] [Orders] []"));
    EXPECT_EQ(ReplaceDefaultTextTags(text, values(QStringLiteral("Order Lines"), QStringLiteral("dbo"))),
              QStringLiteral("[dbo.Order Lines] [Order Lines] [dbo]"));
}

class DefaultTextFiles : public ::testing::Test {
protected:
    IsolatedUserFolders folders;
    TARMODatabase database;
};

// Each user of one installation has texts of their own, and an empty or missing file starts a kind empty.
TEST_F(DefaultTextFiles, EachUserHasTextsOfTheirOwn) {
    const QString others = ApplicationFolder() + QStringLiteral("/someone-else/Views.default");
    writeFile(others, QStringLiteral("CREATE VIEW theirs AS SELECT 1"));
    EXPECT_EQ(database.GetDefaultText(QStringLiteral("Views")), QString());

    database.SetDefaultText(QStringLiteral("Views"), QStringLiteral("CREATE VIEW mine AS SELECT 2\r\n"));
    EXPECT_EQ(database.GetDefaultText(QStringLiteral("Views")),
              QStringLiteral("CREATE VIEW mine AS SELECT 2\r\n"));
    QFile theirs(others);
    ASSERT_TRUE(theirs.open(QIODevice::ReadOnly));
    EXPECT_EQ(theirs.readAll(), QByteArray("CREATE VIEW theirs AS SELECT 1"));

    writeFile(UserFolder() + QStringLiteral("/Triggers.default"), QString());
    EXPECT_EQ(database.GetDefaultText(QStringLiteral("Triggers")), QString());
}
