#include "TdsTokens.h"

namespace Tds {

namespace {

// The server version we announce: major, minor, build.
constexpr uint8_t kMajor = 16;
constexpr uint8_t kMinor = 0;
constexpr uint16_t kBuild = 1000;

// Writes a token whose body follows a two-byte length, and fills the length in at the end.
template <typename Body> void withLength(TdsWriter& out, uint8_t token, Body body) {
    out.U8(token);
    const qsizetype at = out.Size();
    out.U16(0);
    body();
    out.PatchU16(at, uint16_t(out.Size() - at - 2));
}

} // namespace

QByteArray Collation() {
    return QByteArray("\x09\x04\xD0\x00\x34", 5);
}

QByteArray PreLoginReply(uint8_t encryption) {
    struct Option {
        uint8_t token;
        QByteArray data;
    };
    TdsWriter version;
    version.U8(kMajor);
    version.U8(kMinor);
    version.U16BE(kBuild);
    version.U16(0);
    const Option options[] = {
        {0x00, version.Data()}, // version
        {0x01, QByteArray(1, char(encryption))},
        {0x02, QByteArray(1, 0)}, // instance: accepted
        {0x03, QByteArray()},     // thread id: none
        {0x04, QByteArray(1, 0)}, // MARS: off
    };
    TdsWriter out;
    uint16_t offset = uint16_t(std::size(options) * 5 + 1);
    for (const Option& o : options) {
        out.U8(o.token);
        out.U16BE(offset);
        out.U16BE(uint16_t(o.data.size()));
        offset = uint16_t(offset + o.data.size());
    }
    out.U8(0xFF);
    for (const Option& o : options)
        out.Bytes(o.data);
    return out.Take();
}

void WriteDone(TdsWriter& out, uint16_t status, uint16_t command, uint64_t count, uint8_t token) {
    out.U8(token);
    out.U16(status);
    out.U16(command);
    out.U64(count);
}

void WriteMessage(TdsWriter& out, const SqlMessage& message, const QString& serverName) {
    withLength(out, message.IsError() ? ErrorToken : InfoToken, [&] {
        out.U32(uint32_t(message.number));
        out.U8(uint8_t(std::clamp(message.state, 0, 255)));
        out.U8(uint8_t(std::clamp(message.severity, 0, 25)));
        out.UsVarchar(message.text);
        out.BVarchar(serverName);
        out.BVarchar(message.procedure);
        out.U32(uint32_t(std::max(message.line, 0)));
    });
}

void WriteEnvChange(TdsWriter& out, uint8_t type, const QString& newValue, const QString& oldValue) {
    withLength(out, EnvChange, [&] {
        out.U8(type);
        out.BVarchar(newValue);
        out.BVarchar(oldValue);
    });
}

void WriteCollationChange(TdsWriter& out) {
    withLength(out, EnvChange, [&] {
        out.U8(EnvCollation);
        out.U8(uint8_t(Collation().size()));
        out.Bytes(Collation());
        out.U8(0);
    });
}

void WriteTransactionChange(TdsWriter& out, uint8_t type, uint64_t descriptor) {
    withLength(out, EnvChange, [&] {
        out.U8(type);
        const auto value = [&] {
            out.U8(8);
            out.U64(descriptor);
        };
        if (type == EnvBeginTransaction) {
            value();
            out.U8(0);
        } else {
            out.U8(0);
            value();
        }
    });
}

void WriteLoginAck(TdsWriter& out, uint32_t tdsVersion, const QString& programName) {
    withLength(out, LoginAck, [&] {
        out.U8(1); // the T-SQL interface
        out.U32BE(tdsVersion);
        out.BVarchar(programName);
        out.U8(kMajor);
        out.U8(kMinor);
        out.U16BE(kBuild);
    });
}

} // namespace Tds
