#include "EmbeddedServer.h"
#include "ListenerFixture.h"
#include "TdsConnection.h"
#include "TdsLoginGuard.h"
#include "TdsTestClient.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QStringList>
#include <QWaitCondition>

namespace {

using Token = TdsTestClient::Token;

// Lines a listener or connection logs, from whichever thread.
class LogLines {
public:
    std::function<void(const QString&)> Sink() {
        return [this](const QString& line) {
            QMutexLocker guard(&mLock);
            mLines.append(line);
            mLogged.wakeAll();
        };
    }
    QStringList Matching(const QString& part) const {
        QMutexLocker guard(&mLock);
        return mLines.filter(part);
    }
    // Waits for a line holding part to be logged; false when none came within seconds.
    bool WaitFor(const QString& part) {
        QMutexLocker guard(&mLock);
        const QDeadlineTimer deadline(10000);
        while (mLines.filter(part).isEmpty())
            if (!mLogged.wait(&mLock, deadline))
                return false;
        return true;
    }

private:
    mutable QMutex mLock;
    QWaitCondition mLogged;
    QStringList mLines;
};

// A connection whose client's bytes are all known before it runs.
struct MemoryRun {
    QList<QByteArray> replies;
    bool timedOut = false;
    qint64 paused = 0;
    qsizetype peakHeld = 0;
    qsizetype outputBytes = 0;
    int packets = 0;
};

class ServerLimits : public ListenerFixture {
protected:
    static TdsConnectionSettings Settings(LogLines* log = nullptr) {
        TdsConnectionSettings s;
        s.folder = Folder();
        s.serverName = QStringLiteral("TESTSRV");
        if (log)
            s.log = log->Sink();
        return s;
    }

    static MemoryRun Run(const QByteArray& input, TdsConnectionSettings settings,
                         TdsMemoryChannel::AtEnd atEnd = TdsMemoryChannel::AtEnd::HangUp,
                         const QByteArray& later = {}, qsizetype laterAfter = 0) {
        auto channel = std::make_unique<TdsMemoryChannel>(input, atEnd);
        TdsMemoryChannel* memory = channel.get();
        memory->SendLater(later, laterAfter);
        TdsConnection connection(std::move(channel), std::move(settings));
        connection.Run();
        MemoryRun run;
        run.replies = TdsTestClient::Messages(memory->Output(), &run.packets);
        run.timedOut = memory->TimedOut();
        run.paused = memory->Paused();
        run.peakHeld = connection.PeakReplyHeld();
        run.outputBytes = memory->Output().size();
        EXPECT_TRUE(connection.Finished());
        return run;
    }

    static QByteArray LoginBytes(const QString& user, const QString& password, uint32_t packetSize = 4096) {
        return TdsTestClient::Packets(0x12, TdsTestClient::PreLogin()) +
               TdsTestClient::Packets(0x10, TdsTestClient::Login7(user, password, QString(), packetSize));
    }
    static QByteArray BatchBytes(const QString& sql, int packetSize = 4096) {
        return TdsTestClient::Packets(0x01, TdsTestClient::BatchPayload(sql), packetSize);
    }
    static QByteArray AttentionBytes() { return TdsTestClient::Packets(0x06, QByteArray()); }

    static bool Acknowledges(const QByteArray& reply) {
        // The acknowledgement is the last DONE of the reply, with its ATTENTION bit.
        return reply.size() >= 13 && uint8_t(reply[reply.size() - 13]) == 0xFD &&
               (uint8_t(reply[reply.size() - 12]) & 0x20);
    }
    static QString FirstText(const QByteArray& reply) {
        const QList<Token> tokens = TdsTestClient::Tokens(reply);
        return tokens.isEmpty() ? QString() : tokens.first().text;
    }
};

} // namespace

TEST_F(ServerLimits, BeforeTheLoginOnlyAFewPacketsOfTheInitialSizeAreRead) {
    LogLines log;
    // One PRELOGIN in a packet beyond the initial size.
    MemoryRun run = Run(TdsTestClient::Packets(0x12, TdsTestClient::PreLogin() + QByteArray(5000, 0), 8192),
                        Settings(&log));
    EXPECT_TRUE(run.replies.isEmpty());
    EXPECT_EQ(log.Matching(QStringLiteral("larger than the agreed packet size")).size(), 1);

    // A PRELOGIN dribbled out a few bytes a packet: the packets run out before it ends.
    run = Run(TdsTestClient::Packets(0x12, TdsTestClient::PreLogin(), 10), Settings(&log));
    EXPECT_TRUE(run.replies.isEmpty());
    EXPECT_EQ(log.Matching(QStringLiteral("too many packets before the login")).size(), 1);

    // The same in two packets is answered, and the login in small packets too.
    run = Run(
        TdsTestClient::Packets(0x12, TdsTestClient::PreLogin(), 24) +
            TdsTestClient::Packets(0x10, TdsTestClient::Login7(QStringLiteral("dev"), kDevPassword, {}), 128),
        Settings());
    ASSERT_EQ(run.replies.size(), 2);
    EXPECT_EQ(TdsTestClient::Tokens(run.replies[1]).last().status, 0);

    // Once logged in, packets may be as large as agreed, and no larger.
    const QString print = QStringLiteral("PRINT '%1'").arg(QString(3000, QLatin1Char('p')));
    run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword, 8192) + BatchBytes(print, 8192), Settings());
    ASSERT_EQ(run.replies.size(), 3);
    EXPECT_EQ(FirstText(run.replies[2]).size(), 3000);
    run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword, 512) +
                  BatchBytes(QStringLiteral("PRINT 'ok'"), 512) + BatchBytes(print, 1024),
              Settings(&log));
    ASSERT_EQ(run.replies.size(), 3);
    EXPECT_EQ(FirstText(run.replies[2]), QStringLiteral("ok"));
    EXPECT_EQ(log.Matching(QStringLiteral("larger than the agreed packet size")).size(), 2);
}

TEST_F(ServerLimits, SilentClientsAreClosedAfterTheLoginAndIdleTimeOuts) {
    using AtEnd = TdsMemoryChannel::AtEnd;
    LogLines log;
    // Connected, then nothing but a PRELOGIN.
    TdsConnectionSettings settings = Settings(&log);
    settings.loginTimeoutMs = 20000;
    MemoryRun run = Run(TdsTestClient::Packets(0x12, TdsTestClient::PreLogin()), settings, AtEnd::StaySilent);
    EXPECT_TRUE(run.timedOut);
    EXPECT_EQ(run.replies.size(), 1);
    EXPECT_EQ(log.Matching(QStringLiteral("no login within 20 s")).size(), 1);

    // Logged in and quiet: the login time-out no longer applies, and no idle time-out is set.
    run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword), settings, AtEnd::StaySilent);
    EXPECT_FALSE(run.timedOut);

    // With an idle time-out a quiet session is closed after its last answer.
    settings.idleTimeoutMs = 90000;
    run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword) + BatchBytes(QStringLiteral("PRINT 'one'")),
              settings, AtEnd::StaySilent);
    EXPECT_TRUE(run.timedOut);
    ASSERT_EQ(run.replies.size(), 3);
    EXPECT_EQ(FirstText(run.replies[2]), QStringLiteral("one"));
    EXPECT_EQ(log.Matching(QStringLiteral("no request for 90 s")).size(), 1);
}

TEST_F(ServerLimits, AttentionStopsTheRunningBatchAndTheSessionGoesOn) {
    // A loop without end; only the cancel behind it lets it stop.
    const QString spin = QStringLiteral("DECLARE @i int SET @i = 0\nWHILE 1 = 1 SET @i = @i + 1");
    const MemoryRun run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword) + BatchBytes(spin) +
                                  AttentionBytes() + BatchBytes(QStringLiteral("PRINT 'after'")),
                              Settings());
    ASSERT_EQ(run.replies.size(), 4);
    EXPECT_TRUE(Acknowledges(run.replies[2]));
    EXPECT_EQ(TdsTestClient::Tokens(run.replies[2]).size(), 1) << "nothing of the cancelled batch is sent";
    EXPECT_EQ(FirstText(run.replies[3]), QStringLiteral("after"));

    // A request the client abandons before its last packet is not run, and answered with an error DONE.
    const MemoryRun abandoned = Run(
        LoginBytes(QStringLiteral("dev"), kDevPassword) +
            TdsTestClient::Packets(0x01, TdsTestClient::BatchPayload(QStringLiteral("PRINT 'no'")), 4096, 3) +
            BatchBytes(QStringLiteral("PRINT 'yes'")),
        Settings());
    ASSERT_EQ(abandoned.replies.size(), 4);
    const QList<Token> done = TdsTestClient::Tokens(abandoned.replies[2]);
    ASSERT_EQ(done.size(), 1);
    EXPECT_EQ(done[0].status, 0x02);
    EXPECT_EQ(FirstText(abandoned.replies[3]), QStringLiteral("yes"));
}

TEST_F(ServerLimits, ACancelStopsOneLongStatementMidway) {
    // The engine asks between statements and while a statement runs; this check gives in after a
    // few questions, which only a statement that is asked midway can see.
    EmbeddedServer server(Folder());
    auto session = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales"));
    ASSERT_TRUE(session);
    int asked = 0;
    session->SetCancelCheck([&asked] { return ++asked > 3; });
    const SqlBatchResults results = session->Execute(
        QStringLiteral("SELECT COUNT(*) FROM sysobjects a, sysobjects b, sysobjects c, sysobjects d, "
                       "sysobjects e, sysobjects f\nPRINT 'not reached'"));
    EXPECT_GT(asked, 3);
    for (const SqlResult& r : results)
        EXPECT_NE(r.kind, SqlResult::Kind::RowSet) << "the count was never finished";
    for (const SqlResult& r : results)
        EXPECT_NE(r.message.text, QStringLiteral("not reached"));

    // The next batch runs in full once the check says no.
    session->SetCancelCheck([] { return false; });
    const SqlBatchResults next = session->Execute(QStringLiteral("SELECT 1"));
    ASSERT_FALSE(next.isEmpty());
    EXPECT_EQ(next.first().kind, SqlResult::Kind::RowSet);

    // A write stopped inside a transaction takes the transaction with it, and the session knows.
    session->Execute(QStringLiteral("CREATE TABLE stopped_rows (n int)"));
    asked = 0;
    session->SetCancelCheck([&asked] { return ++asked > 5; });
    session->Execute(QStringLiteral("BEGIN TRANSACTION\nINSERT INTO stopped_rows VALUES (1)\n"
                                    "INSERT INTO stopped_rows SELECT 2 FROM sysobjects a, sysobjects b, "
                                    "sysobjects c, sysobjects d, sysobjects e, sysobjects f"));
    session->SetCancelCheck({});
    const SqlBatchResults after =
        session->Execute(QStringLiteral("SELECT @@TRANCOUNT, (SELECT COUNT(*) FROM stopped_rows)"));
    ASSERT_FALSE(after.isEmpty());
    ASSERT_EQ(after.first().kind, SqlResult::Kind::RowSet);
    EXPECT_EQ(after.first().rowSet.rows.value(0), (QVariantList{0, 0}));
}

TEST_F(ServerLimits, ABigResultGoesOutInPacketsWithoutBeingHeldWhole) {
    {
        EmbeddedServer server(Folder());
        auto session = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales"));
        QString fill =
            QStringLiteral("CREATE TABLE wide_rows (s nvarchar(200))\nINSERT INTO wide_rows VALUES ('%1')\n")
                .arg(QString(200, QLatin1Char('b')));
        for (int i = 0; i < 13; ++i)
            fill += QStringLiteral("INSERT INTO wide_rows SELECT s FROM wide_rows\n");
        fill += QStringLiteral("GRANT SELECT ON wide_rows TO dev");
        session->Execute(fill);
    }
    const MemoryRun run = Run(LoginBytes(QStringLiteral("dev"), kDevPassword) +
                                  BatchBytes(QStringLiteral("SELECT s FROM wide_rows")) +
                                  BatchBytes(QStringLiteral("PRINT 'after'")),
                              Settings());
    ASSERT_EQ(run.replies.size(), 4);
    // 8192 rows of 400 bytes went out, and never more than about a packet and a row were held.
    EXPECT_GT(run.replies[2].size(), 8192 * 400);
    EXPECT_GT(run.packets, 800);
    EXPECT_LT(run.peakHeld, 2 * 4096);
    EXPECT_EQ(uint8_t(run.replies[2][run.replies[2].size() - 13]), 0xFD);
    EXPECT_EQ(run.replies[2].right(8).left(4), QByteArray("\x00\x20\x00\x00", 4)) << "the count of rows";
    EXPECT_EQ(FirstText(run.replies[3]), QStringLiteral("after"));

    // A cancel sent once the first rows came ends them with the acknowledgement.
    const MemoryRun cancelled = Run(LoginBytes(QStringLiteral("dev"), kDevPassword) +
                                        BatchBytes(QStringLiteral("SELECT s FROM wide_rows")),
                                    Settings(), TdsMemoryChannel::AtEnd::HangUp,
                                    AttentionBytes() + BatchBytes(QStringLiteral("PRINT 'after'")), 100000);
    // The rows end with a whole one, and the acknowledgement is a message of its own.
    ASSERT_EQ(cancelled.replies.size(), 5);
    const QByteArray& cut = cancelled.replies[2];
    EXPECT_GT(cut.size(), 90000);
    EXPECT_LT(cut.size(), 200000);
    const qsizetype firstRow = cut.indexOf(char(0xD1));
    ASSERT_GT(firstRow, 0);
    const qsizetype rowSize = 1 + 2 + 400; // token, length, 200 UCS-2 characters
    EXPECT_EQ((cut.size() - firstRow) % rowSize, 0);
    EXPECT_TRUE(Acknowledges(cancelled.replies[3]));
    EXPECT_EQ(FirstText(cancelled.replies[4]), QStringLiteral("after"));

    // Past the most rows a result may give, the client has those rows, then the error.
    TdsConnectionSettings capped = Settings();
    capped.maxResultRows = 1000;
    const MemoryRun refused = Run(LoginBytes(QStringLiteral("dev"), kDevPassword) +
                                      BatchBytes(QStringLiteral("SELECT s FROM wide_rows")) +
                                      BatchBytes(QStringLiteral("PRINT 'after'")),
                                  capped);
    ASSERT_EQ(refused.replies.size(), 4);
    const QByteArray& reply = refused.replies[2];
    EXPECT_GT(reply.size(), 1000 * 400);
    EXPECT_LT(reply.size(), 1001 * 420);
    const QString limitText = QStringLiteral("more than 1000 rows");
    const QByteArray limitUcs2(reinterpret_cast<const char*>(limitText.utf16()), limitText.size() * 2);
    EXPECT_GT(reply.indexOf(limitUcs2), 1000 * 400) << "the error comes after the rows";
    EXPECT_EQ(FirstText(refused.replies[3]), QStringLiteral("after"));
}

TEST_F(ServerLimits, RefusedLoginsFromOneAddressAreAnsweredSlowerAndSlower) {
    qint64 now = 0;
    TdsLoginDelays delays;
    delays.freeFailures = 2;
    delays.firstMs = 100;
    delays.maxMs = 700;
    delays.forgetMs = 60000;
    TdsLoginGuard guard(delays, [&now] { return now; });
    QList<int> held;
    for (int i = 0; i < 7; ++i)
        held.append(guard.Refused(QStringLiteral("10.0.0.1")));
    EXPECT_EQ(held, (QList<int>{0, 0, 100, 200, 400, 700, 700}));
    // Another address is not slowed by the first one's failures.
    EXPECT_EQ(guard.Refused(QStringLiteral("10.0.0.2")), 0);
    // A good login or a long quiet start the count afresh.
    guard.Succeeded(QStringLiteral("10.0.0.1"));
    EXPECT_EQ(guard.Refused(QStringLiteral("10.0.0.1")), 0);
    for (int i = 0; i < 4; ++i)
        guard.Refused(QStringLiteral("10.0.0.2"));
    now += 60000;
    EXPECT_EQ(guard.Refused(QStringLiteral("10.0.0.2")), 0);

    // Through a connection: the hold is kept, and the log names the client, the login and why,
    // never the password.
    LogLines log;
    TdsConnectionSettings settings = Settings(&log);
    settings.loginGuard = &guard;
    for (int i = 0; i < 3; ++i) {
        const MemoryRun run = Run(LoginBytes(QStringLiteral("dev"), QStringLiteral("Guess-123")), settings);
        ASSERT_EQ(run.replies.size(), 2);
        EXPECT_EQ(TdsTestClient::Tokens(run.replies[1]).first().number, 18456);
        EXPECT_EQ(run.paused, i < 2 ? 0 : 100);
    }
    const QStringList refused =
        log.Matching(QStringLiteral("client memory: login 'dev' refused: Login failed"));
    ASSERT_EQ(refused.size(), 3);
    EXPECT_TRUE(refused[2].endsWith(QStringLiteral("(answer held back 100 ms)"))) << refused[2].toStdString();
    EXPECT_TRUE(log.Matching(QStringLiteral("Guess-123")).isEmpty());
}

TEST_F(ServerLimits, AHeldRefusalDoesNotHoldUpOtherClients) {
    LogLines log;
    TdsListener listener(Folder());
    TdsLimits limits;
    limits.loginDelays.freeFailures = 0;
    limits.loginDelays.firstMs = 600000; // far beyond any wait of the test: Stop must cut it short
    limits.loginDelays.maxMs = 600000;
    listener.SetLimits(limits);
    listener.SetLog(log.Sink());
    const uint16_t port = listener.Start(QStringLiteral("127.0.0.1"), 0);

    TdsTestClient guesser(port);
    guesser.SendMessage(0x12, TdsTestClient::PreLogin());
    ASSERT_FALSE(guesser.ReadMessage().isEmpty());
    guesser.SendMessage(0x10, TdsTestClient::Login7(QStringLiteral("dev"), QStringLiteral("wrong"), {}));

    // Once the refusal is logged its connection is holding; everyone else is served meanwhile.
    ASSERT_TRUE(log.WaitFor(QStringLiteral("(answer held back 600000 ms)")));
    TdsTestClient other(port);
    ASSERT_FALSE(other.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    EXPECT_EQ(FirstText(other.Batch(QStringLiteral("PRINT 'served'"))), QStringLiteral("served"));
    // Stopping doesn't wait for the hold to pass.
    listener.Stop();
    EXPECT_TRUE(guesser.ServerCloses());
}

TEST_F(ServerLimits, ConnectionsBeyondTheMaximumAreClosedAndTheOthersServed) {
    LogLines log;
    TdsListener listener(Folder());
    TdsLimits limits;
    limits.maxConnections = 2;
    listener.SetLimits(limits);
    listener.SetLog(log.Sink());
    const uint16_t port = listener.Start(QStringLiteral("127.0.0.1"), 0);

    auto first = std::make_unique<TdsTestClient>(port);
    TdsTestClient second(port);
    ASSERT_FALSE(first->Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    ASSERT_FALSE(second.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    {
        TdsTestClient third(port);
        EXPECT_TRUE(third.ServerCloses());
    }
    EXPECT_EQ(log.Matching(QStringLiteral("refused: 2 connections are open already")).size(), 1);
    EXPECT_EQ(FirstText(second.Batch(QStringLiteral("PRINT 'still'"))), QStringLiteral("still"));

    // When one goes, its place is free again.
    first->CloseWrite();
    EXPECT_TRUE(first->ServerCloses());
    first.reset();
    TdsTestClient next(port);
    ASSERT_FALSE(next.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    EXPECT_EQ(FirstText(next.Batch(QStringLiteral("PRINT 'in'"))), QStringLiteral("in"));
}

TEST_F(ServerLimits, AttentionStopsALongStatementOverTheNetwork) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    // Billions of rows to count if it ran to its end; the client's reads give up after seconds.
    QStringList tables;
    for (int i = 0; i < 12; ++i)
        tables.append(QStringLiteral("sysobjects t%1").arg(i));
    client.SendMessage(0x01, TdsTestClient::BatchPayload(QStringLiteral("SELECT COUNT(*) FROM ") +
                                                         tables.join(QStringLiteral(", "))));
    client.SendMessage(0x06, QByteArray());
    bool acknowledged = false;
    for (int reply = 0; reply < 2 && !acknowledged; ++reply) {
        const QByteArray message = client.ReadMessage();
        acknowledged = Acknowledges(message);
    }
    EXPECT_TRUE(acknowledged);
    EXPECT_EQ(FirstText(client.Batch(QStringLiteral("PRINT 'next'"))), QStringLiteral("next"));
}

TEST_F(ServerLimits, StopEndsABatchThatWouldRunForEver) {
    TdsListener listener(Folder());
    listener.SetLog([](const QString&) {});
    TdsTestClient client(listener.Start(QStringLiteral("127.0.0.1"), 0));
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    // No statement of it ever ends and the client never cancels: only the cancel that Stop requests
    // from its own thread ends it (whether it comes before the batch begins or while it runs).
    client.SendMessage(
        0x01, TdsTestClient::BatchPayload(QStringLiteral("DECLARE @i int = 0 WHILE 1 = 1 SET @i = @i + 1")));
    listener.Stop();
    EXPECT_TRUE(client.ServerCloses());
    EXPECT_EQ(listener.ActiveConnections(), 0);
}
