// The recognizer's data changes: INSERT, UPDATE, DELETE, MERGE and their OUTPUT clauses.
#include "SqlGrammar.h"

namespace {

bool IsOpenFunction(const SqlToken& t) {
    return t.IsWord("OPENROWSET") || t.IsWord("OPENQUERY") || t.IsWord("OPENDATASOURCE");
}

} // namespace

void SqlGrammar::DmlTarget() {
    if (Peek().kind == SqlToken::Kind::Variable) {
        Next();
        return;
    }
    if (IsOpenFunction(Peek()) && IsSym("(", 1)) {
        Next();
        Balanced();
        while (AcceptSym(".")) {
            if (IsSym("."))
                continue;
            Name();
        }
        return;
    }
    MultiName();
}

void SqlGrammar::Output() {
    while (Accept("OUTPUT")) {
        do
            SelectItem();
        while (AcceptSym(","));
        if (Accept("INTO")) {
            DmlTarget();
            if (IsSym("(") && IsIdentifier(1))
                NameList();
        }
    }
}

void SqlGrammar::Insert() {
    Expect("INSERT");
    if (Is("TOP"))
        Top();
    Accept("INTO");
    DmlTarget();
    TableHints();
    if (IsSym("(") && !Is("SELECT", 1) && !Is("WITH", 1) && !IsSym("(", 1)) {
        ExpectSym("(");
        do
            MultiName();
        while (AcceptSym(","));
        ExpectSym(")");
    }
    Output();
    if (Accept("DEFAULT")) {
        Expect("VALUES");
        return;
    }
    if (Accept("VALUES")) {
        do {
            ExpectSym("(");
            do {
                if (!Accept("DEFAULT"))
                    Expr();
            } while (AcceptSym(","));
            ExpectSym(")");
        } while (AcceptSym(","));
        return;
    }
    if (Is("EXEC") || Is("EXECUTE")) {
        Exec(false);
        return;
    }
    if (Is("WITH"))
        WithCommonTables();
    if (Is("SELECT") || IsSym("(")) {
        Query();
        return;
    }
    Fail();
}

void SqlGrammar::SetAssignments() {
    Expect("SET");
    do {
        if (Peek().kind == SqlToken::Kind::Variable) {
            Next();
            if (IsCompoundAssign()) {
                SkipCompoundAssign();
            } else {
                ExpectSym("=");
                // @v = column = expression
                if (IsIdentifier() && IsSym("=", 1)) {
                    Next();
                    Next();
                }
            }
            Expr();
            continue;
        }
        MultiName();
        if (IsSym("(")) {
            // column.WRITE(...) or a method of a CLR or xml column: col.modify('...')
            FunctionArguments(false);
            continue;
        }
        if (IsCompoundAssign())
            SkipCompoundAssign();
        else
            ExpectSym("=");
        if (Peek().kind == SqlToken::Kind::Variable && IsSym("=", 1)) {
            Next();
            Next();
        }
        if (!Accept("DEFAULT"))
            Expr();
    } while (AcceptSym(","));
}

void SqlGrammar::Update() {
    Expect("UPDATE");
    if (Is("TOP"))
        Top();
    DmlTarget();
    TableHints();
    SetAssignments();
    Output();
    if (Accept("FROM"))
        TableSources();
    WhereClause();
    OptionClause();
}

void SqlGrammar::Delete() {
    Expect("DELETE");
    if (Is("TOP"))
        Top();
    Accept("FROM");
    DmlTarget();
    TableHints();
    Output();
    if (Accept("FROM"))
        TableSources();
    WhereClause();
    OptionClause();
}

void SqlGrammar::Merge() {
    Expect("MERGE");
    if (Is("TOP"))
        Top();
    Accept("INTO");
    DmlTarget();
    TableHints();
    if (!Is("USING"))
        TableAlias(false);
    Expect("USING");
    TableSource();
    Expect("ON");
    Expr();
    if (!Is("WHEN"))
        Fail();
    while (Accept("WHEN")) {
        // WHEN MATCHED and WHEN NOT MATCHED BY SOURCE update or delete; WHEN NOT MATCHED [BY TARGET]
        // inserts.
        bool inserts = false;
        if (Accept("NOT")) {
            Expect("MATCHED");
            inserts = true;
            if (Accept("BY")) {
                if (Accept("SOURCE"))
                    inserts = false;
                else
                    Expect("TARGET");
            }
        } else {
            Expect("MATCHED");
        }
        if (Accept("AND"))
            Expr();
        Expect("THEN");
        if (!inserts) {
            if (Is("UPDATE")) {
                Next();
                SetAssignments();
            } else {
                Expect("DELETE");
            }
            continue;
        }
        Expect("INSERT");
        if (IsSym("("))
            NameList();
        if (Accept("DEFAULT")) {
            Expect("VALUES");
        } else {
            Expect("VALUES");
            ExpectSym("(");
            do {
                if (!Accept("DEFAULT"))
                    Expr();
            } while (AcceptSym(","));
            ExpectSym(")");
        }
    }
    Output();
    OptionClause();
}
