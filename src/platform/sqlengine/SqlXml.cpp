// An xml value read into a tree of nodes, and written back as the server writes xml. The query
// language over the tree is in SqlXmlQuery.cpp.
#include "SqlXml.h"

#include <QSet>
#include <QXmlStreamReader>

namespace {

// The server's xml holds fragments (several top elements, text beside them); the reader wants one
// document, so the text is read inside an element of its own, which becomes the document node.
const QString kWrapperOpen = QStringLiteral("<tarmo-fragment>");
const QString kWrapperClose = QStringLiteral("</tarmo-fragment>");

// A leading <?xml ...?> declaration can only stand first in a document, not inside the wrapper.
qsizetype DeclarationEnd(const QString& text) {
    qsizetype i = 0;
    if (i < text.size() && text[i] == QChar(0xFEFF))
        ++i;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (!text.mid(i, 5).startsWith(QLatin1String("<?xml"), Qt::CaseInsensitive) ||
        (i + 5 < text.size() && !text[i + 5].isSpace()))
        return 0;
    const qsizetype end = text.indexOf(QLatin1String("?>"), i);
    return end < 0 ? 0 : end + 2;
}

void Escape(const QString& text, bool attribute, QString& out) {
    for (const QChar c : text) {
        if (c == u'&')
            out += QLatin1String("&amp;");
        else if (c == u'<')
            out += QLatin1String("&lt;");
        else if (c == u'>')
            out += QLatin1String("&gt;");
        else if (attribute && c == u'"')
            out += QLatin1String("&quot;");
        else
            out += c;
    }
}

QString QualifiedName(const Xml::Node& n) {
    return n.prefix.isEmpty() ? n.local : n.prefix + u':' + n.local;
}

} // namespace

Xml::Document::Document(const QString& text) {
    const qsizetype skip = DeclarationEnd(text);
    QXmlStreamReader reader(kWrapperOpen + text.mid(skip) + kWrapperClose);
    mNodes.push_back(Node{Node::Kind::Document, {}, {}, {}, {}, -1, {}, {}, {}});
    int current = 0;
    int depth = 0;
    bool wrapperSeen = false;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        switch (token) {
        case QXmlStreamReader::StartElement: {
            if (!wrapperSeen) {
                wrapperSeen = true;
                break;
            }
            if (++depth > kMaxDepth)
                throw Error{6335, QStringLiteral("XML datatype instance has too many levels of nested nodes. "
                                                 "Maximum allowed depth is %1 levels.")
                                      .arg(kMaxDepth)};
            Node e;
            e.kind = Node::Kind::Element;
            e.prefix = reader.prefix().toString();
            e.local = reader.name().toString();
            e.uri = reader.namespaceUri().toString();
            e.parent = current;
            for (const QXmlStreamNamespaceDeclaration& d : reader.namespaceDeclarations())
                e.namespaces.append({d.prefix().toString(), d.namespaceUri().toString()});
            const int index = int(mNodes.size());
            mNodes.push_back(e);
            mNodes[size_t(current)].children.push_back(index);
            for (const QXmlStreamAttribute& a : reader.attributes()) {
                Node attribute;
                attribute.kind = Node::Kind::Attribute;
                attribute.prefix = a.prefix().toString();
                attribute.local = a.name().toString();
                attribute.uri = a.namespaceUri().toString();
                attribute.value = a.value().toString();
                attribute.parent = index;
                mNodes[size_t(index)].attributes.push_back(int(mNodes.size()));
                mNodes.push_back(attribute);
            }
            current = index;
            break;
        }
        case QXmlStreamReader::EndElement:
            if (current != 0) {
                current = mNodes[size_t(current)].parent;
                --depth;
            }
            break;
        case QXmlStreamReader::Characters: {
            // Blanks between elements are not kept, as the server drops them by default.
            if (reader.isWhitespace() && !reader.isCDATA())
                break;
            std::vector<int>& siblings = mNodes[size_t(current)].children;
            if (!siblings.empty() && mNodes[size_t(siblings.back())].kind == Node::Kind::Text) {
                mNodes[size_t(siblings.back())].value += reader.text();
                break;
            }
            Node t;
            t.kind = Node::Kind::Text;
            t.value = reader.text().toString();
            t.parent = current;
            siblings.push_back(int(mNodes.size()));
            mNodes.push_back(t);
            break;
        }
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction: {
            Node c;
            c.kind = token == QXmlStreamReader::Comment ? Node::Kind::Comment : Node::Kind::Instruction;
            c.local = reader.processingInstructionTarget().toString();
            c.value = token == QXmlStreamReader::Comment ? reader.text().toString()
                                                         : reader.processingInstructionData().toString();
            c.parent = current;
            mNodes[size_t(current)].children.push_back(int(mNodes.size()));
            mNodes.push_back(c);
            break;
        }
        case QXmlStreamReader::DTD:
            throw Error{6359, QStringLiteral("Parsing XML with internal subset DTDs not allowed. Use CONVERT "
                                             "with style option 2 to enable limited internal subset DTD "
                                             "support.")};
        default:
            break;
        }
    }
    if (reader.hasError()) {
        const qint64 line = reader.lineNumber();
        qint64 column = reader.columnNumber();
        if (line == 1)
            column = std::max<qint64>(1, column - kWrapperOpen.size() + skip);
        throw Error{9400, QStringLiteral("XML parsing: line %1, character %2, %3")
                              .arg(line)
                              .arg(column)
                              .arg(reader.errorString().toLower())};
    }
}

QString Xml::Document::StringValue(int i) const {
    const Node& n = At(i);
    if (n.kind != Node::Kind::Element && n.kind != Node::Kind::Document)
        return n.value;
    QString out;
    // Depth is bounded by the reader, so recursion stays shallow.
    for (const int c : n.children)
        if (At(c).kind == Node::Kind::Text || At(c).kind == Node::Kind::Element)
            out += StringValue(c);
    return out;
}

QString Xml::Document::Serialize(int i) const {
    QString out;
    // A subtree taken out of its document keeps the namespaces it was declared under.
    QList<QPair<QString, QString>> inherited;
    if (At(i).kind == Node::Kind::Element) {
        QSet<QString> declared;
        for (int p = At(i).parent; p > 0; p = At(p).parent)
            for (const auto& d : At(p).namespaces)
                if (!declared.contains(d.first)) {
                    declared.insert(d.first);
                    inherited.append(d);
                }
    }
    Write(i, out, inherited);
    return out;
}

void Xml::Document::Write(int i, QString& out, const QList<QPair<QString, QString>>& inherited) const {
    const Node& n = At(i);
    switch (n.kind) {
    case Node::Kind::Document:
        for (const int c : n.children)
            Write(c, out, {});
        return;
    case Node::Kind::Text:
    case Node::Kind::Attribute:
        Escape(n.value, false, out);
        return;
    case Node::Kind::Comment:
        out += QLatin1String("<!--") + n.value + QLatin1String("-->");
        return;
    case Node::Kind::Instruction:
        out += QLatin1String("<?") + n.local + (n.value.isEmpty() ? QString() : u' ' + n.value) +
               QLatin1String("?>");
        return;
    case Node::Kind::Element:
        break;
    }
    out += u'<' + QualifiedName(n);
    QSet<QString> own;
    for (const auto& [prefix, uri] : n.namespaces)
        own.insert(prefix);
    QList<QPair<QString, QString>> declarations = n.namespaces;
    for (const auto& d : inherited)
        if (!own.contains(d.first))
            declarations.append(d);
    for (const auto& [prefix, uri] : declarations) {
        out += prefix.isEmpty() ? QStringLiteral(" xmlns=\"")
                                : QStringLiteral(" xmlns:") + prefix + QStringLiteral("=\"");
        Escape(uri, true, out);
        out += u'"';
    }
    for (const int a : n.attributes) {
        out += u' ' + QualifiedName(At(a)) + QLatin1String("=\"");
        Escape(At(a).value, true, out);
        out += u'"';
    }
    if (n.children.empty()) {
        out += QLatin1String(" />");
        return;
    }
    out += u'>';
    for (const int c : n.children)
        Write(c, out, {});
    out += QLatin1String("</") + QualifiedName(n) + u'>';
}
