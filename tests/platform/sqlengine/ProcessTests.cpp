// Two programs on one server folder, as two users of a shared server are: what one writes the other
// sees, and writes at the same time both arrive. The second program is this test binary run again
// with only the disabled case below selected.
#include "EmbeddedServer.h"
#include "EngineResults.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QProcess>
#include <gtest/gtest.h>

namespace {

const char* kFolderVariable = "TARMO_SECOND_PROGRAM_FOLDER";
const char* kStepVariable = "TARMO_SECOND_PROGRAM_STEP";

QVariant FirstValue(const SqlBatchResults& results) {
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::RowSet && !r.rowSet.rows.isEmpty())
            return r.rowSet.rows.first().value(0);
    return {};
}

QString Describe(const QList<SqlMessage>& messages) {
    QStringList texts;
    for (const SqlMessage& m : messages)
        texts.append(QStringLiteral("%1: %2").arg(m.number).arg(m.text));
    return texts.join(QStringLiteral("; "));
}

std::unique_ptr<QProcess> StartSecondProgram(const QString& folder, const QString& step) {
    auto p = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(kFolderVariable), folder);
    env.insert(QString::fromLatin1(kStepVariable), step);
    p->setProcessEnvironment(env);
    p->setProcessChannelMode(QProcess::MergedChannels);
    p->start(QCoreApplication::applicationFilePath(),
             {QStringLiteral("--gtest_also_run_disabled_tests"),
              QStringLiteral("--gtest_filter=SecondProgram.DISABLED_Step")});
    return p;
}

// Exit code of the second program, with its output on failure.
int Finish(QProcess& p) {
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        ADD_FAILURE() << "the second program did not end";
        return -1;
    }
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        ADD_FAILURE() << p.readAll().toStdString();
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}

// The second program: "write" adds 50 rows, one statement each, and a procedure; "read" checks
// what the first program left.
TEST(SecondProgram, DISABLED_Step) {
    const QString folder = qEnvironmentVariable(kFolderVariable);
    const QString step = qEnvironmentVariable(kStepVariable);
    ASSERT_FALSE(folder.isEmpty());
    EmbeddedServer server(folder);
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("sa"), QStringLiteral("Shared"));
    ASSERT_TRUE(sa);
    if (step == QLatin1String("write")) {
        for (int i = 0; i < 50; ++i) {
            const auto errors =
                Errors(sa->Execute(QStringLiteral("INSERT INTO T (n, who) VALUES (%1, 'second')").arg(i)));
            ASSERT_TRUE(errors.isEmpty()) << Describe(errors).toStdString();
        }
        const auto errors =
            Errors(sa->Execute(QStringLiteral("CREATE PROCEDURE CountRows AS SELECT COUNT(*) FROM T")));
        ASSERT_TRUE(errors.isEmpty()) << Describe(errors).toStdString();
    } else {
        ASSERT_EQ(step, QStringLiteral("read"));
        EXPECT_EQ(FirstValue(sa->Execute(QStringLiteral("EXEC CountRows"))).toInt(), 101);
        EXPECT_EQ(
            FirstValue(sa->Execute(QStringLiteral("SELECT COUNT(*) FROM T WHERE who = 'first'"))).toInt(),
            51);
        EXPECT_EQ(
            FirstValue(sa->Execute(QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE name = 'Late'")))
                .toInt(),
            1);
    }
}

TEST(ServerProcesses, TwoProgramsWriteAndReadOneFolder) {
    TempFolder temp;
    const QString folder = temp.Path(QStringLiteral("shared"));
    EmbeddedServer::Create(folder, QStringLiteral("sa"));
    EmbeddedServer server(folder);
    auto first = server.Connect(QStringLiteral("sa"), QStringLiteral("sa"), QString());
    ASSERT_TRUE(first);
    ASSERT_TRUE(Errors(first->Execute(QStringLiteral("CREATE DATABASE Shared"))).isEmpty());
    ASSERT_TRUE(Errors(first->Execute(QStringLiteral("USE Shared\nCREATE TABLE T (n int, who varchar(10))")))
                    .isEmpty());

    // Both write at once; SQLite's locking makes the second wait, never lose a row.
    auto writer = StartSecondProgram(folder, QStringLiteral("write"));
    for (int i = 0; i < 50; ++i) {
        const auto errors =
            Errors(first->Execute(QStringLiteral("INSERT INTO T (n, who) VALUES (%1, 'first')").arg(i)));
        ASSERT_TRUE(errors.isEmpty()) << Describe(errors).toStdString();
    }
    ASSERT_EQ(Finish(*writer), 0);

    // The open session sees the other program's rows and its procedure without reconnecting.
    EXPECT_EQ(
        FirstValue(first->Execute(QStringLiteral("SELECT COUNT(*) FROM T WHERE who = 'second'"))).toInt(),
        50);
    EXPECT_EQ(FirstValue(first->Execute(QStringLiteral("EXEC CountRows"))).toInt(), 100);

    ASSERT_TRUE(
        Errors(first->Execute(QStringLiteral("INSERT INTO T (n, who) VALUES (99, 'first')"))).isEmpty());
    ASSERT_TRUE(Errors(first->Execute(QStringLiteral("CREATE VIEW Late AS SELECT n FROM T"))).isEmpty());
    auto reader = StartSecondProgram(folder, QStringLiteral("read"));
    EXPECT_EQ(Finish(*reader), 0);
}

} // namespace
