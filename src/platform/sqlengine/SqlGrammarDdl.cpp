// The recognizer's definitions: modules, tables, indexes, types, schemas, permissions and the
// administrative statements whose option clauses are read without checking each option.
#include "SqlGrammar.h"

void SqlGrammar::Create(bool first) {
    Expect("CREATE");
    const bool orAlter = Is("OR") && Is("ALTER", 1);
    if (orAlter) {
        Next();
        Next();
    }
    const SqlToken& t = Peek();
    if (t.kind != SqlToken::Kind::Word)
        Fail();
    const QString w = t.text.toUpper();
    if (w == QLatin1String("PROC") || w == QLatin1String("PROCEDURE") || w == QLatin1String("FUNCTION") ||
        w == QLatin1String("VIEW") || w == QLatin1String("TRIGGER"))
        return Module(first, w);
    if (orAlter)
        Fail();
    if (w == QLatin1String("TABLE"))
        return CreateTable();
    if (w == QLatin1String("INDEX") || w == QLatin1String("UNIQUE") || w == QLatin1String("CLUSTERED") ||
        w == QLatin1String("NONCLUSTERED") || w == QLatin1String("COLUMNSTORE"))
        return CreateIndex();
    if (w == QLatin1String("TYPE"))
        return CreateType();
    if (w == QLatin1String("SCHEMA"))
        return CreateSchema();
    if (w == QLatin1String("DEFAULT") || w == QLatin1String("RULE")) {
        Next();
        MultiName();
        Expect("AS");
        Expr();
        return;
    }
    if (w == QLatin1String("SYNONYM")) {
        Next();
        MultiName();
        Expect("FOR");
        MultiName();
        return;
    }
    // Databases, logins, users, roles, sequences, statistics, certificates, keys, queues, partition
    // functions, full-text objects, event sessions ...: their options are read to the statement's end.
    Next();
    GenericTail();
}

void SqlGrammar::Alter(bool first) {
    Expect("ALTER");
    const SqlToken& t = Peek();
    if (t.kind != SqlToken::Kind::Word)
        Fail();
    const QString w = t.text.toUpper();
    if (w == QLatin1String("PROC") || w == QLatin1String("PROCEDURE") || w == QLatin1String("FUNCTION") ||
        w == QLatin1String("VIEW") || w == QLatin1String("TRIGGER"))
        return Module(first, w);
    if (w == QLatin1String("TABLE"))
        return AlterTable();
    Next();
    // ALTER DATABASE x SET ..., ALTER INDEX i ON t SET (...), ALTER SERVER CONFIGURATION SET ...: the
    // one SET of these belongs to the statement.
    const bool setAllowed = w == QLatin1String("DATABASE") || w == QLatin1String("INDEX") ||
                            w == QLatin1String("SERVER") || w == QLatin1String("AVAILABILITY");
    while (setAllowed && !AtEnd() && !IsSym(";") && !(IsStatementStart() && !Is("SET"))) {
        if (Accept("SET"))
            break;
        if (IsSym("("))
            Balanced();
        else
            Next();
    }
    GenericTail();
}

void SqlGrammar::Drop() {
    Expect("DROP");
    const SqlToken& t = Peek();
    if (t.kind != SqlToken::Kind::Word)
        Fail();
    const QString w = t.text.toUpper();
    static const QStringList simple = {
        QStringLiteral("TABLE"),     QStringLiteral("VIEW"),     QStringLiteral("PROC"),
        QStringLiteral("PROCEDURE"), QStringLiteral("FUNCTION"), QStringLiteral("TRIGGER"),
        QStringLiteral("INDEX"),     QStringLiteral("TYPE"),     QStringLiteral("SYNONYM"),
        QStringLiteral("SEQUENCE"),  QStringLiteral("DEFAULT"),  QStringLiteral("RULE"),
        QStringLiteral("SCHEMA"),    QStringLiteral("USER"),     QStringLiteral("ROLE"),
        QStringLiteral("LOGIN"),     QStringLiteral("DATABASE"), QStringLiteral("STATISTICS"),
        QStringLiteral("ASSEMBLY"),  QStringLiteral("AGGREGATE")};
    Next();
    if (!simple.contains(w)) {
        GenericTail();
        return;
    }
    if (Is("IF") && Is("EXISTS", 1)) {
        Next();
        Next();
    }
    do {
        MultiName();
        if (w == QLatin1String("INDEX") && Accept("ON"))
            MultiName();
    } while (AcceptSym(","));
    if (w == QLatin1String("INDEX") && Accept("WITH"))
        OptionList();
    if (w == QLatin1String("TRIGGER") && Accept("ON")) {
        if (Accept("ALL"))
            Expect("SERVER");
        else
            Expect("DATABASE");
    }
    if ((w == QLatin1String("TABLE") || w == QLatin1String("VIEW")) && Accept("CASCADE")) {
    }
}

// ---- modules

void SqlGrammar::Module(bool first, const QString& kind) {
    Q_UNUSED(first);
    Next();
    MultiName();
    if (kind == QLatin1String("PROC") || kind == QLatin1String("PROCEDURE")) {
        if (AcceptSym(";")) {
            if (Peek().kind != SqlToken::Kind::Number)
                Fail();
            Next();
        }
        if (AcceptSym("(")) {
            if (!IsSym(")"))
                Parameters(true);
            ExpectSym(")");
        } else if (Peek().kind == SqlToken::Kind::Variable) {
            Parameters(false);
        }
        ModuleOptions();
        if (Accept("FOR"))
            Expect("REPLICATION");
        Expect("AS");
        ModuleBody();
        return;
    }
    if (kind == QLatin1String("FUNCTION")) {
        ExpectSym("(");
        if (!IsSym(")"))
            Parameters(true);
        ExpectSym(")");
        Expect("RETURNS");
        bool inlineTable = false;
        if (Peek().kind == SqlToken::Kind::Variable) {
            Next();
            Expect("TABLE");
            TableDefinition();
        } else if (Accept("TABLE")) {
            inlineTable = true;
        } else {
            DataType();
        }
        ModuleOptions();
        Accept("AS");
        if (inlineTable) {
            Expect("RETURN");
            if (Is("WITH"))
                WithCommonTables();
            Query();
        } else if (Accept("EXTERNAL")) {
            Expect("NAME");
            MultiName();
        } else {
            Expect("BEGIN");
            if (Accept("ATOMIC")) {
                Expect("WITH");
                OptionList();
            }
            StatementsUntilEnd();
        }
        AcceptSym(";");
        if (!AtEnd())
            Fail();
        return;
    }
    if (kind == QLatin1String("VIEW")) {
        if (IsSym("("))
            NameList();
        ModuleOptions();
        Expect("AS");
        if (Is("WITH"))
            WithCommonTables();
        Query();
        if (Accept("WITH")) {
            Expect("CHECK");
            Expect("OPTION");
        }
        AcceptSym(";");
        if (!AtEnd())
            Fail();
        return;
    }
    // TRIGGER name ON table | DATABASE | ALL SERVER
    Expect("ON");
    if (Accept("ALL"))
        Expect("SERVER");
    else if (!Accept("DATABASE"))
        MultiName();
    ModuleOptions();
    if (Accept("INSTEAD"))
        Expect("OF");
    else if (!Accept("FOR"))
        Expect("AFTER");
    do {
        if (Peek().kind != SqlToken::Kind::Word)
            Fail();
        Next();
    } while (AcceptSym(","));
    if (Accept("WITH"))
        Expect("APPEND");
    if (Accept("NOT")) {
        Expect("FOR");
        Expect("REPLICATION");
    }
    Expect("AS");
    ModuleBody();
}

void SqlGrammar::ModuleBody() {
    if (Is("EXTERNAL") && Is("NAME", 1)) {
        Next();
        Next();
        MultiName();
        AcceptSym(";");
        if (!AtEnd())
            Fail();
        return;
    }
    while (!AtEnd()) {
        if (AcceptSym(";"))
            continue;
        Statement(false);
    }
}

void SqlGrammar::Parameters(bool parenthesised) {
    Q_UNUSED(parenthesised);
    do {
        if (Peek().kind != SqlToken::Kind::Variable || Peek().text.startsWith(QLatin1String("@@")))
            Fail();
        Next();
        Accept("AS");
        if (!Accept("CURSOR"))
            DataType();
        Accept("VARYING");
        if (Accept("NULL")) {
        } else if (Is("NOT") && Is("NULL", 1)) {
            Next();
            Next();
        }
        if (AcceptSym("="))
            Literal();
        if (!Accept("OUTPUT"))
            Accept("OUT");
        Accept("READONLY");
    } while (AcceptSym(","));
}

void SqlGrammar::ModuleOptions() {
    if (!Accept("WITH"))
        return;
    do {
        if (Accept("EXECUTE") || Accept("EXEC")) {
            Expect("AS");
            if (Peek().kind != SqlToken::Kind::Word && Peek().kind != SqlToken::Kind::String &&
                Peek().kind != SqlToken::Kind::QuotedName)
                Fail();
            Next();
        } else if (Accept("RETURNS")) {
            Expect("NULL");
            Expect("ON");
            Expect("NULL");
            Expect("INPUT");
        } else if (Accept("CALLED")) {
            Expect("ON");
            Expect("NULL");
            Expect("INPUT");
        } else if (Accept("INLINE")) {
            ExpectSym("=");
            if (!Accept("ON"))
                Expect("OFF");
        } else if (Is("RECOMPILE") || Is("ENCRYPTION") || Is("SCHEMABINDING") || Is("VIEW_METADATA") ||
                   Is("NATIVE_COMPILATION")) {
            Next();
        } else {
            Fail();
        }
    } while (AcceptSym(","));
}

// ---- tables

void SqlGrammar::TableDefinition() {
    ExpectSym("(");
    do {
        if (IsSym(")"))
            break; // a comma may close the list
        if (!TableConstraint())
            ColumnDefinition();
    } while (AcceptSym(","));
    ExpectSym(")");
}

void SqlGrammar::ColumnDefinition() {
    Name();
    if (Accept("AS")) {
        Expr();
        if (Accept("PERSISTED")) {
            if (Is("NOT") && Is("NULL", 1)) {
                Next();
                Next();
            }
        }
    } else {
        DataType();
    }
    ColumnConstraint();
}

void SqlGrammar::ColumnConstraint() {
    for (;;) {
        if (Accept("COLLATE")) {
            Name();
        } else if (Accept("NULL") || Accept("ROWGUIDCOL") || Accept("SPARSE") || Accept("FILESTREAM") ||
                   Accept("PERSISTED") || Accept("HIDDEN")) {
        } else if (Is("NOT") && Is("NULL", 1)) {
            Next();
            Next();
        } else if (Is("NOT") && Is("FOR", 1)) {
            Next();
            Next();
            Expect("REPLICATION");
        } else if (Accept("CONSTRAINT")) {
            Name();
            if (!Is("DEFAULT") && !TableConstraint())
                Fail();
        } else if (Accept("DEFAULT")) {
            Additive();
            if (Is("WITH") && Is("VALUES", 1)) {
                Next();
                Next();
            }
        } else if (Accept("IDENTITY")) {
            if (AcceptSym("(")) {
                Literal();
                ExpectSym(",");
                Literal();
                ExpectSym(")");
            }
        } else if ((Is("MASKED") || Is("ENCRYPTED")) && Is("WITH", 1)) {
            Next();
            Next();
            Balanced();
        } else if (Accept("GENERATED")) {
            Expect("ALWAYS");
            Expect("AS");
            Name();
            if (!Accept("START"))
                Expect("END");
        } else if (Is("PRIMARY") || Is("UNIQUE") || Is("FOREIGN") || Is("REFERENCES") || Is("CHECK") ||
                   Is("INDEX")) {
            TableConstraint();
        } else {
            return;
        }
    }
}

bool SqlGrammar::TableConstraint() {
    const bool named = Accept("CONSTRAINT");
    if (named)
        Name();
    if (Accept("PRIMARY") || Is("UNIQUE")) {
        if (mTokens[mPos - 1].IsWord("PRIMARY"))
            Expect("KEY");
        else
            Next();
        if (!Accept("CLUSTERED"))
            Accept("NONCLUSTERED");
        Accept("HASH");
        if (IsSym("("))
            IndexColumns();
        IndexTail();
        return true;
    }
    const bool foreign = Accept("FOREIGN");
    if (foreign) {
        Expect("KEY");
        NameList();
    }
    if (foreign || Is("REFERENCES")) {
        Expect("REFERENCES");
        MultiName();
        if (IsSym("("))
            NameList();
        while (Is("ON") && (Is("DELETE", 1) || Is("UPDATE", 1))) {
            Next();
            Next();
            if (Accept("CASCADE")) {
            } else if (Accept("NO")) {
                Expect("ACTION");
            } else {
                Expect("SET");
                if (!Accept("NULL"))
                    Expect("DEFAULT");
            }
        }
        if (Is("NOT") && Is("FOR", 1)) {
            Next();
            Next();
            Expect("REPLICATION");
        }
        return true;
    }
    if (Accept("CHECK")) {
        if (Accept("NOT")) {
            Expect("FOR");
            Expect("REPLICATION");
        }
        ExpectSym("(");
        Expr();
        ExpectSym(")");
        return true;
    }
    if (Accept("DEFAULT")) {
        Additive();
        Expect("FOR");
        Name();
        if (Is("WITH") && Is("VALUES", 1)) {
            Next();
            Next();
        }
        return true;
    }
    if (Accept("INDEX")) {
        Name();
        Accept("UNIQUE");
        if (!Accept("CLUSTERED"))
            Accept("NONCLUSTERED");
        Accept("COLUMNSTORE");
        Accept("HASH");
        if (IsSym("("))
            IndexColumns();
        IndexTail();
        return true;
    }
    if (Is("PERIOD") && Is("FOR", 1)) {
        Next();
        Next();
        Expect("SYSTEM_TIME");
        NameList();
        return true;
    }
    if (named)
        Fail();
    return false;
}

void SqlGrammar::IndexColumns() {
    ExpectSym("(");
    do {
        Name();
        if (!Accept("ASC"))
            Accept("DESC");
    } while (AcceptSym(","));
    ExpectSym(")");
}

void SqlGrammar::IndexTail() {
    // INCLUDE (...), WHERE filter, WITH (options) or the old WITH FILLFACTOR = n, ON filegroup or
    // scheme(column), FILESTREAM_ON, WITH BUCKET_COUNT for hash indexes
    for (;;) {
        if (Accept("INCLUDE")) {
            NameList();
        } else if (Accept("WHERE")) {
            Expr();
        } else if (Accept("WITH")) {
            if (IsSym("(")) {
                OptionList();
            } else {
                do {
                    if (Peek().kind != SqlToken::Kind::Word)
                        Fail();
                    Next();
                    if (AcceptSym("="))
                        Literal();
                } while (AcceptSym(","));
            }
        } else if (Accept("ON") || Accept("FILESTREAM_ON")) {
            if (Peek().kind == SqlToken::Kind::End || Peek().kind == SqlToken::Kind::Symbol)
                Fail();
            Next();
            if (IsSym("("))
                NameList();
        } else {
            return;
        }
    }
}

void SqlGrammar::CreateTable() {
    Expect("TABLE");
    MultiName();
    if (Accept("AS")) {
        Name(); // FILETABLE, NODE, EDGE
        if (!IsSym("(")) {
            IndexTail();
            return;
        }
    }
    TableDefinition();
    for (;;) {
        if (Accept("AS")) {
            Name();
        } else if (Accept("ON") || Accept("TEXTIMAGE_ON") || Accept("FILESTREAM_ON")) {
            if (Peek().kind == SqlToken::Kind::End || Peek().kind == SqlToken::Kind::Symbol)
                Fail();
            Next();
            if (IsSym("("))
                NameList();
        } else if (Is("WITH") && IsSym("(", 1)) {
            Next();
            OptionList();
        } else {
            return;
        }
    }
}

void SqlGrammar::AlterTable() {
    Expect("TABLE");
    MultiName();
    if (Accept("WITH")) {
        if (!Accept("CHECK"))
            Expect("NOCHECK");
    }
    if (Accept("ADD")) {
        do {
            if (!TableConstraint())
                ColumnDefinition();
        } while (AcceptSym(","));
        return;
    }
    if (Accept("CHECK") || Accept("NOCHECK")) {
        Expect("CONSTRAINT");
        if (Accept("ALL"))
            return;
        do
            Name();
        while (AcceptSym(","));
        return;
    }
    if (Accept("ALTER")) {
        Expect("COLUMN");
        Name();
        if (Accept("ADD") || Accept("DROP")) {
            GenericTail();
            return;
        }
        DataType();
        ColumnConstraint();
        if (Is("WITH") && IsSym("(", 1)) {
            Next();
            OptionList();
        }
        return;
    }
    if (Accept("DROP")) {
        do {
            if (Is("PERIOD")) {
                Next();
                Expect("FOR");
                Expect("SYSTEM_TIME");
                continue;
            }
            if (!Accept("CONSTRAINT"))
                Accept("COLUMN");
            if (Is("IF") && Is("EXISTS", 1)) {
                Next();
                Next();
            }
            do
                Name();
            while (IsSym(",") && !Is("CONSTRAINT", 1) && !Is("COLUMN", 1) && AcceptSym(","));
        } while (AcceptSym(","));
        if (Is("WITH") && IsSym("(", 1)) {
            Next();
            OptionList();
        }
        return;
    }
    if (Accept("ENABLE") || Accept("DISABLE")) {
        if (Accept("TRIGGER")) {
            if (Accept("ALL"))
                return;
            do
                Name();
            while (AcceptSym(","));
            return;
        }
        GenericTail();
        return;
    }
    if (Accept("SET")) {
        OptionList();
        return;
    }
    // SWITCH, REBUILD and the rest
    if (!Accept("SWITCH") && !Accept("REBUILD") && !Accept("SPLIT") && !Accept("MERGE"))
        Fail();
    GenericTail();
}

void SqlGrammar::CreateIndex() {
    Accept("UNIQUE");
    if (!Accept("CLUSTERED"))
        Accept("NONCLUSTERED");
    Accept("COLUMNSTORE");
    Expect("INDEX");
    Name();
    Expect("ON");
    MultiName();
    if (IsSym("("))
        IndexColumns();
    IndexTail();
}

void SqlGrammar::CreateType() {
    Expect("TYPE");
    MultiName();
    if (Accept("FROM")) {
        DataType();
        if (Accept("NULL"))
            return;
        if (Is("NOT") && Is("NULL", 1)) {
            Next();
            Next();
        }
        return;
    }
    if (Accept("EXTERNAL")) {
        Expect("NAME");
        MultiName();
        return;
    }
    Expect("AS");
    Expect("TABLE");
    TableDefinition();
    if (Is("WITH") && IsSym("(", 1)) {
        Next();
        OptionList();
    }
}

void SqlGrammar::CreateSchema() {
    Expect("SCHEMA");
    if (Accept("AUTHORIZATION")) {
        Name();
        return;
    }
    Name();
    if (Accept("AUTHORIZATION"))
        Name();
}

// ---- permissions and the rest

void SqlGrammar::Permission() {
    const SqlToken& verb = Next();
    if (verb.IsWord("REVOKE") && Is("GRANT") && Is("OPTION", 1)) {
        Next();
        Next();
        Expect("FOR");
    }
    if (Accept("ALL")) {
        Accept("PRIVILEGES");
    } else {
        do {
            if (Peek().kind != SqlToken::Kind::Word || Is("ON") || Is("TO") || Is("FROM"))
                Fail();
            while (Peek().kind == SqlToken::Kind::Word && !Is("ON") && !Is("TO") && !Is("FROM"))
                Next();
            if (IsSym("("))
                NameList();
        } while (AcceptSym(","));
    }
    if (Accept("ON")) {
        for (int ahead = 1; ahead <= 4; ++ahead)
            if (IsSym("::", ahead)) {
                while (!IsSym("::"))
                    Next();
                Next();
                break;
            }
        MultiName();
        if (IsSym("("))
            NameList();
    }
    if (!Accept("TO") && !Accept("FROM"))
        Fail();
    do {
        if (!Accept("PUBLIC"))
            Name();
    } while (AcceptSym(","));
    if (Accept("WITH")) {
        Expect("GRANT");
        Expect("OPTION");
    }
    Accept("CASCADE");
    if (Accept("AS"))
        Name();
}

void SqlGrammar::Truncate() {
    Expect("TRUNCATE");
    Expect("TABLE");
    MultiName();
    if (Is("WITH") && IsSym("(", 1)) {
        Next();
        Balanced();
    }
}

void SqlGrammar::BulkInsert() {
    Expect("BULK");
    Expect("INSERT");
    MultiName();
    Expect("FROM");
    if (Peek().kind != SqlToken::Kind::String)
        Fail();
    Next();
    if (Accept("WITH"))
        OptionList();
}

void SqlGrammar::UpdateStatistics() {
    Expect("UPDATE");
    Expect("STATISTICS");
    MultiName();
    if (IsSym("("))
        NameList();
    else if (IsIdentifier())
        Name();
    if (Accept("WITH"))
        GenericTail();
}
