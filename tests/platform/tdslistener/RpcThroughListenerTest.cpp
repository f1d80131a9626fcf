#include "ListenerFixture.h"
#include "TdsTestClient.h"
#include "TdsWriter.h"

#include "EmbeddedServer.h"
#include "TARMOError.h"

#include <QFile>

namespace {

class RpcThroughListener : public ListenerFixture {
protected:
    static void SetUpTestSuite() {
        ListenerFixture::SetUpTestSuite();
        EmbeddedServer server(Folder());
        auto sa = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales"));
        sa->Execute(QStringLiteral("CREATE TABLE Tx (k int)"));
        sa->Execute(QStringLiteral("GRANT SELECT, INSERT ON Tx TO dev"));
    }

    // A PRELOGIN that asks for encryption (1) or says the client has none (2).
    static QByteArray preLoginWith(uint8_t encryption) {
        QByteArray p = TdsTestClient::PreLogin();
        p[17] = char(encryption);
        return p;
    }

    static QString loginRefusal(TdsEncryption mode, uint8_t clientEncryption, uint8_t* answer) {
        TdsListener listener(Folder());
        listener.SetEncryption(mode);
        listener.SetLog([](const QString&) {});
        TdsTestClient client(listener.Start(QStringLiteral("127.0.0.1"), 0));
        client.SendMessage(0x12, preLoginWith(clientEncryption));
        const QByteArray pre = client.ReadMessage();
        *answer = pre.size() > 32 ? uint8_t(pre[32]) : 0xFF; // after the option table and the version
        client.SendMessage(0x10, TdsTestClient::Login7(QStringLiteral("dev"), kDevPassword, QString()));
        for (const TdsTestClient::Token& t : TdsTestClient::Tokens(client.ReadMessage()))
            if (t.type == 0xAA)
                return t.text;
        return {};
    }
};

QByteArray headers() {
    TdsWriter out;
    out.U32(22);
    out.U32(18);
    out.U16(2);
    out.U64(0);
    out.U32(1);
    return out.Take();
}

void nvarcharParam(TdsWriter& out, const QString& name, const QString& value) {
    out.BVarchar(name);
    out.U8(0);
    out.U8(0xE7);
    out.U16(8000);
    out.Bytes(QByteArray("\x09\x04\xD0\x00\x34", 5));
    out.U16(uint16_t(value.size() * 2));
    out.Ucs2(value);
}

void intParam(TdsWriter& out, const QString& name, const QVariant& value, bool output = false) {
    out.BVarchar(name);
    out.U8(output ? 1 : 0);
    out.U8(0x26);
    out.U8(4);
    if (value.isNull()) {
        out.U8(0);
        return;
    }
    out.U8(4);
    out.U32(uint32_t(value.toInt()));
}

// sp_executesql by its number, with one value in and one OUTPUT.
QByteArray executeSql(const QString& statement, int a) {
    TdsWriter out;
    out.Bytes(headers());
    out.U16(0xFFFF);
    out.U16(10);
    out.U16(0);
    nvarcharParam(out, QString(), statement);
    nvarcharParam(out, QString(), QStringLiteral("@a int, @b int OUTPUT"));
    intParam(out, QStringLiteral("@a"), a);
    intParam(out, QStringLiteral("@b"), QVariant(), true);
    return out.Take();
}

// A RETURNVALUE of an int OUTPUT parameter as the server writes it.
QByteArray returnedInt(uint16_t ordinal, const QString& name, int value) {
    TdsWriter out;
    out.U8(0xAC);
    out.U16(ordinal);
    out.BVarchar(name);
    out.U8(1);
    out.U32(0);
    out.U16(0);
    out.U8(0x26);
    out.U8(4);
    out.U8(4);
    out.U32(uint32_t(value));
    return out.Take();
}

QByteArray transaction(uint16_t request, bool beginAgain = false) {
    TdsWriter out;
    out.Bytes(headers());
    out.U16(request);
    if (request == 5)
        out.U8(0); // isolation level unchanged
    out.U8(0);     // no name
    if (request == 7 || request == 8)
        out.U8(beginAgain ? 1 : 0);
    if (beginAgain) {
        out.U8(0);
        out.U8(0);
    }
    return out.Take();
}

int scalar(TdsTestClient& client, const QString& sql) {
    const QByteArray reply = client.Batch(sql);
    // The single INTN value of the only row: the four bytes after the row token and the length byte.
    const qsizetype row = reply.indexOf(char(0xD1));
    return row < 0 ? -1 : int(uint8_t(reply[row + 2]) | (uint8_t(reply[row + 3]) << 8));
}

TEST_F(RpcThroughListener, ExecuteSqlGivesRowsOutputAndEndsInDoneProc) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    client.SendMessage(0x03, executeSql(QStringLiteral("SELECT @a + 1 AS n\r\nSET @b = @a * 2"), 20));
    const QByteArray reply = client.ReadMessage();
    ASSERT_GE(reply.size(), 13);
    EXPECT_TRUE(reply.contains(returnedInt(3, QStringLiteral("@b"), 40))) << reply.toHex().constData();
    EXPECT_TRUE(reply.contains(QByteArray("\x79\x00\x00\x00\x00", 5))) << "RETURNSTATUS 0";
    EXPECT_NE(reply.indexOf(char(0xFF)), -1) << "the SELECT ends in a DONEINPROC";
    EXPECT_EQ(reply.right(13).left(3), QByteArray("\xFE\x00\x00", 3))
        << "the last token is a DONEPROC without MORE";

    // An error inside: the message, and the call's end says so; the connection goes on.
    client.SendMessage(0x03, executeSql(QStringLiteral("SELECT * FROM NoSuchTable"), 1));
    const QByteArray failed = client.ReadMessage();
    EXPECT_NE(failed.indexOf(char(0xAA)), -1);
    EXPECT_EQ(uint8_t(failed[failed.size() - 13]), 0xFE);
    EXPECT_EQ(uint8_t(failed[failed.size() - 12]) & 0x02, 0x02);
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT 7")), 7);
}

// A call by number with the given parameters (already written).
QByteArray callById(uint16_t id, const QByteArray& params) {
    TdsWriter out;
    out.Bytes(headers());
    out.U16(0xFFFF);
    out.U16(id);
    out.U16(0);
    out.Bytes(params);
    return out.Take();
}

TEST_F(RpcThroughListener, PreparedStatementsRunByHandleUntilUnprepared) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    TdsWriter prepExec;
    intParam(prepExec, QStringLiteral("@handle"), QVariant(), true);
    nvarcharParam(prepExec, QString(), QStringLiteral("@a int, @b int OUTPUT"));
    nvarcharParam(prepExec, QString(), QStringLiteral("SET @b = @a + 100"));
    intParam(prepExec, QString(), 1);
    intParam(prepExec, QString(), QVariant(), true);
    client.SendMessage(0x03, callById(13, prepExec.Take()));
    const QByteArray prepared = client.ReadMessage();
    // The handle comes back first (ordinal 0), then the statement's OUTPUT.
    const qsizetype handleAt = prepared.indexOf(QByteArray("\xAC\x00\x00\x07", 4));
    ASSERT_NE(handleAt, -1) << prepared.toHex().constData();
    const QByteArray handle = prepared.mid(handleAt + 4 + 14 + 1 + 4 + 2 + 3, 4);
    EXPECT_TRUE(prepared.contains(returnedInt(4, QString(), 101)));

    const auto execute = [&](int a) {
        TdsWriter call;
        intParam(call, QString(), int(uint8_t(handle[0]) | (uint8_t(handle[1]) << 8)));
        intParam(call, QString(), a);
        intParam(call, QString(), QVariant(), true);
        client.SendMessage(0x03, callById(12, call.Take()));
        return client.ReadMessage();
    };
    EXPECT_TRUE(execute(5).contains(returnedInt(2, QString(), 105)));
    EXPECT_TRUE(execute(-100).contains(returnedInt(2, QString(), 0)));

    TdsWriter unprepare;
    intParam(unprepare, QString(), int(uint8_t(handle[0]) | (uint8_t(handle[1]) << 8)));
    client.SendMessage(0x03, callById(15, unprepare.Take()));
    EXPECT_EQ(client.ReadMessage().right(13).left(3), QByteArray("\xFE\x00\x00", 3));
    const QList<TdsTestClient::Token> gone = TdsTestClient::Tokens(execute(1));
    ASSERT_FALSE(gone.isEmpty());
    EXPECT_EQ(gone.first().number, 8179);
}

TEST_F(RpcThroughListener, SeveralCallsInOneRequestChainTheirDoneProcs) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    QByteArray two = executeSql(QStringLiteral("SET @b = @a"), 5);
    const QByteArray second = executeSql(QStringLiteral("SET @b = @a"), 6).mid(22);
    two.append(char(0xFF));
    two.append(second);
    client.SendMessage(0x03, two);
    const QByteArray reply = client.ReadMessage();
    EXPECT_TRUE(reply.contains(returnedInt(3, QStringLiteral("@b"), 5)));
    EXPECT_TRUE(reply.contains(returnedInt(3, QStringLiteral("@b"), 6)));
    const qsizetype firstEnd = reply.indexOf(QByteArray("\xFE\x01\x00", 3));
    ASSERT_NE(firstEnd, -1) << "the first call's DONEPROC carries MORE";
    EXPECT_LT(firstEnd, reply.size() - 13);
    EXPECT_EQ(reply.right(13).left(3), QByteArray("\xFE\x00\x00", 3));
}

TEST_F(RpcThroughListener, TransactionManagerRequestsBeginCommitAndRollBack) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("dev"), kDevPassword, QString()).isEmpty());
    client.SendMessage(0x0E, transaction(5));
    const QByteArray begun = client.ReadMessage();
    // ENVCHANGE 8 with an eight-byte descriptor as the new value
    const qsizetype env = begun.indexOf(QByteArray("\xE3\x0B\x00\x08\x08", 5));
    ASSERT_NE(env, -1) << begun.toHex().constData();
    const QByteArray descriptor = begun.mid(env + 5, 8);
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT @@TRANCOUNT")), 1);
    client.Batch(QStringLiteral("INSERT INTO Tx VALUES (1)"));

    // A commit that begins the next transaction at once (ODBC with autocommit off).
    client.SendMessage(0x0E, transaction(7, true));
    const QByteArray committed = client.ReadMessage();
    EXPECT_TRUE(committed.contains(QByteArray("\xE3\x0B\x00\x09\x00\x08", 6) + descriptor));
    EXPECT_TRUE(committed.contains(QByteArray("\xE3\x0B\x00\x08\x08", 5)));
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT @@TRANCOUNT")), 1);
    client.Batch(QStringLiteral("INSERT INTO Tx VALUES (2)"));
    client.SendMessage(0x0E, transaction(8));
    EXPECT_TRUE(client.ReadMessage().contains(QByteArray("\xE3\x0B\x00\x0A\x00\x08", 6)));
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT @@TRANCOUNT")), 0);
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT COUNT(*) FROM Tx")), 1);

    // A transaction begun in a batch is announced too, and so is its end.
    EXPECT_TRUE(
        client.Batch(QStringLiteral("BEGIN TRANSACTION")).contains(QByteArray("\xE3\x0B\x00\x08\x08", 5)));
    EXPECT_TRUE(client.Batch(QStringLiteral("ROLLBACK")).contains(QByteArray("\xE3\x0B\x00", 3)));

    // A rollback without a transaction is the server's error, and nothing changes.
    client.SendMessage(0x0E, transaction(8));
    const QList<TdsTestClient::Token> tokens = TdsTestClient::Tokens(client.ReadMessage());
    ASSERT_FALSE(tokens.isEmpty());
    EXPECT_EQ(tokens.first().type, 0xAA);
    EXPECT_EQ(scalar(client, QStringLiteral("SELECT 3")), 3);
}

TEST_F(RpcThroughListener, EncryptionTheServerCantGiveIsRefusedWithAClearMessage) {
    uint8_t answer = 0;
    EXPECT_TRUE(loginRefusal(TdsEncryption::Off, 1, &answer).contains(QStringLiteral("--encrypt off")));
    EXPECT_EQ(answer, 2) << "encryption not supported";
    EXPECT_TRUE(
        loginRefusal(TdsEncryption::Required, 2, &answer).contains(QStringLiteral("requires encryption")));
    EXPECT_TRUE(loginRefusal(TdsEncryption::Strict, 2, &answer).contains(QStringLiteral("strict")));
    EXPECT_TRUE(loginRefusal(TdsEncryption::Off, 2, &answer).isEmpty()) << "a client without TLS is served";
    EXPECT_TRUE(loginRefusal(TdsEncryption::Offered, 2, &answer).isEmpty());
}

} // namespace

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

TEST(TdsCertificate, MadeOnceForTheOwnerAndABrokenOneIsNeverServedOver) {
    TempFolder temp;
    const QString folder = temp.Path(QStringLiteral("srv"));
    EmbeddedServer::Create(folder, QStringLiteral("Sa-pw1"));
    const QString pem = TdsTlsContext::CertificatePath(folder);
    {
        TdsListener listener(folder);
        listener.Start(QStringLiteral("127.0.0.1"), 0);
        EXPECT_EQ(listener.Encryption(), TdsEncryption::Offered);
    }
    const QByteArray first = readAll(pem);
    EXPECT_TRUE(first.contains("PRIVATE KEY") && first.contains("CERTIFICATE"));
    EXPECT_EQ(QFile::permissions(pem) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
    {
        TdsListener again(folder);
        again.Start(QStringLiteral("127.0.0.1"), 0);
    }
    EXPECT_EQ(readAll(pem), first) << "the certificate is made once";

    // A file that holds no certificate: asked-for encryption can't start; offered encryption on the
    // machine itself goes without, and says so. The file stays as it was.
    {
        QFile f(pem);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write("not a certificate");
    }
    TdsListener required(folder);
    required.SetEncryption(TdsEncryption::Required);
    EXPECT_THROW(required.Start(QStringLiteral("127.0.0.1"), 0), TARMOError);
    EXPECT_FALSE(required.IsRunning());
    QStringList log;
    TdsListener offered(folder);
    offered.SetLog([&log](const QString& line) { log.append(line); });
    offered.Start(QStringLiteral("127.0.0.1"), 0);
    EXPECT_EQ(offered.Encryption(), TdsEncryption::Off);
    ASSERT_EQ(log.size(), 1);
    EXPECT_TRUE(log.first().contains(QStringLiteral("serving without encryption")));
    EXPECT_EQ(readAll(pem), QByteArray("not a certificate"));
}

} // namespace
