#include "TdsFuzzCheck.h"

#include "EmbeddedServer.h"
#include "TdsConnection.h"

#include <QRegularExpression>

const char kFuzzPassword[] = "Fuzz-pw1";

namespace {

// Batches that could run for ever or lock the later inputs out (the server would serve them as
// asked; the fuzzer can't wait for them). Looked for in every message the client sends, read as
// UCS-2 from either byte.
bool MayHangOrLockOut(const QByteArray& bytes) {
    static const QRegularExpression risky(
        QStringLiteral("\\b(WHILE|GOTO|WAITFOR|SHUTDOWN|DATABASE|LOGIN|PASSWORD|PARSEONLY|NOEXEC)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    QByteArray message;
    auto risk = [&] {
        for (const qsizetype from : {0, 1}) {
            const QByteArray part = message.mid(from);
            const QString text =
                QString::fromUtf16(reinterpret_cast<const char16_t*>(part.constData()), part.size() / 2);
            if (text.contains(risky))
                return true;
        }
        return false;
    };
    // The same joining of packets as the server's; what is left unjoined at the end is never run.
    for (qsizetype at = 0; at + 8 <= bytes.size();) {
        const int length = (uint8_t(bytes[at + 2]) << 8) | uint8_t(bytes[at + 3]);
        if (length < 8)
            break;
        message.append(bytes.mid(at + 8, length - 8));
        if (bytes[at + 1] & 1) {
            if (risk())
                return true;
            message.clear();
        }
        at += length;
    }
    return false;
}

QString CheckReply(const QByteArray& output) {
    qsizetype at = 0;
    int expectedId = 1;
    while (at < output.size()) {
        if (at + 8 > output.size())
            return QStringLiteral("a packet header cut short at %1").arg(at);
        const int length = (uint8_t(output[at + 2]) << 8) | uint8_t(output[at + 3]);
        if (uint8_t(output[at]) != 0x04)
            return QStringLiteral("a packet of type %1 at %2").arg(uint8_t(output[at])).arg(at);
        if (length < 8 || at + length > output.size())
            return QStringLiteral("a packet of length %1 at %2").arg(length).arg(at);
        if (uint8_t(output[at + 6]) != uint8_t(expectedId))
            return QStringLiteral("packet id %1 where %2 was due")
                .arg(uint8_t(output[at + 6]))
                .arg(expectedId);
        expectedId = (output[at + 1] & 1) ? 1 : expectedId + 1;
        at += length;
    }
    // The last reply may stop short: the client hung up while it went out.
    return {};
}

} // namespace

void CreateFuzzServer(const QString& folder) {
    EmbeddedServer::Create(folder, QString::fromLatin1(kFuzzPassword));
}

QString CheckClientBytes(const QString& folder, const QByteArray& bytes) {
    if (MayHangOrLockOut(bytes))
        return {};
    auto channel = std::make_unique<TdsMemoryChannel>(bytes);
    const TdsMemoryChannel* memory = channel.get();
    TdsConnectionSettings settings;
    settings.folder = folder;
    settings.serverName = QStringLiteral("FUZZ");
    TdsConnection connection(std::move(channel), settings);
    connection.Run();
    if (!connection.Finished())
        return QStringLiteral("the connection did not finish");
    return CheckReply(memory->Output());
}
