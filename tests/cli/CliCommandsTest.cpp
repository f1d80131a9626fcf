#include "CliCommands.h"
#include "CliPrompts.h"
#include "DemoSeed.h"
#include "GeneralHelpers.h"
#include "KeyStore.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"

#include <QDir>
#include <QLockFile>

#include <gtest/gtest.h>

namespace {

// One call of tarmo-cli in this process, with what it wrote to each stream.
struct Call {
    int code = -1;
    QString out;
    QString err;
};

Call cli(const QStringList& args) {
    Call call;
    QTextStream out(&call.out);
    QTextStream err(&call.err);
    CliCommands commands(out, err);
    call.code = commands.Run(args);
    out.flush();
    err.flush();
    return call;
}

Call demoCli(QStringList args) {
    return cli(QStringList{QStringLiteral("--project"), QStringLiteral("Demo")} + args);
}

// The lines of "list" as "owner.name state holder", for one kind.
QStringList states(const QString& tag) {
    QStringList lines;
    for (const QString& line :
         demoCli({QStringLiteral("list"), tag}).out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList f = line.split(QLatin1Char('\t'));
        lines << (f.value(2) + QLatin1Char(' ') + f.value(3) + QLatin1Char(' ') + f.value(4)).trimmed();
    }
    return lines;
}

class CliTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto seeded = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
    }

    QString file(const QString& name, const QString& text) {
        const QString path = dir.Path(name);
        CreateTextFile(path, text);
        return path;
    }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TempFolder dir;
};

} // namespace

// The demo as the seed leaves it: objects checked in through the core, two held by another user,
// one out of step each way.
TEST_F(CliTest, DemoShowsEveryStateOfAnObject) {
    EXPECT_EQ(states(QStringLiteral("StoredProcedure")),
              (QStringList{QStringLiteral("dbo.AddOrder CHECKEDIN"),
                           QStringLiteral("dbo.GetCustomerOrders CHECKEDIN"),
                           QStringLiteral("dbo.ListCities VSSBROKEN"),
                           QStringLiteral("dbo.PurgeOldOrders SQLBROKEN")}));
    EXPECT_EQ(states(QStringLiteral("Views")),
              QStringList{QStringLiteral("dbo.CustomerSummary CHECKEDINOUT Kaisa")});
    const Call show = demoCli(
        {QStringLiteral("show"), QStringLiteral("StoredProcedure"), QStringLiteral("GetCustomerOrders")});
    EXPECT_EQ(show.code, 0);
    EXPECT_TRUE(
        show.out.contains(QStringLiteral("Description: The orders of one customer, oldest first.\n")));
    EXPECT_TRUE(show.out.contains(QStringLiteral("  @CustomerID: int")));
    EXPECT_TRUE(show.out.contains(QStringLiteral("  Reporting (role): EXECUTE=GRANT\n")))
        << qPrintable(show.out);
    EXPECT_TRUE(prompts->Records().isEmpty()) << "the command line has prompts of its own";
}

// One object's whole life from a shell: new, check-out, edit, check-in, an older version, a bad text.
TEST_F(CliTest, ObjectRoadFromTheShell) {
    const QString first = QStringLiteral("CREATE PROCEDURE dbo.Hello\r\nAS\r\nSELECT 1 AS one\r\n");
    const Call created =
        demoCli({QStringLiteral("new"), QStringLiteral("StoredProcedure"),
                 file(QStringLiteral("hello.sql"), first), QStringLiteral("-c"), QStringLiteral("first")});
    ASSERT_EQ(created.code, 0) << qPrintable(created.err);
    const QString id = created.out.trimmed();
    EXPECT_FALSE(id.isEmpty());
    EXPECT_TRUE(states(QStringLiteral("StoredProcedure")).contains(QStringLiteral("dbo.Hello CHECKEDIN")));

    const Call checkout =
        demoCli({QStringLiteral("checkout"), QStringLiteral("StoredProcedure"), QStringLiteral("Hello")});
    ASSERT_EQ(checkout.code, 0) << qPrintable(checkout.err);
    EXPECT_TRUE(checkout.out.trimmed().endsWith(id + QStringLiteral(".sp")));
    EXPECT_FALSE(IsReadOnlyFile(checkout.out.trimmed()));
    EXPECT_TRUE(
        states(QStringLiteral("StoredProcedure")).contains(QStringLiteral("dbo.Hello CHECKEDOUT Admin")));

    const QString second = QStringLiteral("CREATE PROCEDURE dbo.Hello\r\nAS\r\nSELECT 2 AS two\r\n");
    const Call checkin =
        demoCli({QStringLiteral("checkin"), QStringLiteral("StoredProcedure"), QStringLiteral("dbo.Hello"),
                 file(QStringLiteral("hello2.sql"), second), QStringLiteral("-c"), QStringLiteral("two")});
    ASSERT_EQ(checkin.code, 0) << qPrintable(checkin.err);
    EXPECT_EQ(demoCli({QStringLiteral("get"), QStringLiteral("StoredProcedure"), QStringLiteral("Hello"),
                       QStringLiteral("--from"), QStringLiteral("sql")})
                  .out,
              second);
    EXPECT_EQ(demoCli({QStringLiteral("get"), QStringLiteral("StoredProcedure"), QStringLiteral("Hello"),
                       QStringLiteral("--version"), QStringLiteral("1")})
                  .out,
              first);

    const Call bad =
        demoCli({QStringLiteral("test"), QStringLiteral("StoredProcedure"),
                 file(QStringLiteral("bad.sql"), QStringLiteral("CREATE PROCEDURE dbo.Hello AS SELEC"))});
    EXPECT_EQ(bad.code, 1);
    EXPECT_TRUE(bad.err.startsWith(QStringLiteral("Syntax Error: "))) << qPrintable(bad.err);
    EXPECT_FALSE(bad.err.contains(QStringLiteral("[TARMO]")));
    const Call renamed =
        demoCli({QStringLiteral("test"), QStringLiteral("StoredProcedure"),
                 file(QStringLiteral("ok.sql"), QStringLiteral("CREATE PROCEDURE dbo.Hello3 AS SELECT 3"))});
    EXPECT_EQ(renamed.code, 0) << "a text of a new name tests as a new object";
    EXPECT_EQ(renamed.out, QStringLiteral("OK\n"));

    // Kaisa holds the view: the store refuses without a box, and the shell still hears of it.
    const Call held =
        demoCli({QStringLiteral("checkout"), QStringLiteral("View"), QStringLiteral("CustomerSummary")});
    EXPECT_EQ(held.code, 1);
    EXPECT_EQ(held.err, QStringLiteral("tarmo-cli: checkout did not succeed\n"));
}

TEST_F(CliTest, SynchronizationRepairsTheDemoAndPermissionsComeAsAScript) {
    ASSERT_EQ(demoCli({QStringLiteral("sync-add"), QStringLiteral("StoredProcedure"),
                       QStringLiteral("ListCities"), QStringLiteral("--to"), QStringLiteral("vss")})
                  .code,
              0);
    ASSERT_EQ(demoCli({QStringLiteral("sync-remove"), QStringLiteral("StoredProcedure"),
                       QStringLiteral("PurgeOldOrders"), QStringLiteral("--to"), QStringLiteral("vss")})
                  .code,
              0);
    EXPECT_EQ(states(QStringLiteral("StoredProcedures")),
              (QStringList{QStringLiteral("dbo.AddOrder CHECKEDIN"),
                           QStringLiteral("dbo.GetCustomerOrders CHECKEDIN"),
                           QStringLiteral("dbo.ListCities CHECKEDIN")}));
    EXPECT_EQ(
        demoCli({QStringLiteral("permissions"), QStringLiteral("Table"), QStringLiteral("dbo.Orders"),
                 QStringLiteral("--script")})
            .out,
        QStringLiteral(
            "REVOKE SELECT ON [dbo].[Orders] TO [public]\r\nREVOKE INSERT ON [dbo].[Orders] TO [public]\r\n"
            "REVOKE UPDATE ON [dbo].[Orders] TO [public]\r\nDENY DELETE ON [dbo].[Orders] TO [public]\r\n"
            "REVOKE REFERENCES ON [dbo].[Orders] TO [public]\r\n"));
    const Call wrong = demoCli(
        {QStringLiteral("sync-add"), QStringLiteral("StoredProcedure"), QStringLiteral("ListCities")});
    EXPECT_EQ(wrong.code, 2) << "--to is required";
    EXPECT_EQ(demoCli({QStringLiteral("show"), QStringLiteral("Procedure"), QStringLiteral("x")}).code, 2);
    const Call missing = demoCli({QStringLiteral("show"), QStringLiteral("View"), QStringLiteral("Nothing")});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.err, QStringLiteral("tarmo-cli: no View named 'Nothing'\n"));
}

// A record without stored passwords takes them from the environment, never from the command line.
TEST_F(CliTest, ProjectRecordsAndPasswordsFromTheEnvironment) {
    const QString root = QDir(dir.Path(QStringLiteral("demo"))).absolutePath();
    const QStringList add = {QStringLiteral("project"),
                             QStringLiteral("add"),
                             QStringLiteral("Mine"),
                             QStringLiteral("--server"),
                             QStringLiteral("embedded:") + root + QStringLiteral("/server"),
                             QStringLiteral("--database"),
                             QStringLiteral("Demo"),
                             QStringLiteral("--user"),
                             QStringLiteral("sa"),
                             QStringLiteral("--ini"),
                             root + QStringLiteral("/store/srcsafe.ini"),
                             QStringLiteral("--vss-user"),
                             QStringLiteral("Kaisa"),
                             QStringLiteral("--vss-project"),
                             QStringLiteral("$\\Demo\\"),
                             QStringLiteral("--working-folder"),
                             dir.Path(QStringLiteral("mine"))};
    {
        // Another copy holds the settings and doesn't go on: the record is reported not saved.
        KeyStore::SetDefaultLockTimeout(50);
        QLockFile held(KeyStore::DefaultPath() + QStringLiteral(".lock"));
        ASSERT_TRUE(held.tryLock(0));
        const Call locked = cli(add);
        KeyStore::SetDefaultLockTimeout(5000);
        EXPECT_EQ(locked.code, 1);
        EXPECT_TRUE(locked.err.contains(QStringLiteral("registry.json.lock"))) << qPrintable(locked.err);
        EXPECT_FALSE(locked.out.contains(QStringLiteral("saved")));
    }
    ASSERT_EQ(cli(add).code, 0);
    EXPECT_EQ(cli(add).code, 1) << "the name is taken";
    EXPECT_EQ(cli({QStringLiteral("project"), QStringLiteral("add"), QStringLiteral("Half"),
                   QStringLiteral("--server"), QStringLiteral("x")})
                  .code,
              2);
    EXPECT_TRUE(cli({QStringLiteral("project"), QStringLiteral("list")})
                    .out.contains(QStringLiteral("Mine\tembedded:")));

    qunsetenv("TARMO_SQL_PASSWORD");
    const Call locked = cli({QStringLiteral("--project"), QStringLiteral("Mine"), QStringLiteral("list")});
    EXPECT_EQ(locked.code, 1);
    EXPECT_TRUE(locked.err.contains(QStringLiteral("no password stored; set TARMO_SQL_PASSWORD")))
        << qPrintable(locked.err);
    EXPECT_TRUE(locked.err.contains(QStringLiteral("Connection Error: Password was not entered!")));

    qputenv("TARMO_SQL_PASSWORD", "demo");
    qputenv("TARMO_VSS_PASSWORD", "demo");
    const Call open = cli({QStringLiteral("--project"), QStringLiteral("Mine"), QStringLiteral("list"),
                           QStringLiteral("View")});
    qunsetenv("TARMO_SQL_PASSWORD");
    qunsetenv("TARMO_VSS_PASSWORD");
    EXPECT_EQ(open.code, 0) << qPrintable(open.err);
    EXPECT_TRUE(open.out.contains(QStringLiteral("dbo.CustomerSummary\tCHECKEDOUT\tKaisa")))
        << "Kaisa is the user here";

    // "-" keeps a password to be stored off the command line.
    QStringList stored = add;
    stored[2] = QStringLiteral("Stored");
    stored << QStringLiteral("--password") << QStringLiteral("-") << QStringLiteral("--vss-password")
           << QStringLiteral("-");
    EXPECT_EQ(cli(stored).code, 2) << "neither the variables nor a terminal";
    qputenv("TARMO_SQL_PASSWORD", "demo");
    qputenv("TARMO_VSS_PASSWORD", "demo");
    EXPECT_EQ(cli(stored).code, 0);
    qunsetenv("TARMO_SQL_PASSWORD");
    qunsetenv("TARMO_VSS_PASSWORD");
    const Call fromRecord = cli({QStringLiteral("--project"), QStringLiteral("Stored"),
                                 QStringLiteral("list"), QStringLiteral("View")});
    EXPECT_EQ(fromRecord.code, 0) << qPrintable(fromRecord.err);

    EXPECT_EQ(cli({QStringLiteral("project"), QStringLiteral("remove"), QStringLiteral("Mine")}).code, 0);
    EXPECT_EQ(cli({QStringLiteral("project"), QStringLiteral("remove"), QStringLiteral("Mine")}).code, 1);
    EXPECT_EQ(cli({QStringLiteral("--project"), QStringLiteral("Mine"), QStringLiteral("list")}).err,
              QStringLiteral("tarmo-cli: no project named 'Mine'\n"));
}

TEST(CliPrompts, MessagesGoToTheErrorStreamAndQuestionsFollowThePolicy) {
    QString text;
    QTextStream err(&text);
    CliPrompts safe(err, CliPrompts::Policy::Safe);
    CliPrompts yes(err, CliPrompts::Policy::Yes);
    CliPrompts no(err, CliPrompts::Policy::No);
    const auto ask = [](CliPrompts& prompts, Prompt::Buttons buttons) {
        return prompts.MessageBox(QStringLiteral("Save?"), buttons, Prompt::Icon::Question,
                                  QStringLiteral("Title"));
    };
    EXPECT_EQ(ask(safe, Prompt::Buttons::YesNoCancel), Prompt::Answer::Cancel);
    EXPECT_EQ(ask(safe, Prompt::Buttons::YesNo), Prompt::Answer::No);
    EXPECT_EQ(ask(yes, Prompt::Buttons::YesNoCancel), Prompt::Answer::Yes);
    EXPECT_EQ(ask(no, Prompt::Buttons::YesNoCancel), Prompt::Answer::No);
    EXPECT_EQ(ask(yes, Prompt::Buttons::OKCancel), Prompt::Answer::Cancel)
        << "only questions take the policy";
    err.flush();
    EXPECT_EQ(text.count(QStringLiteral("Title: Save?\n")), 5);
    EXPECT_EQ(yes.Shown(), 2);
}
