#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

// The xml type as the server's methods see it: a document read into a tree of nodes, and the part
// of XQuery that procedures use on it (paths with predicates, a few functions, comparisons), read
// once per statement and run on each value.
namespace Xml {

// A failure as the server reports it.
struct Error {
    long number;
    QString text;
};

// Elements nest at most this deep, as in the server (error 6335 beyond).
constexpr int kMaxDepth = 128;

struct Node {
    enum class Kind { Document, Element, Attribute, Text, Comment, Instruction };
    Kind kind = Kind::Element;
    QString prefix, local, uri; // an element's or attribute's name
    QString value;              // an attribute's, a text's, a comment's value
    int parent = -1;
    std::vector<int> children;                 // elements, texts, comments and instructions, in order
    std::vector<int> attributes;               // an element's attributes
    QList<QPair<QString, QString>> namespaces; // prefix, uri declared on an element
};

class Document {
public:
    // Throws Error 9400 (the server's "XML parsing: line l, character c, ...") on malformed text.
    explicit Document(const QString& text);
    const Node& At(int i) const { return mNodes[size_t(i)]; }
    int Size() const { return int(mNodes.size()); }
    // A node's string value: its own for an attribute, the texts below it for an element.
    QString StringValue(int i) const;
    // A node as the server writes xml: <a b="1">text</a>, <c />.
    QString Serialize(int i) const;

    // The changes of modify() (SqlXmlModify.cpp): a node taken out of its parent, a value replaced
    // (an element's by one text), copies of another document's top nodes put in.
    enum class Place { First, Last, Before, After };
    void Detach(int i);
    void ReplaceValue(int i, const QString& value);
    void InsertCopy(const Document& from, int target, Place place);

private:
    int Copy(const Document& from, int i, int parent);
    void Write(int i, QString& out, const QList<QPair<QString, QString>>& inherited) const;
    std::vector<Node> mNodes;
};

// One item of a result: a node of the document, or an atomic value.
struct Item {
    enum class Kind { Node, String, Number, Boolean };
    Kind kind = Kind::String;
    int node = -1;
    QString string;
    double number = 0;
    bool boolean = false;
};
using Sequence = QList<Item>;

struct Expr;
using ExprP = std::shared_ptr<Expr>;

// What a query is given beside its document: the values of sql:variable() and sql:column().
using External = QHash<QString, QVariant>;

class Query {
public:
    // Throws Error (2200s, the server's "XQuery [method()]: ..." texts) for what it can't read.
    // namespaces are those of WITH XMLNAMESPACES (prefix, uri; an empty prefix is the default).
    Query(const QString& text, const QString& method, const QList<QPair<QString, QString>>& namespaces = {});
    // 2389 unless the query gives at most one item (value()).
    void RequireSingleton() const;
    // The sql:variable and sql:column names it reads, lower case, as written ("@v", "c").
    const QStringList& Externals() const { return mExternals; }
    Sequence Run(const Document& doc, int context, const External& external) const;
    // An item as text: a node's string value, a number as XQuery writes it.
    static QString Text(const Document& doc, const Item& item);
    // query(): the nodes as xml, the atomic values as text separated by a blank.
    static QString Serialize(const Document& doc, const Sequence& items);

private:
    ExprP mRoot;
    QStringList mExternals;
    QString mMethod;
};

// modify(): insert, delete or replace value of, read once and applied to a copy of a document.
class Modification {
public:
    // Throws Error as Query does.
    explicit Modification(const QString& text);
    const QStringList& Externals() const { return mExternals; }
    // The document's text after the change.
    QString Apply(const Document& doc, const External& external) const;

private:
    enum class Kind { Insert, Delete, Replace };
    Kind mKind = Kind::Delete;
    std::shared_ptr<Query> mTarget, mValue;
    QString mFragment; // the xml that insert puts in
    Document::Place mPlace = Document::Place::Last;
    QStringList mExternals;
};

// The documents of sp_xml_preparedocument, by handle, until sp_xml_removedocument
// (SqlFunctionsXml.cpp). PrepareDocument throws Error for malformed text.
qint64 PrepareDocument(const QString& text);
bool RemoveDocument(qint64 handle);

} // namespace Xml
