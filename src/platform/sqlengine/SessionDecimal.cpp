// decimal, numeric and money values worked out exactly by the executor. SQLite knows only integers
// and doubles, so an expression of decimal constants, variables and their arithmetic is computed
// here and handed to a query as one value; what reaches SQLite still works as a double.
#include "SessionState.h"

#include <climits>
#include <cmath>

namespace {

std::optional<SqlDecimal::Kind> DecimalKind(const QString& type) {
    if (type == QLatin1String("decimal") || type == QLatin1String("numeric"))
        return SqlDecimal::Kind::Decimal;
    if (type == QLatin1String("money"))
        return SqlDecimal::Kind::Money;
    if (type == QLatin1String("smallmoney"))
        return SqlDecimal::Kind::SmallMoney;
    return std::nullopt;
}

int IntegerPrecision(const QString& type) {
    if (type == QLatin1String("bigint"))
        return 19;
    if (type == QLatin1String("smallint"))
        return 5;
    if (type == QLatin1String("tinyint"))
        return 3;
    if (type == QLatin1String("bit"))
        return 1;
    return 10;
}

bool IsIntegerType(const QString& type) {
    return type == QLatin1String("int") || type == QLatin1String("bigint") ||
           type == QLatin1String("smallint") || type == QLatin1String("tinyint") ||
           type == QLatin1String("bit");
}

// A value of the type, for typing a NULL: zero.
SqlDecimal ZeroOf(const SqlTypeSpec& type) {
    const SqlDecimal zero = SqlDecimal::FromInteger(0);
    const auto kind = DecimalKind(type.name);
    if (kind && *kind != SqlDecimal::Kind::Decimal)
        return zero.ToMoney(*kind);
    return zero.To(type.precision > 0 ? type.precision : 18, type.scale >= 0 ? type.scale : 0);
}

// The value in the declared type: decimal without precision is decimal(18,0).
SqlDecimal InType(const SqlDecimal& v, const SqlTypeSpec& type, SqlDecimal::Kind kind, const QString& from) {
    if (kind != SqlDecimal::Kind::Decimal)
        return v.ToMoney(kind, from);
    return v.To(type.precision > 0 ? type.precision : 18, type.scale >= 0 ? type.scale : 0, from);
}

QString SourceName(const SqlDecimal& v) {
    return v.IsMoney() ? (v.TypeKind() == SqlDecimal::Kind::Money ? QStringLiteral("money")
                                                                  : QStringLiteral("smallmoney"))
                       : QStringLiteral("numeric");
}

ServerError NotNumeric(const QString& to) {
    return ServerError::Make(8114, 16, QStringLiteral("Error converting data type varchar to %1.").arg(to));
}

ServerError TextOverflow(const SqlDecimal& v, const QString& type) {
    return ServerError::Make(
        8115, 16,
        QStringLiteral("Arithmetic overflow error converting %1 to data type %2.").arg(SourceName(v), type));
}

// An integer of the server's type into an integer type; the server's error when it doesn't fit.
QVariant IntegerIn(qlonglong v, const QString& type, const SqlDecimal& from) {
    const bool fits = type == QLatin1String("bigint") ||
                      (type == QLatin1String("int") && v >= INT_MIN && v <= INT_MAX) ||
                      (type == QLatin1String("smallint") && v >= SHRT_MIN && v <= SHRT_MAX) ||
                      (type == QLatin1String("tinyint") && v >= 0 && v <= UCHAR_MAX);
    if (type == QLatin1String("bit"))
        return QVariant(qlonglong(v != 0 ? 1 : 0));
    if (!fits) {
        ServerError e = TextOverflow(from, type);
        e.state = 1;
        throw e;
    }
    return QVariant(v);
}

// TRY_CONVERT and TRY_CAST give NULL where the conversion itself fails (text that is no number, a
// value too large); an error of the operand they convert still stands.
bool Trying(const SqlExpr& e) {
    return e.text.startsWith(QLatin1String("TRY_"), Qt::CaseInsensitive);
}

bool ConversionError(const ServerError& e) {
    return e.number == 8114 || e.number == 8115;
}

// A decimal as text of the given length: CAST keeps every decimal, money as style 0 shows two.
QString DecimalText(const SqlDecimal& v, int style) {
    return v.IsMoney() ? v.MoneyText(style) : v.ToString();
}

} // namespace

bool SessionState::Shallow(const SqlExpr& e, int depth) {
    // Decimal arithmetic that deep is not written by hand; long generated chains go to SQLite, whose
    // translation takes them without recursing.
    if (depth > 48)
        return false;
    for (const SqlExprP& a : e.args)
        if (a && !Shallow(*a, depth + 1))
            return false;
    return true;
}

bool SessionState::DecimalOperand(const SqlExpr& e, FastDec& out) {
    if (FastDecimal(e, out))
        return true;
    FastInt i;
    if (!FastInteger(e, i))
        return false;
    // An integer constant counts with just its digits, an integer variable with its type's.
    int precision = 0;
    if (e.kind == SqlExpr::Kind::Variable) {
        const auto it = Top().vars.constFind(e.text.toLower());
        precision = it != Top().vars.cend() ? IntegerPrecision(it->type.name) : (i.big ? 19 : 10);
    }
    out.value = SqlDecimal::FromInteger(i.null ? 0 : i.value, precision);
    out.null = i.null;
    out.integer = true;
    return true;
}

bool SessionState::FastDecimal(const SqlExpr& e, FastDec& out) {
    out.integer = false;
    switch (e.kind) {
    case SqlExpr::Kind::Number: {
        if (e.text.contains(u'e', Qt::CaseInsensitive) ||
            e.text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
            return false;
        if (!e.text.contains(u'.')) {
            bool ok = false;
            const qlonglong v = e.text.toLongLong(&ok);
            // int constants are integers; past int they are numeric(p,0)
            if (ok && v >= INT_MIN && v <= INT_MAX)
                return false;
        }
        const std::optional<SqlDecimal> d = SqlDecimal::Parse(e.text);
        if (!d)
            return false;
        out.value = *d;
        out.null = false;
        return true;
    }
    case SqlExpr::Kind::Variable: {
        if (mFrames.isEmpty() || e.text.startsWith(QLatin1String("@@")))
            return false;
        const auto it = Top().vars.constFind(e.text.toLower());
        if (it == Top().vars.cend() || !DecimalKind(it->type.name))
            return false;
        if (!it->value.isValid() || it->value.isNull()) {
            out.value = ZeroOf(it->type);
            out.null = true;
            return true;
        }
        if (it->value.userType() != qMetaTypeId<SqlDecimal>())
            return false;
        out.value = it->value.value<SqlDecimal>();
        out.null = false;
        return true;
    }
    case SqlExpr::Kind::Unary: {
        if (e.args.size() != 1 || (e.text != QLatin1String("-") && e.text != QLatin1String("+")))
            return false;
        FastDec a;
        if (!FastDecimal(*e.args[0], a))
            return false;
        out.value = e.text == QLatin1String("-") && !a.null ? a.value.Negated() : a.value;
        out.null = a.null;
        return true;
    }
    case SqlExpr::Kind::Binary: {
        if (e.args.size() != 2 || e.text.size() != 1 || !QStringLiteral("+-*/%").contains(e.text[0]))
            return false;
        FastDec a;
        FastDec b;
        if (!DecimalOperand(*e.args[0], a) || !DecimalOperand(*e.args[1], b) || (a.integer && b.integer))
            return false;
        if (a.null || b.null) {
            out.value = a.integer ? b.value : a.value;
            out.null = true;
            return true;
        }
        switch (e.text[0].unicode()) {
        case u'+':
            out.value = SqlDecimal::Add(a.value, b.value);
            break;
        case u'-':
            out.value = SqlDecimal::Subtract(a.value, b.value);
            break;
        case u'*':
            out.value = SqlDecimal::Multiply(a.value, b.value);
            break;
        case u'/':
            out.value = SqlDecimal::Divide(a.value, b.value);
            break;
        default:
            out.value = SqlDecimal::Modulo(a.value, b.value);
        }
        out.null = false;
        return true;
    }
    case SqlExpr::Kind::Function:
        return DecimalFunction(e, out);
    case SqlExpr::Kind::Cast: {
        const auto kind = DecimalKind(ResolveType(e.type).name);
        if (!kind || e.args.isEmpty())
            return false;
        const SqlTypeSpec type = ResolveType(e.type);
        auto failed = [&](const ServerError& error) {
            if (!Trying(e) || !ConversionError(error))
                throw error;
            out.null = true;
            out.value = ZeroOf(type);
            return true;
        };
        FastDec a;
        if (DecimalOperand(*e.args[0], a)) {
            out.null = a.null;
            try {
                out.value = a.null ? ZeroOf(type)
                                   : InType(a.value, type, *kind,
                                            a.integer ? QStringLiteral("int") : SourceName(a.value));
            } catch (const ServerError& error) {
                return failed(error);
            }
            return true;
        }
        const SqlExpr& arg = *e.args[0];
        QVariant v;
        if (arg.kind == SqlExpr::Kind::String) {
            v = arg.text;
        } else if (arg.kind == SqlExpr::Kind::Null && arg.text != QLatin1String("DEFAULT")) {
        } else if (arg.kind == SqlExpr::Kind::Variable && !arg.text.startsWith(QLatin1String("@@"))) {
            const auto it = Top().vars.constFind(arg.text.toLower());
            if (it == Top().vars.cend())
                return false;
            v = it->value;
        } else {
            return false;
        }
        QVariant converted;
        try {
            if (!ConvertDecimal(v, type, converted))
                return false;
        } catch (const ServerError& error) {
            return failed(error);
        }
        out.null = !converted.isValid();
        out.value = out.null ? ZeroOf(type) : converted.value<SqlDecimal>();
        return true;
    }
    default:
        return false;
    }
}

bool SessionState::DecimalFunction(const SqlExpr& e, FastDec& out) {
    const QString f = e.text.toUpper();
    const bool one = f == QLatin1String("ABS") || f == QLatin1String("CEILING") ||
                     f == QLatin1String("FLOOR") || f == QLatin1String("SIGN");
    if (e.over || (!one && f != QLatin1String("ROUND")))
        return false;
    if (one ? e.args.size() != 1 : (e.args.size() < 2 || e.args.size() > 3))
        return false;
    FastDec a;
    if (!FastDecimal(*e.args[0], a))
        return false;
    if (f == QLatin1String("ROUND")) {
        FastInt places;
        FastInt function{0, false, false};
        if (!FastInteger(*e.args[1], places) || (e.args.size() == 3 && !FastInteger(*e.args[2], function)))
            return false;
        out.null = a.null || places.null;
        out.value = out.null ? a.value
                             : a.value.Round(int(std::clamp<qlonglong>(places.value, -100, 100)),
                                             !function.null && function.value != 0);
        return true;
    }
    out.null = a.null;
    if (f == QLatin1String("ABS"))
        out.value = a.value.Abs();
    else if (f == QLatin1String("SIGN"))
        out.value = a.value.Sign();
    else if (f == QLatin1String("FLOOR"))
        out.value = a.value.Floor();
    else
        out.value = a.value.Ceiling();
    return true;
}

bool SessionState::DecimalCast(const SqlExpr& e, QVariant& out) {
    if (e.kind != SqlExpr::Kind::Cast || e.args.isEmpty())
        return false;
    const SqlTypeSpec type = ResolveType(e.type);
    if (DecimalKind(type.name))
        return false;
    const SystemType* t = Catalogue::FindType(type.name);
    const bool integer = IsIntegerType(type.name);
    const bool floating = type.name == QLatin1String("float") || type.name == QLatin1String("real");
    if (!t || (!t->character && !integer && !floating))
        return false;
    FastDec a;
    if (!FastDecimal(*e.args[0], a))
        return false;
    if (a.null) {
        out = QVariant();
        return true;
    }
    FastInt style{0, false, false};
    if (t->character && e.args.size() > 1 && !FastInteger(*e.args[1], style))
        return false;
    try {
        if (t->character) {
            const QString text = DecimalText(a.value, style.null ? 0 : int(style.value));
            const int length = type.length == -1 ? 30 : type.length;
            if (length >= 0 && text.size() > length)
                throw TextOverflow(a.value, type.name);
            out = text;
        } else if (floating) {
            out = a.value.ToDouble();
        } else {
            const std::optional<qlonglong> v = a.value.IsMoney() ? a.value.Rounded() : a.value.Truncated();
            if (!v)
                throw TextOverflow(a.value, type.name);
            out = IntegerIn(*v, type.name, a.value);
        }
    } catch (const ServerError& error) {
        if (!Trying(e) || !ConversionError(error))
            throw;
        out = QVariant();
    }
    return true;
}

// 1 true, 0 false, -1 unknown; false when the comparison isn't of decimals.
bool SessionState::DecimalComparison(const SqlExpr& e, int& out) {
    if (!Shallow(e))
        return false;
    FastDec a;
    FastDec b;
    if (!DecimalOperand(*e.args[0], a) || !DecimalOperand(*e.args[1], b) || (a.integer && b.integer))
        return false;
    if (a.null || b.null) {
        out = -1;
        return true;
    }
    const int c = SqlDecimal::Compare(a.value, b.value);
    const QString& op = e.text;
    bool r = false;
    if (op == QLatin1String("="))
        r = c == 0;
    else if (op == QLatin1String("<>") || op == QLatin1String("!="))
        r = c != 0;
    else if (op == QLatin1String("<"))
        r = c < 0;
    else if (op == QLatin1String(">"))
        r = c > 0;
    else if (op == QLatin1String("<=") || op == QLatin1String("!>"))
        r = c <= 0;
    else
        r = c >= 0;
    out = r ? 1 : 0;
    return true;
}

bool SessionState::ConvertDecimal(const QVariant& value, const SqlTypeSpec& type, QVariant& out) {
    const auto kind = DecimalKind(type.name);
    const bool isDecimal = value.userType() == qMetaTypeId<SqlDecimal>();
    if (!kind) {
        if (!isDecimal)
            return false;
        // A decimal into another type: integers, floats and text as a CAST would give them.
        const auto v = value.value<SqlDecimal>();
        const SystemType* t = Catalogue::FindType(type.name);
        if (IsIntegerType(type.name)) {
            const std::optional<qlonglong> n = v.IsMoney() ? v.Rounded() : v.Truncated();
            if (!n)
                throw TextOverflow(v, type.name);
            out = IntegerIn(*n, type.name, v);
            return true;
        }
        if (type.name == QLatin1String("float") || type.name == QLatin1String("real")) {
            out = v.ToDouble();
            return true;
        }
        if (t && t->character) {
            const QString text = DecimalText(v, 0);
            // A variable declared without a length holds one character.
            const int length = type.length == -1 ? 1 : type.length;
            if (length >= 0 && text.size() > length)
                throw TextOverflow(v, type.name);
            out = text;
            return true;
        }
        return false;
    }
    if (!value.isValid() || value.isNull()) {
        out = QVariant();
        return true;
    }
    std::optional<SqlDecimal> d;
    QString from = QStringLiteral("numeric");
    switch (value.typeId()) {
    case QMetaType::LongLong:
    case QMetaType::Int:
    case QMetaType::Bool:
        d = SqlDecimal::FromInteger(value.toLongLong(), 19);
        from = QStringLiteral("int");
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        d = SqlDecimal::FromDouble(value.toDouble());
        from = QStringLiteral("float");
        if (!d)
            throw NotNumeric(QStringLiteral("numeric"));
        break;
    case QMetaType::QString:
        d = SqlDecimal::ParseLoose(value.toString(), *kind != SqlDecimal::Kind::Decimal);
        from = QStringLiteral("varchar");
        if (!d)
            throw NotNumeric(*kind == SqlDecimal::Kind::Decimal ? QStringLiteral("numeric") : type.name);
        break;
    default:
        if (!isDecimal)
            return false;
        d = value.value<SqlDecimal>();
        from = SourceName(*d);
    }
    out = QVariant::fromValue(InType(*d, type, *kind, from));
    return true;
}

bool SessionState::Fold(const SqlExpr& e, QVariant& value, bool& variables) {
    if (e.kind != SqlExpr::Kind::Binary && e.kind != SqlExpr::Kind::Unary && e.kind != SqlExpr::Kind::Cast &&
        e.kind != SqlExpr::Kind::Function && e.kind != SqlExpr::Kind::Variable)
        return false;
    if (mFrames.isEmpty() || !Shallow(e))
        return false;
    FastDec d;
    if (FastDecimal(e, d)) {
        value = d.null ? QVariant() : QVariant::fromValue(d.value);
    } else if (!DecimalCast(e, value)) {
        return false;
    }
    variables = UsesVariables(e);
    return true;
}

bool SessionState::UsesVariables(const SqlExpr& e) {
    if (e.kind == SqlExpr::Kind::Variable)
        return true;
    for (const SqlExprP& a : e.args)
        if (a && UsesVariables(*a))
            return true;
    return false;
}

std::optional<SqlColumn> SessionState::DecimalColumn(const SqlExpr& e) {
    SqlDecimal type;
    FastDec d;
    if (FastDecimal(e, d)) {
        type = d.value;
    } else if (e.kind == SqlExpr::Kind::Cast && DecimalKind(ResolveType(e.type).name)) {
        type = ZeroOf(ResolveType(e.type));
    } else {
        return std::nullopt;
    }
    SqlColumn c;
    switch (type.TypeKind()) {
    case SqlDecimal::Kind::Money:
        c.typeId = 60;
        c.length = 8;
        break;
    case SqlDecimal::Kind::SmallMoney:
        c.typeId = 122;
        c.length = 4;
        break;
    default: {
        c.typeId =
            e.kind == SqlExpr::Kind::Cast && ResolveType(e.type).name == QLatin1String("decimal") ? 106 : 108;
        const int p = type.Precision();
        c.length = p <= 9 ? 5 : p <= 19 ? 9 : p <= 28 ? 13 : 17;
    }
    }
    c.precision = type.Precision();
    c.scale = type.Scale();
    return c;
}
