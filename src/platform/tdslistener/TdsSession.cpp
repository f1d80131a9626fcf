#include "TdsSession.h"

#include "EmbeddedServer.h"
#include "TARMOError.h"
#include "TdsLoginRequest.h"
#include "TdsReader.h"
#include "TdsResultStream.h"
#include "TdsRpc.h"
#include "TdsTokens.h"

#include <exception>

namespace {

const QString kProgramName = QStringLiteral("TARMO Embedded Server");
constexpr int kDefaultPacketSize = 4096;

SqlMessage info(long number, const QString& text) {
    SqlMessage m;
    m.number = number;
    m.severity = 0;
    m.text = text;
    return m;
}

SqlMessage error(long number, int severity, const QString& text) {
    SqlMessage m;
    m.number = number;
    m.severity = severity;
    m.text = text;
    return m;
}

} // namespace

TdsSession::TdsSession(QString folder, QString serverName)
    : mFolder(std::move(folder))
    , mServerName(std::move(serverName)) {}

TdsSession::~TdsSession() = default;

TdsSession::Reply TdsSession::Handle(uint8_t type, const QByteArray& message, TdsWriter& out) {
    if (!LoggedIn()) {
        if (type == Tds::PreLogin && !mPreLoginSeen)
            return preLogin(message, out);
        if (type == Tds::Login7)
            return login(message, out);
        throw TdsProtocolError("a message other than a login before the login");
    }
    switch (type) {
    case Tds::SqlBatch:
        return batch(message, out);
    case Tds::Rpc:
        return rpc(message, out);
    case Tds::TransactionManager:
        return transactionManager(message, out);
    case Tds::Attention:
        out.Bytes(AttentionReply());
        return {};
    default:
        throw TdsProtocolError("unknown message type");
    }
}

void TdsSession::SetCancelCheck(std::function<bool()> check) {
    mCancelCheck = std::move(check);
    if (mSession)
        mSession->SetCancelCheck(mCancelCheck);
}

void TdsSession::RequestCancel() {
    if (EmbeddedSession* session = mEngine.load())
        session->RequestCancel();
}

QByteArray TdsSession::AttentionReply() {
    TdsWriter out;
    Tds::WriteDone(out, Tds::DoneAttention, 0, 0);
    return out.Take();
}

QByteArray TdsSession::AbandonedReply() {
    TdsWriter out;
    Tds::WriteDone(out, Tds::DoneError, 0, 0);
    return out.Take();
}

TdsSession::Reply TdsSession::preLogin(const QByteArray& message, TdsWriter& out) {
    // Of what the client offers only its wish for encryption changes our answer, but the option table
    // must hold together.
    TdsReader in(message);
    enum : uint8_t { EncryptOff = 0, EncryptOn = 1, EncryptNotSupported = 2, EncryptRequired = 3 };
    uint8_t wish = EncryptNotSupported;
    for (;;) {
        const uint8_t token = in.U8();
        if (token == 0xFF)
            break;
        const uint16_t offset = in.U16BE();
        const uint16_t length = in.U16BE();
        if (qsizetype(offset) + length > message.size())
            throw TdsProtocolError("prelogin option outside the message");
        if (token == 0x01 && length >= 1)
            wish = uint8_t(message[offset]) & 0x03;
    }
    mPreLoginSeen = true;
    Reply reply;
    uint8_t answer = EncryptNotSupported;
    const bool asks = wish == EncryptOn || wish == EncryptRequired;
    if (mStrictTls) {
        answer = EncryptNotSupported; // the connection is encrypted already
    } else if (mEncryption == TdsEncryption::Off) {
        if (asks)
            mEncryptionRefusal =
                QStringLiteral("The client asks for encryption, but this server has it turned off "
                               "(tarmo-server --encrypt off). Connect without encryption, or start "
                               "the server with --encrypt on.");
    } else if (mEncryption == TdsEncryption::Strict) {
        mEncryptionRefusal =
            QStringLiteral("This server takes only TDS 8 strict encryption (tarmo-server --encrypt "
                           "strict): connect with strict encryption.");
    } else if (wish == EncryptNotSupported) {
        if (mEncryption == TdsEncryption::Required)
            mEncryptionRefusal =
                QStringLiteral("This server requires encryption (tarmo-server --encrypt on), but "
                               "the client can't encrypt.");
    } else if (wish == EncryptOff && mEncryption == TdsEncryption::Offered) {
        answer = EncryptOff;
        reply.tls = Tls::LoginOnly;
    } else {
        answer = EncryptOn;
        reply.tls = Tls::Full;
    }
    out.Bytes(Tds::PreLoginReply(answer));
    return reply;
}

TdsSession::Reply TdsSession::login(const QByteArray& message, TdsWriter& out) {
    const TdsLoginRequest request = TdsLoginRequest::Parse(message);
    auto fail = [&](const QList<SqlMessage>& messages) {
        Reply reply{true, Tls::None, request.userName, QString()};
        for (const SqlMessage& m : messages) {
            Tds::WriteMessage(out, m, mServerName);
            if (reply.refusal.isEmpty() && m.IsError())
                reply.refusal = m.text;
        }
        Tds::WriteDone(out, Tds::DoneError, 0, 0);
        if (reply.refusal.isEmpty())
            reply.refusal = QStringLiteral("Login failed.");
        return reply;
    };
    if (!mEncryptionRefusal.isEmpty())
        return fail({error(
            18456, 14,
            QStringLiteral("Login failed for user '%1'. %2").arg(request.userName, mEncryptionRefusal))});
    if (request.tdsVersion < Tds::kVersion72)
        return fail({error(18456, 14,
                           QStringLiteral("Login failed for user '%1'. This server needs TDS 7.2 "
                                          "or later.")
                               .arg(request.userName))});
    if (request.integratedSecurity)
        return fail({error(18452, 14,
                           QStringLiteral("Login failed. The login is from an untrusted domain "
                                          "and cannot be used with Integrated authentication."))});

    QList<SqlMessage> messages;
    try {
        if (!mServer)
            mServer = std::make_unique<EmbeddedServer>(mFolder);
        mSession = mServer->Connect(request.userName, request.password, request.database, false, &messages);
    } catch (const TARMOError& e) {
        return fail(
            {error(18456, 14,
                   QStringLiteral("Login failed for user '%1'. %2").arg(request.userName, e.Description()))});
    }
    if (!mSession) {
        if (messages.isEmpty())
            messages.append(
                error(18456, 14, QStringLiteral("Login failed for user '%1'.").arg(request.userName)));
        return fail(messages);
    }
    if (mCancelCheck)
        mSession->SetCancelCheck(mCancelCheck);
    mSession->SetRowLimit(mRowLimit);
    mEngine = mSession.get();

    mTdsVersion = std::min(request.tdsVersion, Tds::kVersion74);
    mPacketSize = request.packetSize == 0 ? kDefaultPacketSize
                                          : int(std::clamp<uint32_t>(request.packetSize, 512, 32767));
    const QString database = mSession->CurrentDatabase();
    Tds::WriteEnvChange(out, Tds::EnvDatabase, database, QStringLiteral("master"));
    Tds::WriteMessage(out, info(5701, QStringLiteral("Changed database context to '%1'.").arg(database)),
                      mServerName);
    Tds::WriteCollationChange(out);
    Tds::WriteEnvChange(out, Tds::EnvLanguage, QStringLiteral("us_english"), QString());
    Tds::WriteMessage(out, info(5703, QStringLiteral("Changed language setting to us_english.")),
                      mServerName);
    Tds::WriteLoginAck(out, mTdsVersion, kProgramName);
    Tds::WriteEnvChange(out, Tds::EnvPacketSize, QString::number(mPacketSize),
                        QString::number(kDefaultPacketSize));
    Tds::WriteDone(out, Tds::DoneFinal, 0, 0);
    return {};
}

TdsSession::Reply TdsSession::batch(const QByteArray& message, TdsWriter& out) {
    TdsReader in(message);
    // The headers block (transaction descriptor and the like) counts its own length.
    const uint32_t headers = in.U32();
    if (headers < 4 || headers > uint32_t(message.size()))
        throw TdsProtocolError("batch headers do not fit the message");
    in.Seek(headers);
    if (in.Remaining() % 2 != 0)
        throw TdsProtocolError("batch text is not UCS-2");
    const QString text = in.Ucs2At(in.Position(), in.Remaining() / 2);

    const QString before = mSession->CurrentDatabase();
    const int tranBefore = mSession->TransactionCount();
    TdsResultStream stream(out, mTdsVersion, mServerName, before,
                           [this] { return mSession->CurrentDatabase(); });
    stream.SetBeforeEnd([&] { writeTransactionChange(tranBefore, stream.Failed(), out); });
    try {
        mSession->Execute(text, stream);
    } catch (const TARMOError& e) {
        stream.Add(SqlResult::Msg(error(e.Number() != 0 ? e.Number() : 50000, 16, e.Description())));
    } catch (const std::exception& e) {
        stream.Add(SqlResult::Msg(error(50000, 16, QString::fromLocal8Bit(e.what()))));
    }
    // A cancelled batch is answered by the acknowledgement alone, which the caller sends in place
    // of what is left of the reply.
    if (mCancelCheck && mCancelCheck())
        return {};
    stream.Finish();
    return {};
}

void TdsSession::EncodeResults(const SqlBatchResults& results, const QString& oldDatabase,
                               const QString& newDatabase, TdsWriter& out) const {
    TdsResultStream stream(out, mTdsVersion, mServerName, oldDatabase,
                           [&newDatabase] { return newDatabase; });
    for (const SqlResult& r : results)
        stream.Add(r);
    stream.Finish();
}

TdsSession::Reply TdsSession::refuse(long number, const QString& text, TdsWriter& out) const {
    Tds::WriteMessage(out, error(number, 16, text), mServerName);
    Tds::WriteDone(out, Tds::DoneError, 0, 0);
    return {};
}
