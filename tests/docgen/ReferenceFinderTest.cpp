#include "ReferenceFinder.h"
#include "DocGenFile.h"
#include "TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

// The hits of one object dbo.Orders in a text, as "line:position:length".
QStringList hitsIn(const QString& text, const QString& name = QStringLiteral("Orders"),
                   const QString& owner = QStringLiteral("dbo")) {
    ReferenceFinder finder;
    finder.AddObject(name, owner);
    QStringList out;
    for (const ReferenceHit& hit : finder.FindAll(text))
        out << QStringLiteral("%1:%2:%3").arg(hit.Line).arg(hit.Position).arg(hit.Length);
    return out;
}

// The record a file gets for the first hit of a text.
DocGenFileFound firstRecord(const QString& text, const QString& name = QStringLiteral("Orders")) {
    ReferenceFinder finder;
    finder.AddObject(name, QStringLiteral("dbo"));
    DocGenFile file;
    AddReferences(file, text, finder.FindAll(text), {nullptr});
    return file.FoundCount() > 0 ? file.FoundDetails(1) : DocGenFileFound();
}

} // namespace

// A name counts only between two boundaries; "." and "(" are none, so an owner-qualified name is
// one hit of its own form and never also a bare-name hit.
TEST(ReferenceFinderTest, NamesCountOnlyBetweenBoundaries) {
    EXPECT_EQ(hitsIn(QStringLiteral("select * from Orders,")), QStringList{QStringLiteral("1:15:6")});
    EXPECT_EQ(hitsIn(QStringLiteral("exec 'dbo.orders'")), QStringList{QStringLiteral("1:7:10")});
    EXPECT_EQ(hitsIn(QStringLiteral("[dbo].[Orders]")), QStringList{QStringLiteral("1:1:14")});
    EXPECT_EQ(hitsIn(QStringLiteral("dbo.[ORDERS];[Orders]")),
              (QStringList{QStringLiteral("1:14:8"), QStringLiteral("1:1:12")}));
    for (const char* none :
         {"OrdersOld", "Orders(", "x.Orders", "MyOrders", "Orders=1", "(Orders)", "#Orders"})
        EXPECT_EQ(hitsIn(QString::fromLatin1(none)), QStringList()) << none;
    // The very start and end of the text, and tab, quote and brace boundaries.
    EXPECT_EQ(hitsIn(QStringLiteral("Orders\t\"Orders\"{Orders}Orders")),
              (QStringList{QStringLiteral("1:1:6"), QStringLiteral("1:9:6"), QStringLiteral("1:17:6"),
                           QStringLiteral("1:24:6")}));
}

// Many objects in one pass give the hits of the object-by-object search, in its order: by object,
// then by form, then by place; an owner that differs makes another object.
TEST(ReferenceFinderTest, ManyObjectsComeOutInTheOrderOfTheSearchOneByOne) {
    ReferenceFinder finder;
    finder.AddObject(QStringLiteral("b"), QStringLiteral("dbo"));
    finder.AddObject(QStringLiteral("a"), QStringLiteral("dbo"));
    finder.AddObject(QStringLiteral("a"), QStringLiteral("sales"));
    const QList<ReferenceHit> hits = finder.FindAll(QStringLiteral("a sales.a [b] b dbo.a"));
    QStringList order;
    for (const ReferenceHit& hit : hits)
        order << QStringLiteral("%1/%2@%3").arg(hit.Object).arg(hit.Form).arg(hit.Position);
    EXPECT_EQ(order,
              (QStringList{QStringLiteral("0/1@15"), QStringLiteral("0/2@11"), QStringLiteral("1/1@1"),
                           QStringLiteral("1/3@17"), QStringLiteral("2/1@1"), QStringLiteral("2/3@3")}));
}

// Lines count LF characters, so CR LF and LF files number alike; positions count every character.
TEST(ReferenceFinderTest, LinesAndPositionsInCrLfAndLfText) {
    EXPECT_EQ(hitsIn(QStringLiteral("a\r\nb\r\n\r\nOrders")), QStringList{QStringLiteral("4:9:6")});
    EXPECT_EQ(hitsIn(QStringLiteral("a\nb\n\nOrders\n")), QStringList{QStringLiteral("4:6:6")});
    EXPECT_EQ(hitsIn(QStringLiteral("x Orders\ry")), QStringList{QStringLiteral("1:3:6")});

    const DocGenFileFound first = firstRecord(QStringLiteral("Orders are here"));
    EXPECT_EQ(first.FoundAt, 1);
    EXPECT_EQ(first.CharPosiInContent, 1);
    EXPECT_EQ(first.PositionStart, 0);
    EXPECT_EQ(first.PositionEnd, 7);
}

// At most 20 characters either side, "..." where cut; the pieces around the reference put the
// excerpt back together.
TEST(ReferenceFinderTest, ExcerptCutsBothSidesAndKeepsLineBreaks) {
    const DocGenFileFound cut =
        firstRecord(QStringLiteral("0123456789012345678901234567- Orders\r\nabcdefghijklmnopqrstuvwxyz"));
    EXPECT_EQ(cut.CharPosiInContent, 31);
    EXPECT_EQ(cut.FoundString, QStringLiteral("...012345678901234567- Orders\r\nabcdefghijklmnopqr..."));
    EXPECT_EQ(cut.TextBefore(), QStringLiteral("...012345678901234567- "));
    EXPECT_EQ(cut.TextReference(), QStringLiteral("Orders"));
    EXPECT_EQ(cut.TextBehind(), QStringLiteral("\r\nabcdefghijklmnopqr..."));

    // The excerpt's first occurrence of the form is taken, even where the hit is a later one.
    const DocGenFileFound early = firstRecord(QStringLiteral("xOrders Orders"));
    EXPECT_EQ(early.CharPosiInContent, 9);
    EXPECT_EQ(early.PositionStart, 1);
}

// A line of a million characters and text in other scripts: positions in characters, excerpts
// short, names with letters beyond ASCII found in any case.
TEST(ReferenceFinderTest, VeryLongLinesAndNonAsciiText) {
    const QString filler(1000000, QLatin1Char('x'));
    const QString text = filler + QStringLiteral(" Orders ") + filler + QStringLiteral(" dbo.Orders");
    EXPECT_EQ(hitsIn(text), (QStringList{QStringLiteral("1:1000002:6"), QStringLiteral("1:2000010:10")}));
    EXPECT_EQ(firstRecord(text).FoundString.size(), 3 + 20 + 6 + 20 + 3);

    EXPECT_EQ(hitsIn(QStringLiteral("-- Käyttäjä: ÄÖTILAUS;\n'äötilaus'"), QStringLiteral("ÄöTilaus")),
              (QStringList{QStringLiteral("1:14:8"), QStringLiteral("2:25:8")}));
    EXPECT_EQ(hitsIn(QStringLiteral("選択 注文表,"), QStringLiteral("注文表")),
              QStringList{QStringLiteral("1:4:3")});
}

// A source file in a Windows code page is read, not turned into replacement characters; a missing
// file is empty.
TEST(ReferenceFinderTest, SourceFilesInUtf8OrLatin1) {
    TempFolder dir;
    QFile latin(dir.Path(QStringLiteral("old.asp")));
    ASSERT_TRUE(latin.open(QIODevice::WriteOnly));
    latin.write("-- K\xe4ytt\xe4j\xe4 Orders");
    latin.close();
    EXPECT_EQ(ReadSourceFile(latin.fileName()), QStringLiteral("-- Käyttäjä Orders"));
    QFile utf8(dir.Path(QStringLiteral("new.asp")));
    ASSERT_TRUE(utf8.open(QIODevice::WriteOnly));
    utf8.write("\xef\xbb\xbfK\xc3\xa4ytt\xc3\xa4j\xc3\xa4");
    utf8.close();
    EXPECT_EQ(ReadSourceFile(utf8.fileName()), QStringLiteral("Käyttäjä"));
    EXPECT_EQ(ReadSourceFile(dir.Path(QStringLiteral("gone.asp"))), QString());
}

// Reading order walks line, then place; of two records on one place only the first found counts.
TEST(ReferenceFinderTest, ReadingOrderSkipsTheSecondRecordOnOnePlace) {
    DocGenFile file;
    const auto add = [&](long line, long at, const QString& text) {
        DocGenFileFound& found = file.AddFoundDetails();
        found.FoundAt = line;
        found.CharPosiInContent = at;
        found.FoundString = text;
    };
    add(2, 30, QStringLiteral("c"));
    add(1, 5, QStringLiteral("a"));
    add(2, 30, QStringLiteral("second on c's place"));
    add(1, 9, QStringLiteral("b"));
    QStringList walk;
    for (const DocGenFileFound* found : file.FoundInReadingOrder())
        walk << found->FoundString;
    EXPECT_EQ(walk, (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
    QStringList stepwise;
    for (const DocGenFileFound* found = file.FoundDetailsGetNext(0, 0); found;
         found = file.FoundDetailsGetNext(found->FoundAt, found->CharPosiInContent))
        stepwise << found->FoundString;
    EXPECT_EQ(stepwise, walk);
}
