#include "ScriptDependencyOrder.h"

#include "modParser.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <functional>

namespace {

bool isNameChar(QChar c) {
    return c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('@') || c == QLatin1Char('#') ||
           c == QLatin1Char('$');
}

// The dotted names of a text, each as its parts ("dbo", "v1"), outside comments and string literals.
// The scanner keeps "[dbo].[v1]" as touching rows and a plain "dbo.v1," as one word, so the rows
// are joined where they touch and cut at anything that can't be part of a name.
QList<QStringList> namesIn(const QString& text) {
    QList<QStringList> names;
    QStringList parts;
    QString part;
    auto endName = [&] {
        if (!part.isEmpty())
            parts << part;
        if (!parts.isEmpty())
            names << parts;
        parts.clear();
        part.clear();
    };
    int end = -1;
    for (const modParser::SQLToken& token : modParser::TokenizeSQL(text, false)) {
        if (token.Start != end)
            endName();
        end = token.Start + token.Length;
        if (token.Kind == modParser::TokenKind::StringLiteral) {
            endName();
            continue;
        }
        if (token.Kind == modParser::TokenKind::BracketedName) {
            part =
                token.Text.mid(1, token.Text.size() - 2).replace(QStringLiteral("]]"), QStringLiteral("]"));
            continue;
        }
        bool quoted = false;
        for (const QChar c : token.Text) {
            if (c == QLatin1Char('"')) {
                quoted = !quoted;
            } else if (quoted || isNameChar(c)) {
                part += c;
            } else if (c == QLatin1Char('.')) {
                parts << part;
                part.clear();
            } else {
                endName();
            }
        }
    }
    endName();
    return names;
}

// Tarjan's strongly connected components, without recursion: a long chain of views must not
// exhaust the stack.
QList<int> componentsOf(const QList<QList<qsizetype>>& uses) {
    const qsizetype n = uses.size();
    QList<int> component(n, -1);
    QList<int> index(n, -1);
    QList<int> low(n, 0);
    QList<bool> onStack(n, false);
    QList<qsizetype> stack;
    int counter = 0;
    int components = 0;
    struct Frame {
        qsizetype node;
        qsizetype next;
    };
    for (qsizetype root = 0; root < n; ++root) {
        if (index[root] >= 0)
            continue;
        QList<Frame> frames{{root, 0}};
        index[root] = low[root] = counter++;
        stack << root;
        onStack[root] = true;
        while (!frames.isEmpty()) {
            Frame& frame = frames.last();
            const qsizetype v = frame.node;
            if (frame.next < uses[v].size()) {
                const qsizetype w = uses[v][frame.next++];
                if (index[w] < 0) {
                    index[w] = low[w] = counter++;
                    stack << w;
                    onStack[w] = true;
                    frames.append({w, 0});
                } else if (onStack[w]) {
                    low[v] = std::min(low[v], index[w]);
                }
                continue;
            }
            if (low[v] == index[v]) {
                qsizetype w = -1;
                do {
                    w = stack.takeLast();
                    onStack[w] = false;
                    component[w] = components;
                } while (w != v);
                ++components;
            }
            frames.removeLast();
            if (!frames.isEmpty()) {
                const qsizetype parent = frames.last().node;
                low[parent] = std::min(low[parent], low[v]);
            }
        }
    }
    return component;
}

} // namespace

namespace {

using NameIndex = QHash<QString, QList<qsizetype>>;

NameIndex indexByName(const QList<ScriptDependencyNode>& nodes) {
    NameIndex byName;
    for (qsizetype i = 0; i < nodes.size(); ++i)
        byName[nodes[i].Name.toLower()].append(i);
    return byName;
}

QList<qsizetype> dependenciesOf(const QList<ScriptDependencyNode>& nodes, const NameIndex& byName,
                                qsizetype at) {
    const ScriptDependencyNode& node = nodes[at];
    QList<qsizetype> uses;
    for (const QStringList& parts : namesIn(node.Text)) {
        const auto named = byName.constFind(parts.last().toLower());
        if (named == byName.constEnd())
            continue;
        const QString owner = parts.size() >= 2 ? parts[parts.size() - 2] : QString();
        for (const qsizetype candidate : *named) {
            if (candidate == at || uses.contains(candidate))
                continue;
            const QString& candidateOwner = nodes[candidate].Owner;
            // A name without its owner resolves to the user's own object first, then to dbo's, as the
            // server resolves it; a name that only one object has is that object.
            const bool matches =
                !owner.isEmpty()
                    ? candidateOwner.compare(owner, Qt::CaseInsensitive) == 0
                    : named->size() == 1 || candidateOwner.compare(node.Owner, Qt::CaseInsensitive) == 0 ||
                          candidateOwner.compare(QLatin1String("dbo"), Qt::CaseInsensitive) == 0;
            if (matches)
                uses.append(candidate);
        }
    }
    std::sort(uses.begin(), uses.end());
    return uses;
}

} // namespace

QList<qsizetype> ScriptDependenciesOf(const QList<ScriptDependencyNode>& nodes, qsizetype at) {
    return dependenciesOf(nodes, indexByName(nodes), at);
}

QList<qsizetype> ScriptDependencyOrder(const QList<ScriptDependencyNode>& nodes) {
    const qsizetype n = nodes.size();
    QList<QList<qsizetype>> uses(n);
    const NameIndex byName = indexByName(nodes);
    for (qsizetype i = 0; i < n; ++i)
        uses[i] = dependenciesOf(nodes, byName, i);
    const QList<int> component = componentsOf(uses);
    int components = 0;
    for (const int c : component)
        components = std::max(components, c + 1);
    // The members of each component in the list's order.
    QList<QList<qsizetype>> members(components);
    for (qsizetype i = 0; i < n; ++i)
        members[component[i]].append(i);

    // Each component goes out after the components it uses, which go out first in the order of their
    // first members; so the list's order stands wherever nothing forces another, and the members of a
    // cycle keep theirs.
    QList<qsizetype> order;
    order.reserve(n);
    QList<bool> entered(components, false);
    struct Frame {
        int component;
        QList<int> needed; // the components it uses, by their first member
        qsizetype next = 0;
    };
    auto frameOf = [&](int c) {
        Frame frame{c, {}};
        for (const qsizetype member : members[c])
            for (const qsizetype used : uses[member])
                if (component[used] != c && !frame.needed.contains(component[used]))
                    frame.needed.append(component[used]);
        std::sort(frame.needed.begin(), frame.needed.end(),
                  [&](int a, int b) { return members[a].first() < members[b].first(); });
        entered[c] = true;
        return frame;
    };
    for (qsizetype start = 0; start < n; ++start) {
        if (entered[component[start]])
            continue;
        QList<Frame> stack{frameOf(component[start])};
        while (!stack.isEmpty()) {
            Frame& top = stack.last();
            if (top.next < top.needed.size()) {
                const int d = top.needed[top.next++];
                if (!entered[d])
                    stack.append(frameOf(d));
                continue;
            }
            order += members[top.component];
            stack.removeLast();
        }
    }
    return order;
}
