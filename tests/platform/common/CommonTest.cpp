#include "GeneralHelpers.h"
#include "KeyedCollection.h"
#include "SqlQuote.h"
#include "TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

TEST(KeyedCollection, PositionsKeysAndClassicErrors) {
    KeyedCollection<int> c;
    c.Add(1, QStringLiteral("one"));
    c.Add(3, QStringLiteral("three"));
    c.Add(2, QStringLiteral("Two"), 2);     // before position 2
    c.Add(0, QString(), 0, 0);              // no key
    c.Add(4, QStringLiteral("four"), 0, 3); // after position 3
    EXPECT_EQ(c.Count(), 5);
    QList<int> order;
    for (int v : c)
        order << v;
    EXPECT_EQ(order, (QList<int>{1, 2, 3, 4, 0}));
    EXPECT_EQ(c.Item(QStringLiteral("TWO")), 2) << "keys compare without case";
    EXPECT_EQ(c.PositionOf(QStringLiteral("three")), 3);

    auto number = [](auto&& call) {
        try {
            call();
        } catch (const TARMOError& e) {
            return e.Number();
        }
        return 0L;
    };
    EXPECT_EQ(number([&] { c.Add(9, QStringLiteral("ONE")); }), 457);
    EXPECT_EQ(number([&] { c.Item(QStringLiteral("nine")); }), 5);
    EXPECT_EQ(number([&] { c.Item(6); }), 9);
    EXPECT_EQ(number([&] { c.Item(0); }), 9);
    EXPECT_EQ(c.Find(QStringLiteral("nine")), nullptr);

    c.Remove(QStringLiteral("two"));
    EXPECT_EQ(c.Item(QStringLiteral("three")), 3) << "the index follows a removal";
    EXPECT_EQ(c.PositionOf(QStringLiteral("three")), 2);
}

// Small collections are searched in order and large ones through a hash: every path must agree as
// a collection grows past the point where it switches, and after inserts and removals in the middle.
TEST(KeyedCollection, LookupsAgreeAcrossTheSwitchToAnIndex) {
    KeyedCollection<int> c;
    for (int i = 1; i <= 20; ++i) {
        c.Add(i, QStringLiteral("Key%1").arg(i));
        for (int j = 1; j <= i; ++j)
            ASSERT_EQ(c.PositionOf(QStringLiteral("KEY%1").arg(j)), j) << "after adding " << i;
        EXPECT_THROW(c.Add(0, QStringLiteral("key%1").arg(i)), TARMOError);
    }
    c.Add(100, QStringLiteral("first"), 1);
    EXPECT_EQ(c.PositionOf(QStringLiteral("key20")), 21);
    c.Remove(2);
    EXPECT_EQ(c.PositionOf(QStringLiteral("key2")), 2);
    EXPECT_EQ(c.PositionOf(QStringLiteral("key1")), 0);
    c.Clear();
    EXPECT_FALSE(c.Contains(QStringLiteral("key3")));
    c.Add(7, QStringLiteral("seven"));
    EXPECT_EQ(*c.Find(QStringLiteral("SEVEN")), 7);

    KeyedCollection<int> reserved;
    reserved.Reserve(1000);
    reserved.Add(1, QStringLiteral("a"));
    reserved.Add(2, QStringLiteral("b"), 1);
    EXPECT_EQ(reserved.PositionOf(QStringLiteral("A")), 2) << "a reserved collection keeps its index right";
}

TEST(GeneralHelpers, ReadOnlyFilesAreHonoured) {
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("a.sp"));
    EXPECT_EQ(ReadTextFile(path), QString());
    CreateTextFile(path, QStringLiteral("one\r\ntwo"));
    SetReadOnlyFile(path, true);
    CreateTextFile(path, QStringLiteral("three\r\n"));
    EXPECT_EQ(ReadTextFile(path), QStringLiteral("three\r\n")) << "line ends are kept as written";
    EXPECT_TRUE(IsReadOnlyFile(path)) << "the attribute comes back after the write";

    EXPECT_THROW(DeleteFileIfExists(path, false), TARMOError);
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_TRUE(DeleteFileIfExists(path, true));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(DeleteFileIfExists(path, false)) << "a missing file is no error";

    CreateTextFile(path, QStringLiteral("gone"));
    SetReadOnlyFile(path, true);
    EXPECT_EQ(ReadTextFile(path, false, true), QStringLiteral("gone"));
    EXPECT_FALSE(QFile::exists(path));
}

TEST(GeneralHelpers, FoldersAndArrays) {
    TempFolder dir;
    EnsureFolder(dir.Path(QStringLiteral("x/y")));
    EXPECT_FALSE(FolderExists(dir.Path(QStringLiteral("x/y")))) << "one level only";
    EnsureFolder(dir.Path(QStringLiteral("x")));
    EXPECT_TRUE(FolderExists(dir.Path(QStringLiteral("x"))));
    EXPECT_TRUE(GetTempFolder().endsWith(QLatin1Char('/')));
    EXPECT_FALSE(GetWindowsUserName().isEmpty());
    EXPECT_LE(GetWindowsUserName().size(), 24);
    EXPECT_TRUE(UserFolder().startsWith(ApplicationFolder()));

    const QVariantList source{QStringLiteral("ignored"), 12, QStringLiteral("b")};
    EXPECT_EQ(VariantToStringArray(source),
              (QStringList{QString(), QStringLiteral("12"), QStringLiteral("b")}));
}

// The delimiters are doubled and nothing else is touched: a name that ends in "]" or holds only
// delimiters must still close where it should, and Unbracket must give back exactly what Name took.
TEST(SqlQuote, DelimitersDoubledAndNamesRoundTrip) {
    EXPECT_EQ(SqlQuote::Name(QStringLiteral("a]b")), QStringLiteral("[a]]b]"));
    EXPECT_EQ(SqlQuote::Name(QStringLiteral("]")), QStringLiteral("[]]]"));
    EXPECT_EQ(SqlQuote::Name(QString()), QStringLiteral("[]"));
    EXPECT_EQ(SqlQuote::TwoPartName(QStringLiteral("o.x"), QStringLiteral("[n]")),
              QStringLiteral("[o.x].[[n]]]"));
    EXPECT_EQ(SqlQuote::TwoPartName(QString(), QStringLiteral("n")), QStringLiteral("[n]"));

    EXPECT_EQ(SqlQuote::Literal(QStringLiteral("p')) --")), QStringLiteral("N'p'')) --'"));
    EXPECT_EQ(SqlQuote::Literal(QString()), QStringLiteral("N''")) << "empty stays a value, not NULL";
    const QString unicode = QStringLiteral("Päivä \u20ac \U0001F600");
    EXPECT_EQ(SqlQuote::Literal(unicode), QStringLiteral("N'") + unicode + QLatin1Char('\''));

    for (const QString& name : {QStringLiteral("a]b"), QStringLiteral("]]"), QStringLiteral("[x]"), unicode,
                                QStringLiteral("line\r\nbreak"), QString()})
        EXPECT_EQ(SqlQuote::Unbracket(SqlQuote::Name(name)), name) << name.toStdString();
    EXPECT_EQ(SqlQuote::Unbracket(QStringLiteral("plain")), QStringLiteral("plain"));
    EXPECT_EQ(SqlQuote::Unbracket(QStringLiteral("[a]b]")), QStringLiteral("[a]b]"))
        << "a lone ] inside is no bracketed name: the text is the name";
}
