// The xml method modify(): insert <xml> [as first | as last] into | before | after target,
// delete path, replace value of target with expression. The change is made on a copy of the
// value's document, which is written back whole.
#include "SqlXml.h"

#include <QXmlStreamReader>
#include <algorithm>

namespace {

[[noreturn]] void Fail(long number, const QString& text) {
    throw Xml::Error{number, QStringLiteral("XQuery [modify()]: ") + text};
}

// The words after position at of text, lower case; at moves past them.
QString Word(const QString& text, qsizetype& at) {
    while (at < text.size() && text[at].isSpace())
        ++at;
    const qsizetype from = at;
    while (at < text.size() && (text[at].isLetter() || text[at] == u'-'))
        ++at;
    return text.mid(from, at - from).toLower();
}

// Where a direct constructor <a>...</a> at the start of text ends; -1 when it isn't one.
qsizetype ConstructorEnd(const QString& text) {
    QXmlStreamReader reader(text);
    int depth = 0;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement && --depth == 0)
            return qsizetype(reader.characterOffset());
        else if (token == QXmlStreamReader::Invalid)
            return -1;
    }
    return -1;
}

} // namespace

Xml::Modification::Modification(const QString& text) {
    qsizetype at = 0;
    const QString verb = Word(text, at);
    const auto query = [&](const QString& q, const char* role) {
        auto result = std::make_shared<Query>(q, QStringLiteral("modify()"));
        mExternals += result->Externals();
        Q_UNUSED(role);
        return result;
    };
    if (verb == QLatin1String("delete")) {
        mKind = Kind::Delete;
        mTarget = query(text.mid(at), "target");
        return;
    }
    if (verb == QLatin1String("replace")) {
        if (Word(text, at) != QLatin1String("value") || Word(text, at) != QLatin1String("of"))
            Fail(2209, QStringLiteral("Syntax error near 'replace'"));
        // target with value: the last " with " outside quotes splits them, which is enough for paths.
        const qsizetype with = text.lastIndexOf(QLatin1String(" with "), -1, Qt::CaseInsensitive);
        if (with < at)
            Fail(2209, QStringLiteral("Syntax error near '<EOF>'"));
        mKind = Kind::Replace;
        mTarget = query(text.mid(at, with - at), "target");
        mValue = query(text.mid(with + 6), "value");
        mTarget->RequireSingleton();
        return;
    }
    if (verb != QLatin1String("insert")) {
        if (verb.isEmpty())
            Fail(2209, QStringLiteral("Syntax error near '<EOF>'"));
        Fail(2209, QStringLiteral("Syntax error near '%1'").arg(verb));
    }
    mKind = Kind::Insert;
    while (at < text.size() && text[at].isSpace())
        ++at;
    const qsizetype end = text.mid(at).startsWith(u'<') ? ConstructorEnd(text.mid(at)) : -1;
    if (end < 0)
        throw Error{50001, QStringLiteral("The embedded server does not support inserting anything but one "
                                          "element written out in modify().")};
    mFragment = text.mid(at, end);
    at += end;
    QString word = Word(text, at);
    if (word == QLatin1String("as")) {
        word = Word(text, at);
        if (word != QLatin1String("first") && word != QLatin1String("last"))
            Fail(2209, QStringLiteral("Syntax error near '%1'").arg(word));
        mPlace = word == QLatin1String("first") ? Document::Place::First : Document::Place::Last;
        word = Word(text, at);
        if (word != QLatin1String("into"))
            Fail(2209, QStringLiteral("Syntax error near '%1'").arg(word));
    } else if (word == QLatin1String("before") || word == QLatin1String("after")) {
        mPlace = word == QLatin1String("before") ? Document::Place::Before : Document::Place::After;
    } else if (word != QLatin1String("into")) {
        Fail(2209, QStringLiteral("Syntax error near '%1'").arg(word));
    }
    mTarget = query(text.mid(at), "target");
    mTarget->RequireSingleton();
    const Document check(mFragment);
}

QString Xml::Modification::Apply(const Document& doc, const External& external) const {
    Document copy = doc;
    const Sequence targets = mTarget->Run(copy, 0, external);
    for (const Item& t : targets)
        if (t.kind != Item::Kind::Node || t.node == 0)
            Fail(2337, QStringLiteral("The target of '%1' must be a single node")
                           .arg(mKind == Kind::Insert ? QStringLiteral("insert")
                                                      : QStringLiteral("replace value of")));
    switch (mKind) {
    case Kind::Delete:
        for (const Item& t : targets)
            copy.Detach(t.node);
        break;
    case Kind::Replace:
        if (!targets.isEmpty()) {
            const Sequence value = mValue->Run(doc, 0, external);
            copy.ReplaceValue(targets.first().node,
                              value.isEmpty() ? QString() : Query::Text(doc, value.first()));
        }
        break;
    case Kind::Insert:
        if (!targets.isEmpty())
            copy.InsertCopy(Document(mFragment), targets.first().node, mPlace);
        break;
    }
    return copy.Serialize(0);
}

void Xml::Document::Detach(int i) {
    const int parent = At(i).parent;
    if (parent < 0)
        return;
    for (std::vector<int>* list : {&mNodes[size_t(parent)].children, &mNodes[size_t(parent)].attributes})
        std::erase(*list, i);
    mNodes[size_t(i)].parent = -1;
}

void Xml::Document::ReplaceValue(int i, const QString& value) {
    Node& n = mNodes[size_t(i)];
    if (n.kind != Node::Kind::Element) {
        n.value = value;
        return;
    }
    for (const int c : n.children)
        if (At(c).kind == Node::Kind::Element)
            Fail(2356,
                 QStringLiteral("The target of 'replace value of' must be a non-metadata attribute or an "
                                "element with simple typed content"));
    Node text;
    text.kind = Node::Kind::Text;
    text.value = value;
    text.parent = i;
    const int index = int(mNodes.size());
    mNodes.push_back(text);
    mNodes[size_t(i)].children = {index};
}

int Xml::Document::Copy(const Document& from, int i, int parent) {
    Node n = from.At(i);
    n.parent = parent;
    n.children.clear();
    n.attributes.clear();
    const int index = int(mNodes.size());
    mNodes.push_back(n);
    for (const int a : from.At(i).attributes) {
        const int copied = Copy(from, a, index);
        mNodes[size_t(index)].attributes.push_back(copied);
    }
    for (const int c : from.At(i).children) {
        const int copied = Copy(from, c, index);
        mNodes[size_t(index)].children.push_back(copied);
    }
    return index;
}

void Xml::Document::InsertCopy(const Document& from, int target, Place place) {
    const bool inside = place == Place::First || place == Place::Last;
    if (!inside && At(target).kind == Node::Kind::Attribute)
        Fail(2337, QStringLiteral("The target of 'insert' must be an element"));
    const int parent = inside ? target : At(target).parent;
    if (parent < 0)
        return;
    if (inside && At(target).kind != Node::Kind::Element)
        Fail(2337, QStringLiteral("The target of 'insert' must be an element"));
    std::vector<int> added;
    for (const int c : from.At(0).children)
        added.push_back(Copy(from, c, parent));
    std::vector<int>& siblings = mNodes[size_t(parent)].children;
    auto position = siblings.end();
    if (place == Place::First)
        position = siblings.begin();
    else if (place == Place::Before || place == Place::After)
        position = std::find(siblings.begin(), siblings.end(), target) + (place == Place::After ? 1 : 0);
    siblings.insert(position, added.begin(), added.end());
}
