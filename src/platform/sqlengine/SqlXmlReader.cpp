// The reading of an xml method's query into a tree: XQuery's paths, predicates, operators and
// function calls, the prolog's namespace declarations, and the server's errors for what isn't there.
#include "SqlXmlExpr.h"

#include <QHash>
#include <algorithm>

namespace {

using Xml::Error;
using Xml::Expr;
using Xml::ExprP;
using Xml::kFnUri;
using Xml::kSqlUri;

// Parentheses, predicates and operators nest at most this deep in a query.
constexpr int kMaxNesting = 64;
// Steps and operators in all: a run of them is read into a tree as deep as the run is long, which
// is run by recursion.
constexpr int kMaxOperators = 1024;

const QString kXsUri = QStringLiteral("http://www.w3.org/2001/XMLSchema");
const QString kXmlUri = QStringLiteral("http://www.w3.org/XML/1998/namespace");

struct Token {
    enum class Kind { Name, String, Number, Symbol, End };
    Kind kind = Kind::End;
    QString text;
    bool Is(const char* s) const { return kind == Kind::Symbol && text == QLatin1String(s); }
    bool IsName(const char* s) const { return kind == Kind::Name && text == QLatin1String(s); }
};

bool NameStart(QChar c) {
    return c.isLetter() || c == u'_';
}

bool NameChar(QChar c) {
    return c.isLetterOrNumber() || c == u'_' || c == u'-' || c == u'.';
}

class Reader {
public:
    Reader(const QString& text, const QString& method, const QList<QPair<QString, QString>>& namespaces)
        : mText(text)
        , mMethod(method) {
        mNamespaces.insert(QStringLiteral("sql"), kSqlUri);
        mNamespaces.insert(QStringLiteral("fn"), kFnUri);
        mNamespaces.insert(QStringLiteral("xs"), kXsUri);
        mNamespaces.insert(QStringLiteral("xml"), kXmlUri);
        for (const auto& [prefix, uri] : namespaces) {
            if (prefix.isEmpty())
                mDefaultElement = uri;
            else
                mNamespaces.insert(prefix, uri);
        }
        Tokenize();
    }

    ExprP Read(QStringList* externals) {
        mExternals = externals;
        Prolog();
        if (Peek().kind == Token::Kind::End)
            Syntax();
        ExprP e = Items();
        if (Peek().kind != Token::Kind::End)
            Syntax();
        return e;
    }

private:
    [[noreturn]] void Fail(long number, const QString& text) const {
        throw Error{number, QStringLiteral("XQuery [%1]: %2").arg(mMethod, text)};
    }
    [[noreturn]] void Syntax() const {
        const Token& t = Peek();
        const QString near = t.kind == Token::Kind::End      ? QStringLiteral("<EOF>")
                             : t.kind == Token::Kind::String ? u'\'' + t.text + u'\''
                                                             : t.text;
        Fail(2209, QStringLiteral("Syntax error near '%1'").arg(near));
    }
    [[noreturn]] void Unsupported(const QString& what) const {
        throw Error{50001, QStringLiteral("The embedded server does not support %1 in XQuery.").arg(what)};
    }

    void Tokenize() {
        const QString& s = mText;
        qsizetype i = 0;
        const auto at = [&](qsizetype k) { return k < s.size() ? s[k] : QChar(); };
        while (i < s.size()) {
            const QChar c = s[i];
            if (c.isSpace()) {
                ++i;
                continue;
            }
            if (c == u'(' && at(i + 1) == u':') { // (: comment :)
                const qsizetype end = s.indexOf(QLatin1String(":)"), i + 2);
                i = end < 0 ? s.size() : end + 2;
                continue;
            }
            Token t;
            if (c == u'"' || c == u'\'') {
                t.kind = Token::Kind::String;
                ++i;
                for (;;) {
                    if (i >= s.size())
                        Fail(2209, QStringLiteral("Syntax error near '<EOF>'"));
                    if (s[i] == c) {
                        if (at(i + 1) == c) {
                            t.text += c;
                            i += 2;
                            continue;
                        }
                        ++i;
                        break;
                    }
                    t.text += s[i++];
                }
            } else if (c.isDigit() || (c == u'.' && at(i + 1).isDigit())) {
                t.kind = Token::Kind::Number;
                while (i < s.size() && (s[i].isDigit() || s[i] == u'.'))
                    t.text += s[i++];
                if ((at(i) == u'e' || at(i) == u'E') &&
                    (at(i + 1).isDigit() ||
                     ((at(i + 1) == u'-' || at(i + 1) == u'+') && at(i + 2).isDigit()))) {
                    t.text += s[i++];
                    t.text += s[i++];
                    while (i < s.size() && s[i].isDigit())
                        t.text += s[i++];
                }
            } else if (NameStart(c) || (c == u'*' && at(i + 1) == u':' && NameStart(at(i + 2)))) {
                t.kind = Token::Kind::Name;
                t.text += s[i++];
                while (i < s.size() && NameChar(s[i]))
                    t.text += s[i++];
                // prefix:local and prefix:*, but not the axis separator ::
                if (at(i) == u':' && at(i + 1) != u':' && (NameStart(at(i + 1)) || at(i + 1) == u'*') &&
                    !t.text.contains(u':')) {
                    t.text += s[i++];
                    if (s[i] == u'*') {
                        t.text += s[i++];
                    } else {
                        while (i < s.size() && NameChar(s[i]))
                            t.text += s[i++];
                    }
                }
            } else {
                t.kind = Token::Kind::Symbol;
                static const char* const pairs[] = {"//", "..", "::", "!=", "<=", ">=", ":="};
                const QString two = s.mid(i, 2);
                t.text = c;
                for (const char* p : pairs)
                    if (two == QLatin1String(p))
                        t.text = two;
                i += t.text.size();
            }
            mTokens.append(t);
        }
        mTokens.append(Token{});
    }

    const Token& Peek(int ahead = 0) const {
        return mTokens[std::min<qsizetype>(mPos + ahead, mTokens.size() - 1)];
    }
    const Token& Next() {
        const Token& t = Peek();
        if (mPos < mTokens.size() - 1)
            ++mPos;
        return t;
    }
    void Expect(const char* symbol) {
        if (!Peek().Is(symbol))
            Syntax();
        Next();
    }

    // declare namespace p = "uri"; declare default element namespace "uri";
    void Prolog() {
        while (Peek().IsName("declare")) {
            Next();
            if (Peek().IsName("namespace")) {
                Next();
                const Token prefix = Next();
                if (prefix.kind != Token::Kind::Name)
                    Syntax();
                Expect("=");
                if (Peek().kind != Token::Kind::String)
                    Syntax();
                mNamespaces.insert(prefix.text, Next().text);
            } else if (Peek().IsName("default") && Peek(1).IsName("element") && Peek(2).IsName("namespace")) {
                Next();
                Next();
                Next();
                if (Peek().kind != Token::Kind::String)
                    Syntax();
                mDefaultElement = Next().text;
            } else {
                Unsupported(QStringLiteral("this declaration"));
            }
            Expect(";");
        }
    }

    struct Level {
        explicit Level(Reader& r)
            : reader(r) {
            if (++reader.mDepth > kMaxNesting)
                reader.Unsupported(QStringLiteral("expressions nested more than 64 levels deep"));
        }
        ~Level() { --reader.mDepth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;
        Reader& reader;
    };

    static ExprP Make(Expr::Kind kind) {
        auto e = std::make_shared<Expr>();
        e->kind = kind;
        return e;
    }

    ExprP Items() {
        const Level level(*this);
        ExprP first = Or();
        if (!Peek().Is(","))
            return first;
        ExprP e = Make(Expr::Kind::List);
        e->args.push_back(first);
        while (Peek().Is(",")) {
            Next();
            e->args.push_back(Or());
        }
        return e;
    }

    void Count() {
        if (++mOperators > kMaxOperators)
            Unsupported(QStringLiteral("queries of more than 1024 steps and operators"));
    }

    ExprP Binary(const QString& op, ExprP left, ExprP right) {
        Count();
        ExprP e = Make(Expr::Kind::Binary);
        e->local = op;
        e->args = {std::move(left), std::move(right)};
        return e;
    }

    ExprP Or() {
        ExprP left = And();
        while (Peek().IsName("or")) {
            Next();
            left = Binary(QStringLiteral("or"), left, And());
        }
        return left;
    }

    ExprP And() {
        ExprP left = Comparison();
        while (Peek().IsName("and")) {
            Next();
            left = Binary(QStringLiteral("and"), left, Comparison());
        }
        return left;
    }

    ExprP Comparison() {
        ExprP left = Additive();
        static const QStringList general = {QStringLiteral("="),  QStringLiteral("!="), QStringLiteral("<"),
                                            QStringLiteral("<="), QStringLiteral(">"),  QStringLiteral(">=")};
        static const QStringList value = {QStringLiteral("eq"), QStringLiteral("ne"), QStringLiteral("lt"),
                                          QStringLiteral("le"), QStringLiteral("gt"), QStringLiteral("ge")};
        const Token& t = Peek();
        QString op;
        if (t.kind == Token::Kind::Symbol && general.contains(t.text))
            op = t.text;
        else if (t.kind == Token::Kind::Name && value.contains(t.text))
            op = general[value.indexOf(t.text)];
        if (op.isEmpty())
            return left;
        Next();
        return Binary(op, left, Additive());
    }

    ExprP Additive() {
        ExprP left = Multiplicative();
        while (Peek().Is("+") || Peek().Is("-")) {
            const QString op = Next().text;
            left = Binary(op, left, Multiplicative());
        }
        return left;
    }

    ExprP Multiplicative() {
        ExprP left = Unary();
        while (Peek().Is("*") || Peek().IsName("div") || Peek().IsName("idiv") || Peek().IsName("mod")) {
            const QString op = Next().text;
            left = Binary(op, left, Unary());
        }
        return left;
    }

    ExprP Unary() {
        if (Peek().Is("-") || Peek().Is("+")) {
            const Level level(*this);
            const bool negate = Next().text == QLatin1String("-");
            ExprP operand = Unary();
            if (!negate)
                return operand;
            ExprP e = Make(Expr::Kind::Negate);
            e->args.push_back(operand);
            return e;
        }
        if (Peek().Is("|"))
            Unsupported(QStringLiteral("unions (|)"));
        return Path();
    }

    static ExprP DescendantOrSelf() {
        ExprP step = Make(Expr::Kind::Step);
        step->axis = Expr::Axis::DescendantOrSelf;
        step->test = Expr::Test::Node;
        return step;
    }

    ExprP Join(ExprP left, ExprP right) {
        Count();
        ExprP e = Make(Expr::Kind::Path);
        e->args = {std::move(left), std::move(right)};
        return e;
    }

    bool StepStarts() const {
        const Token& t = Peek();
        return t.kind != Token::Kind::End && (t.kind != Token::Kind::Symbol || t.Is("@") || t.Is("*") ||
                                              t.Is(".") || t.Is("..") || t.Is("("));
    }

    ExprP Path() {
        ExprP path;
        if (Peek().Is("/") || Peek().Is("//")) {
            const bool descendants = Next().text == QLatin1String("//");
            path = Make(Expr::Kind::Root);
            if (descendants)
                path = Join(path, DescendantOrSelf());
            else if (!StepStarts())
                return path;
            path = Join(path, StepExpr());
        } else {
            path = StepExpr();
        }
        while (Peek().Is("/") || Peek().Is("//")) {
            if (Next().text == QLatin1String("//"))
                path = Join(path, DescendantOrSelf());
            path = Join(path, StepExpr());
        }
        return path;
    }

    void Predicates(std::vector<ExprP>& into) {
        while (Peek().Is("[")) {
            const Level level(*this);
            Next();
            into.push_back(Items());
            Expect("]");
        }
    }

    ExprP StepExpr() {
        const Token& t = Peek();
        if (t.Is("(") || t.kind == Token::Kind::String || t.kind == Token::Kind::Number || t.Is(".") ||
            t.Is("$") ||
            (t.kind == Token::Kind::Name && Peek(1).Is("(") && !IsNodeTest(t.text) && !IsKeyword(t.text))) {
            ExprP primary = Primary();
            if (!Peek().Is("["))
                return primary;
            ExprP filter = Make(Expr::Kind::Filter);
            filter->args.push_back(primary);
            Predicates(filter->predicates);
            return filter;
        }
        ExprP step = Make(Expr::Kind::Step);
        if (t.Is("..")) {
            Next();
            step->axis = Expr::Axis::Parent;
            step->test = Expr::Test::Node;
        } else {
            if (t.Is("@")) {
                Next();
                step->axis = Expr::Axis::Attribute;
            } else if (t.kind == Token::Kind::Name && Peek(1).Is("::")) {
                static const QHash<QString, Expr::Axis> axes = {
                    {QStringLiteral("child"), Expr::Axis::Child},
                    {QStringLiteral("attribute"), Expr::Axis::Attribute},
                    {QStringLiteral("parent"), Expr::Axis::Parent},
                    {QStringLiteral("self"), Expr::Axis::Self},
                    {QStringLiteral("descendant"), Expr::Axis::Descendant},
                    {QStringLiteral("descendant-or-self"), Expr::Axis::DescendantOrSelf}};
                const auto axis = axes.find(t.text);
                if (axis == axes.end())
                    Unsupported(QStringLiteral("the axis %1::").arg(t.text));
                step->axis = *axis;
                Next();
                Next();
            }
            NodeTest(*step);
        }
        Predicates(step->predicates);
        return step;
    }

    static bool IsNodeTest(const QString& name) {
        return name == QLatin1String("text") || name == QLatin1String("node") ||
               name == QLatin1String("comment") || name == QLatin1String("processing-instruction") ||
               name == QLatin1String("element") || name == QLatin1String("attribute");
    }

    static bool IsKeyword(const QString& name) {
        return name == QLatin1String("if") || name == QLatin1String("typeswitch");
    }

    void NodeTest(Expr& step) {
        const Token t = Next();
        if (t.Is("*")) {
            step.anyUri = step.anyLocal = true;
            return;
        }
        if (t.kind != Token::Kind::Name)
            Syntax();
        if (Peek().Is("(") && IsNodeTest(t.text)) {
            Next();
            if (t.text == QLatin1String("text"))
                step.test = Expr::Test::Text;
            else if (t.text == QLatin1String("node"))
                step.test = Expr::Test::Node;
            else if (t.text == QLatin1String("comment"))
                step.test = Expr::Test::Comment;
            else if (t.text == QLatin1String("processing-instruction"))
                step.test = Expr::Test::Instruction;
            else
                step.anyUri = step.anyLocal = true; // element() and attribute()
            if (!Peek().Is(")"))
                Unsupported(QStringLiteral("typed node tests"));
            Next();
            return;
        }
        if (t.text == QLatin1String("for") || t.text == QLatin1String("let") ||
            t.text == QLatin1String("some") || t.text == QLatin1String("every")) {
            if (Peek().Is("$"))
                Unsupported(QStringLiteral("FLWOR and quantified expressions (%1)").arg(t.text));
        }
        const qsizetype colon = t.text.indexOf(u':');
        const QString prefix = colon < 0 ? QString() : t.text.left(colon);
        const QString local = colon < 0 ? t.text : t.text.mid(colon + 1);
        step.anyLocal = local == QLatin1String("*");
        step.local = local;
        if (prefix == QLatin1String("*")) {
            step.anyUri = true;
        } else if (!prefix.isEmpty()) {
            step.uri = Namespace(prefix);
        } else if (step.axis != Expr::Axis::Attribute) {
            step.uri = mDefaultElement;
        }
    }

    QString Namespace(const QString& prefix) const {
        const auto it = mNamespaces.find(prefix);
        if (it == mNamespaces.end())
            Fail(2229, QStringLiteral("The name \"%1\" does not denote a namespace.").arg(prefix));
        return *it;
    }

    ExprP Primary() {
        const Level level(*this);
        const Token t = Next();
        if (t.kind == Token::Kind::String) {
            ExprP e = Make(Expr::Kind::String);
            e->local = t.text;
            return e;
        }
        if (t.kind == Token::Kind::Number) {
            ExprP e = Make(Expr::Kind::Number);
            bool ok = false;
            e->number = t.text.toDouble(&ok);
            if (!ok)
                Syntax();
            return e;
        }
        if (t.Is("."))
            return Make(Expr::Kind::Context);
        if (t.Is("$"))
            Unsupported(QStringLiteral("variables ($)"));
        if (t.Is("(")) {
            if (Peek().Is(")")) {
                Next();
                return Make(Expr::Kind::List);
            }
            ExprP inner = Items();
            Expect(")");
            return inner;
        }
        // A function call: name ( args )
        ExprP e = Make(Expr::Kind::Function);
        const qsizetype colon = t.text.indexOf(u':');
        const QString prefix = colon < 0 ? QString() : t.text.left(colon);
        e->local = colon < 0 ? t.text : t.text.mid(colon + 1);
        e->uri = prefix.isEmpty() ? kFnUri : Namespace(prefix);
        Expect("(");
        if (!Peek().Is(")")) {
            do {
                if (Peek().Is(","))
                    Next();
                e->args.push_back(Or());
            } while (Peek().Is(","));
        }
        Expect(")");
        CheckFunction(*e);
        return e;
    }

    void CheckFunction(const Expr& e) {
        const auto arity = [&](int low, int high) {
            const auto n = qsizetype(e.args.size());
            if (n < low || n > high)
                Fail(2395, QStringLiteral("There is no function '{%1}:%2()'").arg(e.uri, e.local));
        };
        if (e.uri == kSqlUri) {
            if (e.local != QLatin1String("variable") && e.local != QLatin1String("column"))
                Fail(2395, QStringLiteral("There is no function '{%1}:%2()'").arg(e.uri, e.local));
            arity(1, 1);
            if (e.args[0]->kind != Expr::Kind::String)
                Fail(2225, QStringLiteral("A string literal was expected"));
            if (mExternals)
                mExternals->append(e.args[0]->local.toLower());
            return;
        }
        if (e.uri == kXsUri)
            Unsupported(QStringLiteral("type constructors (xs:%1)").arg(e.local));
        if (e.uri != kFnUri)
            Fail(2395, QStringLiteral("There is no function '{%1}:%2()'").arg(e.uri, e.local));
        static const QHash<QString, QPair<int, int>> functions = {
            {QStringLiteral("local-name"), {0, 1}},    {QStringLiteral("name"), {0, 1}},
            {QStringLiteral("namespace-uri"), {0, 1}}, {QStringLiteral("string"), {0, 1}},
            {QStringLiteral("data"), {1, 1}},          {QStringLiteral("number"), {0, 1}},
            {QStringLiteral("count"), {1, 1}},         {QStringLiteral("not"), {1, 1}},
            {QStringLiteral("true"), {0, 0}},          {QStringLiteral("false"), {0, 0}},
            {QStringLiteral("contains"), {2, 2}},      {QStringLiteral("starts-with"), {2, 2}},
            {QStringLiteral("string-length"), {0, 1}}, {QStringLiteral("concat"), {2, 64}},
            {QStringLiteral("sum"), {1, 1}},           {QStringLiteral("max"), {1, 1}},
            {QStringLiteral("min"), {1, 1}},           {QStringLiteral("avg"), {1, 1}},
            {QStringLiteral("position"), {0, 0}},      {QStringLiteral("last"), {0, 0}},
            {QStringLiteral("empty"), {1, 1}},         {QStringLiteral("exists"), {1, 1}},
            {QStringLiteral("substring"), {2, 3}},     {QStringLiteral("lower-case"), {1, 1}},
            {QStringLiteral("upper-case"), {1, 1}},    {QStringLiteral("boolean"), {1, 1}},
            {QStringLiteral("round"), {1, 1}},         {QStringLiteral("floor"), {1, 1}},
            {QStringLiteral("ceiling"), {1, 1}},       {QStringLiteral("normalize-space"), {0, 1}}};
        const auto it = functions.find(e.local);
        if (it == functions.end())
            Fail(2395, QStringLiteral("There is no function '{%1}:%2()'").arg(e.uri, e.local));
        arity(it->first, it->second);
    }

    QString mText;
    QString mMethod;
    QList<Token> mTokens;
    qsizetype mPos = 0;
    int mDepth = 0;
    int mOperators = 0;
    QHash<QString, QString> mNamespaces;
    QString mDefaultElement;
    QStringList* mExternals = nullptr;
};

} // namespace

Xml::ExprP Xml::ReadQuery(const QString& text, const QString& method,
                          const QList<QPair<QString, QString>>& namespaces, QStringList* externals) {
    Reader reader(text, method, namespaces);
    return reader.Read(externals);
}
