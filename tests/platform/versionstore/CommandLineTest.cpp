#include "TestPostgres.h"
#include "TestStores.h"
#include "TestSupport.h"

#include "StoreErrors.h"
#include "TARMOError.h"
#include "VersionStore.h"

#include <QFile>
#include <QHash>
#include <QProcess>

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace {

struct Result {
    int exitCode;
    QString out;
    QString err;
};

// Runs the command line with the store of the test in the environment.
class CommandLineTest : public ::testing::TestWithParam<StoreKind> {
protected:
    // Standard input is a pipe, not a terminal: nothing can be asked for.
    Result Run(const QStringList& arguments, const QList<QPair<QString, QString>>& variables = {}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TARMO_VSS_INI"), folder.Path(QStringLiteral("store/srcsafe.ini")));
        environment.remove(QStringLiteral("TARMO_VSS_PASSWORD"));
        environment.remove(QStringLiteral("TARMO_VSS_NEW_PASSWORD"));
        for (const auto& [name, value] : variables)
            environment.insert(name, value);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder.Path());
        process.start(QStringLiteral(VSS_TOOL), arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    Result As(const QString& login, QStringList arguments) {
        return Run(QStringList{QStringLiteral("-y"), login} + arguments);
    }
    // Runs the tool on a terminal of its own, answers its first question with the line, and gives all
    // the terminal showed.
    QByteArray OnTerminal(const QStringList& arguments, const QByteArray& line) {
        QList<QByteArray> args{QByteArrayLiteral(VSS_TOOL)};
        for (const QString& a : arguments)
            args << a.toLocal8Bit();
        const QByteArray ini = folder.Path(QStringLiteral("store/srcsafe.ini")).toLocal8Bit();
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            std::vector<char*> argv;
            for (QByteArray& a : args)
                argv.push_back(a.data());
            argv.push_back(nullptr);
            setenv("TARMO_VSS_INI", ini.constData(), 1);
            unsetenv("TARMO_VSS_PASSWORD");
            execv(argv[0], argv.data());
            _exit(127);
        }
        EXPECT_GT(child, 0);
        QByteArray shown;
        char buffer[256];
        bool answered = false;
        for (ssize_t n; (n = read(terminal, buffer, sizeof buffer)) > 0;) {
            shown.append(buffer, n);
            if (!answered && shown.contains(": ")) {
                EXPECT_EQ(write(terminal, line.constData(), size_t(line.size())), line.size());
                answered = true;
            }
        }
        close(terminal);
        waitpid(child, nullptr, 0);
        return shown;
    }
    // The arguments of create for a new store of the suite's kind in `where`.
    QStringList Create(const QString& where) const {
        if (GetParam() == StoreKind::Embedded)
            return {QStringLiteral("create"), where};
        return {QStringLiteral("create"), where, QStringLiteral("--postgres"),
                TestPostgres::Instance()->OwnerUrl(TestPostgres::NewDatabase())};
    }
    void SetUp() override {
        SKIP_UNLESS_AVAILABLE(GetParam());
        ASSERT_EQ(Run(Create(folder.Path(QStringLiteral("store"))) +
                      QStringList{QStringLiteral("--admin-password"), QStringLiteral("pw")})
                      .exitCode,
                  0);
        ASSERT_EQ(As(QStringLiteral("Admin,pw"),
                     {QStringLiteral("adduser"), QStringLiteral("ann"), QStringLiteral("a,1")})
                      .exitCode,
                  0);
        ASSERT_EQ(As(QStringLiteral("Admin,pw"), {QStringLiteral("mkproject"), QStringLiteral("$\\Sales\\")})
                      .exitCode,
                  0);
    }
    TempFolder folder;
};

TEST_P(CommandLineTest, AFileThroughItsWholeLife) {
    const QString ann = QStringLiteral("ann,a,1"); // the password holds a comma of its own
    QFile file(folder.Path(QStringLiteral("x.sp")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("one\n");
    file.close();
    EXPECT_EQ(As(ann, {QStringLiteral("add"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("x.sp"),
                       QStringLiteral("-c"), QStringLiteral("first")})
                  .out,
              QStringLiteral("$/Sales/x.sp\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("checkout"), QStringLiteral("$/Sales/x.sp")}).exitCode, 0);
    EXPECT_TRUE(As(ann, {QStringLiteral("status"), QStringLiteral("$/Sales/x.sp")}).out.startsWith("ann\t"));

    const Result refused =
        As(QStringLiteral("Admin,pw"), {QStringLiteral("checkout"), QStringLiteral("$/Sales/x.sp"),
                                        QStringLiteral("--to"), QStringLiteral("a.sp")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.out, QString());
    EXPECT_EQ(refused.err, QStringLiteral("tarmo-vss: '$/Sales/x.sp' is checked out by ann.\n"));

    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("two\n");
    file.close();
    EXPECT_EQ(As(ann, {QStringLiteral("checkin"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("x.sp"),
                       QStringLiteral("-c"), QStringLiteral("line\ntwo")})
                  .out,
              QStringLiteral("$/Sales/x.sp\t2\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("label"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("Release 1")})
                  .exitCode,
              0);
    const QStringList history =
        As(ann, {QStringLiteral("history"), QStringLiteral("$/Sales/x.sp")}).out.split(QLatin1Char('\n'));
    ASSERT_EQ(history.size(), 4);
    EXPECT_TRUE(history[0].startsWith(QStringLiteral("2\tann\t")));
    EXPECT_TRUE(history[0].endsWith(QStringLiteral("\tLabeled 'Release 1'\t")));
    EXPECT_TRUE(history[1].endsWith(QStringLiteral("\tChecked in\tline\\ntwo"))) << "one record a line";
    EXPECT_TRUE(history[2].endsWith(QStringLiteral("\tCreated\tfirst")));

    EXPECT_EQ(As(ann, {QStringLiteral("get"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("-v"),
                       QStringLiteral("1"), QStringLiteral("--to"), QStringLiteral("old.sp")})
                  .exitCode,
              0);
    QFile old(folder.Path(QStringLiteral("old.sp")));
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), QByteArray("one\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("get"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("-v"),
                       QStringLiteral("9")})
                  .exitCode,
              1);

    EXPECT_EQ(
        As(ann, {QStringLiteral("rename"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("y.sp")}).exitCode,
        0);
    EXPECT_EQ(As(ann, {QStringLiteral("delete"), QStringLiteral("$/Sales/y.sp")}).exitCode, 0);
    EXPECT_EQ(As(ann, {QStringLiteral("dir"), QStringLiteral("$/Sales")}).out, QString());
    EXPECT_EQ(As(ann, {QStringLiteral("dir"), QStringLiteral("$/Sales"), QStringLiteral("--deleted")}).out,
              QStringLiteral("file\ty.sp\tdeleted\t\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("recover"), QStringLiteral("$/Sales/y.sp")}).exitCode, 0);
    EXPECT_EQ(As(ann, {QStringLiteral("dir"), QStringLiteral("$/")}).out,
              QStringLiteral("project\tSales\tliving\t\n"));
}

TEST_P(CommandLineTest, UsersAndWrongCallsFailOnStderr) {
    EXPECT_EQ(As(QStringLiteral("ann,wrong"), {QStringLiteral("dir"), QStringLiteral("$/")}).err,
              QStringLiteral("tarmo-vss: Invalid password for user \"ann\"\n"));
    EXPECT_EQ(
        As(QStringLiteral("ann,a,1"), {QStringLiteral("adduser"), QStringLiteral("bo"), QStringLiteral("b")})
            .exitCode,
        1);
    EXPECT_EQ(As(QStringLiteral("ann,a,1"),
                 {QStringLiteral("password"), QStringLiteral("ann"), QStringLiteral("new")})
                  .exitCode,
              0);
    EXPECT_EQ(As(QStringLiteral("ann,new"), {QStringLiteral("users")}).out, QStringLiteral("Admin\nann\n"));

    const Result unknown = As(QStringLiteral("ann,new"), {QStringLiteral("frobnicate")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_TRUE(unknown.err.startsWith(QStringLiteral("tarmo-vss: unknown command frobnicate\nusage:")));
    EXPECT_EQ(Run({QStringLiteral("dir"), QStringLiteral("$/")}).exitCode, 1) << "no login";
    EXPECT_EQ(As(QStringLiteral("ann,new"), {QStringLiteral("get")}).exitCode, 1) << "no item";
    EXPECT_EQ(Run({QStringLiteral("create"), folder.Path(QStringLiteral("store")),
                   QStringLiteral("--admin-password"), QStringLiteral("x")})
                  .exitCode,
              1)
        << "a store is never made twice";
}

TEST_P(CommandLineTest, RightsAndOptionsAreTheAdministrators) {
    const QString admin = QStringLiteral("Admin,pw");
    const QString ann = QStringLiteral("ann,a,1");
    EXPECT_EQ(As(admin, {QStringLiteral("rights"), QStringLiteral("$/Sales"), QStringLiteral("ann"),
                         QStringLiteral("Read,CHECKOUT")})
                  .out,
              QStringLiteral("ann\tread,checkout\t$/Sales\n"));
    EXPECT_EQ(
        As(ann, {QStringLiteral("rights"), QStringLiteral("$/Sales")}).out,
        QStringLiteral("Admin\tread,checkout,add,destroy\tadministrator\nann\tread,checkout\t$/Sales\n"));
    EXPECT_EQ(
        As(ann, {QStringLiteral("rights"), QStringLiteral("$/")}).out,
        QStringLiteral("Admin\tread,checkout,add,destroy\tadministrator\nann\tread,checkout,add\tdefault\n"));

    QFile file(folder.Path(QStringLiteral("x.sp")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("x");
    file.close();
    const Result refused =
        As(ann, {QStringLiteral("add"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("x.sp")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, QStringLiteral("tarmo-vss: ann does not have the add right in '$/Sales'.\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("rights"), QStringLiteral("$/Sales"), QStringLiteral("ann"),
                       QStringLiteral("read,checkout,add")})
                  .exitCode,
              1)
        << "not his to give";
    EXPECT_EQ(As(admin, {QStringLiteral("rights"), QStringLiteral("$/Sales"), QStringLiteral("ann"),
                         QStringLiteral("write")})
                  .exitCode,
              1);
    EXPECT_EQ(As(admin, {QStringLiteral("rights"), QStringLiteral("$/Sales"), QStringLiteral("ann"),
                         QStringLiteral("inherit")})
                  .out,
              QStringLiteral("ann\tread,checkout,add\tdefault\n"));
    EXPECT_EQ(
        As(ann, {QStringLiteral("add"), QStringLiteral("$/Sales/x.sp"), QStringLiteral("x.sp")}).exitCode, 0);
    EXPECT_EQ(As(ann, {QStringLiteral("destroy"), QStringLiteral("$/Sales/x.sp")}).exitCode, 1);
    EXPECT_EQ(As(admin, {QStringLiteral("destroy"), QStringLiteral("$/Sales/x.sp")}).out,
              QStringLiteral("$/Sales/x.sp\n"));

    EXPECT_EQ(As(ann, {QStringLiteral("option"), QStringLiteral("MultipleCheckouts")}).out,
              QStringLiteral("MultipleCheckouts\tno\n"));
    EXPECT_EQ(
        As(ann, {QStringLiteral("option"), QStringLiteral("MultipleCheckouts"), QStringLiteral("yes")}).err,
        QStringLiteral("tarmo-vss: Only the administrator may change the store's options.\n"));
    EXPECT_EQ(
        As(admin, {QStringLiteral("option"), QStringLiteral("multiplecheckouts"), QStringLiteral("yes")}).out,
        QStringLiteral("MultipleCheckouts\tyes\n"));
    EXPECT_EQ(As(ann, {QStringLiteral("option"), QStringLiteral("MultipleCheckouts")}).out,
              QStringLiteral("MultipleCheckouts\tyes\n"));
}

// Another user renames the file (in case only, so that its path still reaches it) as soon as each
// check-in has made its version. The number printed is still the check-in's own: its history entry is
// that check-in, never the rename that came right after it. The file lies deep down, so that spelling
// its path, which the command does before it prints the number, takes a while.
TEST_P(CommandLineTest, CheckinPrintsItsOwnVersionUnderConcurrentRenames) {
    const QString ann = QStringLiteral("ann,a,1");
    const QString local = folder.Path(QStringLiteral("r.sp"));
    QFile file(local);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("0\n");
    file.close();
    QString project = QStringLiteral("$/Sales");
    {
        VersionStore store;
        store.Open(folder.Path(QStringLiteral("store/srcsafe.ini")), QStringLiteral("ann"),
                   QStringLiteral("a,1"));
        for (int depth = 0; depth < 100; ++depth)
            project = store.Item(project).NewSubproject(QStringLiteral("d"), QString()).Spec();
        store.Item(project).Add(local, QString());
    }
    const QString spec = project + QStringLiteral("/r.sp");

    const QString ini = folder.Path(QStringLiteral("store/srcsafe.ini"));
    std::atomic<bool> stop{false};
    std::atomic<int> renames{0};
    std::thread renamer([&] {
        try {
            VersionStore store;
            store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
            StoreItem item = store.Item(spec);
            int seen = item.VersionNumber();
            bool upper = false;
            while (!stop) {
                // Reading takes no lock; only a new version is worth a try at renaming.
                if (item.VersionNumber() == seen) {
                    std::this_thread::yield();
                    continue;
                }
                try {
                    upper = !upper;
                    item.SetName(upper ? QStringLiteral("R.sp") : QStringLiteral("r.sp"));
                    ++renames;
                } catch (const TARMOError& e) {
                    if (e.Number() != StoreErrors::CheckedOutByOther)
                        throw;
                }
                seen = item.VersionNumber();
            }
        } catch (const std::exception& e) {
            ADD_FAILURE() << "renamer: " << e.what();
        }
    });
    struct Joiner {
        std::atomic<bool>& stop;
        std::thread& thread;
        ~Joiner() {
            stop = true;
            thread.join();
        }
    } joiner{stop, renamer};

    QList<int> printed;
    for (int round = 1; round <= 6; ++round) {
        ASSERT_EQ(As(ann, {QStringLiteral("checkout"), spec, QStringLiteral("--to"), QStringLiteral("r.sp")})
                      .exitCode,
                  0);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray::number(round) + "\n");
        file.close();
        const Result checkin = As(ann, {QStringLiteral("checkin"), spec, QStringLiteral("r.sp"),
                                        QStringLiteral("-c"), QString::number(round)});
        ASSERT_EQ(checkin.exitCode, 0) << checkin.err.toStdString();
        const QStringList fields = checkin.out.trimmed().split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 2) << checkin.out.toStdString();
        EXPECT_EQ(fields[0].toLower(), spec.toLower());
        printed << fields[1].toInt();
    }
    stop = true;

    VersionStore store;
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
    QHash<int, StoreVersion> byNumber;
    for (const StoreVersion& v : store.Item(spec).Versions())
        if (!v.IsLabel())
            byNumber.insert(v.VersionNumber(), v);
    for (int round = 1; round <= printed.size(); ++round) {
        const int number = printed[round - 1];
        ASSERT_TRUE(byNumber.contains(number)) << "round " << round;
        EXPECT_EQ(byNumber[number].Action(), QStringLiteral("Checked in")) << "round " << round;
        EXPECT_EQ(byNumber[number].Comment(), QString::number(round));
    }
    // How often the renamer came between a check-in and its print depends on the scheduler.
    RecordProperty("renames", renames.load());
}

TEST_P(CommandLineTest, PasswordsCanStayOffTheCommandLine) {
    const QString password = QStringLiteral("TARMO_VSS_PASSWORD");
    const QString newPassword = QStringLiteral("TARMO_VSS_NEW_PASSWORD");
    EXPECT_EQ(
        Run({QStringLiteral("-y"), QStringLiteral("ann"), QStringLiteral("users")}, {{password, "a,1"}}).out,
        QStringLiteral("Admin\nann\n"));
    // A comma, even with nothing after it, is a password given: the variable is not looked at.
    EXPECT_EQ(
        Run({QStringLiteral("-y"), QStringLiteral("ann,"), QStringLiteral("users")}, {{password, "a,1"}}).err,
        QStringLiteral("tarmo-vss: Invalid password for user \"ann\"\n"));

    const Result nothing = Run({QStringLiteral("-y"), QStringLiteral("ann"), QStringLiteral("users")});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_TRUE(nothing.err.startsWith(
        QStringLiteral("tarmo-vss: no password for ann: set TARMO_VSS_PASSWORD or run at a terminal")))
        << nothing.err.toStdString();

    EXPECT_EQ(
        Run({QStringLiteral("-y"), QStringLiteral("Admin"), QStringLiteral("adduser"), QStringLiteral("cy")},
            {{password, "pw"}, {newPassword, "c pw"}})
            .exitCode,
        0);
    EXPECT_EQ(
        Run({QStringLiteral("-y"), QStringLiteral("cy"), QStringLiteral("password"), QStringLiteral("cy")},
            {{password, "c pw"}, {newPassword, "c2"}})
            .exitCode,
        0);
    EXPECT_EQ(As(QStringLiteral("cy,c2"), {QStringLiteral("users")}).exitCode, 0);
    EXPECT_EQ(As(QStringLiteral("Admin,pw"), {QStringLiteral("adduser"), QStringLiteral("dee")}).exitCode, 1)
        << "no new password anywhere";

    // At a terminal the password is asked for and not shown as it is typed.
    const QByteArray asked =
        OnTerminal({QStringLiteral("-y"), QStringLiteral("ann"), QStringLiteral("users")}, "a,1\n");
    EXPECT_TRUE(asked.startsWith("Password for ann: ")) << asked.constData();
    EXPECT_FALSE(asked.contains("a,1")) << asked.constData();
    EXPECT_TRUE(asked.contains("Admin\r\nann\r\n")) << asked.constData();

    const QString other = folder.Path(QStringLiteral("other"));
    EXPECT_EQ(Run(Create(other)).exitCode, 1);
    EXPECT_FALSE(QFile::exists(other + QStringLiteral("/srcsafe.ini")));
    ASSERT_EQ(Run(Create(other), {{password, "admin pw"}}).exitCode, 0);
    EXPECT_EQ(Run({QStringLiteral("--ini"), other + QStringLiteral("/srcsafe.ini"), QStringLiteral("-y"),
                   QStringLiteral("Admin,admin pw"), QStringLiteral("users")})
                  .out,
              QStringLiteral("Admin\n"));
}

INSTANTIATE_TEST_SUITE_P(Engines, CommandLineTest, ::testing::Values(StoreKind::Embedded, StoreKind::Server),
                         StoreKindName);

} // namespace
