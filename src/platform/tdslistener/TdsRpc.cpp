#include "TdsRpc.h"

#include "TdsReader.h"

#include <QRegularExpression>

namespace {

// The procedures a client may call by number instead of by name.
const char* const kProcIds[] = {nullptr,
                                "sp_cursor",
                                "sp_cursoropen",
                                "sp_cursorprepare",
                                "sp_cursorexecute",
                                "sp_cursorprepexec",
                                "sp_cursorunprepare",
                                "sp_cursorfetch",
                                "sp_cursoroption",
                                "sp_cursorclose",
                                "sp_executesql",
                                "sp_prepare",
                                "sp_execute",
                                "sp_prepexec",
                                "sp_prepexecrpc",
                                "sp_unprepare"};

// After the parameters of one call: the next call follows (7.2 and later, and before), or the
// call is not to run.
constexpr uint8_t kBatchSeparator = 0xFF;
constexpr uint8_t kOldBatchSeparator = 0x80;
constexpr uint8_t kNoExec = 0xFE;
constexpr uint8_t kByRef = 0x01;
constexpr uint8_t kDefault = 0x02;

// The parts of a dotted name, brackets and quotes taken off.
QStringList splitName(const QString& name) {
    QStringList parts;
    QString part;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name[i];
        if (c == u'[' || c == u'"') {
            const QChar close = c == u'[' ? QChar(u']') : QChar(u'"');
            for (++i; i < name.size(); ++i) {
                if (name[i] == close) {
                    if (i + 1 < name.size() && name[i + 1] == close) {
                        part += close;
                        ++i;
                        continue;
                    }
                    break;
                }
                part += name[i];
            }
        } else if (c == u'.') {
            parts.append(part);
            part.clear();
        } else if (!c.isSpace()) {
            part += c;
        }
    }
    parts.append(part);
    return parts;
}

bool validVariable(const QString& name) {
    static const QRegularExpression pattern(QStringLiteral("^@[\\w@#$]{1,127}$"),
                                            QRegularExpression::UseUnicodePropertiesOption);
    return pattern.match(name).hasMatch();
}

bool validType(const QString& type) {
    static const QRegularExpression pattern(
        QStringLiteral("^[A-Za-z_][\\w ]*(\\(\\s*(max|MAX|Max|\\d+)\\s*(,\\s*\\d+\\s*)?\\))?$"));
    return pattern.match(type).hasMatch();
}

// Types a client may declare that the engine holds in one of its own.
QString engineType(const QString& type) {
    const QString base = type.section(u'(', 0, 0).trimmed().toLower();
    if (base == QLatin1String("datetime2") || base == QLatin1String("datetimeoffset"))
        return QStringLiteral("datetime");
    if (base == QLatin1String("time"))
        return QStringLiteral("varchar(16)");
    if (base == QLatin1String("xml"))
        return QStringLiteral("nvarchar(max)");
    return type;
}

QString declare(const QString& name, const QString& type, const QString& literal) {
    return QStringLiteral("DECLARE %1 %2 = %3; ").arg(name, type, literal);
}

// The last SELECT of a call's batch: the values that go back to the client.
QString capture(const QStringList& variables) {
    if (variables.isEmpty())
        return {};
    QStringList columns;
    for (const QString& v : variables)
        columns.append(QStringLiteral("%1 AS [%2]").arg(v, TdsRpc::kCaptureMarker));
    return QStringLiteral("\r\nSELECT ") + columns.join(QStringLiteral(", "));
}

} // namespace

namespace TdsRpc {

QString QuoteName(const QString& name) {
    QStringList parts = splitName(name);
    // "..sp_tables" is the current database's, with the default owner.
    while (parts.size() > 1 && parts.first().isEmpty())
        parts.removeFirst();
    QStringList quoted;
    for (QString part : parts)
        quoted.append(part.isEmpty() ? QString()
                                     : QStringLiteral("[%1]").arg(part.replace(u']', QLatin1String("]]"))));
    return quoted.join(u'.');
}

QList<TdsRpcCall> Parse(const QByteArray& message) {
    TdsReader in(message);
    const uint32_t headers = in.U32();
    if (headers < 4 || headers > uint32_t(message.size()))
        throw TdsProtocolError("request headers do not fit the message");
    in.Seek(headers);
    QList<TdsRpcCall> calls;
    while (in.Remaining() > 0) {
        TdsRpcCall call;
        const uint16_t nameLength = in.U16();
        if (nameLength == 0xFFFF) {
            const uint16_t id = in.U16();
            if (id == 0 || id >= std::size(kProcIds))
                throw TdsProtocolError("call of an unknown procedure number");
            call.procedure = QString::fromLatin1(kProcIds[id]);
        } else {
            if (nameLength == 0 || nameLength > 1046)
                throw TdsProtocolError("procedure name of an impossible length");
            call.procedure = in.Ucs2At(in.Position(), nameLength);
            in.Skip(qsizetype(nameLength) * 2);
        }
        call.options = in.U16();
        bool noExec = false;
        while (in.Remaining() > 0) {
            const uint8_t next = in.U8();
            if (next == kBatchSeparator || next == kOldBatchSeparator || next == kNoExec) {
                noExec = next == kNoExec;
                break;
            }
            TdsRpcParam p;
            p.name = in.Ucs2At(in.Position(), next);
            in.Skip(qsizetype(next) * 2);
            const uint8_t status = in.U8();
            p.output = (status & kByRef) != 0;
            p.isDefault = (status & kDefault) != 0;
            p.type = TdsValues::ReadTypeInfo(in);
            p.value = TdsValues::ReadValue(in, p.type);
            if (call.params.size() >= 2100)
                throw TdsProtocolError("too many parameters");
            call.params.append(std::move(p));
        }
        if (!noExec)
            calls.append(std::move(call));
        if (calls.size() > 1000)
            throw TdsProtocolError("too many calls in one request");
    }
    if (calls.isEmpty())
        throw TdsProtocolError("a request without a call");
    return calls;
}

TdsRpcKind KindOf(const QString& procedure) {
    const QStringList parts = splitName(procedure);
    const QString owner = parts.size() >= 2 ? parts[parts.size() - 2].toLower() : QString();
    if (parts.size() > 3 ||
        !(owner.isEmpty() || owner == QLatin1String("sys") || owner == QLatin1String("dbo")))
        return TdsRpcKind::Procedure;
    const QString n = parts.last().toLower();
    if (n == QLatin1String("sp_executesql"))
        return TdsRpcKind::ExecuteSql;
    if (n == QLatin1String("sp_prepare"))
        return TdsRpcKind::Prepare;
    if (n == QLatin1String("sp_execute"))
        return TdsRpcKind::Execute;
    if (n == QLatin1String("sp_prepexec"))
        return TdsRpcKind::PrepExec;
    if (n == QLatin1String("sp_unprepare"))
        return TdsRpcKind::Unprepare;
    if (n.startsWith(QLatin1String("sp_cursor")) || n == QLatin1String("sp_prepexecrpc"))
        return TdsRpcKind::Cursor;
    return TdsRpcKind::Procedure;
}

QList<TdsDeclaredParam> ParseDeclarations(const QString& text) {
    QList<TdsDeclaredParam> out;
    // Split at the commas outside parentheses.
    QStringList pieces;
    int depth = 0;
    QString piece;
    for (const QChar c : text) {
        if (c == u'(')
            ++depth;
        else if (c == u')')
            --depth;
        if (c == u',' && depth == 0) {
            pieces.append(piece);
            piece.clear();
        } else {
            piece += c;
        }
    }
    pieces.append(piece);
    static const QRegularExpression shape(
        QStringLiteral("^\\s*(@\\S+)\\s+(?:AS\\s+)?(.+?)(?:\\s*=\\s*(\\S.*?))?(\\s+(OUTPUT|OUT))?\\s*$"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    for (const QString& p : pieces) {
        if (p.trimmed().isEmpty() && pieces.size() == 1)
            break;
        const QRegularExpressionMatch m = shape.match(p);
        if (!m.hasMatch() || !validVariable(m.captured(1)) || !validType(m.captured(2).simplified()) ||
            m.capturedLength(3) > 0)
            throw TdsRpcError{102, QStringLiteral("Incorrect syntax near '%1'.").arg(p.trimmed().left(128))};
        for (const TdsDeclaredParam& d : out)
            if (d.name.compare(m.captured(1), Qt::CaseInsensitive) == 0)
                throw TdsRpcError{
                    134, QStringLiteral("The variable name '%1' has already been declared. Variable "
                                        "names must be unique within a query batch or stored procedure.")
                             .arg(d.name)};
        out.append({m.captured(1), engineType(m.captured(2).simplified()), m.capturedLength(4) > 0});
    }
    return out;
}

TdsRpcBatch StatementBatch(const QString& statement, const QList<TdsDeclaredParam>& declared,
                           const QList<TdsRpcParam>& params, qsizetype firstValue) {
    TdsRpcBatch batch;
    QList<int> valueOf(declared.size(), -1);
    qsizetype position = 0;
    for (qsizetype i = firstValue; i < params.size(); ++i) {
        const TdsRpcParam& p = params[i];
        qsizetype index = -1;
        if (p.name.isEmpty()) {
            index = position++;
        } else {
            for (qsizetype d = 0; d < declared.size(); ++d)
                if (declared[d].name.compare(p.name, Qt::CaseInsensitive) == 0)
                    index = d;
            if (index < 0)
                throw TdsRpcError{8145, QStringLiteral("%1 is not a parameter for procedure .").arg(p.name)};
        }
        if (index >= declared.size())
            throw TdsRpcError{8144,
                              QStringLiteral("Procedure or function  has too many arguments specified.")};
        valueOf[index] = int(i);
    }
    // The declarations go on the statement's first line, so that its errors keep their line numbers.
    QString prefix;
    QStringList captured;
    for (qsizetype d = 0; d < declared.size(); ++d) {
        const int i = valueOf[d];
        if (i < 0 || params[i].isDefault)
            throw TdsRpcError{8178, QStringLiteral("The parameterized query '(%1)%2' expects the parameter "
                                                   "'%3', which was not supplied.")
                                        .arg(declared[d].name + QLatin1Char(' ') + declared[d].type,
                                             statement.left(64), declared[d].name)};
        prefix +=
            declare(declared[d].name, declared[d].type, TdsValues::Literal(params[i].value, params[i].type));
        if (params[i].output && declared[d].output) {
            batch.outputParams.append(i);
            captured.append(declared[d].name);
        }
    }
    batch.text = prefix + statement + capture(captured);
    return batch;
}

TdsRpcBatch ProcedureBatch(const TdsRpcCall& call) {
    TdsRpcBatch batch;
    batch.returnsStatus = true;
    QString prefix = QStringLiteral("DECLARE @tarmo_rc int; ");
    QStringList args;
    QStringList captured{QStringLiteral("@tarmo_rc")};
    for (qsizetype i = 0; i < call.params.size(); ++i) {
        const TdsRpcParam& p = call.params[i];
        if (!p.name.isEmpty() && !validVariable(p.name))
            throw TdsRpcError{102, QStringLiteral("Incorrect syntax near '%1'.").arg(p.name.left(128))};
        const QString target = p.name.isEmpty() ? QString() : p.name + QStringLiteral(" = ");
        if (p.isDefault) {
            args.append(target + QStringLiteral("DEFAULT"));
            continue;
        }
        const QString variable = QStringLiteral("@tarmo_p%1").arg(i + 1);
        prefix += declare(variable, TdsValues::SqlType(p.type), TdsValues::Literal(p.value, p.type));
        args.append(target + variable + (p.output ? QStringLiteral(" OUTPUT") : QString()));
        if (p.output) {
            batch.outputParams.append(int(i));
            captured.append(variable);
        }
    }
    batch.text = prefix + QStringLiteral("EXEC @tarmo_rc = ") + QuoteName(call.procedure) +
                 (args.isEmpty() ? QString() : QLatin1Char(' ') + args.join(QStringLiteral(", "))) +
                 capture(captured);
    return batch;
}

} // namespace TdsRpc
