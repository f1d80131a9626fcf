#include "RecoveryFiles.h"
#include "CrashCopies.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

int modeOf(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 07777) : -1;
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

} // namespace

// The texts of a run are leftovers only once that run has ended: while it lives, a second copy of the
// program must not offer them (and then discard them under the first one's feet).
TEST(RecoveryFiles, TextsOfARunThatEndedComeBackWithTheirHeader) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    const QString text = QStringLiteral("SELECT N'Grüße'\r\nGO\r\n\r\nTitle: not a header\n");
    RecoveryFiles second(folder);
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    {
        RecoveryFiles first(folder);
        first.Register(QStringLiteral("q1"), QStringLiteral("Query1 - srv\nline"), QStringLiteral("srv.db"),
                       [&] { return text; });
        first.Register(QStringLiteral("e1"), QStringLiteral("dbo.Saved"), QString(),
                       [] { return QString(); });
        EXPECT_EQ(first.SnapshotAll(), 1) << "a window without unsaved text leaves no file";
        EXPECT_TRUE(first.Pending().isEmpty()) << "a run never takes its own texts for leftovers";
        EXPECT_TRUE(second.Pending().isEmpty()) << "the first copy still runs";
    }
    const QList<RecoveredText> pending = second.Pending();
    ASSERT_EQ(pending.size(), 1);
    EXPECT_EQ(pending[0].title, QStringLiteral("Query1 - srv line")) << "a header value stays on its line";
    EXPECT_EQ(pending[0].origin, QStringLiteral("srv.db"));
    EXPECT_EQ(pending[0].text, text) << "the text comes back byte for byte, line ends included";
    EXPECT_GE(pending[0].time, before);
    EXPECT_LE(pending[0].time, QDateTime::currentDateTimeUtc());

    second.Discard(pending[0]);
    EXPECT_TRUE(second.Pending().isEmpty());
    EXPECT_EQ(filesIn(folder).size(), 1)
        << "only the lock of the running copy is left: " << filesIn(folder).join(' ').toStdString();
}

TEST(RecoveryFiles, ForgettingSavingAndFailingSources) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    RecoveryFiles files(folder);
    QString text = QStringLiteral("one");
    bool failing = false;
    files.Register(QStringLiteral("q1"), QStringLiteral("Query1"), QString(), [&] {
        if (failing)
            throw std::runtime_error("editor gone");
        return text;
    });
    files.Register(QStringLiteral("q2"), QStringLiteral("Query2"), QString(),
                   [] { return QStringLiteral("two"); });
    ASSERT_EQ(files.SnapshotAll(), 2);
    const auto textFiles = [&] { return QDir(folder).entryList({QStringLiteral("*.sql")}, QDir::Files); };
    ASSERT_EQ(textFiles().size(), 2);

    files.Forget(QStringLiteral("q2"));
    EXPECT_EQ(textFiles().size(), 1) << "a window that closed cleanly takes its file along";

    failing = true;
    EXPECT_EQ(files.SnapshotAll(), 0);
    ASSERT_EQ(textFiles().size(), 1) << "a source that fails keeps the text it had";

    failing = false;
    text.clear();
    files.SnapshotAll();
    EXPECT_TRUE(textFiles().isEmpty()) << "a saved window has nothing to keep";

    text = QStringLiteral("three");
    files.Register(QStringLiteral("q1"), QStringLiteral("Query1 renamed"), QString(), [&] { return text; });
    files.SnapshotAll();
    EXPECT_EQ(textFiles().size(), 1) << "registering again keeps one file per window";
}

TEST(RecoveryFiles, FolderAndFilesArePrivate) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    ASSERT_TRUE(QDir().mkpath(folder));
    ::chmod(QFile::encodeName(folder).constData(), 0755); // as an ordinary umask would make it
    RecoveryFiles files(folder);
    ASSERT_TRUE(files.Usable());
    EXPECT_EQ(modeOf(folder), 0700);

    files.Register(QStringLiteral("q1"), QStringLiteral("Query1"), QString(),
                   [] { return QStringLiteral("x"); });
    files.Register(QStringLiteral("q2"), QStringLiteral("Query2"), QString(),
                   [] { return QStringLiteral("y"); });
    const auto expectPrivateFiles = [&](const char* writer) {
        const QStringList names = filesIn(folder);
        ASSERT_EQ(names.size(), 3) << writer;
        for (const QString& name : names)
            EXPECT_EQ(modeOf(folder + QLatin1Char('/') + name), 0600) << writer << " " << name.toStdString();
    };
    files.SnapshotAll();
    expectPrivateFiles("snapshot");
    for (const QString& name : QDir(folder).entryList({QStringLiteral("*.sql")}, QDir::Files))
        QFile::remove(folder + QLatin1Char('/') + name);
    CrashCopies::WriteAll(); // the crash path makes its files itself
    expectPrivateFiles("crash path");

    // A link planted where the folder should be would send the texts wherever it points.
    const QString elsewhere = dir.Path(QStringLiteral("elsewhere"));
    QDir().mkpath(elsewhere);
    QFile::link(elsewhere, dir.Path(QStringLiteral("Planted")));
    RecoveryFiles planted(dir.Path(QStringLiteral("Planted")));
    EXPECT_FALSE(planted.Usable());
    planted.Register(QStringLiteral("q1"), QStringLiteral("Query1"), QString(),
                     [] { return QStringLiteral("x"); });
    planted.SnapshotAll();
    CrashCopies::WriteAll();
    EXPECT_TRUE(filesIn(elsewhere).isEmpty());
}

namespace {

struct Crash {
    QProcess::ExitStatus status;
    QString errors;
};

Crash crashWorker(const QString& folder, const QString& mode, const QString& text) {
    QProcess worker;
    worker.setWorkingDirectory(QFileInfo(folder).absolutePath());
    worker.start(QStringLiteral(CRASH_WORKER), {folder, mode, text});
    EXPECT_TRUE(worker.waitForFinished(60000));
    return {worker.exitStatus(), QString::fromLocal8Bit(worker.readAllStandardError())};
}

} // namespace

// Real processes, really going down: what they kept is what the next start offers.
TEST(RecoveryFiles, ARunThatCrashesLeavesItsUnsavedText) {
    TempFolder dir;
    const QString folder = dir.Path(QStringLiteral("Recovery"));
    const QString text = QStringLiteral("CREATE PROCEDURE dbo.P AS SELECT 'é'");

    const Crash bySignal = crashWorker(folder, QStringLiteral("signal"), text);
    EXPECT_EQ(bySignal.status, QProcess::CrashExit) << "the signal still ends the process";
    {
        RecoveryFiles next(folder);
        const QList<RecoveredText> pending = next.Pending();
        ASSERT_EQ(pending.size(), 1) << "only the window with unsaved text";
        EXPECT_EQ(pending[0].title, QStringLiteral("Query1"));
        EXPECT_EQ(pending[0].origin, QStringLiteral("srv.db"));
        EXPECT_EQ(pending[0].text, text) << "a signal handler can write only the text last reported";
        EXPECT_EQ(modeOf(pending[0].path), 0600);
        next.Discard(pending[0]);
    }
    EXPECT_TRUE(filesIn(folder).isEmpty()) << "nothing of the crashed run is left once its text is handled";

    const Crash byException = crashWorker(folder, QStringLiteral("throw"), text);
    EXPECT_EQ(byException.status, QProcess::CrashExit);
    EXPECT_TRUE(byException.errors.contains(QStringLiteral("No current record")))
        << byException.errors.toStdString();
    RecoveryFiles next(folder);
    const QList<RecoveredText> pending = next.Pending();
    ASSERT_EQ(pending.size(), 1);
    EXPECT_EQ(pending[0].text, text + QStringLiteral("\n-- typed after the last report"))
        << "an uncaught exception still lets the editors be asked for their present text";
}
