// The integer type of an expression as the server works it out, and the arithmetic of integer
// types handed to tsql_int, which stops where the server's int and bigint stop. SQLite values carry
// no declared type, so the type comes from how the expression is written: a literal, a column of a
// table, a variable, a conversion, and the operators over them.
#include "SqlTranslator.h"

#include <climits>

namespace {

using Kind = SqlTranslator::IntegerKind;

Kind KindOfName(const QString& type) {
    if (type == QLatin1String("int") || type == QLatin1String("integer"))
        return Kind::Int;
    if (type == QLatin1String("bigint"))
        return Kind::BigInt;
    if (type == QLatin1String("smallint"))
        return Kind::SmallInt;
    if (type == QLatin1String("tinyint"))
        return Kind::TinyInt;
    return Kind::None;
}

// The operators of tsql_int, as SqlFunctionsInteger.cpp reads them.
int OperatorCode(const QString& op) {
    if (op.size() != 1)
        return 0;
    switch (op[0].unicode()) {
    case u'+':
        return 1;
    case u'-':
        return 2;
    case u'*':
        return 3;
    case u'/':
        return 4;
    case u'%':
        return 5;
    default:
        return 0;
    }
}
constexpr int kBigStep = 8;

bool Integer(Kind k) {
    return k != Kind::None;
}

// Integer operands give int, or bigint when either is one: the small types widen to int first.
Kind Combined(Kind a, Kind b) {
    if (!Integer(a) || !Integer(b))
        return Kind::None;
    return a == Kind::BigInt || b == Kind::BigInt ? Kind::BigInt : Kind::Int;
}

Kind LiteralKind(const QString& text) {
    if (text.isEmpty() || text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        return Kind::None;
    for (const QChar c : text)
        if (!c.isDigit())
            return Kind::None;
    bool ok = false;
    const qlonglong v = text.toLongLong(&ok);
    // Past int a constant is numeric, and only a conversion makes a bigint of it.
    return ok && v <= INT_MAX ? Kind::Int : Kind::None;
}

} // namespace

SqlTranslator::IntegerKind SqlTranslator::ColumnKind(const SqlExpr& e) {
    if (e.parts.isEmpty() || !LateralColumn(e).isEmpty())
        return Kind::None;
    const QString column = e.parts.last().toLower();
    if (e.parts.size() >= 2) {
        const QString qualifier = e.parts[e.parts.size() - 2].toLower();
        for (qsizetype i = mColumnSources.size() - 1; i >= 0; --i)
            if (mColumnSources[i].alias == qualifier)
                return KindOfName(mColumnSources[i].columnTypes.value(column));
        return Kind::None;
    }
    // Unqualified: every source of the statement that has a column of the name must give it the same
    // integer type, and none may have columns that aren't known.
    Kind kind = Kind::None;
    for (const ColumnSource& s : mColumnSources) {
        if (s.unknown)
            return Kind::None;
        const auto it = s.columnTypes.constFind(column);
        if (it == s.columnTypes.cend())
            continue;
        const Kind k = KindOfName(*it);
        if (!Integer(k) || (Integer(kind) && k != kind))
            return Kind::None;
        kind = k;
    }
    return kind;
}

SqlTranslator::IntegerKind SqlTranslator::IntegerType(const SqlExpr& e) {
    switch (e.kind) {
    case SqlExpr::Kind::Number:
        return LiteralKind(e.text);
    case SqlExpr::Kind::Column:
        return ColumnKind(e);
    case SqlExpr::Kind::Variable:
        if (e.text.startsWith(QLatin1String("@@")) || mOverrides.contains(e.text.toLower()))
            return Kind::None;
        return KindOfName(mContext.VariableType(e.text));
    case SqlExpr::Kind::Cast:
        return KindOfName(e.type.name);
    case SqlExpr::Kind::Function: {
        const QString f = e.text.toUpper();
        if (f == QLatin1String("COUNT"))
            return Kind::Int;
        if (f == QLatin1String("COUNT_BIG"))
            return Kind::BigInt;
        return Kind::None;
    }
    case SqlExpr::Kind::Unary:
        if (e.args.size() != 1 || e.text == QLatin1String("NOT"))
            return Kind::None;
        return IntegerType(*e.args[0]);
    case SqlExpr::Kind::Binary: {
        if (e.args.size() != 2 || OperatorCode(e.text) == 0)
            return Kind::None;
        // a + b + c ... is as deep as it is long: its left edge is read in a loop.
        QList<const SqlExpr*> rights;
        const SqlExpr* n = &e;
        for (; n->kind == SqlExpr::Kind::Binary && n->args.size() == 2 && OperatorCode(n->text) != 0;
             n = n->args[0].get())
            rights.append(n->args[1].get());
        Kind kind = IntegerType(*n);
        for (qsizetype i = rights.size() - 1; i >= 0 && Integer(kind); --i)
            kind = Combined(kind, IntegerType(*rights[i]));
        return kind;
    }
    default:
        return Kind::None;
    }
}

qsizetype SqlTranslator::IntegerPrefix(const QList<const SqlExpr*>& operands, const QStringList& ops,
                                       QString* sql) {
    Kind kind = IntegerType(*operands[0]);
    if (!Integer(kind))
        return 0;
    QStringList terms;
    qsizetype taken = 0;
    for (; taken < ops.size(); ++taken) {
        const int code = OperatorCode(ops[taken]);
        if (code == 0)
            break;
        const Kind next = Combined(kind, IntegerType(*operands[taken + 1]));
        if (!Integer(next))
            break;
        kind = next;
        if (terms.isEmpty())
            terms.append(Expr(*operands[0]));
        terms.append(QString::number(kind == Kind::BigInt ? code + kBigStep : code));
        terms.append(Expr(*operands[taken + 1]));
    }
    if (taken > 0)
        *sql = Fold(QStringLiteral("tsql_int"), terms);
    return taken;
}

QString SqlTranslator::IntegerNegation(const SqlExpr& e) {
    if (e.text != QLatin1String("-") || e.args.size() != 1 || e.args[0]->kind == SqlExpr::Kind::Number)
        return {};
    const Kind kind = IntegerType(*e.args[0]);
    if (kind != Kind::Int && kind != Kind::BigInt)
        return {};
    return QStringLiteral("tsql_intneg(%1, %2)").arg(Expr(*e.args[0])).arg(kind == Kind::BigInt ? 1 : 0);
}
