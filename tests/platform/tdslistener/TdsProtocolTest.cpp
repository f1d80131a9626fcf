#include "ListenerFixture.h"
#include "TdsTestClient.h"

#include <QRandomGenerator>

#include <thread>

namespace {

using Token = TdsTestClient::Token;

class TdsProtocol : public ListenerFixture {};

const Token* find(const QList<Token>& tokens, uint8_t type) {
    for (const Token& t : tokens)
        if (t.type == type)
            return &t;
    return nullptr;
}

bool isDone(const Token& t) {
    return t.type == 0xFD || t.type == 0xFE || t.type == 0xFF;
}

// Every DONE of a reply but the last carries MORE, and the last one doesn't: a client stops reading
// at the first DONE without it.
void expectMoreBitsChained(const QList<Token>& tokens) {
    QList<Token> dones;
    for (const Token& t : tokens)
        if (isDone(t))
            dones.append(t);
    ASSERT_FALSE(dones.isEmpty());
    ASSERT_TRUE(isDone(tokens.last())) << "a reply ends with a DONE";
    for (int i = 0; i + 1 < dones.size(); ++i)
        EXPECT_TRUE(dones[i].status & 0x01) << "DONE " << i << " lacks MORE";
    EXPECT_FALSE(dones.last().status & 0x01);
}

} // namespace

TEST_F(TdsProtocol, LoginAnswersWithDatabaseAckAndPacketSize) {
    TdsTestClient client(Port());
    const QList<Token> tokens =
        TdsTestClient::Tokens(client.Login(QStringLiteral("dev"), kDevPassword, QString(), 8192));
    const Token* ack = find(tokens, 0xAD);
    ASSERT_NE(ack, nullptr);
    QStringList envs;
    for (const Token& t : tokens)
        if (t.type == 0xE3 && !t.text.isEmpty())
            envs.append(t.text);
    // The login's default database, and the packet size the client asked for.
    EXPECT_TRUE(envs.contains(QStringLiteral("Sales"))) << envs.join(',').toStdString();
    EXPECT_TRUE(envs.contains(QStringLiteral("8192")));
    expectMoreBitsChained(tokens);
    EXPECT_EQ(tokens.last().status, 0);
}

TEST_F(TdsProtocol, RefusedLoginsSendTheServersErrorsAndCloseTheConnection) {
    struct Case {
        QString user, password, database;
        QList<long> numbers;
    };
    const QList<Case> cases = {
        {QStringLiteral("dev"), QStringLiteral("wrong"), QString(), {18456}},
        {QStringLiteral("nobody"), QStringLiteral("x"), QString(), {18456}},
        {QStringLiteral("dev"), kDevPassword, QStringLiteral("NoSuchDb"), {4060, 18456}},
    };
    for (const Case& c : cases) {
        TdsTestClient client(Port());
        const QList<Token> tokens = TdsTestClient::Tokens(client.Login(c.user, c.password, c.database));
        QList<long> numbers;
        for (const Token& t : tokens)
            if (t.type == 0xAA)
                numbers.append(t.number);
        EXPECT_EQ(numbers, c.numbers) << c.user.toStdString();
        EXPECT_EQ(find(tokens, 0xAD), nullptr) << "no LOGINACK for a refused login";
        ASSERT_FALSE(tokens.isEmpty());
        EXPECT_EQ(tokens.last().status & 0x02, 0x02) << "the final DONE says error";
        EXPECT_TRUE(client.ServerCloses());
    }
}

TEST_F(TdsProtocol, BatchRepliesKeepOrderAndEndEachFailureWithItsOwnDone) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty());
    const QList<Token> tokens = TdsTestClient::Tokens(client.Batch(
        QStringLiteral("PRINT 'one'\nCREATE TABLE p1 (a int)\nINSERT INTO p1 VALUES (1)\n"
                       "INSERT INTO p1 SELECT a FROM p1\nRAISERROR('bad', 16, 1)\nPRINT 'two'")));
    QStringList shape;
    for (const Token& t : tokens) {
        if (t.type == 0xAB)
            shape.append(QStringLiteral("info:") + t.text);
        else if (t.type == 0xAA)
            shape.append(QStringLiteral("error:%1@%2").arg(t.number).arg(t.line));
        else if (isDone(t))
            shape.append(
                QStringLiteral("done:%1%2")
                    .arg(t.status & 0x10 ? QString::number(t.count) : "-", t.status & 0x02 ? "!" : ""));
    }
    EXPECT_EQ(shape.join(' ').toStdString(), "info:one done:1 done:1 error:50000@5 done:-! info:two done:-");
    expectMoreBitsChained(tokens);

    // A batch that ends in a counted statement needs no extra DONE.
    const QList<Token> counted = TdsTestClient::Tokens(client.Batch(QStringLiteral("DELETE FROM p1")));
    ASSERT_EQ(counted.size(), 1);
    EXPECT_EQ(counted[0].status, 0x10);
    EXPECT_EQ(counted[0].count, 2u);
}

TEST_F(TdsProtocol, DatabaseChangeIsAnnouncedBeforeItsMessage) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty());
    const QList<Token> tokens = TdsTestClient::Tokens(client.Batch(QStringLiteral("USE master")));
    ASSERT_GE(tokens.size(), 2);
    EXPECT_EQ(tokens[0].type, 0xE3);
    EXPECT_EQ(tokens[0].text, QStringLiteral("master"));
    EXPECT_EQ(tokens[1].number, 5701);
}

TEST_F(TdsProtocol, LongRepliesAndRequestsAreCutIntoPackets) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString(), 512).isEmpty());
    // A request in many small packets, and a reply larger than the agreed packet size.
    const QString text = QStringLiteral("PRINT '%1'").arg(QString(3000, QLatin1Char('x')));
    client.SendMessage(0x01, TdsTestClient::BatchPayload(text), 512);
    int packets = 0;
    const QList<Token> tokens = TdsTestClient::Tokens(client.ReadMessage(&packets));
    EXPECT_GT(packets, 10);
    ASSERT_EQ(tokens.size(), 2);
    EXPECT_EQ(tokens[0].text.size(), 3000);
}

TEST_F(TdsProtocol, AttentionIsAcknowledgedAndTheConnectionStaysInStep) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());

    // An attention with nothing running is acknowledged at once.
    client.SendMessage(0x06, QByteArray());
    QList<Token> tokens = TdsTestClient::Tokens(client.ReadMessage());
    ASSERT_EQ(tokens.size(), 1);
    EXPECT_EQ(tokens[0].status & 0x20, 0x20);

    // An attention right behind a batch: the client reads until the acknowledgement, whatever came
    // before it, and the next batch is answered normally.
    client.SendMessage(0x01, TdsTestClient::BatchPayload(QStringLiteral("PRINT 'maybe'")));
    client.SendMessage(0x06, QByteArray());
    bool acknowledged = false;
    for (int reply = 0; reply < 2 && !acknowledged; ++reply)
        for (const Token& t : TdsTestClient::Tokens(client.ReadMessage()))
            acknowledged = acknowledged || (isDone(t) && (t.status & 0x20));
    EXPECT_TRUE(acknowledged);
    tokens = TdsTestClient::Tokens(client.Batch(QStringLiteral("PRINT 'next'")));
    ASSERT_EQ(tokens.size(), 2);
    EXPECT_EQ(tokens[0].text, QStringLiteral("next"));
}

TEST_F(TdsProtocol, UnsupportedRequestsAreRefusedWithoutLosingTheConnection) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    // A distributed transaction's request (the address of its coordinator).
    client.SendMessage(0x0E, QByteArray("\x04\x00\x00\x00\x00\x00\x00\x00", 8));
    const QList<Token> refused = TdsTestClient::Tokens(client.ReadMessage());
    ASSERT_NE(find(refused, 0xAA), nullptr);
    EXPECT_EQ(refused.last().status & 0x02, 0x02);
    EXPECT_EQ(TdsTestClient::Tokens(client.Batch(QStringLiteral("PRINT 'still here'")))[0].text,
              QStringLiteral("still here"));
}

TEST_F(TdsProtocol, BrokenMessagesEndOnlyTheirConnection) {
    const QByteArray validLogin = TdsTestClient::Login7(QStringLiteral("dev"), kDevPassword, QString());
    const QList<QByteArray> handmade = {
        QByteArray("\x10\x01\x00\x04\x00\x00\x01\x00", 8),                  // packet shorter than its header
        QByteArray("\x01\x01\x00\x0c\x00\x00\x01\x00\x00\x00\x00\x00", 12), // batch before login
        QByteArray("\x12\x01\x00\x0e\x00\x00\x01\x00\x00\x00\x20\x00\x06\xff", 14), // option beyond the end
    };
    for (const QByteArray& bytes : handmade) {
        TdsTestClient client(Port());
        client.SendRaw(bytes);
        EXPECT_TRUE(client.ServerCloses()) << bytes.toHex().toStdString();
    }
    // A login whose text offsets point outside the record.
    {
        QByteArray login = validLogin;
        login[40] = char(0xF0);
        login[41] = char(0x7F);
        TdsTestClient client(Port());
        client.SendMessage(0x12, TdsTestClient::PreLogin());
        ASSERT_FALSE(client.ReadMessage().isEmpty());
        client.SendMessage(0x10, login);
        EXPECT_TRUE(client.ServerCloses());
    }

    // Random bytes, random packets with valid headers, and valid logins with random damage.
    QRandomGenerator random(20261123);
    for (int round = 0; round < 150; ++round) {
        TdsTestClient client(Port());
        ASSERT_TRUE(client.Connected());
        QByteArray bytes(random.bounded(1, 300), Qt::Uninitialized);
        for (char& c : bytes)
            c = char(random.bounded(256));
        switch (round % 3) {
        case 0:
            client.SendRaw(bytes);
            break;
        case 1:
            client.SendMessage(uint8_t(random.bounded(256)), bytes, 8 + random.bounded(1, 64));
            break;
        default: {
            QByteArray login = validLogin;
            for (int i = 0; i < 4; ++i)
                login[random.bounded(int(login.size()))] = char(random.bounded(256));
            client.SendMessage(0x12, TdsTestClient::PreLogin());
            client.ReadMessage();
            client.SendMessage(0x10, login);
            client.SendMessage(0x01, bytes);
        }
        }
        client.CloseWrite();
        ASSERT_TRUE(client.ServerCloses()) << "round " << round;
    }

    // The server still serves.
    TdsTestClient client(Port());
    ASSERT_NE(find(TdsTestClient::Tokens(client.Login(QStringLiteral("dev"), kDevPassword, QString())), 0xAD),
              nullptr);
    EXPECT_EQ(TdsTestClient::Tokens(client.Batch(QStringLiteral("PRINT 'alive'")))[0].text,
              QStringLiteral("alive"));
}

TEST_F(TdsProtocol, SeveralClientsWorkAtOnce) {
    constexpr int kClients = 4;
    {
        TdsTestClient setup(Port());
        ASSERT_FALSE(setup.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty());
        for (int i = 0; i < kClients; ++i)
            setup.Batch(QStringLiteral("CREATE TABLE c%1 (n int)").arg(i));
    }
    // Each client logs in and writes its own table while the others do the same.
    std::vector<std::thread> threads;
    std::atomic<int> good = 0;
    for (int i = 0; i < kClients; ++i) {
        threads.emplace_back([i, &good] {
            TdsTestClient client(Port());
            if (client.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty())
                return;
            int inserted = 0;
            for (int n = 0; n < 20; ++n) {
                const QList<Token> t = TdsTestClient::Tokens(
                    client.Batch(QStringLiteral("INSERT INTO c%1 VALUES (%2)").arg(i).arg(n)));
                inserted += t.size() == 1 && t[0].count == 1 ? 1 : 0;
            }
            if (inserted == 20)
                ++good;
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(good, kClients);
    EXPECT_GE(Listener().AcceptedConnections(), kClients);
}
