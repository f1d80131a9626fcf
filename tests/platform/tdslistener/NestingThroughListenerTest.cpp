#include "ListenerFixture.h"
#include "TdsTestClient.h"

namespace {

using Token = TdsTestClient::Token;

class NestingThroughListener : public ListenerFixture {};

QList<Token> Messages(const QByteArray& reply) {
    QList<Token> messages;
    for (const Token& t : TdsTestClient::Tokens(reply))
        if (t.type == 0xAA || t.type == 0xAB)
            messages.append(t);
    return messages;
}

} // namespace

// A login with no rights at all once took the whole server down with one deeply nested batch: now
// the batch ends in error 191 and both that session and the others go on.
TEST_F(NestingThroughListener, DeepBatchesEndInError191AndTheServerKeepsServing) {
    TdsTestClient attacker(Port());
    ASSERT_FALSE(attacker.Login(QStringLiteral("dev"), kDevPassword, QStringLiteral("Sales")).isEmpty());
    const QString n(10000, u'(');
    const QString closing(10000, u')');
    for (const QString& batch :
         {QStringLiteral("SELECT ") + n + u'1' + closing, QStringLiteral("PRINT ") + n + u'1' + closing,
          QString(QStringLiteral("BEGIN ")).repeated(10000) + QStringLiteral("PRINT 1") +
              QString(QStringLiteral(" END")).repeated(10000)}) {
        const QList<Token> messages = Messages(attacker.Batch(batch));
        ASSERT_EQ(messages.size(), 1);
        EXPECT_EQ(messages[0].type, 0xAA);
        EXPECT_EQ(messages[0].number, 191);
        EXPECT_EQ(messages[0].severity, 15);
    }
    const QList<Token> sum =
        Messages(attacker.Batch(QStringLiteral("PRINT 1") + QString(QStringLiteral("+1")).repeated(19999)));
    ASSERT_EQ(sum.size(), 1);
    EXPECT_EQ(sum[0].text, QStringLiteral("20000"));

    TdsTestClient other(Port());
    ASSERT_FALSE(other.Login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")).isEmpty());
    const QList<Token> alive = Messages(other.Batch(QStringLiteral("PRINT 'alive'")));
    ASSERT_EQ(alive.size(), 1);
    EXPECT_EQ(alive[0].text, QStringLiteral("alive"));
}
