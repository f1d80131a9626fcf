// Remote procedure calls and transaction manager requests of a TdsSession.
#include "TdsSession.h"

#include "EmbeddedServer.h"
#include "TARMOError.h"
#include "TdsReader.h"
#include "TdsResultStream.h"
#include "TdsRpc.h"
#include "TdsTokens.h"

namespace {

constexpr qsizetype kMaxPrepared = 65536;

SqlMessage error(long number, const QString& text) {
    SqlMessage m;
    m.number = number;
    m.severity = 16;
    m.text = text;
    return m;
}

bool isCapture(const QList<SqlColumn>& columns) {
    return !columns.isEmpty() && columns.first().name == TdsRpc::kCaptureMarker;
}

// Passes a call's results on to the reply, except the last SELECT that holds the values going
// back to the client, which it keeps.
class CaptureSink : public SqlResultSink {
public:
    explicit CaptureSink(TdsResultStream& stream)
        : mStream(stream) {}

    void Add(SqlResult result) override {
        if (result.kind == SqlResult::Kind::RowSet && isCapture(result.rowSet.columns)) {
            mCaptured = result.rowSet.rows.value(0);
            mSwallowCount = true;
            return;
        }
        const bool countOfCapture = mSwallowCount && result.kind == SqlResult::Kind::RowCount;
        mSwallowCount = false;
        if (!countOfCapture)
            mStream.Add(std::move(result));
    }
    bool WantsPreview() const override { return true; }
    void Preview(const QList<SqlColumn>& columns, const QVariantList& row) override {
        if (!isCapture(columns))
            mStream.Preview(columns, row);
    }
    void BeginRows(const QList<SqlColumn>& columns) override {
        mCapturing = isCapture(columns);
        if (!mCapturing)
            mStream.BeginRows(columns);
    }
    bool Row(const QVariantList& values) override {
        if (!mCapturing)
            return mStream.Row(values);
        mCaptured = values;
        return true;
    }
    void EndRows(long long rows) override {
        if (!mCapturing) {
            mStream.EndRows(rows);
            return;
        }
        mCapturing = false;
        mSwallowCount = true;
    }

    const QVariantList& Captured() const { return mCaptured; }

private:
    TdsResultStream& mStream;
    QVariantList mCaptured;
    bool mCapturing = false;
    bool mSwallowCount = false;
};

int handleOf(const QVariant& v) {
    bool ok = false;
    const int handle = v.toInt(&ok);
    return ok ? handle : 0;
}

QString textParam(const QList<TdsRpcParam>& params, qsizetype i) {
    return i < params.size() ? params[i].value.toString() : QString();
}

} // namespace

void TdsSession::writeTransactionChange(int before, bool failed, TdsWriter& out) {
    const int now = mSession->TransactionCount();
    if (before > 0 && (now == 0 || mTransaction == 0)) {
        // Whether it ended in a COMMIT or a ROLLBACK the client only needs to forget the descriptor.
        Tds::WriteTransactionChange(
            out, now == 0 && !failed ? Tds::EnvCommitTransaction : Tds::EnvRollbackTransaction, mTransaction);
        mTransaction = 0;
    }
    if (now > 0 && mTransaction == 0) {
        mTransaction = mNextTransaction++;
        Tds::WriteTransactionChange(out, Tds::EnvBeginTransaction, mTransaction);
    }
}

TdsSession::Reply TdsSession::rpc(const QByteArray& message, TdsWriter& out) {
    const QList<TdsRpcCall> calls = TdsRpc::Parse(message);
    for (qsizetype i = 0; i < calls.size(); ++i)
        if (!call(calls[i], i + 1 == calls.size(), out))
            break;
    return {};
}

bool TdsSession::call(const TdsRpcCall& call, bool last, TdsWriter& out) {
    const QString before = mSession->CurrentDatabase();
    const int tranBefore = mSession->TransactionCount();
    TdsResultStream stream(out, mTdsVersion, mServerName, before,
                           [this] { return mSession->CurrentDatabase(); });
    stream.SetInProcedure(true);
    CaptureSink sink(stream);
    const TdsRpcKind kind = TdsRpc::KindOf(call.procedure);
    const QList<TdsRpcParam>& params = call.params;
    // What goes back as RETURNVALUEs: a new prepared handle (an int whatever the client sent), then
    // the OUTPUT parameters in the type they came in.
    struct Returned {
        int index;
        QVariant value;
        TdsTypeInfo type;
    };
    QList<Returned> returned;
    TdsRpcBatch batch;
    bool run = true;
    try {
        switch (kind) {
        case TdsRpcKind::ExecuteSql:
            batch = TdsRpc::StatementBatch(textParam(params, 0),
                                           TdsRpc::ParseDeclarations(textParam(params, 1)), params, 2);
            break;
        case TdsRpcKind::Prepare:
        case TdsRpcKind::PrepExec: {
            const QList<TdsDeclaredParam> declared = TdsRpc::ParseDeclarations(textParam(params, 1));
            const QString statement = textParam(params, 2);
            // A client that never unprepares must not make the server hold its statements without end.
            if (mPrepared.size() >= kMaxPrepared)
                throw TdsRpcError{8179, QStringLiteral("This connection has %1 prepared statements already: "
                                                       "unprepare some first.")
                                            .arg(kMaxPrepared)};
            const int handle = mNextHandle++;
            mPrepared.insert(handle, {declared, statement});
            if (!params.isEmpty() && params[0].output)
                returned.append({0, handle, TdsTypeInfo{0x26, 4, 0, 0, {}}});
            if (kind == TdsRpcKind::Prepare)
                run = false;
            else
                batch = TdsRpc::StatementBatch(statement, declared, params, 3);
            break;
        }
        case TdsRpcKind::Execute: {
            const auto found = mPrepared.constFind(handleOf(params.value(0).value));
            if (found == mPrepared.cend())
                throw TdsRpcError{8179, QStringLiteral("Could not find prepared statement with handle %1.")
                                            .arg(params.value(0).value.toString())};
            batch = TdsRpc::StatementBatch(found->statement, found->declared, params, 1);
            break;
        }
        case TdsRpcKind::Unprepare:
            mPrepared.remove(handleOf(params.value(0).value));
            run = false;
            break;
        case TdsRpcKind::Cursor:
            throw TdsRpcError{16999, QStringLiteral("This server has no server cursors (%1): fetch the rows "
                                                    "of a default result set instead.")
                                         .arg(call.procedure)};
        case TdsRpcKind::Procedure:
            batch = TdsRpc::ProcedureBatch(call);
            break;
        }
        if (run)
            mSession->Execute(batch.text, sink);
    } catch (const TdsRpcError& e) {
        stream.Add(SqlResult::Msg(error(e.number, e.text)));
        batch = {};
    } catch (const TARMOError& e) {
        stream.Add(SqlResult::Msg(error(e.Number() != 0 ? e.Number() : 50000, e.Description())));
    } catch (const std::exception& e) {
        stream.Add(SqlResult::Msg(error(50000, QString::fromLocal8Bit(e.what()))));
    }
    if (mCancelCheck && mCancelCheck())
        return false;
    stream.SetBeforeEnd([&] { writeTransactionChange(tranBefore, stream.Failed(), out); });
    stream.EndCall();
    if (out.Stopped())
        return false;

    const QVariantList& captured = sink.Captured();
    qsizetype at = 0;
    if (batch.returnsStatus) {
        const QVariant status = captured.value(at++);
        out.U8(Tds::ReturnStatus);
        out.U32(uint32_t(status.isValid() && !status.isNull() ? status.toInt() : 0));
    } else {
        out.U8(Tds::ReturnStatus);
        out.U32(0);
    }
    for (const int index : batch.outputParams)
        returned.append({index, captured.value(at++), TdsValues::ReturnType(params[index].type)});
    for (const auto& [index, value, type] : returned) {
        out.U8(Tds::ReturnValue);
        out.U16(uint16_t(index));
        out.BVarchar(params[index].name);
        out.U8(1); // an OUTPUT parameter
        out.U32(0);
        out.U16(0);
        TdsValues::WriteTypeInfo(out, type);
        TdsValues::WriteValue(out, type, value);
    }
    Tds::WriteDone(out, uint16_t((last ? 0 : Tds::DoneMore) | (stream.Failed() ? Tds::DoneError : 0)), 0, 0,
                   Tds::DoneProc);
    return out.Flush();
}

TdsSession::Reply TdsSession::transactionManager(const QByteArray& message, TdsWriter& out) {
    TdsReader in(message);
    const uint32_t headers = in.U32();
    if (headers < 4 || headers > uint32_t(message.size()))
        throw TdsProtocolError("request headers do not fit the message");
    in.Seek(headers);
    const uint16_t request = in.U16();
    const auto name = [&in] {
        const uint8_t length = in.U8();
        const QString text = in.Ucs2At(in.Position(), length);
        in.Skip(qsizetype(length) * 2);
        return text.isEmpty() ? QString() : QLatin1Char(' ') + TdsRpc::QuoteName(text);
    };
    QString text;
    enum : uint16_t { Begin = 5, Commit = 7, Rollback = 8, Save = 9 };
    switch (request) {
    case Begin:
        in.U8(); // the isolation level: every transaction here is serializable
        text = QStringLiteral("BEGIN TRANSACTION") + name();
        break;
    case Commit:
    case Rollback: {
        text = (request == Commit ? QStringLiteral("COMMIT TRANSACTION")
                                  : QStringLiteral("ROLLBACK TRANSACTION")) +
               name();
        if (in.Remaining() > 0 && (in.U8() & 1) != 0) {
            in.U8();
            text += QStringLiteral("; BEGIN TRANSACTION") + name();
        }
        break;
    }
    case Save:
        text = QStringLiteral("SAVE TRANSACTION") + name();
        break;
    default:
        return refuse(50000,
                      QStringLiteral("This server takes part in no distributed transactions: only begin, "
                                     "commit, rollback and save are served."),
                      out);
    }
    const int before = mSession->TransactionCount();
    const uint64_t descriptor = mTransaction;
    SqlBatchResults results;
    try {
        results = mSession->Execute(text);
    } catch (const TARMOError& e) {
        results.append(SqlResult::Msg(error(e.Number() != 0 ? e.Number() : 50000, e.Description())));
    }
    bool failed = false;
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::Message) {
            Tds::WriteMessage(out, r.message, mServerName);
            failed = failed || r.message.IsError();
        }
    const int now = mSession->TransactionCount();
    if (request == Commit || request == Rollback) {
        // Ended and perhaps begun anew: the client hears of both.
        if (before > 0 && descriptor != 0 && (now == 0 || text.contains(QLatin1String("; BEGIN")))) {
            Tds::WriteTransactionChange(
                out, request == Commit ? Tds::EnvCommitTransaction : Tds::EnvRollbackTransaction, descriptor);
            mTransaction = 0;
        }
    }
    if (now > 0 && mTransaction == 0) {
        mTransaction = mNextTransaction++;
        Tds::WriteTransactionChange(out, Tds::EnvBeginTransaction, mTransaction);
    }
    Tds::WriteDone(out, failed ? Tds::DoneError : Tds::DoneFinal, 0, 0);
    return {};
}
