// Integer expressions and conditions the executor works out itself. A loop's counter and its test
// would otherwise cost a SQLite statement each per round; anything beyond integers, variables and
// their arithmetic and comparisons goes to SQLite as before.
#include "SessionState.h"

#include <climits>

namespace {

ServerError Overflow(bool big) {
    ServerError e =
        ServerError::Make(8115, 16,
                          QStringLiteral("Arithmetic overflow error converting expression to data type %1.")
                              .arg(big ? QStringLiteral("bigint") : QStringLiteral("int")));
    e.state = 2;
    return e;
}

bool FitsInt(qlonglong v) {
    return v >= INT_MIN && v <= INT_MAX;
}

bool IsIntegerType(const QString& name) {
    return name == QLatin1String("int") || name == QLatin1String("bigint") ||
           name == QLatin1String("smallint") || name == QLatin1String("tinyint");
}

} // namespace

bool SessionState::FastInteger(const SqlExpr& e, FastInt& out) {
    switch (e.kind) {
    case SqlExpr::Kind::Number: {
        bool ok = false;
        const qlonglong v = e.text.toLongLong(&ok);
        // Digits beyond int make a numeric constant, which SQLite's side works out.
        if (!ok || !FitsInt(v))
            return false;
        out = FastInt{v, false, false};
        return true;
    }
    case SqlExpr::Kind::Null:
        if (e.text == QLatin1String("DEFAULT"))
            return false;
        out = FastInt{0, true, false};
        return true;
    case SqlExpr::Kind::Variable: {
        if (mFrames.isEmpty() || e.text.startsWith(QLatin1String("@@")))
            return false;
        const auto it = Top().vars.constFind(e.text.toLower());
        if (it == Top().vars.cend() || !IsIntegerType(it->type.name))
            return false;
        const bool big = it->type.name == QLatin1String("bigint");
        if (!it->value.isValid() || it->value.isNull()) {
            out = FastInt{0, true, big};
            return true;
        }
        if (it->value.typeId() != QMetaType::LongLong && it->value.typeId() != QMetaType::Int)
            return false;
        out = FastInt{it->value.toLongLong(), false, big};
        return true;
    }
    case SqlExpr::Kind::Unary: {
        if (e.args.size() != 1 || (e.text != QLatin1String("-") && e.text != QLatin1String("+")))
            return false;
        FastInt a;
        if (!FastInteger(*e.args[0], a))
            return false;
        if (e.text == QLatin1String("-") && !a.null) {
            if (a.value == (a.big ? LLONG_MIN : qlonglong(INT_MIN)))
                throw Overflow(a.big);
            a.value = -a.value;
        }
        out = a;
        return true;
    }
    case SqlExpr::Kind::Binary: {
        if (e.args.size() != 2 || e.text.size() != 1 || !QStringLiteral("+-*/%").contains(e.text[0]))
            return false;
        FastInt a;
        FastInt b;
        if (!FastInteger(*e.args[0], a) || !FastInteger(*e.args[1], b))
            return false;
        const bool big = a.big || b.big;
        if (a.null || b.null) {
            out = FastInt{0, true, big};
            return true;
        }
        qlonglong r = 0;
        bool overflow = false;
        switch (e.text[0].unicode()) {
        case u'+':
            overflow = __builtin_add_overflow(a.value, b.value, &r);
            break;
        case u'-':
            overflow = __builtin_sub_overflow(a.value, b.value, &r);
            break;
        case u'*':
            overflow = __builtin_mul_overflow(a.value, b.value, &r);
            break;
        default:
            if (b.value == 0)
                throw ServerError::Make(8134, 16, QStringLiteral("Divide by zero error encountered."));
            if (a.value == LLONG_MIN && b.value == -1)
                throw Overflow(big);
            r = e.text[0] == u'/' ? a.value / b.value : a.value % b.value;
        }
        if (overflow || (!big && !FitsInt(r)))
            throw Overflow(big);
        out = FastInt{r, false, big};
        return true;
    }
    default:
        return false;
    }
}

// 1 true, 0 false, -1 unknown (a NULL took part).
bool SessionState::FastCondition(const SqlExpr& e, int& out) {
    if (e.kind == SqlExpr::Kind::Unary && e.text == QLatin1String("NOT") && e.args.size() == 1) {
        int a = 0;
        if (!FastCondition(*e.args[0], a))
            return false;
        out = a < 0 ? -1 : 1 - a;
        return true;
    }
    if (e.kind == SqlExpr::Kind::IsNull && e.args.size() == 1) {
        FastInt a;
        FastDec d;
        if (FastInteger(*e.args[0], a))
            out = a.null != e.negated ? 1 : 0;
        else if (FastDecimal(*e.args[0], d))
            out = d.null != e.negated ? 1 : 0;
        else
            return false;
        return true;
    }
    if (e.kind != SqlExpr::Kind::Binary || e.args.size() != 2)
        return false;
    const QString& op = e.text;
    if (op == QLatin1String("AND") || op == QLatin1String("OR")) {
        int a = 0;
        int b = 0;
        if (!FastCondition(*e.args[0], a) || !FastCondition(*e.args[1], b))
            return false;
        if (op == QLatin1String("AND"))
            out = (a == 0 || b == 0) ? 0 : (a < 0 || b < 0) ? -1 : 1;
        else
            out = (a == 1 || b == 1) ? 1 : (a < 0 || b < 0) ? -1 : 0;
        return true;
    }
    static const QStringList comparisons = {QStringLiteral("="),  QStringLiteral("<>"), QStringLiteral("!="),
                                            QStringLiteral("<"),  QStringLiteral(">"),  QStringLiteral("<="),
                                            QStringLiteral(">="), QStringLiteral("!<"), QStringLiteral("!>")};
    if (!comparisons.contains(op))
        return false;
    FastInt a;
    FastInt b;
    if (!FastInteger(*e.args[0], a) || !FastInteger(*e.args[1], b))
        return DecimalComparison(e, out);
    if (a.null || b.null) {
        out = -1;
        return true;
    }
    bool r = false;
    if (op == QLatin1String("="))
        r = a.value == b.value;
    else if (op == QLatin1String("<>") || op == QLatin1String("!="))
        r = a.value != b.value;
    else if (op == QLatin1String("<"))
        r = a.value < b.value;
    else if (op == QLatin1String(">"))
        r = a.value > b.value;
    else if (op == QLatin1String("<=") || op == QLatin1String("!>"))
        r = a.value <= b.value;
    else
        r = a.value >= b.value;
    out = r ? 1 : 0;
    return true;
}

bool SessionState::FastConvert(const QVariant& value, const SqlTypeSpec& type, QVariant& out) {
    if (value.typeId() != QMetaType::LongLong && value.typeId() != QMetaType::Int)
        return false;
    const qlonglong v = value.toLongLong();
    const QString& t = type.name;
    const bool fits = t == QLatin1String("bigint") || (t == QLatin1String("int") && FitsInt(v)) ||
                      (t == QLatin1String("smallint") && v >= SHRT_MIN && v <= SHRT_MAX) ||
                      (t == QLatin1String("tinyint") && v >= 0 && v <= UCHAR_MAX);
    if (!fits && t == QLatin1String("int"))
        throw Overflow(false);
    if (!fits && (t == QLatin1String("smallint") || t == QLatin1String("tinyint")))
        throw ServerError::Make(
            220, 16, QStringLiteral("Arithmetic overflow error for data type %1, value = %2.").arg(t).arg(v));
    if (!fits)
        return false;
    out = QVariant(v);
    return true;
}
