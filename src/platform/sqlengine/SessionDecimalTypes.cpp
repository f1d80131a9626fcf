// The types of a query's decimal results. SQLite gives a declared type only for a column read
// straight from a table; an item computed from decimal columns, constants and variables gets its
// type here, by the server's rules, so that a client sees decimal(p,s) and the right decimals.
#include "SessionState.h"

namespace {

bool IsDecimalType(int typeId) {
    return typeId == 106 || typeId == 108 || typeId == 60 || typeId == 122;
}

std::optional<SqlDecimal::Kind> KindOf(int typeId) {
    switch (typeId) {
    case 106:
    case 108:
        return SqlDecimal::Kind::Decimal;
    case 60:
        return SqlDecimal::Kind::Money;
    case 122:
        return SqlDecimal::Kind::SmallMoney;
    default:
        return std::nullopt;
    }
}

// A value of the column's type: zero, or the smallest step for a divisor.
SqlDecimal Sample(const SqlColumn& c, bool step) {
    const auto kind = KindOf(c.typeId);
    const SqlDecimal v =
        step ? *SqlDecimal::ParseLoose(
                   QStringLiteral("1e-%1").arg(kind == SqlDecimal::Kind::Decimal ? c.scale : 4), false)
             : SqlDecimal::FromInteger(0);
    if (kind && *kind != SqlDecimal::Kind::Decimal)
        return v.ToMoney(*kind);
    return v.To(std::max(c.precision, 1), std::clamp(c.scale, 0, std::max(c.precision, 1)));
}

SqlDecimal Sample(const SqlDecimal& type, bool step) {
    SqlColumn c;
    c.typeId = type.TypeKind() == SqlDecimal::Kind::Money        ? 60
               : type.TypeKind() == SqlDecimal::Kind::SmallMoney ? 122
                                                                 : 108;
    c.precision = type.Precision();
    c.scale = type.Scale();
    return Sample(c, step);
}

SqlColumn ColumnOf(const SqlDecimal& type, int typeId = 108) {
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
        c.typeId = typeId;
        const int p = type.Precision();
        c.length = p <= 9 ? 5 : p <= 19 ? 9 : p <= 28 ? 13 : 17;
    }
    }
    c.precision = type.Precision();
    c.scale = type.Scale();
    return c;
}

// Whether an item may be a decimal computed from columns: arithmetic, or an aggregate or rounding
// of one. Only then is it worth asking SQLite for the columns' types.
bool MayBeDecimal(const SqlExpr& e) {
    switch (e.kind) {
    case SqlExpr::Kind::Binary:
        return e.text.size() == 1 && QStringLiteral("+-*/%").contains(e.text[0]);
    case SqlExpr::Kind::Unary:
        return e.text == QLatin1String("-") || e.text == QLatin1String("+");
    case SqlExpr::Kind::Function: {
        if (e.parts.size() > 1)
            return true; // a user's function, which may return a decimal
        static const QStringList names = {
            QStringLiteral("SUM"),   QStringLiteral("AVG"),     QStringLiteral("MIN"),
            QStringLiteral("MAX"),   QStringLiteral("ABS"),     QStringLiteral("ROUND"),
            QStringLiteral("FLOOR"), QStringLiteral("CEILING"), QStringLiteral("SIGN")};
        return names.contains(e.text.toUpper());
    }
    default:
        return false;
    }
}

void CollectColumns(const SqlExpr& e, QList<const SqlExpr*>& out) {
    if (e.kind == SqlExpr::Kind::Column) {
        out.append(&e);
        return;
    }
    if (e.kind == SqlExpr::Kind::Subquery || e.kind == SqlExpr::Kind::Exists)
        return;
    for (const SqlExprP& a : e.args)
        if (a)
            CollectColumns(*a, out);
}

// The columns that conversions to text in e read directly.
void CollectTextCasts(const SqlExpr& e, QList<const SqlExpr*>& out) {
    if (e.kind == SqlExpr::Kind::Subquery || e.kind == SqlExpr::Kind::Exists)
        return;
    if (e.kind == SqlExpr::Kind::Cast && !e.args.isEmpty() && e.args[0] &&
        e.args[0]->kind == SqlExpr::Kind::Column && !e.text.endsWith(QLatin1String("PARSE"))) {
        const SystemType* t = Catalogue::FindType(e.type.name.toLower());
        if (t && t->character)
            out.append(e.args[0].get());
    }
    for (const SqlExprP& a : e.args)
        if (a)
            CollectTextCasts(*a, out);
}

} // namespace

QVariant DecimalVariableValue(const QVariant& v, const SqlColumn& c) {
    if (!v.isValid() || v.isNull() || !KindOf(c.typeId))
        return v;
    const bool money = c.typeId == 60 || c.typeId == 122;
    const std::optional<SqlDecimal> d = v.typeId() == QMetaType::Double ? SqlDecimal::FromDouble(v.toDouble())
                                        : v.typeId() == QMetaType::QString
                                            ? SqlDecimal::ParseLoose(v.toString(), money)
                                            : std::nullopt;
    if (!d)
        return v;
    try {
        if (money)
            return QVariant::fromValue(d->ToMoney(*KindOf(c.typeId)));
        return QVariant::fromValue(d->To(std::clamp(c.precision, 1, SqlDecimal::kMaxPrecision),
                                         std::clamp(c.scale, 0, SqlDecimal::kMaxPrecision)));
    } catch (const ServerError&) {
        return v;
    }
}

std::optional<SqlDecimal> SessionState::DecimalTypeOf(const SqlExpr& e,
                                                      const QHash<const SqlExpr*, SqlColumn>& columns,
                                                      bool& integer) {
    integer = false;
    if (e.kind == SqlExpr::Kind::Column) {
        const auto it = columns.constFind(&e);
        if (it == columns.cend())
            return std::nullopt;
        if (it->typeId == 56 || it->typeId == 127 || it->typeId == 52 || it->typeId == 48) {
            integer = true;
            return SqlDecimal::FromInteger(0, it->typeId == 127  ? 19
                                              : it->typeId == 52 ? 5
                                              : it->typeId == 48 ? 3
                                                                 : 10);
        }
        if (!IsDecimalType(it->typeId))
            return std::nullopt;
        return Sample(*it, false);
    }
    if (FastDec d; DecimalOperand(e, d)) {
        integer = d.integer;
        return d.value;
    }
    switch (e.kind) {
    case SqlExpr::Kind::Cast: {
        const std::optional<SqlColumn> c = DecimalColumn(e);
        if (!c)
            return std::nullopt;
        return Sample(*c, false);
    }
    case SqlExpr::Kind::Unary:
        if (e.args.size() != 1 || (e.text != QLatin1String("-") && e.text != QLatin1String("+")))
            return std::nullopt;
        return DecimalTypeOf(*e.args[0], columns, integer);
    case SqlExpr::Kind::Binary: {
        if (e.args.size() != 2 || e.text.size() != 1 || !QStringLiteral("+-*/%").contains(e.text[0]))
            return std::nullopt;
        bool ia = false;
        bool ib = false;
        const std::optional<SqlDecimal> a = DecimalTypeOf(*e.args[0], columns, ia);
        const std::optional<SqlDecimal> b = DecimalTypeOf(*e.args[1], columns, ib);
        if (!a || !b || (ia && ib))
            return std::nullopt;
        const SqlDecimal za = Sample(*a, false);
        const SqlDecimal zb = ib ? *b : Sample(*b, false);
        const SqlDecimal unit = ib ? SqlDecimal::FromInteger(1, b->Precision()) : Sample(*b, true);
        const SqlDecimal left = ia ? SqlDecimal::FromInteger(0, a->Precision()) : za;
        switch (e.text[0].unicode()) {
        case u'+':
            return SqlDecimal::Add(left, zb);
        case u'-':
            return SqlDecimal::Subtract(left, zb);
        case u'*':
            return SqlDecimal::Multiply(left, zb);
        case u'/':
            return SqlDecimal::Divide(left, unit);
        default:
            return SqlDecimal::Modulo(left, unit);
        }
    }
    case SqlExpr::Kind::Function: {
        if (e.parts.size() > 1) {
            // A user's function: the type it is declared to return.
            const CatalogueObject fn = Catalogue::FindObject(*mDb, Schema(), e.parts.last(),
                                                             e.parts.value(e.parts.size() - 2), mUid);
            if (!fn.IsValid() || fn.xtype != QLatin1String("FN"))
                return std::nullopt;
            const Module m = LoadModule(fn);
            if (!m.statement)
                return std::nullopt;
            const SqlTypeSpec type = ResolveType(m.statement->returnType);
            const SqlDecimal zero = SqlDecimal::FromInteger(0);
            if (type.name == QLatin1String("money"))
                return zero.ToMoney(SqlDecimal::Kind::Money);
            if (type.name == QLatin1String("smallmoney"))
                return zero.ToMoney(SqlDecimal::Kind::SmallMoney);
            if (type.name != QLatin1String("decimal") && type.name != QLatin1String("numeric"))
                return std::nullopt;
            const int precision =
                type.precision > 0 ? std::min(type.precision, SqlDecimal::kMaxPrecision) : 18;
            return zero.To(precision, std::clamp(type.scale, 0, precision));
        }
        const QString f = e.text.toUpper();
        if (e.args.isEmpty() || !e.args[0])
            return std::nullopt;
        bool inner = false;
        const std::optional<SqlDecimal> a = DecimalTypeOf(*e.args[0], columns, inner);
        if (!a || inner)
            return std::nullopt;
        if (f == QLatin1String("MIN") || f == QLatin1String("MAX") || f == QLatin1String("ABS") ||
            f == QLatin1String("ROUND") || f == QLatin1String("SIGN"))
            return Sample(*a, false);
        if (f == QLatin1String("FLOOR") || f == QLatin1String("CEILING"))
            return Sample(*a, false).Floor();
        if (a->IsMoney() && (f == QLatin1String("SUM") || f == QLatin1String("AVG")))
            return SqlDecimal::FromInteger(0).ToMoney(SqlDecimal::Kind::Money);
        if (f == QLatin1String("SUM"))
            return SqlDecimal::FromInteger(0).To(SqlDecimal::kMaxPrecision, a->Scale());
        if (f == QLatin1String("AVG"))
            return SqlDecimal::FromInteger(0).To(SqlDecimal::kMaxPrecision, std::max(a->Scale(), 6));
        return std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

QHash<int, SqlColumn> SessionState::DecimalColumns(const SqlSelect& select, QHash<int, KnownValue>* values) {
    QHash<int, SqlColumn> known;
    if (select.cores.isEmpty())
        return known;
    const SqlSelectCore& core = select.cores.first();
    QList<const SqlExpr*> refs;
    QList<const SqlExpr*> texts;
    mTextSources.clear();
    for (const SqlSelectItem& item : core.items) {
        if (!item.expr || item.expr->kind == SqlExpr::Kind::Star)
            return known; // the items' places are not known
        if (MayBeDecimal(*item.expr) && Shallow(*item.expr))
            CollectColumns(*item.expr, refs);
        if (Shallow(*item.expr))
            CollectTextCasts(*item.expr, texts);
    }
    const QList<const SqlExpr*> probed = refs + texts;
    // The declared types of the columns the items use, from SQLite: a query over the same FROM.
    QHash<const SqlExpr*, SqlColumn> columns;
    if (!probed.isEmpty() && !core.from.isEmpty() && select.ctes.isEmpty()) {
        try {
            SqlTranslator t(*this);
            QStringList list;
            for (const SqlExpr* r : probed)
                list.append(t.Expr(*r));
            const QString from = t.FromList(core.from);
            const CachedStatement probe =
                mDb->Prepare(QStringLiteral("SELECT %1 FROM %2 LIMIT 0").arg(list.join(u','), from));
            for (int i = 0; i < probed.size() && i < probe->ColumnCount(); ++i) {
                const QString decl = probe->DeclaredType(i);
                if (decl.isEmpty())
                    continue;
                SqlColumn c;
                Catalogue::DescribeDeclaredType(decl, &c.typeId, &c.length, &c.precision, &c.scale);
                if (i < refs.size())
                    columns.insert(probed[i], c);
                else if (IsDecimalType(c.typeId))
                    mTextSources.insert(probed[i], c.typeId == 60    ? 100
                                                   : c.typeId == 122 ? 101
                                                                     : std::clamp(c.scale, 0, 38));
            }
        } catch (const ServerError&) {
            columns.clear();
            mTextSources.clear();
        } catch (const SqliteError&) {
            columns.clear();
            mTextSources.clear();
        }
    }
    for (int i = 0; i < core.items.size(); ++i) {
        const SqlExpr& e = *core.items[i].expr;
        if (e.kind == SqlExpr::Kind::Column || !Shallow(e))
            continue;
        bool integer = false;
        std::optional<SqlDecimal> type;
        KnownValue value;
        try {
            type = DecimalTypeOf(e, columns, integer);
            // A constant's exact value; of a UNION only the first query's rows would have it.
            if (FastDec d; type && !integer && select.cores.size() == 1 && FastDecimal(e, d) && !d.null)
                value.exact = d.value;
        } catch (const ServerError&) {
            continue; // the value fails where it is computed; no row, no error
        }
        if (!type || integer) {
            if (const std::optional<SqlColumn> date = DateItemColumn(e))
                known.insert(i, *date);
            continue;
        }
        const bool declared =
            e.kind == SqlExpr::Kind::Cast && ResolveType(e.type).name == QLatin1String("decimal");
        known.insert(i, ColumnOf(*type, declared ? 106 : 108));
        value.cutMoney = type->IsMoney() && e.kind == SqlExpr::Kind::Binary && e.text == QLatin1String("/");
        if (values && (value.exact || value.cutMoney))
            values->insert(i, value);
    }
    return known;
}
