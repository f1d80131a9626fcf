#include "TARMOFields.h"
#include "TARMOSQL.h"

#include <gtest/gtest.h>

#include <QDateTime>

TEST(SqlFmtOut, ValuesAsTheyStandBehindAnOperator) {
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("O'Brien")), QStringLiteral(" 'O''Brien'"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QString()), QStringLiteral(" NULL"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("")), QStringLiteral(" NULL"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("abc"), 1), QStringLiteral(" NULL"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("12"), 1, true), QStringLiteral(" 12,"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(12, 3), QStringLiteral(" 12"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("-1.5"), 1), QStringLiteral(" -1.5"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("x"), 7), QString());
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("x"), 7, true), QStringLiteral(","));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("x"), 12), QStringLiteral(" NULL"));
    // NULL wins over every type, even one that otherwise gives nothing.
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QVariant(), 7), QStringLiteral(" NULL"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QVariant(), 0, true), QStringLiteral(" NULL,"));
}

TEST(SqlFmtOut, DatesInTheServerFormat) {
    const QDateTime when(QDate(2024, 3, 7), QTime(9, 5, 4));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(when, 2), QStringLiteral(" '07.03.2024 09:05:04'"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("2024-03-07 09:05:04"), 2),
              QStringLiteral(" '07.03.2024 09:05:04'"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QDate(2024, 12, 31), 2, true), QStringLiteral(" '31.12.2024 00:00:00',"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral("not a date"), 2), QStringLiteral(" NULL"));
    EXPECT_EQ(TARMOSQL::sqlFMTOUT(QStringLiteral(""), 2), QStringLiteral(" NULL"));
}

TEST(ObjectNames, OwnerAndNameTakenApart) {
    auto parts = [](const char* name) { return TARMOSQL::ExtractOwnerAndItemName(QLatin1String(name)); };
    EXPECT_EQ(parts("[dbo].[my.proc]"), QStringList({"dbo", "my.proc"}));
    EXPECT_EQ(parts("my.proc"), QStringList({"my", "proc"}));
    EXPECT_EQ(parts("[a].b"), QStringList({"a", "b"}));
    EXPECT_EQ(parts("proc"), QStringList({"", "proc"}));
    EXPECT_EQ(parts("[my proc]"), QStringList({"", "my proc"}));
    EXPECT_EQ(parts("a.b.c"), QStringList({"a", "b.c"}));
    EXPECT_EQ(parts("[a]]b].[c]]]"), QStringList({"a]b", "c]"}));
    EXPECT_EQ(parts("[a]].b].[c]"), QStringList({"a].b", "c"})) << "a doubled ] keeps the dot inside";
    EXPECT_EQ(parts("\"my.own\".\"we(ird \"\"x\"\"\""), QStringList({"my.own", "we(ird \"x\""}));
    EXPECT_EQ(parts(""), QStringList({"", ""}));
}

TEST(ObjectNames, WhatAScanFoundIsANameOnlyIfItCanBeOne) {
    EXPECT_FALSE(TARMOSQL::IsValidObjectName(QStringLiteral("AS")));
    EXPECT_FALSE(TARMOSQL::IsValidObjectName(QStringLiteral("as")));
    EXPECT_FALSE(TARMOSQL::IsValidObjectName(QStringLiteral("@param")));
    EXPECT_FALSE(TARMOSQL::IsValidObjectName(QStringLiteral("(@a")));
    EXPECT_TRUE(TARMOSQL::IsValidObjectName(QStringLiteral("asp_orders")));
    EXPECT_TRUE(TARMOSQL::IsValidObjectName(QString()));
}

TEST(TriggerTable, NameBehindOnAsWritten) {
    const modParser::SQLKeywords trigger = {{"CREATE", "TRIGGER"}, {"ALTER", "TRIGGER"}};
    EXPECT_EQ(TARMOSQL::ExtractTableNameFromTrigger(
                  QStringLiteral("CREATE TRIGGER trg ON dbo.tbl FOR INSERT AS SELECT 1"), trigger),
              QStringLiteral("dbo.tbl"));
    EXPECT_EQ(
        TARMOSQL::ExtractTableNameFromTrigger(
            QStringLiteral("/* header */\r\nCREATE TRIGGER [dbo].[trg] ON [dbo].[tbl]\r\nFOR UPDATE AS"),
            trigger),
        QStringLiteral("[dbo].[tbl]"));
    // The owner written without brackets in front of a bracketed name.
    EXPECT_EQ(TARMOSQL::ExtractTableNameFromTrigger(
                  QStringLiteral("alter trigger dbo.[trg] on [tbl] for delete as"), trigger),
              QStringLiteral("[tbl]"));
    // An ON that follows some other name is not the trigger's.
    EXPECT_EQ(TARMOSQL::ExtractTableNameFromTrigger(QStringLiteral("CREATE TRIGGER t1 FOR x ON y"), trigger),
              QString());
    EXPECT_EQ(TARMOSQL::ExtractTableNameFromTrigger(QStringLiteral("CREATE PROC p AS SELECT 1"), trigger),
              QString());
}

TEST(FormatSQLError, RemovesTheClassicAndOurDriversPrefixes) {
    EXPECT_EQ(TARMOSQL::FormatSQLError(
                  QStringLiteral("[Microsoft][ODBC SQL Server Driver][Shared Memory]"
                                 "[Microsoft][ODBC SQL Server Driver][SQL Server]Login failed.")),
              QStringLiteral("Login failed."));
    EXPECT_EQ(
        TARMOSQL::FormatSQLError(QStringLiteral("[FreeTDS][SQL Server]Line 2: Invalid object name 'x'.")),
        QStringLiteral("Line 2: Invalid object name 'x'."));
    EXPECT_EQ(TARMOSQL::FormatSQLError(QStringLiteral("[TARMO][Embedded Server]Login failed for user 'a'.")),
              QStringLiteral("Login failed for user 'a'."));
    // The comparison is exact, case included.
    const QString other = QStringLiteral("[microsoft][odbc sql server driver][sql server]x");
    EXPECT_EQ(TARMOSQL::FormatSQLError(other), other);
}

TEST(ConnectionFields, ConnectionStringAndTheWindowsLoginLiteral) {
    EXPECT_EQ(TARMOSQL::CreateConnectionString(QStringLiteral("srv"), QStringLiteral("db"),
                                               QStringLiteral("u"), QStringLiteral("p;w"), false),
              QStringLiteral("Driver={SQL Server};Server=srv;Database=db;Uid=u;Pwd=p;w;"));
    EXPECT_EQ(TARMOSQL::CreateConnectionString(QStringLiteral("srv"), QStringLiteral("db"),
                                               QStringLiteral("u"), QStringLiteral("p"), true),
              QStringLiteral("Driver={SQL Server};Server=srv;Database=db;Trusted_Connection=yes;"));

    TARMOSQL sql;
    sql.SetServer(QStringLiteral("srv"));
    sql.SetDatabase(QStringLiteral("db"));
    sql.SetUserName(QStringLiteral("dev"));
    sql.SetPassword(QStringLiteral("pw"));
    EXPECT_EQ(sql.UserName(), QStringLiteral("dev"));
    sql.SetUseWinNTAuth(true);
    EXPECT_EQ(sql.UserName(), QStringLiteral("(Windows authentication)"));
    EXPECT_EQ(sql.ConnectionString(),
              QStringLiteral("Driver={SQL Server};Server=srv;Database=db;Trusted_Connection=yes;"));
    // Inside the class the stored login stays.
    sql.SetUseWinNTAuth(false);
    EXPECT_EQ(sql.ConnectionString(),
              QStringLiteral("Driver={SQL Server};Server=srv;Database=db;Uid=dev;Pwd=pw;"));
}

TEST(ConnectionFields, ClosedObjectDoesNothingAndRaisesOnlyWhereAsked) {
    TARMOSQL sql;
    EXPECT_FALSE(sql.ConnectionOpen());
    EXPECT_EQ(sql.DBConn(), nullptr);
    EXPECT_NO_THROW(sql.ExecuteSQL(QStringLiteral("this is not even SQL")));
    EXPECT_EQ(sql.OpenRecordset(QStringLiteral("SELECT 1")), nullptr);
    EXPECT_EQ(sql.DatabaseUserName(), QString());
    EXPECT_FALSE(sql.UserDefinedFunctionsAllowed(true));
    try {
        sql.UserDefinedFunctionsAllowed(false);
        FAIL() << "a closed connection must raise without bSilent";
    } catch (const TARMOError& e) {
        EXPECT_EQ(e.Number(), 1000);
        EXPECT_EQ(e.Source(), QStringLiteral("TARMOSQL"));
        EXPECT_EQ(e.Description(), QStringLiteral("Connection is not open"));
    }
    // Without a list of servers the result is the one empty element 0; tests stay off the network.
    qputenv("TARMO_BROWSE_WAIT_MS", "0");
    EXPECT_EQ(sql.FindServers(), QStringList({""}));
    qunsetenv("TARMO_BROWSE_WAIT_MS");
}

TEST(Fields, KeyedByNameWithChildren) {
    TARMOFields fields;
    TARMOField& id = fields.Add(QStringLiteral("CustomerID"));
    id.Children().Add(QStringLiteral("int"));
    id.Children().Add(QStringLiteral("NOT NULL"));
    fields.Add(QStringLiteral("Name"));
    EXPECT_EQ(fields.Count(), 2);
    EXPECT_EQ(&fields.Item(QStringLiteral("customerid")), &id);
    EXPECT_EQ(fields.Item(1).Children().Count(), 2);
    EXPECT_EQ(fields.Item(2).Name(), QStringLiteral("Name"));
    try {
        fields.Add(QStringLiteral("NAME"));
        FAIL() << "a second field of one name must be refused";
    } catch (const TARMOError& e) {
        EXPECT_EQ(e.Number(), TARMOErrors::DuplicateKey);
    }
    QStringList order;
    fields.ForEach([&order](const TARMOField& f) { order << f.Name(); });
    EXPECT_EQ(order, QStringList({"CustomerID", "Name"}));
}
