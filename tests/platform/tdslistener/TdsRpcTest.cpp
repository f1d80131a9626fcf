#include "TdsRpc.h"
#include "TdsTokens.h"
#include "TdsValues.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace {

// A value written for a parameter type and read back: what an OUTPUT parameter carries home.
QVariant roundTrip(const TdsTypeInfo& type, const QVariant& value) {
    TdsWriter out;
    TdsValues::WriteTypeInfo(out, type);
    TdsValues::WriteValue(out, type, value);
    const QByteArray bytes = out.Take();
    TdsReader in(bytes);
    const TdsTypeInfo read = TdsValues::ReadTypeInfo(in);
    EXPECT_EQ(read.type, type.type);
    const QVariant back = TdsValues::ReadValue(in, read);
    EXPECT_EQ(in.Remaining(), 0) << "the value has bytes left over";
    return back;
}

TEST(TdsValues, OutputValuesOfEachTypeComeBackAsWritten) {
    EXPECT_EQ(roundTrip({0x26, 1, 0, 0, {}}, qlonglong(255)).toLongLong(), 255);
    EXPECT_EQ(roundTrip({0x26, 2, 0, 0, {}}, qlonglong(-2)).toLongLong(), -2);
    EXPECT_EQ(roundTrip({0x26, 8, 0, 0, {}}, qlonglong(-5000000000)).toLongLong(), -5000000000);
    EXPECT_EQ(roundTrip({0x68, 1, 0, 0, {}}, qlonglong(1)).toLongLong(), 1);
    EXPECT_EQ(roundTrip({0x6D, 8, 0, 0, {}}, 2.5).toDouble(), 2.5);
    EXPECT_EQ(roundTrip({0x6D, 4, 0, 0, {}}, 0.25).toDouble(), 0.25);
    EXPECT_EQ(roundTrip({0x6A, 17, 38, 4, {}}, QStringLiteral("-12345678901234567890.1234")).toString(),
              QStringLiteral("-12345678901234567890.1234"));
    EXPECT_EQ(roundTrip({0x6C, 5, 5, 2, {}}, 1.5).toString(), QStringLiteral("1.50"));
    EXPECT_EQ(roundTrip({0x6E, 8, 0, 0, {}}, QStringLiteral("-922337203685477.5808")).toString(),
              QStringLiteral("-922337203685477.5808"));
    EXPECT_EQ(roundTrip({0x6E, 4, 0, 0, {}}, QStringLiteral("12.5")).toString(), QStringLiteral("12.5000"));
    const QDateTime when(QDate(2024, 2, 29), QTime(13, 45, 10, 250));
    EXPECT_EQ(roundTrip({0x6F, 8, 0, 0, {}}, when).toDateTime(), when);
    EXPECT_EQ(roundTrip({0x6F, 4, 0, 0, {}}, when).toDateTime(),
              QDateTime(QDate(2024, 2, 29), QTime(13, 45)));
    EXPECT_EQ(roundTrip({0x2A, 8, 0, 7, {}}, when).toDateTime(), when);
    EXPECT_EQ(roundTrip({0x28, 3, 0, 0, {}}, QDate(1, 1, 2)).toDate(), QDate(1, 1, 2));
    EXPECT_EQ(
        roundTrip({0x24, 16, 0, 0, {}}, QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF")).toString(),
        QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF"));
    EXPECT_EQ(roundTrip({0xE7, 40, 0, 0, Tds::Collation()}, QStringLiteral("its €")).toString(),
              QStringLiteral("its €"));
    EXPECT_EQ(roundTrip({0xA7, 10, 0, 0, Tds::Collation()}, QStringLiteral("€ café")).toString(),
              QStringLiteral("€ café"));
    EXPECT_EQ(roundTrip({0xA5, 4, 0, 0, {}}, QByteArray("\x00\xff", 2)).toByteArray(),
              QByteArray("\x00\xff", 2));
}

TEST(TdsValues, LongValuesGoInChunksAndFixedOnesArePaddedOrCut) {
    const QString text(70000, QLatin1Char('x'));
    EXPECT_EQ(roundTrip({0xE7, 0xFFFF, 0, 0, Tds::Collation()}, text).toString(), text);
    EXPECT_EQ(roundTrip({0xE7, 0xFFFF, 0, 0, Tds::Collation()}, QString(QLatin1String(""))).toString(),
              QString());
    EXPECT_EQ(roundTrip({0xEF, 8, 0, 0, Tds::Collation()}, QStringLiteral("ab")).toString(),
              QStringLiteral("ab  "));
    EXPECT_EQ(roundTrip({0xE7, 4, 0, 0, Tds::Collation()}, QStringLiteral("abcdef")).toString(),
              QStringLiteral("ab"));
}

TEST(TdsValues, NullsAndValuesThatDontFitGoAsNull) {
    for (const TdsTypeInfo& type :
         {TdsTypeInfo{0x26, 4, 0, 0, {}}, TdsTypeInfo{0xE7, 20, 0, 0, Tds::Collation()},
          TdsTypeInfo{0xE7, 0xFFFF, 0, 0, Tds::Collation()}, TdsTypeInfo{0x6F, 8, 0, 0, {}},
          TdsTypeInfo{0x6A, 17, 38, 2, {}}, TdsTypeInfo{0x24, 16, 0, 0, {}}})
        EXPECT_FALSE(roundTrip(type, QVariant()).isValid()) << int(type.type);
    EXPECT_FALSE(roundTrip({0x26, 4, 0, 0, {}}, QStringLiteral("many")).isValid());
    EXPECT_FALSE(roundTrip({0x6F, 8, 0, 0, {}}, QStringLiteral("not a date")).isValid());
    EXPECT_FALSE(roundTrip({0x6A, 17, 38, 2, {}}, QStringLiteral("1e5")).isValid());
}

TEST(TdsValues, TypesAndLiteralsForTheBatch) {
    EXPECT_EQ(TdsValues::SqlType({0x26, 8, 0, 0, {}}), QStringLiteral("bigint"));
    EXPECT_EQ(TdsValues::SqlType({0xE7, 0xFFFF, 0, 0, {}}), QStringLiteral("nvarchar(max)"));
    EXPECT_EQ(TdsValues::SqlType({0xE7, 100, 0, 0, {}}), QStringLiteral("nvarchar(50)"));
    EXPECT_EQ(TdsValues::SqlType({0x6A, 9, 10, 3, {}}), QStringLiteral("decimal(10,3)"));
    EXPECT_EQ(TdsValues::Literal(QStringLiteral("it's"), {0xE7, 100, 0, 0, {}}), QStringLiteral("N'it''s'"));
    // Digits in a character parameter stay text (a leading zero matters).
    EXPECT_EQ(TdsValues::Literal(QStringLiteral("007"), {0xE7, 100, 0, 0, {}}), QStringLiteral("N'007'"));
    EXPECT_EQ(TdsValues::Literal(QStringLiteral("-1.50"), {0x6A, 9, 10, 2, {}}), QStringLiteral("-1.50"));
    EXPECT_EQ(TdsValues::Literal(QByteArray("\x0a\xff", 2), {0xA5, 10, 0, 0, {}}), QStringLiteral("0x0AFF"));
    EXPECT_EQ(TdsValues::Literal(QVariant(), {0x26, 4, 0, 0, {}}), QStringLiteral("NULL"));
    EXPECT_EQ(TdsValues::Literal(0.1, {0x6D, 8, 0, 0, {}}).toDouble(), 0.1);
    EXPECT_THROW(TdsValues::SqlType({0xF1, 0, 0, 0, {}}), TdsProtocolError);
}

TEST(TdsValues, MalformedValuesAreProtocolErrors) {
    const QList<QByteArray> broken = {
        QByteArray("\x26\x04\x03\x01\x02\x03", 6),                              // an int of three bytes
        QByteArray("\x6A\x11\x27\x02\x05\x01", 6),                              // precision 39
        QByteArray("\xE7\x10\x00\x09\x04\xD0\x00\x34\x03\x00\x41\x00\x42", 13), // odd UCS-2
        QByteArray("\xE7\xFF\xFF\x09\x04\xD0\x00\x34\x04\x00\x00\x00\x00\x00\x00\x00\x05\x00\x00\x00\x41",
                   21),
        QByteArray("\xF1\x00", 2),     // xml
        QByteArray("\x26\x09\x00", 3), // an int declared of nine
        QByteArray("\x24\x04\x00", 3), // a guid declared of four
    };
    for (const QByteArray& b : broken) {
        TdsReader in(b);
        EXPECT_THROW(TdsValues::ReadValue(in, TdsValues::ReadTypeInfo(in)), TdsProtocolError)
            << b.toHex().constData();
    }
}

TEST(TdsRpc, DeclarationsParseAndBadOnesAreRefused) {
    const QList<TdsDeclaredParam> d = TdsRpc::ParseDeclarations(
        QStringLiteral("@a int, @b decimal(10, 2) OUTPUT,@c nvarchar(max), @d datetime2(7)"));
    ASSERT_EQ(d.size(), 4);
    EXPECT_EQ(d[1].name, QStringLiteral("@b"));
    EXPECT_EQ(d[1].type, QStringLiteral("decimal(10, 2)"));
    EXPECT_TRUE(d[1].output);
    EXPECT_FALSE(d[0].output);
    EXPECT_EQ(d[3].type, QStringLiteral("datetime")); // the engine's nearest type
    EXPECT_TRUE(TdsRpc::ParseDeclarations(QString()).isEmpty());
    for (const char* bad : {"@a int; DROP TABLE x", "a int", "@a int, @A bigint", "@a int = 5"}) {
        try {
            TdsRpc::ParseDeclarations(QString::fromLatin1(bad));
            ADD_FAILURE() << bad << " was taken";
        } catch (const TdsRpcError& e) {
            EXPECT_TRUE(e.number == 102 || e.number == 134) << bad;
        }
    }
}

TdsRpcParam param(const char* name, const QVariant& value, bool output = false) {
    TdsRpcParam p;
    p.name = QString::fromLatin1(name);
    p.value = value;
    p.output = output;
    p.type = value.typeId() == QMetaType::QString ? TdsTypeInfo{0xE7, 200, 0, 0, Tds::Collation()}
                                                  : TdsTypeInfo{0x26, 4, 0, 0, {}};
    return p;
}

TEST(TdsRpc, StatementBatchesBindByNameOrPositionAndKeepTheLines) {
    const QList<TdsDeclaredParam> declared =
        TdsRpc::ParseDeclarations(QStringLiteral("@x int, @y nvarchar(10) OUTPUT"));
    const QList<TdsRpcParam> params = {param("", QStringLiteral("SELECT ...")),
                                       param("", QStringLiteral("decl")),
                                       param("@y", QStringLiteral("o'k"), true), param("@x", qlonglong(4))};
    const TdsRpcBatch b =
        TdsRpc::StatementBatch(QStringLiteral("SELECT @x\r\nSET @y = N'z'"), declared, params, 2);
    EXPECT_EQ(b.text.section(QStringLiteral("\r\n"), 0, 0),
              QStringLiteral("DECLARE @x int = 4; DECLARE @y nvarchar(10) = N'o''k'; SELECT @x"));
    EXPECT_EQ(b.text.section(QStringLiteral("\r\n"), 1, 1), QStringLiteral("SET @y = N'z'"));
    EXPECT_EQ(b.outputParams, QList<int>{2});
    EXPECT_TRUE(b.text.endsWith(QStringLiteral("SELECT @y AS [") + TdsRpc::kCaptureMarker + u']'));

    const TdsRpcBatch positional = TdsRpc::StatementBatch(
        QStringLiteral("SELECT 1"), declared, {param("", qlonglong(1)), param("", QStringLiteral("a"))}, 0);
    EXPECT_TRUE(
        positional.text.startsWith(QStringLiteral("DECLARE @x int = 1; DECLARE @y nvarchar(10) = N'a';")));
    EXPECT_TRUE(positional.outputParams.isEmpty()) << "a value not sent as OUTPUT doesn't come back";

    const auto refused = [&](const QList<TdsRpcParam>& values) {
        try {
            TdsRpc::StatementBatch(QStringLiteral("SELECT 1"), declared, values, 0);
        } catch (const TdsRpcError& e) {
            return e.number;
        }
        return 0L;
    };
    EXPECT_EQ(refused({param("@x", qlonglong(1))}), 8178);
    EXPECT_EQ(refused({param("@z", qlonglong(1))}), 8145);
    EXPECT_EQ(refused({param("", 1), param("", 2), param("", 3)}), 8144);
}

TEST(TdsRpc, ProcedureBatchesQuoteTheNameAndCaptureStatusAndOutputs) {
    TdsRpcCall call;
    call.procedure = QStringLiteral("[dbo].[Odd]]name]");
    call.params = {param("@a", qlonglong(1)), param("", QStringLiteral("x"), true)};
    TdsRpcParam defaulted = param("@c", QVariant());
    defaulted.isDefault = true;
    call.params.append(defaulted);
    const TdsRpcBatch b = TdsRpc::ProcedureBatch(call);
    EXPECT_TRUE(b.returnsStatus);
    EXPECT_EQ(b.outputParams, QList<int>{1});
    EXPECT_TRUE(
        b.text.contains(QStringLiteral("EXEC @tarmo_rc = [dbo].[Odd]]name] @a = @tarmo_p1, @tarmo_p2 OUTPUT, "
                                       "@c = DEFAULT")))
        << b.text.toStdString();
    EXPECT_EQ(TdsRpc::QuoteName(QStringLiteral("..sp_tables")), QStringLiteral("[sp_tables]"));
    EXPECT_EQ(TdsRpc::KindOf(QStringLiteral("sys.sp_executesql")), TdsRpcKind::ExecuteSql);
    EXPECT_EQ(TdsRpc::KindOf(QStringLiteral("other.sp_executesql")), TdsRpcKind::Procedure);
    call.params[0].name = QStringLiteral("@a = 1; DROP");
    EXPECT_THROW(TdsRpc::ProcedureBatch(call), TdsRpcError);
}

} // namespace
