#include "TdsLoginRequest.h"

#include "TdsReader.h"

namespace {

constexpr qsizetype kFixedLength = 94; // the fixed part from TDS 7.2 on
constexpr uint8_t kIntegratedSecurity = 0x80;

} // namespace

TdsLoginRequest TdsLoginRequest::Parse(const QByteArray& message) {
    TdsReader in(message);
    TdsLoginRequest login;
    const uint32_t length = in.U32();
    if (length < kFixedLength || length > uint32_t(message.size()))
        throw TdsProtocolError("login record length does not fit the message");
    login.tdsVersion = in.U32();
    login.packetSize = in.U32();
    in.Skip(12); // client program version, process id, connection id
    in.Skip(1);  // option flags 1
    login.integratedSecurity = (in.U8() & kIntegratedSecurity) != 0;
    in.Skip(2 + 4 + 4); // type flags, option flags 3, time zone, LCID

    // Offsets count from the start of the record, lengths in characters.
    auto text = [&in, length](QString* out) {
        const uint16_t offset = in.U16();
        const uint16_t count = in.U16();
        if (count == 0)
            return;
        if (offset + 2 * qsizetype(count) > qsizetype(length))
            throw TdsProtocolError("login text outside the record");
        *out = in.Ucs2At(offset, count);
    };
    QString unused;
    text(&login.hostName);
    text(&login.userName);
    // The password is bytes, not text, until it is cleared.
    {
        const uint16_t offset = in.U16();
        const uint16_t count = in.U16();
        if (offset + 2 * qsizetype(count) > qsizetype(length))
            throw TdsProtocolError("password outside the record");
        const qsizetype back = in.Position();
        in.Seek(offset);
        login.password = ClearPassword(in.Bytes(2 * qsizetype(count)));
        in.Seek(back);
    }
    text(&login.appName);
    text(&login.serverName);
    text(&unused); // extension block, not used
    text(&unused); // client interface name
    text(&login.language);
    text(&login.database);
    return login;
}

QByteArray TdsLoginRequest::ObfuscatePassword(const QString& password) {
    QByteArray out;
    for (const QChar c : password) {
        for (const uint8_t b : {uint8_t(c.unicode() & 0xff), uint8_t(c.unicode() >> 8)}) {
            const uint8_t swapped = uint8_t((b << 4) | (b >> 4));
            out.append(char(swapped ^ 0xA5));
        }
    }
    return out;
}

QString TdsLoginRequest::ClearPassword(const QByteArray& obfuscated) {
    QString out;
    for (qsizetype i = 0; i + 1 < obfuscated.size(); i += 2) {
        auto clear = [](char c) {
            const uint8_t b = uint8_t(c) ^ 0xA5;
            return uint8_t((b << 4) | (b >> 4));
        };
        out.append(QChar(char16_t(clear(obfuscated[i]) | (clear(obfuscated[i + 1]) << 8))));
    }
    return out;
}
