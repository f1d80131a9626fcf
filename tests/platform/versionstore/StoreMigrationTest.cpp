// A store copied from the embedded engine to a server and back keeps its whole history, through the
// command line as an administrator runs it.
#include "StoreErrors.h"
#include "StoreRights.h"
#include "TestPostgres.h"
#include "TestStores.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

struct ToolRun {
    int exitCode;
    QString out;
    QString err;
};

ToolRun vss(const QStringList& arguments) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The server side is reached as the role that owns the store.
    environment.insert(QStringLiteral("PGUSER"), QStringLiteral("tarmo_owner"));
    environment.insert(QStringLiteral("PGPASSWORD"), QStringLiteral("tarmo-owner-pw"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VSS_TOOL), arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

void writeText(const QString& path, const QByteArray& text) {
    QFile file(path);
    if (file.exists())
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

// What a user sees of a file's history: number, action, comment and text of every entry.
QStringList historyOf(VersionStore& store, const QString& spec, bool deleted = false) {
    QStringList lines;
    for (const StoreVersion& v : store.Item(spec, deleted).Versions())
        lines << QStringLiteral("%1 %2 %3 %4 %5")
                     .arg(v.VersionNumber())
                     .arg(v.Action(), v.UserName(), v.Comment(), QString::fromUtf8(v.Text()));
    return lines;
}

QString checksumLine(const QString& out) {
    for (const QString& line : out.split(QLatin1Char('\n')))
        if (line.startsWith(QLatin1String("checksum ")))
            return line;
    return {};
}

TEST(StoreMigration, ToAServerAndBackWithTheWholeHistory) {
    SKIP_UNLESS_AVAILABLE(StoreKind::Server);
    TempFolder folder;
    const QString work = folder.Path(QStringLiteral("work"));
    QDir().mkpath(work);
    const QString embedded =
        CreateStore(StoreKind::Embedded, folder.Path(QStringLiteral("e")), QStringLiteral("pw"));
    {
        VersionStore admin;
        admin.Open(embedded, QStringLiteral("Admin"), QStringLiteral("pw"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bob"));
        admin.SetMultipleCheckouts(true);
        StoreItem project =
            admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("P"), QStringLiteral("made"));
        writeText(work + QStringLiteral("/a.sp"), "one\n");
        StoreItem a = project.Add(work + QStringLiteral("/a.sp"), QStringLiteral("first"));
        a.Checkout(QString(), work + QStringLiteral("/a.sp"));
        writeText(work + QStringLiteral("/a.sp"), QByteArray("two\n\0bytes\xff", 11));
        a.Checkin(QStringLiteral("second"), work + QStringLiteral("/a.sp"));
        a.Label(QStringLiteral("v2"), QStringLiteral("release"));
        writeText(work + QStringLiteral("/b.sp"), "");
        project.Add(work + QStringLiteral("/b.sp"), QString()).SetDeleted(true);
        admin.SetRights(QStringLiteral("$/P"), QStringLiteral("Bob"),
                        StoreRights::Read | StoreRights::Checkout);
        VersionStore bob;
        bob.Open(embedded, QStringLiteral("Bob"), QStringLiteral("bob"));
        bob.Item(QStringLiteral("$/P/a.sp")).Checkout(QStringLiteral("his"), QString());
    }

    LocalPostgres& server = *TestPostgres::Instance();
    const ToolRun created = vss({QStringLiteral("create"), folder.Path(QStringLiteral("s")),
                                 QStringLiteral("--postgres"), server.OwnerUrl(TestPostgres::NewDatabase()),
                                 QStringLiteral("--admin-password"), QStringLiteral("spw")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    const QString onServer = created.out.trimmed();
    const ToolRun there = vss({QStringLiteral("migrate"), embedded, onServer});
    ASSERT_EQ(there.exitCode, 0) << there.err.toStdString();
    EXPECT_TRUE(there.out.contains(QLatin1String("copied 4 items"))) << there.out.toStdString();

    VersionStore before, after;
    before.Open(embedded, QStringLiteral("Admin"), QStringLiteral("pw"));
    // The target's administrator keeps his password.
    after.Open(onServer, QStringLiteral("Admin"), QStringLiteral("spw"));
    EXPECT_EQ(historyOf(after, QStringLiteral("$/P/a.sp")), historyOf(before, QStringLiteral("$/P/a.sp")));
    EXPECT_EQ(historyOf(after, QStringLiteral("$/P/b.sp"), true),
              historyOf(before, QStringLiteral("$/P/b.sp"), true));
    EXPECT_EQ(after.Item(QStringLiteral("$/P/a.sp")).Holders(), QStringList{QStringLiteral("Bob")});
    EXPECT_TRUE(after.MultipleCheckouts());
    EXPECT_EQ(after.Users(), before.Users());
    // Copied users come without a password until the administrator gives them one; then they find
    // their rights and check-outs where they left them.
    VersionStore bob;
    EXPECT_EQ(ErrorOf([&] { bob.Open(onServer, QStringLiteral("Bob"), QStringLiteral("bob")); }).number,
              StoreErrors::Login);
    after.SetPassword(QStringLiteral("Bob"), QStringLiteral("new"));
    bob.Open(onServer, QStringLiteral("Bob"), QStringLiteral("new"));
    EXPECT_EQ(bob.Item(QStringLiteral("$/P/a.sp")).IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(ErrorOf([&] { bob.Item(QStringLiteral("$/P/b.sp"), true).SetDeleted(false); }).number,
              StoreErrors::NoRight);

    // Only into a new store: the copy refuses one that holds anything and leaves it as it was.
    const ToolRun again = vss({QStringLiteral("migrate"), embedded, onServer});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_TRUE(again.err.contains(QLatin1String("not empty"))) << again.err.toStdString();
    EXPECT_EQ(historyOf(after, QStringLiteral("$/P/a.sp")).size(), 3);

    // And back, to an embedded store that reads as the first did: the same checksum over everything.
    const ToolRun made = vss({QStringLiteral("create"), folder.Path(QStringLiteral("e2")),
                              QStringLiteral("--admin-password"), QStringLiteral("pw")});
    ASSERT_EQ(made.exitCode, 0) << made.err.toStdString();
    const ToolRun back = vss({QStringLiteral("migrate"), onServer, made.out.trimmed()});
    ASSERT_EQ(back.exitCode, 0) << back.err.toStdString();
    EXPECT_EQ(checksumLine(back.out), checksumLine(there.out));
    EXPECT_FALSE(checksumLine(back.out).isEmpty());
    VersionStore returned;
    returned.Open(made.out.trimmed(), QStringLiteral("Admin"), QStringLiteral("pw"));
    EXPECT_EQ(historyOf(returned, QStringLiteral("$/P/a.sp")), historyOf(before, QStringLiteral("$/P/a.sp")));
}

} // namespace
