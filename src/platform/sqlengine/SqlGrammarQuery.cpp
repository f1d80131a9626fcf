// The recognizer's expressions, queries and data changes.
#include "SqlGrammar.h"

namespace {

bool IsComparison(const SqlToken& t) {
    if (t.kind != SqlToken::Kind::Symbol)
        return false;
    static const char* ops[] = {"=", "<>", "!=", "<", ">", "<=", ">=", "!<", "!>"};
    for (const char* op : ops)
        if (t.text == QLatin1String(op))
            return true;
    return false;
}

bool IsArithmetic(const SqlToken& t) {
    if (t.kind != SqlToken::Kind::Symbol || t.text.size() != 1)
        return false;
    return QStringLiteral("+-*/%&|^").contains(t.text[0]);
}

bool IsOpenFunction(const SqlToken& t) {
    return t.IsWord("OPENROWSET") || t.IsWord("OPENQUERY") || t.IsWord("OPENDATASOURCE") ||
           t.IsWord("OPENXML") || t.IsWord("OPENJSON") || t.IsWord("CONTAINSTABLE") ||
           t.IsWord("FREETEXTTABLE") || t.IsWord("SEMANTICKEYPHRASETABLE") ||
           t.IsWord("SEMANTICSIMILARITYTABLE") || t.IsWord("SEMANTICSIMILARITYDETAILSTABLE");
}

bool IsTableHint(const SqlToken& t) {
    static const char* hints[] = {"NOLOCK",          "READUNCOMMITTED",
                                  "UPDLOCK",         "HOLDLOCK",
                                  "ROWLOCK",         "TABLOCK",
                                  "TABLOCKX",        "PAGLOCK",
                                  "XLOCK",           "NOWAIT",
                                  "READPAST",        "READCOMMITTED",
                                  "REPEATABLEREAD",  "SERIALIZABLE",
                                  "INDEX",           "FORCESEEK",
                                  "FORCESCAN",       "SNAPSHOT",
                                  "NOEXPAND",        "KEEPIDENTITY",
                                  "KEEPDEFAULTS",    "IGNORE_CONSTRAINTS",
                                  "IGNORE_TRIGGERS", "READCOMMITTEDLOCK",
                                  "FASTFIRSTROW"};
    if (t.kind != SqlToken::Kind::Word)
        return false;
    for (const char* h : hints)
        if (t.IsWord(h))
            return true;
    return false;
}

} // namespace

// ---- expressions

void SqlGrammar::Expr() {
    const Depth level(*this, mExpressionDepth, SqlParser::kMaxExpressionNesting);
    ExprOr();
}

void SqlGrammar::ExprOr() {
    ExprAnd();
    while (Accept("OR"))
        ExprAnd();
}

void SqlGrammar::ExprAnd() {
    ExprNot();
    while (Accept("AND"))
        ExprNot();
}

void SqlGrammar::ExprNot() {
    int nots = 0;
    while (Accept("NOT"))
        ++nots;
    if (nots > SqlParser::kMaxExpressionNesting)
        FailAt(-2);
    Predicate();
}

void SqlGrammar::Predicate() {
    if (Accept("EXISTS")) {
        ExpectSym("(");
        Query();
        ExpectSym(")");
        return;
    }
    Additive();
    if (IsComparison(Peek())) {
        // The server also takes the two characters of <=, >=, <>, != apart: a < = b
        if ((IsSym("<") && (IsSym("=", 1) || IsSym(">", 1))) || (IsSym(">") && IsSym("=", 1)))
            Next();
        Next();
        if (Accept("ALL") || Accept("ANY") || Accept("SOME")) {
            ExpectSym("(");
            Query();
            ExpectSym(")");
            return;
        }
        Additive();
        return;
    }
    const bool negated = Accept("NOT");
    if (Accept("BETWEEN")) {
        Additive();
        Expect("AND");
        Additive();
        return;
    }
    if (Accept("IN")) {
        SubqueryOrExprList();
        return;
    }
    if (Accept("LIKE")) {
        Additive();
        if (Accept("ESCAPE"))
            Additive();
        return;
    }
    if (negated)
        Fail();
    if (Accept("IS")) {
        Accept("NOT");
        if (Accept("DISTINCT")) {
            Expect("FROM");
            Additive();
            return;
        }
        Expect("NULL");
    }
}

void SqlGrammar::SubqueryOrExprList() {
    ExpectSym("(");
    if (Is("SELECT") || Is("WITH")) {
        Query();
    } else {
        do
            Expr();
        while (AcceptSym(","));
    }
    ExpectSym(")");
}

void SqlGrammar::Additive() {
    Unary();
    while (IsArithmetic(Peek()) && !IsCompoundAssign()) {
        Next();
        Unary();
    }
}

void SqlGrammar::Unary() {
    // Signs nest as deep as parentheses do, but are read in a loop.
    int signs = 0;
    while (AcceptSym("-") || AcceptSym("+") || AcceptSym("~"))
        ++signs;
    if (signs > SqlParser::kMaxExpressionNesting)
        FailAt(-2);
    Postfix();
}

void SqlGrammar::Postfix() {
    Primary();
    for (;;) {
        if (IsSym(".") && Peek(1).kind == SqlToken::Kind::Word && IsSym("(", 2)) {
            // A method of an xml, hierarchyid or spatial value: x.value('...', 'int')
            Next();
            Next();
            FunctionArguments(false);
            continue;
        }
        if (IsSym(".") &&
            (Peek(1).kind == SqlToken::Kind::Word || Peek(1).kind == SqlToken::Kind::QuotedName)) {
            // A property: geo.Lat, (x).STX
            Next();
            Next();
            continue;
        }
        if (Accept("COLLATE")) {
            Name();
            continue;
        }
        if (Is("AT") && Is("TIME", 1) && Is("ZONE", 2)) {
            Next();
            Next();
            Next();
            Primary();
            continue;
        }
        return;
    }
}

void SqlGrammar::FunctionArguments(bool aggregateLike) {
    ExpectSym("(");
    if (AcceptSym(")"))
        return;
    if (AcceptSym("*")) {
        ExpectSym(")");
        return;
    }
    if (aggregateLike && !Accept("DISTINCT"))
        Accept("ALL");
    do {
        if (AcceptSym("*") || Accept("DEFAULT"))
            continue;
        Expr();
        // JSON_OBJECT('key': value), TRIM(chars FROM text)
        if (AcceptSym(":") || Accept("FROM"))
            Expr();
        // JSON_ARRAY(..., NULL ON NULL | ABSENT ON NULL)
        if ((Is("NULL") || Is("ABSENT")) && Is("ON", 1) && Is("NULL", 2)) {
            Next();
            Next();
            Next();
        }
    } while (AcceptSym(","));
    if ((Is("NULL") || Is("ABSENT")) && Is("ON", 1) && Is("NULL", 2)) {
        Next();
        Next();
        Next();
    }
    ExpectSym(")");
}

void SqlGrammar::OverClause() {
    Expect("OVER");
    if (IsSym("("))
        WindowSpecification();
    else
        Name(); // a named window
}

void SqlGrammar::WindowSpecification() {
    ExpectSym("(");
    if (IsIdentifier() && !Is("PARTITION") && !Is("ORDER") && !Is("ROWS") && !Is("RANGE"))
        Next(); // based on a named window
    if (Accept("PARTITION")) {
        Expect("BY");
        do
            Expr();
        while (AcceptSym(","));
    }
    if (Is("ORDER"))
        OrderBy();
    if (Accept("ROWS") || Accept("RANGE")) {
        const auto bound = [this] {
            if (Accept("UNBOUNDED")) {
                if (!Accept("PRECEDING"))
                    Expect("FOLLOWING");
            } else if (Accept("CURRENT")) {
                Expect("ROW");
            } else {
                Unary();
                if (!Accept("PRECEDING"))
                    Expect("FOLLOWING");
            }
        };
        if (Accept("BETWEEN")) {
            bound();
            Expect("AND");
            bound();
        } else {
            bound();
        }
    }
    ExpectSym(")");
}

void SqlGrammar::CaseExpr() {
    Expect("CASE");
    if (!Is("WHEN"))
        Expr();
    if (!Is("WHEN"))
        Fail();
    while (Accept("WHEN")) {
        Expr();
        Expect("THEN");
        Expr();
    }
    if (Accept("ELSE"))
        Expr();
    Expect("END");
}

void SqlGrammar::Primary() {
    const SqlToken& t = Peek();
    switch (t.kind) {
    case SqlToken::Kind::Number:
    case SqlToken::Kind::String:
    case SqlToken::Kind::Variable:
        Next();
        return;
    case SqlToken::Kind::End:
        Fail();
    case SqlToken::Kind::Symbol:
        if (t.IsSymbol("(")) {
            Next();
            if (Is("SELECT") || Is("WITH")) {
                Query();
            } else {
                Expr();
                // A parenthesised query that opens with a parenthesised query: ((SELECT 1) UNION ...)
                if (Is("UNION") || Is("EXCEPT") || Is("INTERSECT")) {
                    while (Accept("UNION") || Accept("EXCEPT") || Accept("INTERSECT")) {
                        Accept("ALL");
                        QueryTerm();
                    }
                }
            }
            ExpectSym(")");
            return;
        }
        if (t.IsSymbol("$")) {
            // Money ($12.50) and the pseudo columns $action, $identity, $rowguid, $partition.f(x)
            Next();
            if (Peek().kind == SqlToken::Kind::Number) {
                Next();
                return;
            }
            if (Peek().kind != SqlToken::Kind::Word)
                Fail();
            Next();
            if (IsSym(".")) {
                Next();
                Name();
                FunctionArguments(false);
            }
            return;
        }
        if (t.IsSymbol("{")) {
            // An ODBC escape: {fn NOW()}, {d '2020-01-01'}
            Next();
            int depth = 1;
            while (depth > 0) {
                if (AtEnd())
                    Fail();
                if (IsSym("{"))
                    ++depth;
                else if (IsSym("}"))
                    --depth;
                Next();
            }
            return;
        }
        if (t.IsSymbol("::")) {
            // ::fn_name(...), the old form of a system table function
            Next();
            Name();
            FunctionArguments(false);
            return;
        }
        Fail();
    case SqlToken::Kind::Word:
    case SqlToken::Kind::QuotedName:
        break;
    }
    if (t.kind == SqlToken::Kind::Word) {
        const QString w = t.text.toUpper();
        if (w == QLatin1String("NULL") || w == QLatin1String("CURRENT_TIMESTAMP") ||
            w == QLatin1String("CURRENT_USER") || w == QLatin1String("SESSION_USER") ||
            w == QLatin1String("SYSTEM_USER") || w == QLatin1String("CURRENT_DATE") ||
            (w == QLatin1String("USER") && !IsSym("(", 1))) {
            Next();
            return;
        }
        if (w == QLatin1String("CASE")) {
            CaseExpr();
            return;
        }
        if ((w == QLatin1String("CAST") || w == QLatin1String("TRY_CAST") || w == QLatin1String("PARSE") ||
             w == QLatin1String("TRY_PARSE")) &&
            IsSym("(", 1)) {
            Next();
            Next();
            Expr();
            Expect("AS");
            DataType();
            if (Accept("USING"))
                Expr();
            ExpectSym(")");
            return;
        }
        if ((w == QLatin1String("CONVERT") || w == QLatin1String("TRY_CONVERT")) && IsSym("(", 1)) {
            Next();
            Next();
            DataType();
            ExpectSym(",");
            Expr();
            if (AcceptSym(","))
                Expr();
            ExpectSym(")");
            return;
        }
        if (w == QLatin1String("NEXT") && Is("VALUE", 1) && Is("FOR", 2)) {
            Next();
            Next();
            Next();
            MultiName();
            if (Is("OVER"))
                OverClause();
            return;
        }
        if (w == QLatin1String("IDENTITY") && IsSym("(", 1)) {
            // SELECT IDENTITY(int, 1, 1) AS id INTO ...
            Next();
            Next();
            DataType();
            while (AcceptSym(","))
                Unary();
            ExpectSym(")");
            return;
        }
        const bool reservedFunction = w == QLatin1String("LEFT") || w == QLatin1String("RIGHT") ||
                                      w == QLatin1String("COALESCE") || w == QLatin1String("NULLIF") ||
                                      w == QLatin1String("UPDATE") || w == QLatin1String("USER") ||
                                      w == QLatin1String("CONTAINS") || w == QLatin1String("FREETEXT") ||
                                      w == QLatin1String("IDENTITYCOL") || w == QLatin1String("TRY_CONVERT");
        if (SqlLexer::IsReserved(w) && !reservedFunction)
            Fail();
        if (w == QLatin1String("IDENTITYCOL")) {
            Next();
            return;
        }
    }
    // A column, a function call, a type's static method (geography::Point(...)), name.*
    Next();
    while (IsSym(".")) {
        Next();
        if (AcceptSym("*"))
            return;
        if (IsSym("."))
            continue;
        if (Peek().kind != SqlToken::Kind::Word && Peek().kind != SqlToken::Kind::QuotedName)
            Fail();
        Next();
    }
    if (AcceptSym("::")) {
        Name();
        if (IsSym("("))
            FunctionArguments(false);
        return;
    }
    if (!IsSym("("))
        return;
    FunctionArguments(true);
    if (Is("WITHIN") && Is("GROUP", 1)) {
        Next();
        Next();
        ExpectSym("(");
        OrderBy();
        ExpectSym(")");
    }
    if ((Is("IGNORE") || Is("RESPECT")) && Is("NULLS", 1)) {
        Next();
        Next();
    }
    if (Is("OVER"))
        OverClause();
}

// ---- queries

void SqlGrammar::Query() {
    const Depth level(*this, mExpressionDepth, SqlParser::kMaxExpressionNesting);
    if (Is("WITH"))
        WithCommonTables();
    QueryBody();
    if (Is("ORDER")) {
        OrderBy();
        if (Accept("OFFSET")) {
            Expr();
            if (!Accept("ROWS"))
                Expect("ROW");
            if (Accept("FETCH")) {
                if (!Accept("FIRST"))
                    Expect("NEXT");
                Expr();
                if (!Accept("ROWS"))
                    Expect("ROW");
                Expect("ONLY");
            }
        }
    }
    // COMPUTE SUM(x)[, ...] [BY a, ...], the old form of totals after the rows
    while (Accept("COMPUTE")) {
        do
            Expr();
        while (AcceptSym(","));
        if (Accept("BY")) {
            do
                Expr();
            while (AcceptSym(","));
        }
    }
    ForClause();
    OptionClause();
}

void SqlGrammar::QueryBody() {
    QueryTerm();
    for (;;) {
        if (Accept("UNION")) {
            Accept("ALL");
        } else if (!Accept("EXCEPT") && !Accept("INTERSECT")) {
            return;
        }
        QueryTerm();
    }
}

void SqlGrammar::QueryTerm() {
    if (AcceptSym("(")) {
        Query();
        ExpectSym(")");
        return;
    }
    QuerySpecification();
}

void SqlGrammar::Top() {
    Expect("TOP");
    if (AcceptSym("(")) {
        Expr();
        ExpectSym(")");
    } else {
        if (Peek().kind != SqlToken::Kind::Number && Peek().kind != SqlToken::Kind::Variable)
            Fail();
        Next();
    }
    Accept("PERCENT");
    if (Is("WITH") && Is("TIES", 1)) {
        Next();
        Next();
    }
}

void SqlGrammar::QuerySpecification() {
    Expect("SELECT");
    if (!Accept("ALL"))
        Accept("DISTINCT");
    if (Is("TOP"))
        Top();
    do
        SelectItem();
    while (AcceptSym(","));
    if (Accept("INTO")) {
        MultiName();
        if (Accept("ON"))
            Name();
    }
    if (Accept("FROM"))
        TableSources();
    WhereClause();
    if (Is("GROUP"))
        GroupBy();
    if (Accept("HAVING"))
        Expr();
    if (Is("WINDOW") && IsIdentifier(1) && Is("AS", 2)) {
        Next();
        do {
            Name();
            Expect("AS");
            WindowSpecification();
        } while (AcceptSym(","));
    }
}

void SqlGrammar::SelectItem() {
    if (AcceptSym("*"))
        return;
    if (Peek().kind == SqlToken::Kind::Variable && (IsSym("=", 1) || IsCompoundAssign(1))) {
        Next();
        if (IsCompoundAssign())
            SkipCompoundAssign();
        else
            Next();
        Expr();
        return;
    }
    if ((IsIdentifier() || Peek().kind == SqlToken::Kind::String) && IsSym("=", 1)) {
        // alias = expression
        Next();
        Next();
        Expr();
        return;
    }
    Expr();
    if (Accept("AS")) {
        if (!IsIdentifier() && Peek().kind != SqlToken::Kind::String)
            Fail();
        Next();
        return;
    }
    if ((IsIdentifier() && !Is("MERGE") && !Is("WINDOW")) || Peek().kind == SqlToken::Kind::String)
        Next();
}

void SqlGrammar::OrderBy() {
    Expect("ORDER");
    Expect("BY");
    do {
        Expr();
        if (!Accept("ASC"))
            Accept("DESC");
    } while (AcceptSym(","));
}

void SqlGrammar::ForClause() {
    if (!Is("FOR") || !(Is("XML", 1) || Is("JSON", 1) || Is("BROWSE", 1)))
        return;
    Next();
    if (Accept("BROWSE"))
        return;
    const bool xml = Accept("XML");
    if (!xml)
        Expect("JSON");
    // The mode, then directives: RAW('row'), PATH(''), AUTO, EXPLICIT; TYPE, ELEMENTS XSINIL, ROOT('x'),
    // BINARY BASE64, XMLSCHEMA, INCLUDE_NULL_VALUES, WITHOUT_ARRAY_WRAPPER.
    do {
        if (Peek().kind != SqlToken::Kind::Word)
            Fail();
        Next();
        while (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text) &&
               !IsStatementStart() && !Is("THROW"))
            Next();
        if (IsSym("("))
            Balanced();
    } while (AcceptSym(","));
}

void SqlGrammar::OptionClause() {
    if (!Is("OPTION") || !IsSym("(", 1))
        return;
    Next();
    Balanced();
}

void SqlGrammar::GroupBy() {
    Expect("GROUP");
    Expect("BY");
    Accept("ALL");
    do
        GroupingElement();
    while (AcceptSym(","));
    if (Accept("WITH")) {
        if (!Accept("ROLLUP"))
            Expect("CUBE");
    }
}

void SqlGrammar::GroupingElement() {
    const Depth level(*this, mExpressionDepth, SqlParser::kMaxExpressionNesting);
    if (IsSym("(") && IsSym(")", 1)) {
        Next();
        Next();
        return;
    }
    if ((Is("ROLLUP") || Is("CUBE")) && IsSym("(", 1)) {
        Next();
        Next();
        do
            GroupingElement();
        while (AcceptSym(","));
        ExpectSym(")");
        return;
    }
    if (Is("GROUPING") && Is("SETS", 1)) {
        Next();
        Next();
        ExpectSym("(");
        do
            GroupingElement();
        while (AcceptSym(","));
        ExpectSym(")");
        return;
    }
    if (IsSym("(") && !Is("SELECT", 1) && !Is("WITH", 1)) {
        // (a, b) as one grouping set, or a parenthesised expression
        Next();
        do
            GroupingElement();
        while (AcceptSym(","));
        ExpectSym(")");
        while (IsArithmetic(Peek())) {
            Next();
            Unary();
        }
        return;
    }
    Expr();
}

void SqlGrammar::WhereClause() {
    if (!Accept("WHERE"))
        return;
    if (Accept("CURRENT")) {
        Expect("OF");
        Accept("GLOBAL");
        NameOrVariable();
        return;
    }
    Expr();
}

void SqlGrammar::TableSources() {
    do
        TableSource();
    while (AcceptSym(","));
}

void SqlGrammar::TableSource() {
    const Depth level(*this, mExpressionDepth, SqlParser::kMaxExpressionNesting);
    TablePrimary();
    for (;;) {
        if (Is("CROSS") || Is("OUTER")) {
            Next();
            if (Accept("APPLY")) {
                TablePrimary();
                continue;
            }
            if (mTokens[mPos - 1].IsWord("OUTER"))
                Fail();
            Expect("JOIN");
            TablePrimary();
            continue;
        }
        if (Is("INNER") || Is("LEFT") || Is("RIGHT") || Is("FULL") || Is("JOIN")) {
            if (!Accept("INNER") && (Accept("LEFT") || Accept("RIGHT") || Accept("FULL")))
                Accept("OUTER");
            if (Accept("LOOP") || Accept("HASH") || Accept("MERGE") || Accept("REMOTE")) {
            }
            Expect("JOIN");
            TableSource();
            Expect("ON");
            Expr();
            continue;
        }
        if (Is("PIVOT") || Is("UNPIVOT")) {
            const bool pivot = Is("PIVOT");
            Next();
            ExpectSym("(");
            if (pivot)
                Expr();
            else
                Name();
            Expect("FOR");
            MultiName();
            Expect("IN");
            NameList();
            ExpectSym(")");
            TableAlias(false);
            continue;
        }
        return;
    }
}

void SqlGrammar::TableAlias(bool columnsAllowed) {
    if (Accept("AS")) {
        if (!IsIdentifier() && Peek().kind != SqlToken::Kind::String)
            Fail();
        Next();
    } else if (IsIdentifier() && !Is("TABLESAMPLE") && !Is("MERGE") && !Is("WINDOW") &&
               !(Is("OPTION") && IsSym("(", 1))) {
        Next();
    } else {
        return;
    }
    if (columnsAllowed && IsSym("(") && IsIdentifier(1))
        NameList();
}

void SqlGrammar::TableHints() {
    if (Is("WITH") && IsSym("(", 1)) {
        Next();
        Balanced();
        return;
    }
    // The old form without WITH: FROM t (NOLOCK)
    if (IsSym("(") && IsTableHint(Peek(1)))
        Balanced();
}

void SqlGrammar::TablePrimary() {
    if (IsSym("(")) {
        int ahead = 1;
        while (IsSym("(", ahead))
            ++ahead;
        Next();
        if (Is("VALUES")) {
            Next();
            do {
                ExpectSym("(");
                do
                    Expr();
                while (AcceptSym(","));
                ExpectSym(")");
            } while (AcceptSym(","));
            ExpectSym(")");
            TableAlias(true);
            return;
        }
        if (Is("SELECT", ahead - 1) || Is("WITH", ahead - 1)) {
            if (Is("WITH"))
                WithCommonTables();
            Query();
            ExpectSym(")");
            TableAlias(true);
            return;
        }
        TableSource();
        ExpectSym(")");
        return;
    }
    if (Peek().kind == SqlToken::Kind::Variable) {
        Next();
        if (IsSym(".")) {
            // @x.nodes('/a/b') AS t(c)
            Next();
            Name();
            FunctionArguments(false);
        }
        TableAlias(true);
        TableHints();
        return;
    }
    if (IsSym("::")) {
        Next();
        Name();
        FunctionArguments(false);
        TableAlias(true);
        return;
    }
    if (IsOpenFunction(Peek()) && IsSym("(", 1)) {
        const bool json = Is("OPENJSON");
        const bool xml = Is("OPENXML");
        Next();
        Balanced();
        while (AcceptSym(".")) {
            if (IsSym("."))
                continue;
            Name();
        }
        if (json && Is("WITH") && IsSym("(", 1))
            OpenJsonWith();
        if (xml && Accept("WITH")) {
            if (IsSym("("))
                Balanced();
            else
                MultiName();
        }
        TableAlias(true);
        TableHints();
        return;
    }
    MultiName();
    bool function = false;
    if (IsSym("(") && !IsTableHint(Peek(1))) {
        FunctionArguments(false);
        function = true;
    }
    if (Is("FOR") && Is("SYSTEM_TIME", 1)) {
        Next();
        Next();
        if (Accept("AS")) {
            Expect("OF");
            Additive();
        } else if (Accept("FROM")) {
            Additive();
            Expect("TO");
            Additive();
        } else if (Accept("BETWEEN")) {
            Additive();
            Expect("AND");
            Additive();
        } else if (Accept("CONTAINED")) {
            Expect("IN");
            Balanced();
        } else {
            Expect("ALL");
        }
    }
    if (!function)
        TableHints(); // the old form may stand before the alias: FROM t (NOLOCK) AS a
    TableAlias(function);
    if (Accept("TABLESAMPLE")) {
        Accept("SYSTEM");
        Balanced();
        if (Accept("REPEATABLE"))
            Balanced();
    }
    TableHints();
}

void SqlGrammar::OpenJsonWith() {
    Expect("WITH");
    ExpectSym("(");
    do {
        Name();
        DataType();
        if (Peek().kind == SqlToken::Kind::String)
            Next();
        if (Accept("AS"))
            Expect("JSON");
    } while (AcceptSym(","));
    ExpectSym(")");
}

void SqlGrammar::WithCommonTables() {
    Expect("WITH");
    if (Is("XMLNAMESPACES")) {
        Next();
        Balanced();
        if (!AcceptSym(","))
            return;
    }
    do {
        Name();
        if (IsSym("("))
            NameList();
        Expect("AS");
        ExpectSym("(");
        Query();
        ExpectSym(")");
    } while (AcceptSym(","));
}

void SqlGrammar::StatementAfterWith() {
    if (Is("SELECT") || IsSym("("))
        Query();
    else if (Is("INSERT"))
        Insert();
    else if (Is("UPDATE"))
        Update();
    else if (Is("DELETE"))
        Delete();
    else if (Is("MERGE"))
        Merge();
    else
        Fail();
}
