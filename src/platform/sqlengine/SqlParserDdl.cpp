// CREATE, ALTER and DROP of the parser.
#include "SqlParser.h"

QStringList SqlParser::SplitName(const QString& name) {
    SqlParser p(name, true);
    QList<SqlSyntaxError> errors;
    p.mErrors = &errors;
    try {
        if (p.AtEnd())
            return {};
        QStringList parts = p.ParseMultiPartName();
        if (!p.AtEnd() || p.mLexError.number != 0)
            return {};
        return parts;
    } catch (const Failure&) {
        // Names with reserved words or odd characters: the server looks them up literally.
        if (!name.contains(u'.') && !name.contains(u'[') && !name.contains(u'"') && !name.trimmed().isEmpty())
            return {name.trimmed()};
        return {};
    }
}

SqlTypeSpec SqlParser::ParseType(const QString& text) {
    SqlParser p(text, true);
    QList<SqlSyntaxError> errors;
    p.mErrors = &errors;
    try {
        SqlTypeSpec t = p.ParseTypeSpec();
        if (!p.AtEnd())
            return {};
        return t;
    } catch (const Failure&) {
        return {};
    }
}

SqlStatementP SqlParser::ParseCreate(bool first, bool alter) {
    const SqlToken& keyword = mTokens[mPos - 1];
    const bool orAlter = !alter && Peek().IsWord("OR") && Peek(1).IsWord("ALTER");
    if (orAlter) {
        Next();
        Next();
    }
    const SqlToken t = Peek();
    const QString w = t.text.toUpper();
    if (t.kind == SqlToken::Kind::Word &&
        (w == QLatin1String("PROC") || w == QLatin1String("PROCEDURE") || w == QLatin1String("FUNCTION") ||
         w == QLatin1String("VIEW") || w == QLatin1String("TRIGGER"))) {
        SqlStatementP s = ParseModule(first, alter, keyword);
        s->orAlter = orAlter;
        return s;
    }
    if (orAlter)
        Fail(t);
    if (t.kind == SqlToken::Kind::Word && w == QLatin1String("XML") && Peek(1).IsWord("SCHEMA"))
        return ParseXmlSchemaCollection(keyword, alter ? QStringLiteral("ALTER") : QStringLiteral("CREATE"));
    if (alter) {
        if (w == QLatin1String("TABLE")) {
            auto s = MakeStatement(SqlStatement::Kind::AlterTableAdd, keyword);
            Next();
            s->target = ParseMultiPartName();
            if (AcceptWord("ADD")) {
                do {
                    if (Peek().IsWord("CONSTRAINT") || Peek().IsWord("PRIMARY") || Peek().IsWord("UNIQUE") ||
                        Peek().IsWord("FOREIGN") || Peek().IsWord("CHECK"))
                        Unsupported(QStringLiteral("ALTER TABLE ADD CONSTRAINT"), Peek().line);
                    SqlColumnDef c;
                    ParseColumnDef(c);
                    s->columnDefs.append(c);
                } while (AcceptSymbol(","));
                return s;
            }
            if (AcceptWord("DROP")) {
                ExpectWord("COLUMN");
                s->objectKind = QStringLiteral("DROP COLUMN");
                do
                    s->columns.append(ParseName());
                while (AcceptSymbol(","));
                return s;
            }
            Unsupported(QStringLiteral("this form of ALTER TABLE"), t.line);
        }
        if (w == QLatin1String("LOGIN")) {
            auto s = MakeStatement(SqlStatement::Kind::AlterLogin, keyword);
            Next();
            s->name = ParseName();
            ExpectWord("WITH");
            if (!Peek().IsWord("PASSWORD"))
                Unsupported(QStringLiteral("this form of ALTER LOGIN"), t.line);
            Next();
            ExpectSymbol("=");
            const SqlToken& pw = Next();
            if (pw.kind != SqlToken::Kind::String)
                Fail(pw);
            s->password = pw.text;
            if (AcceptWord("OLD_PASSWORD")) {
                ExpectSymbol("=");
                Next();
            }
            return s;
        }
        Unsupported(QStringLiteral("ALTER %1").arg(w), t.line);
    }
    if (w == QLatin1String("TABLE")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateTable, keyword);
        Next();
        return ParseCreateTable(s);
    }
    if (w == QLatin1String("DATABASE")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateDatabase, keyword);
        Next();
        s->name = ParseName();
        if (Peek().IsWord("ON") || Peek().IsWord("COLLATE") || Peek().IsWord("LOG") || Peek().IsWord("WITH"))
            Unsupported(QStringLiteral("file, collation and other options of CREATE DATABASE"), Peek().line);
        return s;
    }
    if (w == QLatin1String("LOGIN")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateLogin, keyword);
        Next();
        s->name = ParseName();
        if (AcceptWord("FROM")) {
            ExpectWord("WINDOWS");
            s->objectKind = QStringLiteral("WINDOWS");
            return s;
        }
        ExpectWord("WITH");
        do {
            const SqlToken& o = Next();
            if (o.IsWord("PASSWORD")) {
                ExpectSymbol("=");
                const SqlToken& pw = Next();
                if (pw.kind != SqlToken::Kind::String)
                    Fail(pw);
                s->password = pw.text;
                AcceptWord("MUST_CHANGE");
            } else if (o.IsWord("DEFAULT_DATABASE")) {
                ExpectSymbol("=");
                s->defaultDatabase = ParseName();
            } else if (o.IsWord("CHECK_POLICY") || o.IsWord("CHECK_EXPIRATION")) {
                ExpectSymbol("=");
                if (!AcceptWord("ON") && !AcceptWord("OFF"))
                    Fail(Peek());
            } else if (o.IsWord("DEFAULT_LANGUAGE")) {
                ExpectSymbol("=");
                ParseName();
            } else {
                Unsupported(QStringLiteral("the login option %1").arg(o.text), o.line);
            }
        } while (AcceptSymbol(","));
        return s;
    }
    if (w == QLatin1String("USER")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateUser, keyword);
        Next();
        s->name = ParseName();
        if (AcceptWord("FOR") || AcceptWord("FROM")) {
            ExpectWord("LOGIN");
            s->loginName = ParseName();
        } else if (Peek().IsWord("WITHOUT")) {
            Unsupported(QStringLiteral("users without login"), Peek().line);
        }
        if (AcceptWord("WITH")) {
            if (!Peek().IsWord("DEFAULT_SCHEMA"))
                Fail(Peek());
            Next();
            ExpectSymbol("=");
            s->defaultSchema = ParseName();
        }
        return s;
    }
    if (w == QLatin1String("ROLE")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateRole, keyword);
        Next();
        s->name = ParseName();
        if (AcceptWord("AUTHORIZATION"))
            s->loginName = ParseName();
        return s;
    }
    if (w == QLatin1String("INDEX") || w == QLatin1String("UNIQUE") || w == QLatin1String("CLUSTERED") ||
        w == QLatin1String("NONCLUSTERED")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateIndex, keyword);
        while (!Peek().IsWord("INDEX")) {
            const SqlToken& m = Next();
            if (m.IsWord("UNIQUE"))
                s->objectKind = QStringLiteral("UNIQUE");
            else if (!m.IsWord("CLUSTERED") && !m.IsWord("NONCLUSTERED"))
                Fail(m);
        }
        Next();
        s->name = ParseName();
        ExpectWord("ON");
        s->target = ParseMultiPartName();
        ExpectSymbol("(");
        do {
            s->columns.append(ParseName());
            if (!AcceptWord("ASC"))
                AcceptWord("DESC");
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
        if (Peek().IsWord("INCLUDE") || Peek().IsWord("WHERE") || Peek().IsWord("WITH"))
            Unsupported(QStringLiteral("index options"), Peek().line);
        if (AcceptWord("ON"))
            ParseName();
        return s;
    }
    if (w == QLatin1String("SCHEMA")) {
        auto s = MakeStatement(SqlStatement::Kind::CreateSchema, keyword);
        Next();
        // The name may be left out when AUTHORIZATION follows, and then is the owner's.
        if (!Peek().IsWord("AUTHORIZATION"))
            s->name = ParseName();
        if (AcceptWord("AUTHORIZATION"))
            s->loginName = ParseName();
        if (s->name.isEmpty())
            s->name = s->loginName;
        return s;
    }
    if (w == QLatin1String("TYPE") && Peek(1).kind != SqlToken::Kind::Symbol) {
        // CREATE TYPE name FROM base [NULL | NOT NULL], or CREATE TYPE name AS TABLE (...).
        int at = 2;
        while (Peek(at).IsSymbol(".") && at < 6)
            at += 2;
        if (Peek(at).IsWord("AS") && Peek(at + 1).IsWord("TABLE")) {
            auto s = MakeStatement(SqlStatement::Kind::CreateType, keyword);
            Next();
            s->objectKind = QStringLiteral("TABLE");
            s->target = ParseMultiPartName();
            ExpectWord("AS");
            ExpectWord("TABLE");
            ParseTableBody(s);
            return s;
        }
        if (Peek(at).IsWord("FROM")) {
            auto s = MakeStatement(SqlStatement::Kind::CreateType, keyword);
            Next();
            s->target = ParseMultiPartName();
            ExpectWord("FROM");
            SqlColumnDef c;
            c.type = ParseTypeSpec();
            if (AcceptWord("NULL")) {
                c.nullGiven = true;
            } else if (AcceptWord("NOT")) {
                ExpectWord("NULL");
                c.nullable = false;
                c.nullGiven = true;
            }
            s->columnDefs.append(c);
            return s;
        }
    }
    if (w == QLatin1String("TYPE") || w == QLatin1String("SYNONYM") || w == QLatin1String("DEFAULT") ||
        w == QLatin1String("RULE") || w == QLatin1String("ASSEMBLY") || w == QLatin1String("SEQUENCE"))
        Unsupported(QStringLiteral("CREATE %1").arg(w), t.line);
    Fail(t);
}

SqlStatementP SqlParser::ParseModule(bool first, bool alter, const SqlToken& keyword) {
    auto s = MakeStatement(SqlStatement::Kind::CreateModule, keyword);
    s->isAlter = alter;
    s->keywordBegin = keyword.begin;
    s->keywordEnd = keyword.end;
    QString kind = Next().text.toUpper();
    if (kind == QLatin1String("PROC"))
        kind = QStringLiteral("PROCEDURE");
    s->objectKind = kind;
    if (!first) {
        SqlSyntaxError e;
        e.number = 111;
        e.line = keyword.line;
        e.text =
            kind == QLatin1String("PROCEDURE")
                ? QStringLiteral("'CREATE/ALTER PROCEDURE' must be the first statement in a query batch.")
                : QStringLiteral("'%1 %2' must be the first statement in a query batch.")
                      .arg(alter ? QStringLiteral("ALTER") : QStringLiteral("CREATE"), kind);
        if (mErrors)
            mErrors->append(e);
        throw Failure{};
    }
    s->target = ParseMultiPartName();
    if (s->target.size() > 2)
        Unsupported(QStringLiteral("a database name in the name of a new object"), keyword.line);
    if (kind == QLatin1String("PROCEDURE")) {
        if (AcceptSymbol(";")) {
            const SqlToken& n = Next();
            if (n.kind != SqlToken::Kind::Number)
                Fail(n);
            if (n.text != QLatin1String("1"))
                Unsupported(QStringLiteral("numbered procedures"), n.line);
        }
        if (Peek().IsSymbol("(")) {
            Next();
            s->params = ParseParams(true);
            ExpectSymbol(")");
        } else if (Peek().kind == SqlToken::Kind::Variable) {
            s->params = ParseParams(false);
        }
        ParseModuleOptions();
        if (AcceptWord("FOR"))
            ExpectWord("REPLICATION");
        ExpectWord("AS");
        if (ParseExternalName(*s))
            return s;
        s->body = ParseStatementsToEnd();
        return s;
    }
    if (kind == QLatin1String("FUNCTION")) {
        ExpectSymbol("(");
        if (!Peek().IsSymbol(")"))
            s->params = ParseParams(true);
        ExpectSymbol(")");
        ExpectWord("RETURNS");
        if (Peek().kind == SqlToken::Kind::Variable) {
            s->returnVariable = Next().text;
            ExpectWord("TABLE");
            s->returnsTable = true;
            ParseTableBody(s);
        } else if (AcceptWord("TABLE")) {
            s->returnsTable = true;
        } else {
            s->returnType = ParseTypeSpec();
        }
        ParseModuleOptions();
        AcceptWord("AS");
        if (ParseExternalName(*s))
            return s;
        if (s->returnsTable && s->returnVariable.isEmpty()) {
            ExpectWord("RETURN");
            ParseModuleQuery(*s);
            return s;
        } else {
            if (!Peek().IsWord("BEGIN"))
                Fail(Peek());
            SqlStatementP block = ParseStatement(false);
            s->body = block->body;
        }
        AcceptSymbol(";");
        if (!AtEnd())
            Fail(Peek());
        return s;
    }
    if (kind == QLatin1String("VIEW")) {
        if (AcceptSymbol("(")) {
            do
                s->columns.append(ParseName());
            while (AcceptSymbol(","));
            ExpectSymbol(")");
        }
        ParseModuleOptions();
        ExpectWord("AS");
        ParseModuleQuery(*s);
        return s;
    }
    // TRIGGER
    ExpectWord("ON");
    if (Peek().IsWord("ALL") && Peek(1).IsWord("SERVER")) {
        ParseServerTrigger(*s);
        return s;
    }
    s->triggerTable = ParseMultiPartName();
    ParseModuleOptions();
    if (AcceptWord("INSTEAD")) {
        ExpectWord("OF");
        s->insteadOf = true;
    } else if (!AcceptWord("FOR") && !AcceptWord("AFTER")) {
        Fail(Peek());
    }
    do {
        const SqlToken& ev = Next();
        if (!ev.IsWord("INSERT") && !ev.IsWord("UPDATE") && !ev.IsWord("DELETE"))
            Fail(ev);
        s->triggerEvents.append(ev.text.toUpper());
    } while (AcceptSymbol(","));
    AcceptWord("WITH") ? ExpectWord("APPEND") : void();
    if (AcceptWord("NOT")) {
        ExpectWord("FOR");
        ExpectWord("REPLICATION");
    }
    ExpectWord("AS");
    s->body = ParseStatementsToEnd();
    return s;
}

QList<SqlParam> SqlParser::ParseParams(bool parenthesised) {
    QList<SqlParam> list;
    do {
        const SqlToken& v = Next();
        if (v.kind != SqlToken::Kind::Variable || v.text.startsWith(QLatin1String("@@")))
            Fail(v);
        SqlParam p;
        p.name = v.text;
        AcceptWord("AS");
        if (AcceptWord("CURSOR"))
            p.type.name = QStringLiteral("cursor");
        else
            p.type = ParseTypeSpec();
        AcceptWord("VARYING");
        if (!AcceptWord("NULL") && Peek().IsWord("NOT") && Peek(1).IsWord("NULL")) {
            Next();
            Next();
        }
        if (AcceptSymbol("="))
            p.defaultValue = ParseUnary();
        if (AcceptWord("OUTPUT") || AcceptWord("OUT"))
            p.output = true;
        if (AcceptWord("READONLY"))
            p.readOnly = true;
        list.append(p);
    } while (AcceptSymbol(","));
    Q_UNUSED(parenthesised);
    return list;
}

SqlCheck SqlParser::ParseCheck(const QString& name, const QString& column) {
    SqlCheck check;
    check.name = name;
    check.column = column;
    if (Peek().IsWord("NOT") && Peek(1).IsWord("FOR")) {
        Next();
        Next();
        ExpectWord("REPLICATION");
    }
    ExpectSymbol("(");
    const int from = Peek().begin;
    check.condition = ParseExpr();
    check.text = mText.mid(from, Peek().begin - from).trimmed();
    ExpectSymbol(")");
    return check;
}

void SqlParser::ParseColumnDef(SqlColumnDef& c, QList<SqlCheck>* checks) {
    c.name = ParseName();
    if (AcceptWord("AS")) {
        c.computed = ParseExpr();
        c.persisted = AcceptWord("PERSISTED");
    } else {
        c.type = ParseTypeSpec();
    }
    QString constraint;
    for (;;) {
        if (AcceptWord("COLLATE")) {
            ParseName();
        } else if (AcceptWord("CONSTRAINT")) {
            constraint = ParseName();
            continue;
        } else if (AcceptWord("NULL")) {
            c.nullable = true;
            c.nullGiven = true;
        } else if (Peek().IsWord("NOT") && Peek(1).IsWord("NULL")) {
            Next();
            Next();
            c.nullable = false;
            c.nullGiven = true;
        } else if (Peek().IsWord("NOT") && Peek(1).IsWord("FOR")) {
            Next();
            Next();
            ExpectWord("REPLICATION");
        } else if (AcceptWord("IDENTITY")) {
            c.identity = true;
            if (AcceptSymbol("(")) {
                const bool negSeed = AcceptSymbol("-");
                const SqlToken& seed = Next();
                if (seed.kind != SqlToken::Kind::Number)
                    Fail(seed);
                ExpectSymbol(",");
                const bool negInc = AcceptSymbol("-");
                const SqlToken& inc = Next();
                if (inc.kind != SqlToken::Kind::Number)
                    Fail(inc);
                ExpectSymbol(")");
                c.seed = seed.text.toLongLong() * (negSeed ? -1 : 1);
                c.increment = inc.text.toLongLong() * (negInc ? -1 : 1);
            }
        } else if (AcceptWord("PRIMARY")) {
            ExpectWord("KEY");
            c.primaryKey = true;
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
        } else if (AcceptWord("UNIQUE")) {
            c.unique = true;
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
        } else if (AcceptWord("DEFAULT")) {
            const int from = Peek().begin;
            c.defaultValue = ParseUnary();
            c.defaultText = mText.mid(from, mTokens[mPos - 1].end - from);
        } else if (AcceptWord("REFERENCES")) {
            // Foreign keys are recorded by name only; the embedded server doesn't enforce them.
            ParseMultiPartName();
            if (AcceptSymbol("(")) {
                ParseName();
                ExpectSymbol(")");
            }
            while (AcceptWord("ON")) {
                Next();
                if (!AcceptWord("CASCADE") && !AcceptWord("ACTION")) {
                    if (AcceptWord("SET"))
                        Next();
                    else
                        Fail(Peek());
                }
            }
        } else if (AcceptWord("CHECK")) {
            const SqlCheck check = ParseCheck(constraint, c.name);
            if (!checks)
                Unsupported(QStringLiteral("CHECK constraints here"), Peek().line);
            checks->append(check);
        } else if (AcceptWord("ROWGUIDCOL")) {
        } else if (Peek().IsWord("INDEX") && Peek(1).IsName()) {
            Next();
            ParseName();
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
        } else {
            break;
        }
    }
}

void SqlParser::ParseTableBody(const SqlStatementP& s) {
    ExpectSymbol("(");
    do {
        if (Peek().IsSymbol(")"))
            break;
        QString itemName;
        if (AcceptWord("CONSTRAINT"))
            itemName = ParseName();
        if (AcceptWord("PRIMARY")) {
            s->constraintName = itemName;
            ExpectWord("KEY");
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
            ExpectSymbol("(");
            do {
                s->primaryKey.append(ParseName());
                if (!AcceptWord("ASC"))
                    AcceptWord("DESC");
            } while (AcceptSymbol(","));
            ExpectSymbol(")");
            continue;
        }
        if (AcceptWord("UNIQUE")) {
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
            ExpectSymbol("(");
            do
                ParseName();
            while (AcceptSymbol(","));
            ExpectSymbol(")");
            continue;
        }
        if (AcceptWord("FOREIGN")) {
            ExpectWord("KEY");
            ExpectSymbol("(");
            do
                ParseName();
            while (AcceptSymbol(","));
            ExpectSymbol(")");
            ExpectWord("REFERENCES");
            ParseMultiPartName();
            if (AcceptSymbol("(")) {
                do
                    ParseName();
                while (AcceptSymbol(","));
                ExpectSymbol(")");
            }
            continue;
        }
        if (AcceptWord("CHECK")) {
            s->checks.append(ParseCheck(itemName, QString()));
            continue;
        }
        if (itemName.isEmpty() && Peek().IsWord("INDEX") && Peek(1).IsName()) {
            // An index of a table type or table variable would only speed it up: its rows are few.
            Next();
            ParseName();
            AcceptWord("UNIQUE");
            if (!AcceptWord("CLUSTERED"))
                AcceptWord("NONCLUSTERED");
            ExpectSymbol("(");
            do {
                ParseName();
                if (!AcceptWord("ASC"))
                    AcceptWord("DESC");
            } while (AcceptSymbol(","));
            ExpectSymbol(")");
            continue;
        }
        SqlColumnDef c;
        ParseColumnDef(c, &s->checks);
        s->columnDefs.append(c);
    } while (AcceptSymbol(","));
    ExpectSymbol(")");
}

SqlStatementP SqlParser::ParseCreateTable(SqlStatementP s) {
    s->target = ParseMultiPartName();
    ParseTableBody(s);
    if (AcceptWord("ON"))
        ParseName();
    if (AcceptWord("TEXTIMAGE_ON"))
        ParseName();
    return s;
}

SqlStatementP SqlParser::ParseDrop() {
    const SqlToken& keyword = Next();
    const SqlToken& t = Next();
    if (t.kind != SqlToken::Kind::Word)
        Fail(t);
    QString kind = t.text.toUpper();
    if (kind == QLatin1String("PROC"))
        kind = QStringLiteral("PROCEDURE");
    if (kind == QLatin1String("XML") && Peek().IsWord("SCHEMA"))
        return ParseXmlSchemaCollection(keyword, QStringLiteral("DROP"));
    if (kind == QLatin1String("SCHEMA")) {
        auto s = MakeStatement(SqlStatement::Kind::DropSchema, keyword);
        if (Peek().IsWord("IF") && Peek(1).IsWord("EXISTS")) {
            Next();
            Next();
            s->objectKind = QStringLiteral("IF EXISTS");
        }
        s->name = ParseName();
        return s;
    }
    if (kind == QLatin1String("DATABASE") || kind == QLatin1String("LOGIN") ||
        kind == QLatin1String("USER") || kind == QLatin1String("ROLE")) {
        const auto k = kind == QLatin1String("DATABASE") ? SqlStatement::Kind::DropDatabase
                       : kind == QLatin1String("LOGIN")  ? SqlStatement::Kind::DropLogin
                       : kind == QLatin1String("USER")   ? SqlStatement::Kind::DropUser
                                                         : SqlStatement::Kind::DropRole;
        auto s = MakeStatement(k, keyword);
        s->name = ParseName();
        return s;
    }
    static const QStringList kinds = {QStringLiteral("TABLE"),    QStringLiteral("PROCEDURE"),
                                      QStringLiteral("FUNCTION"), QStringLiteral("VIEW"),
                                      QStringLiteral("TRIGGER"),  QStringLiteral("INDEX"),
                                      QStringLiteral("TYPE")};
    if (!kinds.contains(kind)) {
        if (kind == QLatin1String("SYNONYM") || kind == QLatin1String("DEFAULT") ||
            kind == QLatin1String("RULE"))
            Unsupported(QStringLiteral("DROP %1").arg(kind), t.line);
        Fail(t);
    }
    auto s = MakeStatement(SqlStatement::Kind::DropObject, keyword);
    s->objectKind = kind;
    if (Peek().IsWord("IF") && Peek(1).IsWord("EXISTS")) {
        Next();
        Next();
        s->name = QStringLiteral("IF EXISTS");
    }
    do {
        s->names.append(ParseMultiPartName());
        if (kind == QLatin1String("INDEX") && AcceptWord("ON"))
            s->names.last() = ParseMultiPartName() + s->names.last();
    } while (AcceptSymbol(","));
    if (kind == QLatin1String("TRIGGER") && Peek().IsWord("ON") && Peek(1).IsWord("ALL") &&
        Peek(2).IsWord("SERVER")) {
        Next();
        Next();
        Next();
        s->objectKind = QStringLiteral("SERVER TRIGGER");
    }
    return s;
}
