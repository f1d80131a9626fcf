#include "OdbcConnection.h"

#include <gtest/gtest.h>

namespace {

DbLogin sqlLogin(const QString& server, const QString& password = QStringLiteral("pw")) {
    DbLogin login;
    login.server = server;
    login.database = QStringLiteral("Sales");
    login.login = QStringLiteral("dev");
    login.password = password;
    return login;
}

// Extra options are process-wide; every test starts and ends without them.
class OdbcStrings : public ::testing::Test {
protected:
    void SetUp() override { OdbcConnection::SetExtraOptions(QString()); }
    void TearDown() override { OdbcConnection::SetExtraOptions(QString()); }
};

} // namespace

TEST_F(OdbcStrings, FreeTDSStringSplitsThePortAndFixesTheProtocol) {
    EXPECT_EQ(OdbcConnection::BuildConnectionString(QStringLiteral("FreeTDS"),
                                                    sqlLogin(QStringLiteral("db1, 1433"))),
              QStringLiteral("Driver={FreeTDS};Server=db1;Port=1433;Database=Sales;UID=dev;PWD=pw;"
                             "TDS_Version=7.4;ClientCharset=UTF-8;"));
    // A named instance stays in the server value.
    EXPECT_TRUE(
        OdbcConnection::BuildConnectionString(QStringLiteral("FreeTDS"), sqlLogin(QStringLiteral("db1\\dev")))
            .startsWith(QStringLiteral("Driver={FreeTDS};Server=db1\\dev;Database=Sales;")));
}

TEST_F(OdbcStrings, MicrosoftDriverKeepsTheServerFormAndTrustedSendsNoLogin) {
    DbLogin login = sqlLogin(QStringLiteral("db1,1433"));
    login.trusted = true;
    EXPECT_EQ(OdbcConnection::BuildConnectionString(QStringLiteral("ODBC Driver 18 for SQL Server"), login),
              QStringLiteral("Driver={ODBC Driver 18 for SQL Server};Server=db1,1433;Database=Sales;"
                             "Trusted_Connection=yes;"));
    login.database.clear();
    const QString freeTds = OdbcConnection::BuildConnectionString(QStringLiteral("FreeTDS"), login);
    EXPECT_FALSE(freeTds.contains(QStringLiteral("UID")));
    EXPECT_FALSE(freeTds.contains(QStringLiteral("Database")));
}

TEST_F(OdbcStrings, ValuesThatWouldEndOrConfuseTheStringAreBraced) {
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral("plain pass")), QStringLiteral("plain pass"));
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral("a;b")), QStringLiteral("{a;b}"));
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral("x}y")), QStringLiteral("{x}}y}"));
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral("{x")), QStringLiteral("{{x}"));
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral("k=v")), QStringLiteral("{k=v}"));
    EXPECT_EQ(OdbcConnection::QuoteValue(QStringLiteral(" lead")), QStringLiteral("{ lead}"));
    const QString s = OdbcConnection::BuildConnectionString(QStringLiteral("ODBC Driver 18 for SQL Server"),
                                                            sqlLogin(QStringLiteral("h"), "p;w}d"));
    EXPECT_TRUE(s.contains(QStringLiteral(";PWD={p;w}}d};"))) << s.toStdString();
    // FreeTDS reads a braced value up to the first "};" and doesn't undouble.
    const QString f = OdbcConnection::BuildConnectionString(QStringLiteral("FreeTDS"),
                                                            sqlLogin(QStringLiteral("h"), "p;w}d}"));
    EXPECT_TRUE(f.contains(QStringLiteral(";PWD={p;w}d}};"))) << f.toStdString();
}

TEST_F(OdbcStrings, ExtraOptionsAreAppended) {
    OdbcConnection::SetExtraOptions(QStringLiteral("TrustServerCertificate=yes"));
    EXPECT_TRUE(OdbcConnection::BuildConnectionString(QStringLiteral("ODBC Driver 18 for SQL Server"),
                                                      sqlLogin(QStringLiteral("h")))
                    .endsWith(QStringLiteral(";PWD=pw;TrustServerCertificate=yes;")));
}

TEST(OdbcDrivers, NewestMicrosoftDriverWinsElseFreeTDS) {
    EXPECT_EQ(OdbcConnection::DefaultDriverName(
                  {"FreeTDS", "ODBC Driver 17 for SQL Server", "ODBC Driver 18 for SQL Server"}),
              QStringLiteral("ODBC Driver 18 for SQL Server"));
    EXPECT_EQ(OdbcConnection::DefaultDriverName({"ODBC Driver 17 for SQL Server", "FreeTDS"}),
              QStringLiteral("ODBC Driver 17 for SQL Server"));
    EXPECT_EQ(OdbcConnection::DefaultDriverName({"SQL Server Legacy", "FreeTDS"}), QStringLiteral("FreeTDS"));
    EXPECT_EQ(OdbcConnection::DefaultDriverName({}), QStringLiteral("FreeTDS"));
    // The driver the setting names is used, whatever is installed.
    OdbcConnection::SetDriverName(QStringLiteral("ODBC Driver 17 for SQL Server"));
    EXPECT_EQ(OdbcConnection::ChosenDriverName(), QStringLiteral("ODBC Driver 17 for SQL Server"));
    EXPECT_EQ(OdbcConnection().ErrorPrefix(),
              QStringLiteral("[Microsoft][ODBC Driver 17 for SQL Server][SQL Server]"));
    OdbcConnection::SetDriverName(QString());
}

// This machine has FreeTDS: a port where nothing listens is refused at once, and the refusal must
// come back as "no such server", not as a statement or login error.
TEST(OdbcConnect, RefusedConnectionIsNoServer) {
    if (!OdbcConnection::InstalledDrivers().contains(QStringLiteral("FreeTDS")))
        GTEST_SKIP() << "the FreeTDS ODBC driver is not installed";
    OdbcConnection::SetDriverName(QStringLiteral("FreeTDS"));
    OdbcConnection connection;
    try {
        connection.Open(sqlLogin(QStringLiteral("127.0.0.1,1")));
        FAIL() << "a connection to port 1 should fail";
    } catch (const DbError& e) {
        EXPECT_EQ(e.Failure(), DbFailure::NoServer) << e.Description().toStdString();
        EXPECT_FALSE(e.Description().isEmpty());
    }
    EXPECT_FALSE(connection.IsOpen());
    OdbcConnection::SetDriverName(QString());
}
