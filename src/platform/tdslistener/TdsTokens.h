#pragma once

#include "SqlResults.h"
#include "TdsWriter.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

// The numbers of the protocol that the listener speaks, and the tokens that are not row data.
namespace Tds {

enum PacketType : uint8_t {
    SqlBatch = 0x01,
    Rpc = 0x03,
    TabularResult = 0x04,
    Attention = 0x06,
    TransactionManager = 0x0E,
    Login7 = 0x10,
    PreLogin = 0x12,
};

enum PacketStatus : uint8_t {
    EndOfMessage = 0x01,
    IgnoreThisMessage = 0x02,
};

enum Token : uint8_t {
    ColMetadata = 0x81,
    ErrorToken = 0xAA,
    InfoToken = 0xAB,
    LoginAck = 0xAD,
    Row = 0xD1,
    ReturnStatus = 0x79,
    ReturnValue = 0xAC,
    EnvChange = 0xE3,
    Done = 0xFD,
    DoneProc = 0xFE,
    DoneInProc = 0xFF,
};

enum DoneStatus : uint16_t {
    DoneFinal = 0x00,
    DoneMore = 0x01,
    DoneError = 0x02,
    DoneCount = 0x10,
    DoneAttention = 0x20,
};

enum EnvChangeType : uint8_t {
    EnvDatabase = 1,
    EnvLanguage = 2,
    EnvPacketSize = 4,
    EnvCollation = 7,
    EnvBeginTransaction = 8,
    EnvCommitTransaction = 9,
    EnvRollbackTransaction = 10,
};

constexpr uint32_t kVersion72 = 0x72090002;
constexpr uint32_t kVersion73 = 0x730B0003;
constexpr uint32_t kVersion74 = 0x74000004;
constexpr qsizetype kHeaderSize = 8;
constexpr uint16_t kSelectCommand = 0xC1;

// SQL_Latin1_General_CP1_CI_AS: the collation announced at login and carried by character columns.
QByteArray Collation();

// The reply to PRELOGIN: our version, the encryption we settled on, no MARS.
QByteArray PreLoginReply(uint8_t encryption = 2);

// token: Done, DoneProc or DoneInProc, which share their shape.
void WriteDone(TdsWriter& out, uint16_t status, uint16_t command, uint64_t count, uint8_t token = Done);
// INFO for severity 10 and below, ERROR above.
void WriteMessage(TdsWriter& out, const SqlMessage& message, const QString& serverName);
void WriteEnvChange(TdsWriter& out, uint8_t type, const QString& newValue, const QString& oldValue);
void WriteCollationChange(TdsWriter& out);
// A transaction began (type 8) or ended (9, 10): its descriptor as the new or the old value.
void WriteTransactionChange(TdsWriter& out, uint8_t type, uint64_t descriptor);
void WriteLoginAck(TdsWriter& out, uint32_t tdsVersion, const QString& programName);

} // namespace Tds
