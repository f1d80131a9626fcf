#pragma once

#include "TdsValues.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include <cstdint>

// A call the server refuses as SQL Server would, with its error number; the connection goes on.
struct TdsRpcError {
    long number = 0;
    QString text;
};

// One parameter of a remote procedure call as the client sent it.
struct TdsRpcParam {
    QString name; // with its @, or empty for a positional one
    bool output = false;
    bool isDefault = false;
    TdsTypeInfo type;
    QVariant value;
};

// One call of an RPC message (a message may carry several, run one after the other).
struct TdsRpcCall {
    QString procedure; // as the client named it; for a call by id, the procedure's own name
    uint16_t options = 0;
    QList<TdsRpcParam> params;
};

// A parameter declared in the text of sp_executesql or sp_prepare: "@id int, @name nvarchar(40) OUTPUT".
struct TdsDeclaredParam {
    QString name;
    QString type;
    bool output = false;
};

// The procedures that come by id, and those the server runs itself rather than through EXEC.
enum class TdsRpcKind { Procedure, ExecuteSql, Prepare, Execute, PrepExec, Unprepare, Cursor };

// A batch the engine runs for one call, with the variables whose values go back to the client.
// Their values come out of a last SELECT whose columns are named by kCaptureMarker.
struct TdsRpcBatch {
    QString text;
    bool returnsStatus = false; // the first captured value is the return status
    QList<int> outputParams;    // indexes in the call's params, in the order they are captured
};

namespace TdsRpc {

inline const QString kCaptureMarker = QStringLiteral("\x01rpc-capture");

// Throws TdsProtocolError when the message is malformed.
QList<TdsRpcCall> Parse(const QByteArray& message);
TdsRpcKind KindOf(const QString& procedure);
// Throws TdsRpcError when the declarations don't parse.
QList<TdsDeclaredParam> ParseDeclarations(const QString& text);

// sp_executesql and its prepared forms: the statement, its declarations, and the values for them
// (from the call's params starting at firstValue, by name or by position). Throws TdsRpcError.
TdsRpcBatch StatementBatch(const QString& statement, const QList<TdsDeclaredParam>& declared,
                           const QList<TdsRpcParam>& params, qsizetype firstValue);
// EXEC of a procedure by name, with the return status captured. Throws TdsRpcError.
TdsRpcBatch ProcedureBatch(const TdsRpcCall& call);

// [name] with ] doubled; a dotted name part by part.
QString QuoteName(const QString& name);

} // namespace TdsRpc
