#pragma once

#include "SqlAst.h"

#include <QHash>
#include <QVariant>

#include <optional>

// What a query needs to know of the session it runs in.
class TranslatorContext {
public:
    virtual ~TranslatorContext() = default;
    // The SQLite text that stands for a table or view, and its default alias; throws ServerError 208.
    struct Table {
        QString sql;
        QString alias;
        bool catalogue = false;
        // A table's columns: lower case name, system type name; empty when not known.
        QHash<QString, QString> columnTypes;
    };
    virtual Table ResolveTable(const SqlTableRef& ref, class SqlTranslator& translator) = 0;
    // A variable's value; throws ServerError 137 when it was not declared.
    virtual QVariant Variable(const QString& name, int line) = 0;
    // The declared type of a variable (lower case), empty when there is none of that name.
    virtual QString VariableType(const QString& name) {
        Q_UNUSED(name);
        return {};
    }
    // A user type (CREATE TYPE ... FROM) as its base type; a system type as it is.
    virtual SqlTypeSpec BaseType(const SqlTypeSpec& type) { return type; }
    // @@ROWCOUNT and friends, USER_NAME() and the like: the value, or invalid when unknown.
    virtual QVariant Global(const QString& name) = 0;
    virtual QString Schema() const = 0;       // the current database's SQLite schema
    virtual QString MasterSchema() const = 0; // master's SQLite schema
    virtual QString DatabaseName() const = 0;
    virtual int UserUid() const = 0;
    // The names of the columns a query gives (for PIVOT); throws ServerError.
    virtual QStringList QueryColumns(const QString& sql) = 0;
    // The names of the columns a translated query gives; empty when they can't be known.
    virtual QStringList ColumnNames(const QString& sql) {
        Q_UNUSED(sql);
        return {};
    }
    // An expression the session works out itself (exact decimals): its value, and whether it reads
    // variables (then it goes as a parameter, else as a literal that a definition may hold).
    virtual bool Fold(const SqlExpr& /*e*/, QVariant& /*value*/, bool& /*variables*/) { return false; }
    // For the operand of a conversion to text: the scale of the decimal column it reads, 100 for a
    // money and 101 for a smallmoney column, -1 when it is none or not known.
    virtual int DecimalTextSource(const SqlExpr& /*e*/) { return -1; }
};

// Turns the parsed form of a query into SQLite text with numbered parameters. Names of result
// columns are given as aliases: a column keeps the name as written, an expression without alias
// gets a name that ResultName() turns into "".
class SqlTranslator {
public:
    explicit SqlTranslator(TranslatorContext& context)
        : mContext(context) {}

    QString Select(const SqlSelect& select);
    QString Expr(const SqlExpr& e);
    QString FromList(const QList<SqlTableRefP>& from);
    const QVariantList& Params() const { return mParams; }
    QString AddParam(const QVariant& value);
    // The WITH clause of a data change's common table expressions (empty without any); their names
    // stand for them in everything translated afterwards.
    QString WithClause(const SqlSelect& select) { return With(select); }
    QString FoldedValue(const QVariant& value, bool variables);

    // Expressions that stand for variables: the parameters of an inline function body.
    void SetVariableOverride(const QString& name, const QString& sql) {
        mOverrides.insert(name.toLower(), sql);
    }
    QHash<QString, QString> Overrides() const { return mOverrides; }
    void SetOverrides(const QHash<QString, QString>& overrides) { mOverrides = overrides; }
    // A computed column's expression over a table of these columns: user functions are called
    // through the variant SQLite lets a generated column hold, and run when the column is read.
    void SetComputedColumn(const QStringList& columns) { mComputedColumn = columns; }

    // SqlTranslatorTypes.cpp: the integer type of an expression as the server works it out; None
    // when it is no integer or can't be told.
    enum class IntegerKind { None, TinyInt, SmallInt, Int, BigInt };
    IntegerKind IntegerType(const SqlExpr& e);
    // The columns of a table that the statement reads without naming it in a FROM list (the target
    // of an UPDATE or DELETE): lower case name, system type name.
    void NoteTable(const QString& alias, const QHash<QString, QString>& columnTypes) {
        mColumnSources.append(ColumnSource{alias.toLower(), columnTypes, false});
    }

    static QString ResultName(const QString& sqliteName);
    static QString Quote(const QString& name);
    static QString Literal(const QString& text);

private:
    QString Core(const SqlSelectCore& core, bool wrapTop);
    QString TableRef(const SqlTableRef& ref);
    QString Joins(const SqlTableRef& ref);
    QString Binary(const SqlExpr& e);
    QString Chain(const QList<const SqlExpr*>& operands, const QStringList& ops);
    bool DateTimeExpr(const SqlExpr& e);
    static QString Fold(const QString& function, QStringList terms);
    QString Function(const SqlExpr& e);
    QString ObjectProperty(const SqlExpr& e);
    QString CatalogueFunction(const SqlExpr& e, const QString& f);
    // SqlTranslatorServer.cpp: SERVERPROPERTY; empty when f is something else.
    QString ServerFunction(const SqlExpr& e, const QString& f);
    // SqlTranslatorFunctions.cpp; empty when f is none of them.
    QString LaterFunction(const SqlExpr& e, const QString& f);
    // SqlTranslatorDates.cpp: dates, FORMAT and the later string functions; empty when f is none.
    QString DateFunction(const SqlExpr& e, const QString& f);
    // SqlTranslatorQuery.cpp: WITH before a query, OVER after a function.
    QString With(const SqlSelect& select);
    QString Over(const SqlWindow& over);
    QString StringSplit(const SqlTableRef& ref);
    // SqlTranslatorGrouping.cpp: GROUP BY ROLLUP, CUBE and GROUPING SETS as a UNION ALL of one
    // query per set, in which the grouping columns outside the set are NULL.
    struct GroupingBranch {
        const SqlSelectCore* core = nullptr;
        QList<int> set;
        bool insideAggregate = false;
    };
    QString GroupingSets(const SqlSelectCore& core, bool wrapTop);
    // A query of one such core: its ORDER BY terms are worked out in each set's query.
    QString GroupedSelect(const SqlSelect& select);
    // The text of e in the set being translated, when the set makes it other than it is.
    bool Grouped(const SqlExpr& e, QString* sql);
    GroupingBranch* mGrouping = nullptr;
    // SqlTranslatorPivot.cpp: PIVOT as an aggregate of a CASE per value, UNPIVOT as a UNION ALL of
    // one query per column that leaves out its NULLs.
    QString Pivot(const SqlTableRef& ref);
    // SqlTranslatorJson.cpp: the JSON built-ins (empty when f is none of them), OPENJSON, APPLY,
    // FOR JSON and FOR XML.
    QString JsonFunction(const SqlExpr& e, const QString& f);
    QString LateralColumn(const SqlExpr& e) const;
    QString OpenJson(const SqlTableRef& ref, bool lateral);
    QString Apply(const SqlTableRef& join);
    QString ForClause(const SqlSelect& select);
    // SqlTranslatorXml.cpp: value(), query(), exist() and EVENTDATA(); nodes() and OPENXML as tables.
    QString XmlMethod(const SqlExpr& e, const QString& f);
    QString XmlArguments(const QString& path, const QString& method);
    QString XmlNodes(const SqlTableRef& ref, bool lateral);
    QString OpenXml(const SqlTableRef& ref, bool lateral);
    static QString XmlRowName(const QString& alias, bool lateral);
    // SqlTranslatorJson.cpp: the rows of a json_each as a table, or after APPLY in the join.
    QString EachRows(const QString& source, const QString& alias, const QString& rowName,
                     const QList<QPair<QString, QString>>& columns, bool lateral);
    // The columns that an APPLY brings, by lower case alias and column: what stands for each.
    QHash<QString, QHash<QString, QString>> mLateral;
    QStringList mApplyConditions; // what a CROSS APPLY adds to its query's WHERE
    QString mQualifier;           // the table of unqualified columns in an APPLY's query
    QStringList mCtes;            // lower case names of the common table expressions in scope
    // TOP (n) PERCENT of a query: the first n percent of its rows, rounded up.
    QString TopPercent(const QString& query, const SqlExpr& percent);
    QString TopWithTies(const SqlSelect& select);

    // SqlTranslatorTypes.cpp: the operators at the head of a chain whose operands are integers, as one
    // tsql_int call in *sql: how many operators it took, 0 when the chain doesn't start so.
    qsizetype IntegerPrefix(const QList<const SqlExpr*>& operands, const QStringList& ops, QString* sql);
    // -x of an int or bigint x as tsql_intneg; empty for anything else.
    QString IntegerNegation(const SqlExpr& e);
    IntegerKind ColumnKind(const SqlExpr& e);
    // The sources of rows of the statement by lower case alias, with their columns' types when
    // known: a view's or a derived table's columns are not.
    struct ColumnSource {
        QString alias;
        QHash<QString, QString> columnTypes;
        bool unknown = true;
    };
    QList<ColumnSource> mColumnSources;

    TranslatorContext& mContext;
    QVariantList mParams;
    QHash<QString, QString> mOverrides;
    int mNoName = 0;
    std::optional<QStringList> mComputedColumn;
};
