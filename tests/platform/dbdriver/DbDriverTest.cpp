#include "DbConnection.h"
#include "ServerBrowser.h"

#include <gtest/gtest.h>

TEST(StripDriverPrefixes, RemovesEveryDriverPrefixButNoBracketsOfTheMessage) {
    EXPECT_EQ(DbDriver::StripDriverPrefixes(QStringLiteral("[FreeTDS][SQL Server]Invalid object name 'x'.")),
              QStringLiteral("Invalid object name 'x'."));
    EXPECT_EQ(DbDriver::StripDriverPrefixes(QStringLiteral(
                  "[Microsoft][ODBC Driver 18 for SQL Server][SQL Server]Line 3: Incorrect syntax.")),
              QStringLiteral("Line 3: Incorrect syntax."));
    EXPECT_EQ(DbDriver::StripDriverPrefixes(
                  QStringLiteral("[Microsoft][ODBC Driver 17 for SQL Server]Login timeout expired")),
              QStringLiteral("Login timeout expired"));
    EXPECT_EQ(DbDriver::StripDriverPrefixes(
                  QStringLiteral("[unixODBC][Driver Manager]Can't open lib 'x' : file not found")),
              QStringLiteral("Can't open lib 'x' : file not found"));
    EXPECT_EQ(
        DbDriver::StripDriverPrefixes(QStringLiteral("[unixODBC][FreeTDS][SQL Server]Unable to connect")),
        QStringLiteral("Unable to connect"));
    EXPECT_EQ(
        DbDriver::StripDriverPrefixes(QStringLiteral("[TARMO][Embedded Server]Login failed for user 'sa'.")),
        QStringLiteral("Login failed for user 'sa'."));
    const QString bracketed =
        QStringLiteral("There is already an object named '[SQL Server]' in the database.");
    EXPECT_EQ(DbDriver::StripDriverPrefixes(bracketed), bracketed);
}

TEST(ClassifyServerError, ConditionsOfTheConnectionClass) {
    auto classify = [](long number, int severity) {
        SqlMessage m;
        m.number = number;
        m.severity = severity;
        return DbDriver::ClassifyServerError(m);
    };
    EXPECT_EQ(classify(18456, 14), DbFailure::LoginFailed);
    EXPECT_EQ(classify(4060, 11), DbFailure::NoDatabase);
    EXPECT_EQ(classify(102, 15), DbFailure::CompileError);
    EXPECT_EQ(classify(156, 15), DbFailure::CompileError);
    EXPECT_EQ(classify(208, 16), DbFailure::Statement);
    EXPECT_EQ(classify(2714, 16), DbFailure::Statement);
}

TEST(ErrorText, LineGoesBetweenPrefixAndText) {
    SqlMessage m;
    m.text = QStringLiteral("Incorrect syntax near 'x'.");
    m.line = 4;
    EXPECT_EQ(DbDriver::ErrorText(QStringLiteral("[P]"), m),
              QStringLiteral("[P]Line 4: Incorrect syntax near 'x'."));
    m.line = 0;
    EXPECT_EQ(DbDriver::ErrorText(QStringLiteral("[P]"), m), QStringLiteral("[P]Incorrect syntax near 'x'."));
}

TEST(ServerNames, EmbeddedSchemeSelectsTheEmbeddedDriver) {
    EXPECT_TRUE(DbDriver::IsEmbeddedServer(QStringLiteral("embedded:/srv/a")));
    EXPECT_TRUE(DbDriver::IsEmbeddedServer(QStringLiteral("EMBEDDED:rel")));
    EXPECT_EQ(DbDriver::EmbeddedFolder(QStringLiteral("embedded:/srv/a")), QStringLiteral("/srv/a"));
    EXPECT_FALSE(DbDriver::IsEmbeddedServer(QStringLiteral("dbhost,1433")));
    EXPECT_EQ(DbDriver::CreateConnection(QStringLiteral("embedded:/x"))->DriverName(),
              QStringLiteral("Embedded"));
    EXPECT_NE(DbDriver::CreateConnection(QStringLiteral("dbhost"))->DriverName(), QStringLiteral("Embedded"));
}

TEST(DbRecordset, WalksCountsAndRefusesWhatIsNotThere) {
    SqlRowSet rows;
    rows.columns = {SqlColumn{QStringLiteral("id"), 56}, SqlColumn{QStringLiteral("Name"), 231}};
    rows.rows = {{qlonglong(1), QStringLiteral("a")}, {qlonglong(2), QVariant()}};
    DbRecordset rs(rows);
    EXPECT_EQ(rs.RecordCount(), 2);
    EXPECT_EQ(rs.FieldCount(), 2);
    EXPECT_EQ(rs.Field(QStringLiteral("NAME")).toString(), QStringLiteral("a"));
    rs.MoveNext();
    EXPECT_FALSE(rs.Field(1).isValid());
    EXPECT_EQ(rs.Text(QStringLiteral("name")), QString());
    EXPECT_EQ(rs.Field(QStringLiteral("id")).toLongLong(), 2);
    rs.MoveNext();
    EXPECT_TRUE(rs.Eof());
    try {
        rs.Field(0);
        FAIL();
    } catch (const TARMOError& e) {
        EXPECT_EQ(e.Number(), 3021);
    }
    EXPECT_THROW(rs.MoveNext(), TARMOError);
    rs.MoveFirst();
    try {
        rs.Field(QStringLiteral("missing"));
        FAIL();
    } catch (const TARMOError& e) {
        EXPECT_EQ(e.Number(), 3265);
    }
    const DbRecordset empty;
    EXPECT_TRUE(empty.Eof());
    EXPECT_EQ(empty.RecordCount(), 0);
}

TEST(ServerBrowser, AnswersOfTheBrowserServiceBecomeServerNames) {
    const QByteArray text(
        "ServerName;DB1;InstanceName;MSSQLSERVER;IsClustered;No;Version;15.0.2000.5;tcp;1433;;"
        "ServerName;DB1;InstanceName;DEV;IsClustered;No;Version;16.0.1000.6;tcp;50123;;");
    QByteArray datagram;
    datagram.append(char(0x05));
    datagram.append(char(text.size() & 0xff));
    datagram.append(char(text.size() >> 8));
    datagram.append(text);
    EXPECT_EQ(ServerBrowser::ParseResponse(datagram), QStringList({"DB1", "DB1\\DEV"}));
    // A length that claims less than the datagram holds is honoured.
    datagram[1] = char(text.indexOf(";;") + 2);
    datagram[2] = char(0);
    EXPECT_EQ(ServerBrowser::ParseResponse(datagram), QStringList({"DB1"}));
    EXPECT_EQ(ServerBrowser::ParseResponse(QByteArray("\x04\x00\x00", 3)), QStringList());
    EXPECT_EQ(ServerBrowser::ParseResponse(QByteArray()), QStringList());
}
