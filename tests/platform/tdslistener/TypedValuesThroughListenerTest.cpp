#include "ListenerFixture.h"
#include "TdsTestClient.h"

// Decimals and the newer dates go on the wire as the server sends them: a decimal(38,2) with all
// its digits in its own type, a datetime2(7) with its seven decimals of a second; a client from
// before 7.3 (here 7.2) gets the datetime2 as its text.

namespace {

class TypedValues : public ListenerFixture {};

QByteArray Hex(const char* hex) {
    return QByteArray::fromHex(hex);
}

const char* kQuery = "SELECT CAST(12345678901234567.89 AS decimal(38,2)), "
                     "CAST('2020-01-01 10:00:00.1234567' AS datetime2), CAST(-2.5 AS money)";

TEST_F(TypedValues, DecimalAndDatetime2GoInTheirOwnTypes) {
    TdsTestClient client(Port());
    ASSERT_FALSE(client.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty());
    const QByteArray reply = client.Batch(QString::fromLatin1(kQuery));
    // Metadata: DECIMALN of 17 bytes, precision 38, scale 2; DATETIME2N of scale 7; MONEYN of 8.
    EXPECT_TRUE(reply.contains(Hex("6a112602")));
    EXPECT_TRUE(reply.contains(Hex("2a07")));
    EXPECT_TRUE(reply.contains(Hex("6e08")));
    // The row: 1234567890123456789 hundredths, positive; then 360001234567 ticks of 100 ns and day
    // 737424 since 0001-01-01; then -25000 ten-thousandths as money's two halves.
    QByteArray row = Hex("d1");
    row += Hex("1101") + Hex("1581e97df4102211") + QByteArray(8, '\0');
    row += Hex("08") + Hex("87e6bed153") + Hex("90400b");
    row += Hex("08") + Hex("ffffffff") + Hex("589effff");
    EXPECT_TRUE(reply.contains(row)) << reply.toHex().toStdString();
}

TEST_F(TypedValues, AnOlderClientGetsTheNewerDatesAsText) {
    TdsTestClient client(Port());
    client.SendMessage(0x12, TdsTestClient::PreLogin());
    ASSERT_FALSE(client.ReadMessage().isEmpty());
    client.SendMessage(0x10, TdsTestClient::Login7(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales"),
                                                   4096, 0x72090002));
    ASSERT_FALSE(client.ReadMessage().isEmpty());
    const QByteArray reply = client.Batch(QString::fromLatin1(kQuery));
    EXPECT_FALSE(reply.contains(Hex("2a07")));
    // The decimal goes as before; the datetime2 as the server's text in UTF-16.
    EXPECT_TRUE(reply.contains(Hex("6a112602")));
    const QString text = QStringLiteral("2020-01-01 10:00:00.1234567");
    const QByteArray utf16(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
    EXPECT_TRUE(reply.contains(utf16)) << reply.toHex().toStdString();
}

} // namespace
