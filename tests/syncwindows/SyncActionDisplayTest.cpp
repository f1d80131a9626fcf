#include "SyncActionDisplay.h"
#include "SyncPictures.h"
#include "TestSupport.h"

#include <QSet>

#include <gtest/gtest.h>

namespace {

constexpr auto None = SyncDirection::None;
constexpr auto ToSql = SyncDirection::ToSql;
constexpr auto ToVss = SyncDirection::ToVss;

// Rows of the given kinds, named r0, r1, ... in their order.
SyncActionDisplay rowsOfKinds(const QList<int>& kinds) {
    SyncActionDisplay display;
    for (int i = 0; i < kinds.size(); ++i)
        display.AddRow(QString::number(100 + i), QStringLiteral("StoredProcedure"), kinds[i],
                       QStringLiteral("dbo.r") + QString::number(i), QStringLiteral("Stored Procedure"));
    display.Rebuild();
    return display;
}

// Sets the directions with left clicks, as the user would.
void setDirections(SyncActionDisplay& display, const QList<SyncDirection>& directions) {
    for (int i = 0; i < directions.size(); ++i)
        while (display.Row(i).Direction != directions[i])
            display.LeftClick(i);
}

QList<SyncDirection> directions(const SyncActionDisplay& display) {
    QList<SyncDirection> list;
    for (const SyncActionRow& row : display.Rows())
        list << row.Direction;
    return list;
}

QList<int> positions(const SyncActionDisplay& display) {
    QList<int> list;
    for (const SyncActionRow& row : display.Rows())
        list << row.Position;
    return list;
}

QStringList keys(const SyncActionDisplay& display) {
    QStringList list;
    for (const SyncActionRow& row : display.Rows())
        list << row.IconKey;
    return list;
}

} // namespace

// The left button goes round through "no action"; the right button flips the unbroken run of rows
// that had the clicked row's direction and kind, and never back to "no action".
TEST(SyncActionDisplayTest, ClicksChangeOneRowOrARunOfLikeRows) {
    SyncActionDisplay display = rowsOfKinds({1, 1, 1, 2, 1});
    display.LeftClick(0);
    EXPECT_EQ(display.Row(0).Direction, ToSql);
    display.LeftClick(0);
    EXPECT_EQ(display.Row(0).Direction, ToVss);
    display.LeftClick(0);
    EXPECT_EQ(directions(display), QList<SyncDirection>({None, None, None, None, None}));

    // From the middle of the run it reaches up and down, and stops at the row of another kind.
    EXPECT_EQ(display.RightClick(1), std::make_pair(0, 2));
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToSql, ToSql, ToSql, None, None}));
    display.RightClick(2);
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToVss, ToVss, ToVss, None, None}));
    display.RightClick(0);
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToSql, ToSql, ToSql, None, None}));

    // A row of another direction breaks the run as well; a lone row changes alone.
    display.LeftClick(1);
    EXPECT_EQ(display.RightClick(0), std::make_pair(0, 0));
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToVss, ToVss, ToSql, None, None}));
    EXPECT_EQ(display.RightClick(4), std::make_pair(4, 4));
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToVss, ToVss, ToSql, None, ToSql}));

    display.SetAllDirections(ToVss);
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToVss, ToVss, ToVss, ToVss, ToVss}));
    display.SetAllDirections(ToSql);
    EXPECT_EQ(directions(display), QList<SyncDirection>({ToSql, ToSql, ToSql, ToSql, ToSql}));

    // Clicks outside the rows change nothing.
    display.LeftClick(5);
    EXPECT_EQ(display.RightClick(-1), std::make_pair(-1, -1));
    EXPECT_EQ(display.Count(), 5);
}

// A block is a run of rows with the same direction and kind: first, inner and last rows get the
// three frame edges, in red towards SQL Server and green towards the store; rows with no action
// never have a frame, and neither do neighbours of different kinds.
TEST(SyncActionDisplayTest, BlocksAndTheirFrames) {
    SyncActionDisplay display = rowsOfKinds({3, 3, 3, 1, 2, 2, 2, 2, 2, 2, 2});
    setDirections(display, {ToSql, ToSql, ToSql, ToSql, ToVss, ToVss, None, ToVss, ToVss, None, ToVss});
    EXPECT_EQ(positions(display), QList<int>({1, 2, 3, 0, 1, 3, 0, 1, 3, 0, 0}));
    EXPECT_EQ(keys(display),
              QStringList({"CNG:L:R:LTR", "CNG:L:R:LR", "CNG:L:R:LBR", "DEL:L", "DEL:R:G:LTR", "DEL:R:G:LBR",
                           "NRM", "DEL:R:G:LTR", "DEL:R:G:LBR", "NRM", "DEL:R"}));

    // A block that reaches the end of the table ends there; a run of rows without action is no box.
    setDirections(display, {None, None, None, ToVss, ToSql, ToSql, ToSql, ToSql, ToSql, ToSql, ToSql});
    EXPECT_EQ(keys(display).mid(0, 3), QStringList({"NRM", "NRM", "NRM"}));
    EXPECT_EQ(keys(display).mid(3), QStringList({"ADD:R", "ADD:L:R:LTR", "ADD:L:R:LR", "ADD:L:R:LR",
                                                 "ADD:L:R:LR", "ADD:L:R:LR", "ADD:L:R:LR", "ADD:L:R:LBR"}));

    // Same direction, different kinds: two single rows.
    SyncActionDisplay pair = rowsOfKinds({1, 2});
    pair.SetAllDirections(ToVss);
    EXPECT_EQ(keys(pair), QStringList({"ADD:R", "DEL:R"}));
    EXPECT_EQ(positions(pair), QList<int>({0, 0}));
}

// After rows leave, the blocks are found again from what remains, and the rows keep their
// directions and objects.
TEST(SyncActionDisplayTest, RemovingRowsFindsTheBlocksAfresh) {
    SyncActionDisplay display = rowsOfKinds({3, 3, 1, 3, 3});
    setDirections(display, {ToVss, ToVss, ToSql, ToVss, ToVss});
    EXPECT_EQ(keys(display),
              QStringList({"CNG:R:G:LTR", "CNG:R:G:LBR", "DEL:L", "CNG:R:G:LTR", "CNG:R:G:LBR"}));
    display.RemoveRow(2);
    display.Rebuild();
    EXPECT_EQ(keys(display), QStringList({"CNG:R:G:LTR", "CNG:R:G:LR", "CNG:R:G:LR", "CNG:R:G:LBR"}));
    EXPECT_EQ(display.Row(2).Key, QStringLiteral("103"));
    display.RemoveRow(3);
    display.RemoveRow(1);
    display.RemoveRow(0);
    display.Rebuild();
    ASSERT_EQ(display.Count(), 1);
    EXPECT_EQ(display.Row(0).Key, QStringLiteral("103"));
    EXPECT_EQ(display.Row(0).IconKey, QStringLiteral("CNG:R"));
}

// Each side shows what it will look like: for every direction and kind, which side shows the name
// and in which colour; taking the direction back restores the first picture.
TEST(SyncActionDisplayTest, TextsAndColoursShowTheSideThatChanges) {
    const QColor black(0, 0, 0), white(255, 255, 255);
    // A colour left invalid is one the row keeps from before.
    struct Expected {
        SyncDirection direction;
        int kind;
        bool leftShown, rightShown;
        QColor left, right;
    };
    const Expected table[] = {
        {None, 1, true, false, black, white},
        {None, 2, false, true, black, white},
        {None, 3, true, true, black, white},
        {ToSql, 1, true, false, QColor(210, 0, 0), QColor()},
        {ToSql, 2, true, true, QColor(0, 190, 0), white},
        {ToSql, 3, true, true, QColor(0, 190, 0), white},
        {ToVss, 1, true, true, black, QColor(0, 255, 0)},
        {ToVss, 2, false, true, QColor(), QColor(255, 0, 0)},
        {ToVss, 3, true, true, black, QColor(0, 255, 0)},
    };
    for (const Expected& expected : table) {
        SyncActionDisplay display = rowsOfKinds({expected.kind});
        setDirections(display, {expected.direction});
        const SyncActionRow& row = display.Row(0);
        SCOPED_TRACE(row.IconKey.toStdString() + " kind " + std::to_string(expected.kind));
        EXPECT_EQ(row.SQLName, expected.leftShown ? QStringLiteral("dbo.r0") : QString());
        EXPECT_EQ(row.SQLType, expected.leftShown ? QStringLiteral("Stored Procedure") : QString());
        EXPECT_EQ(row.VSSName, expected.rightShown ? QStringLiteral("dbo.r0") : QString());
        EXPECT_EQ(row.VSSType, expected.rightShown ? QStringLiteral("Stored Procedure") : QString());
        // No colour: the side's text is empty and its colour stays as the row had it.
        if (expected.left.isValid()) {
            EXPECT_EQ(row.SQLColour, expected.left);
        }
        if (expected.right.isValid()) {
            EXPECT_EQ(row.VSSColour, expected.right);
        }
    }

    SyncActionDisplay display = rowsOfKinds({2});
    const SyncActionRow first = display.Row(0);
    for (int click = 0; click < 3; ++click)
        display.LeftClick(0);
    EXPECT_EQ(display.Row(0).SQLName, first.SQLName);
    EXPECT_EQ(display.Row(0).VSSName, first.VSSName);
    EXPECT_EQ(display.Row(0).SQLColour, first.SQLColour);
    EXPECT_EQ(display.Row(0).VSSColour, first.VSSColour);
    EXPECT_EQ(display.Row(0).IconKey, QStringLiteral("NRM"));
}

// The picture list has 49 distinct keys; every key a row can show is among them and says its own
// direction; the keys no row shows are exactly those that join a direction with the other frame
// colour, or "no action" with a frame. Every key has a picture of the cell's size, and a frame's
// edges are where its key says.
TEST(SyncActionDisplayTest, EveryKeyHasItsPicture) {
    const QStringList all = SyncActionDisplay::AllIconKeys();
    ASSERT_EQ(all.size(), 49);
    EXPECT_EQ(QSet<QString>(all.begin(), all.end()).size(), 49);

    QSet<QString> shown;
    for (int kind = 1; kind <= 3; ++kind)
        for (SyncDirection direction : {None, ToSql, ToVss})
            for (int position = 0; position <= 3; ++position) {
                const QString key = SyncActionDisplay::IconKey(kind, direction, position);
                EXPECT_TRUE(all.contains(key)) << key.toStdString();
                EXPECT_EQ(SyncActionDisplay::DirectionOfKey(key), direction) << key.toStdString();
                shown << key;
            }
    EXPECT_EQ(shown.size(), 25);
    for (const QString& key : all) {
        const bool neverShown = key.startsWith(QLatin1String("NRM:")) ||
                                key.contains(QLatin1String(":L:G")) || key.contains(QLatin1String(":R:R"));
        EXPECT_NE(shown.contains(key), neverShown) << key.toStdString();
    }

    QSet<QByteArray> pictures;
    for (const QString& key : all) {
        const QImage image = SyncPictures::ActionImage(key, SyncPictures::ActionSize);
        ASSERT_EQ(image.size(), SyncPictures::ActionSize) << key.toStdString();
        pictures << QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    }
    EXPECT_EQ(pictures.size(), 49);
    EXPECT_TRUE(SyncPictures::Action(QStringLiteral("CNG:X")).isNull());

    const auto redAt = [](const QImage& image, int x, int y) {
        const QColor colour = image.pixelColor(x, y);
        return colour.red() > 150 && colour.green() < 80 && colour.blue() < 80;
    };
    const QImage top = SyncPictures::ActionImage(QStringLiteral("CNG:L:R:LTR"), SyncPictures::ActionSize);
    const QImage inner = SyncPictures::ActionImage(QStringLiteral("CNG:L:R:LR"), SyncPictures::ActionSize);
    const QImage bottom = SyncPictures::ActionImage(QStringLiteral("CNG:L:R:LBR"), SyncPictures::ActionSize);
    EXPECT_TRUE(redAt(top, 33, 0) && redAt(top, 0, 10) && !redAt(top, 33, 19));
    EXPECT_TRUE(!redAt(inner, 33, 0) && redAt(inner, 65, 10) && !redAt(inner, 33, 19));
    EXPECT_TRUE(!redAt(bottom, 33, 0) && redAt(bottom, 0, 10) && redAt(bottom, 33, 19));
}
