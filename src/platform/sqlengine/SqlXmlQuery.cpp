// The part of XQuery that the xml methods run: paths (absolute, relative, //, *, @, .., text(),
// node(), the axes by name), predicates (positions and conditions), parenthesised sequences with
// positions, comparisons, and / or, arithmetic, sql:variable(), sql:column() and the functions
// procedures call. It is read once, when the statement is translated, and run on each value.
#include "SqlXmlExpr.h"

#include <QSet>
#include <algorithm>
#include <cmath>
#include <optional>

namespace {

using Xml::Error;
using Xml::Expr;
using Xml::ExprP;
using Xml::Item;
using Xml::kFnUri;
using Xml::kSqlUri;
using Xml::Sequence;

// How many items an expression gives at most, as the server's static typing sees it: one, none or
// one, or any number.
enum class Cardinality { One, Optional, Many };

bool PositionalPredicate(const std::vector<ExprP>& predicates) {
    return std::any_of(predicates.begin(), predicates.end(), [](const ExprP& p) {
        return p->kind == Expr::Kind::Number ||
               (p->kind == Expr::Kind::Function && p->local == QLatin1String("last") && p->uri == kFnUri);
    });
}

Cardinality Infer(const Expr& e) {
    switch (e.kind) {
    case Expr::Kind::Root:
    case Expr::Kind::Context:
    case Expr::Kind::String:
    case Expr::Kind::Number:
    case Expr::Kind::Binary:
    case Expr::Kind::Negate:
        return Cardinality::One;
    case Expr::Kind::List:
        return e.args.empty()       ? Cardinality::Optional
               : e.args.size() == 1 ? Infer(*e.args[0])
                                    : Cardinality::Many;
    case Expr::Kind::Step:
        if (PositionalPredicate(e.predicates))
            return Cardinality::Optional;
        if ((e.axis == Expr::Axis::Attribute && !e.anyLocal && !e.anyUri) || e.axis == Expr::Axis::Parent ||
            e.axis == Expr::Axis::Self)
            return Cardinality::Optional;
        return Cardinality::Many;
    case Expr::Kind::Path:
        return Infer(*e.args[0]) != Cardinality::Many && Infer(*e.args[1]) != Cardinality::Many
                   ? Cardinality::Optional
                   : Cardinality::Many;
    case Expr::Kind::Filter:
        return PositionalPredicate(e.predicates) ? Cardinality::Optional : Infer(*e.args[0]);
    case Expr::Kind::Function:
        if (e.local == QLatin1String("data"))
            return Infer(*e.args[0]);
        return Cardinality::One;
    }
    return Cardinality::Many;
}

// The evaluation of a query against one document.
class Runner {
public:
    Runner(const Xml::Document& doc, const Xml::External& external)
        : mDoc(doc)
        , mExternal(external) {}

    struct Focus {
        Item item;
        qsizetype position = 1, size = 1;
    };

    Sequence Eval(const Expr& e, const Focus& focus) {
        switch (e.kind) {
        case Expr::Kind::Root: {
            Item root;
            root.kind = Item::Kind::Node;
            root.node = 0;
            return {root};
        }
        case Expr::Kind::Context:
            return {focus.item};
        case Expr::Kind::String:
            return {StringItem(e.local)};
        case Expr::Kind::Number:
            return {NumberItem(e.number)};
        case Expr::Kind::List: {
            Sequence out;
            for (const ExprP& a : e.args)
                out += Eval(*a, focus);
            return out;
        }
        case Expr::Kind::Step:
            return Step(e, focus);
        case Expr::Kind::Path:
            return Path(e, focus);
        case Expr::Kind::Filter:
            return Filter(Eval(*e.args[0], focus), e.predicates);
        case Expr::Kind::Negate: {
            const std::optional<double> v = Number(Eval(*e.args[0], focus));
            return v ? Sequence{NumberItem(-*v)} : Sequence{};
        }
        case Expr::Kind::Binary:
            return Binary(e, focus);
        case Expr::Kind::Function:
            return Function(e, focus);
        }
        return {};
    }

private:
    static Item StringItem(const QString& s) {
        Item i;
        i.kind = Item::Kind::String;
        i.string = s;
        return i;
    }
    static Item NumberItem(double d) {
        Item i;
        i.kind = Item::Kind::Number;
        i.number = d;
        return i;
    }
    static Item BooleanItem(bool b) {
        Item i;
        i.kind = Item::Kind::Boolean;
        i.boolean = b;
        return i;
    }

    bool Matches(const Expr& step, int n) const {
        const Xml::Node& node = mDoc.At(n);
        switch (step.test) {
        case Expr::Test::Node:
            return true;
        case Expr::Test::Text:
            return node.kind == Xml::Node::Kind::Text;
        case Expr::Test::Comment:
            return node.kind == Xml::Node::Kind::Comment;
        case Expr::Test::Instruction:
            return node.kind == Xml::Node::Kind::Instruction;
        case Expr::Test::Name:
            break;
        }
        const bool principal = step.axis == Expr::Axis::Attribute ? node.kind == Xml::Node::Kind::Attribute
                                                                  : node.kind == Xml::Node::Kind::Element;
        return principal && (step.anyLocal || node.local == step.local) &&
               (step.anyUri || node.uri == step.uri);
    }

    void Descendants(int n, std::vector<int>& out) const {
        // Depth first in document order, without recursion.
        std::vector<int> stack(mDoc.At(n).children.rbegin(), mDoc.At(n).children.rend());
        while (!stack.empty()) {
            const int c = stack.back();
            stack.pop_back();
            out.push_back(c);
            const std::vector<int>& children = mDoc.At(c).children;
            stack.insert(stack.end(), children.rbegin(), children.rend());
        }
    }

    Sequence Step(const Expr& e, const Focus& focus) {
        if (focus.item.kind != Item::Kind::Node)
            throw Error{2374, QStringLiteral("XQuery: A node or set of nodes is required for a path step")};
        const int n = focus.item.node;
        std::vector<int> candidates;
        switch (e.axis) {
        case Expr::Axis::Child:
            candidates = mDoc.At(n).children;
            break;
        case Expr::Axis::Attribute:
            candidates = mDoc.At(n).attributes;
            break;
        case Expr::Axis::Parent:
            if (mDoc.At(n).parent >= 0)
                candidates.push_back(mDoc.At(n).parent);
            break;
        case Expr::Axis::Self:
            candidates.push_back(n);
            break;
        case Expr::Axis::DescendantOrSelf:
            candidates.push_back(n);
            Descendants(n, candidates);
            break;
        case Expr::Axis::Descendant:
            Descendants(n, candidates);
            break;
        }
        Sequence out;
        for (const int c : candidates)
            if (Matches(e, c)) {
                Item i;
                i.kind = Item::Kind::Node;
                i.node = c;
                out.append(i);
            }
        return Filter(out, e.predicates);
    }

    Sequence Filter(Sequence items, const std::vector<ExprP>& predicates) {
        for (const ExprP& p : predicates) {
            Sequence kept;
            for (qsizetype i = 0; i < items.size(); ++i) {
                const Sequence result = Eval(*p, Focus{items[i], i + 1, items.size()});
                const bool keep = result.size() == 1 && result[0].kind == Item::Kind::Number
                                      ? result[0].number == double(i + 1)
                                      : Effective(result);
                if (keep)
                    kept.append(items[i]);
            }
            items = kept;
        }
        return items;
    }

    Sequence Path(const Expr& e, const Focus& focus) {
        const Sequence left = Eval(*e.args[0], focus);
        Sequence out;
        bool nodes = true;
        for (qsizetype i = 0; i < left.size(); ++i) {
            if (left[i].kind != Item::Kind::Node)
                throw Error{2374,
                            QStringLiteral("XQuery: A node or set of nodes is required for a path step")};
            const Sequence part = Eval(*e.args[1], Focus{left[i], i + 1, left.size()});
            for (const Item& item : part)
                nodes = nodes && item.kind == Item::Kind::Node;
            out += part;
        }
        if (nodes && left.size() > 1) {
            // In document order without repeats: a node's index is its place in the document.
            std::sort(out.begin(), out.end(), [](const Item& a, const Item& b) { return a.node < b.node; });
            out.erase(std::unique(out.begin(), out.end(),
                                  [](const Item& a, const Item& b) { return a.node == b.node; }),
                      out.end());
        }
        return out;
    }

    bool Effective(const Sequence& s) const {
        if (s.isEmpty())
            return false;
        const Item& first = s[0];
        if (first.kind == Item::Kind::Node)
            return true;
        if (s.size() > 1)
            throw Error{2213, QStringLiteral("XQuery: Invalid effective boolean value of a sequence")};
        switch (first.kind) {
        case Item::Kind::Boolean:
            return first.boolean;
        case Item::Kind::Number:
            return first.number != 0 && !std::isnan(first.number);
        case Item::Kind::String:
            return !first.string.isEmpty();
        case Item::Kind::Node:
            break;
        }
        return true;
    }

    static std::optional<double> ToNumber(const QString& text) {
        bool ok = false;
        const double d = text.trimmed().toDouble(&ok);
        return ok ? std::optional<double>(d) : std::nullopt;
    }

    std::optional<double> Number(const Sequence& s) const {
        if (s.isEmpty())
            return std::nullopt;
        if (s[0].kind == Item::Kind::Number)
            return s[0].number;
        if (s[0].kind == Item::Kind::Boolean)
            return s[0].boolean ? 1 : 0;
        return ToNumber(Xml::Query::Text(mDoc, s[0]));
    }

    bool Compare(const Item& a, const Item& b, const QString& op) const {
        int order = 0;
        if (a.kind == Item::Kind::Boolean || b.kind == Item::Kind::Boolean) {
            const bool x = a.kind == Item::Kind::Boolean ? a.boolean : Effective({a});
            const bool y = b.kind == Item::Kind::Boolean ? b.boolean : Effective({b});
            order = int(x) - int(y);
        } else if (a.kind == Item::Kind::Number || b.kind == Item::Kind::Number) {
            const std::optional<double> x =
                a.kind == Item::Kind::Number ? a.number : ToNumber(Xml::Query::Text(mDoc, a));
            const std::optional<double> y =
                b.kind == Item::Kind::Number ? b.number : ToNumber(Xml::Query::Text(mDoc, b));
            if (!x || !y)
                return op == QLatin1String("!=");
            order = *x < *y ? -1 : *x > *y ? 1 : 0;
        } else {
            order = Xml::Query::Text(mDoc, a).compare(Xml::Query::Text(mDoc, b));
        }
        if (op == QLatin1String("="))
            return order == 0;
        if (op == QLatin1String("!="))
            return order != 0;
        if (op == QLatin1String("<"))
            return order < 0;
        if (op == QLatin1String("<="))
            return order <= 0;
        if (op == QLatin1String(">"))
            return order > 0;
        return order >= 0;
    }

    Sequence Binary(const Expr& e, const Focus& focus) {
        const QString& op = e.local;
        if (op == QLatin1String("and"))
            return {BooleanItem(Effective(Eval(*e.args[0], focus)) && Effective(Eval(*e.args[1], focus)))};
        if (op == QLatin1String("or"))
            return {BooleanItem(Effective(Eval(*e.args[0], focus)) || Effective(Eval(*e.args[1], focus)))};
        const Sequence left = Eval(*e.args[0], focus);
        const Sequence right = Eval(*e.args[1], focus);
        if (op.size() <= 2 && (op[0] == u'=' || op[0] == u'!' || op[0] == u'<' || op[0] == u'>')) {
            for (const Item& a : left)
                for (const Item& b : right)
                    if (Compare(a, b, op))
                        return {BooleanItem(true)};
            return {BooleanItem(false)};
        }
        const std::optional<double> x = Number(left);
        const std::optional<double> y = Number(right);
        if (!x || !y)
            return {};
        if (op == QLatin1String("+"))
            return {NumberItem(*x + *y)};
        if (op == QLatin1String("-"))
            return {NumberItem(*x - *y)};
        if (op == QLatin1String("*"))
            return {NumberItem(*x * *y)};
        if (op == QLatin1String("div"))
            return {NumberItem(*x / *y)};
        if (*y == 0)
            throw Error{2374, QStringLiteral("XQuery: Division by zero")};
        if (op == QLatin1String("idiv"))
            return {NumberItem(std::trunc(*x / *y))};
        return {NumberItem(std::fmod(*x, *y))};
    }

    Sequence Argument(const Expr& e, const Focus& focus) {
        return e.args.empty() ? Sequence{focus.item} : Eval(*e.args[0], focus);
    }

    QString ArgumentText(const Expr& e, const Focus& focus, size_t index) {
        const Sequence s = index < e.args.size() ? Eval(*e.args[index], focus) : Sequence{focus.item};
        return s.isEmpty() ? QString() : Xml::Query::Text(mDoc, s[0]);
    }

    Sequence Function(const Expr& e, const Focus& focus) {
        const QString& f = e.local;
        if (e.uri == kSqlUri) {
            const QVariant v = mExternal.value(e.args[0]->local.toLower());
            if (v.isNull())
                return {};
            const auto type = v.typeId();
            if (type == QMetaType::Int || type == QMetaType::LongLong || type == QMetaType::Double)
                return {NumberItem(v.toDouble())};
            return {StringItem(v.toString())};
        }
        if (f == QLatin1String("local-name") || f == QLatin1String("name") ||
            f == QLatin1String("namespace-uri")) {
            const Sequence s = Argument(e, focus);
            if (s.isEmpty() || s[0].kind != Item::Kind::Node)
                return {StringItem({})};
            const Xml::Node& n = mDoc.At(s[0].node);
            if (f == QLatin1String("namespace-uri"))
                return {StringItem(n.uri)};
            if (f == QLatin1String("name") && !n.prefix.isEmpty())
                return {StringItem(n.prefix + u':' + n.local)};
            return {StringItem(n.kind == Xml::Node::Kind::Element || n.kind == Xml::Node::Kind::Attribute ||
                                       n.kind == Xml::Node::Kind::Instruction
                                   ? n.local
                                   : QString())};
        }
        if (f == QLatin1String("string"))
            return {StringItem(ArgumentText(e, focus, 0))};
        if (f == QLatin1String("data")) {
            Sequence out;
            for (const Item& i : Eval(*e.args[0], focus))
                out.append(i.kind == Item::Kind::Node ? StringItem(Xml::Query::Text(mDoc, i)) : i);
            return out;
        }
        if (f == QLatin1String("number")) {
            const std::optional<double> d = Number(Argument(e, focus));
            return {NumberItem(d ? *d : std::nan(""))};
        }
        if (f == QLatin1String("count"))
            return {NumberItem(double(Eval(*e.args[0], focus).size()))};
        if (f == QLatin1String("not"))
            return {BooleanItem(!Effective(Eval(*e.args[0], focus)))};
        if (f == QLatin1String("boolean"))
            return {BooleanItem(Effective(Eval(*e.args[0], focus)))};
        if (f == QLatin1String("true") || f == QLatin1String("false"))
            return {BooleanItem(f == QLatin1String("true"))};
        if (f == QLatin1String("empty") || f == QLatin1String("exists"))
            return {BooleanItem(Eval(*e.args[0], focus).isEmpty() == (f == QLatin1String("empty")))};
        if (f == QLatin1String("contains"))
            return {BooleanItem(ArgumentText(e, focus, 0).contains(ArgumentText(e, focus, 1)))};
        if (f == QLatin1String("starts-with"))
            return {BooleanItem(ArgumentText(e, focus, 0).startsWith(ArgumentText(e, focus, 1)))};
        if (f == QLatin1String("string-length"))
            return {NumberItem(double(ArgumentText(e, focus, 0).size()))};
        if (f == QLatin1String("normalize-space"))
            return {StringItem(ArgumentText(e, focus, 0).simplified())};
        if (f == QLatin1String("lower-case"))
            return {StringItem(ArgumentText(e, focus, 0).toLower())};
        if (f == QLatin1String("upper-case"))
            return {StringItem(ArgumentText(e, focus, 0).toUpper())};
        if (f == QLatin1String("concat")) {
            QString out;
            for (size_t i = 0; i < e.args.size(); ++i)
                out += ArgumentText(e, focus, i);
            return {StringItem(out)};
        }
        if (f == QLatin1String("substring")) {
            const QString s = ArgumentText(e, focus, 0);
            const std::optional<double> start = Number(Eval(*e.args[1], focus));
            const std::optional<double> length = e.args.size() > 2
                                                     ? Number(Eval(*e.args[2], focus))
                                                     : std::optional<double>(double(s.size()) + 1);
            if (!start || !length || std::isnan(*start) || std::isnan(*length))
                return {StringItem({})};
            const double from = std::max(1.0, std::round(*start));
            const double to = std::min(double(s.size()) + 1, std::round(*start) + std::round(*length));
            if (to <= from)
                return {StringItem({})};
            return {StringItem(s.mid(qsizetype(from) - 1, qsizetype(to - from)))};
        }
        if (f == QLatin1String("round") || f == QLatin1String("floor") || f == QLatin1String("ceiling")) {
            const std::optional<double> d = Number(Eval(*e.args[0], focus));
            if (!d)
                return {};
            return {NumberItem(f == QLatin1String("round")   ? std::floor(*d + 0.5)
                               : f == QLatin1String("floor") ? std::floor(*d)
                                                             : std::ceil(*d))};
        }
        if (f == QLatin1String("position"))
            return {NumberItem(double(focus.position))};
        if (f == QLatin1String("last"))
            return {NumberItem(double(focus.size))};
        // sum, max, min, avg
        const Sequence s = Eval(*e.args[0], focus);
        if (s.isEmpty())
            return f == QLatin1String("sum") ? Sequence{NumberItem(0)} : Sequence{};
        double total = 0;
        double best = 0;
        for (qsizetype i = 0; i < s.size(); ++i) {
            const std::optional<double> d = Number({s[i]});
            if (!d)
                throw Error{
                    2374,
                    QStringLiteral("XQuery: The value '%1' is no number").arg(Xml::Query::Text(mDoc, s[i]))};
            total += *d;
            if (i == 0 || (f == QLatin1String("max") ? *d > best : *d < best))
                best = *d;
        }
        if (f == QLatin1String("sum"))
            return {NumberItem(total)};
        if (f == QLatin1String("avg"))
            return {NumberItem(total / double(s.size()))};
        return {NumberItem(best)};
    }

    const Xml::Document& mDoc;
    const Xml::External& mExternal;
};

} // namespace

Xml::Query::Query(const QString& text, const QString& method,
                  const QList<QPair<QString, QString>>& namespaces)
    : mMethod(method) {
    mRoot = ReadQuery(text, method, namespaces, &mExternals);
}

void Xml::Query::RequireSingleton() const {
    if (Infer(*mRoot) == Cardinality::Many)
        throw Error{2389, QStringLiteral("XQuery [%1]: '%2' requires a singleton (or empty sequence), found "
                                         "operand of type 'xdt:untypedAtomic *'")
                              .arg(mMethod, mMethod)};
}

Xml::Sequence Xml::Query::Run(const Document& doc, int context, const External& external) const {
    Runner runner(doc, external);
    Item focus;
    focus.kind = Item::Kind::Node;
    focus.node = context;
    return runner.Eval(*mRoot, Runner::Focus{focus, 1, 1});
}

QString Xml::Query::Text(const Document& doc, const Item& item) {
    switch (item.kind) {
    case Item::Kind::Node:
        return doc.StringValue(item.node);
    case Item::Kind::String:
        return item.string;
    case Item::Kind::Boolean:
        return item.boolean ? QStringLiteral("true") : QStringLiteral("false");
    case Item::Kind::Number:
        break;
    }
    const double d = item.number;
    if (std::isnan(d))
        return QStringLiteral("NaN");
    if (std::isinf(d))
        return d > 0 ? QStringLiteral("INF") : QStringLiteral("-INF");
    if (d == std::trunc(d) && std::fabs(d) < 1e15)
        return QString::number(qint64(d));
    return QString::number(d, 'g', 15);
}

QString Xml::Query::Serialize(const Document& doc, const Sequence& items) {
    QString out;
    bool atomicBefore = false;
    for (const Item& item : items) {
        if (item.kind == Item::Kind::Node) {
            if (doc.At(item.node).kind == Node::Kind::Attribute)
                throw Error{2396, QStringLiteral("XQuery [query()]: Attribute may not appear outside of an "
                                                 "element")};
            out += doc.Serialize(item.node);
            atomicBefore = false;
            continue;
        }
        if (atomicBefore)
            out += u' ';
        QString escaped;
        for (const QChar c : Text(doc, item))
            escaped += c == u'&'   ? QStringLiteral("&amp;")
                       : c == u'<' ? QStringLiteral("&lt;")
                       : c == u'>' ? QStringLiteral("&gt;")
                                   : QString(c);
        out += escaped;
        atomicBefore = true;
    }
    return out;
}
