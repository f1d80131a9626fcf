// The xml methods as SQLite functions: value(), query(), exist() and nodes() of an xml value or of a
// row of nodes(), and the documents of sp_xml_preparedocument that OPENXML reads.
//
// A row of nodes() stands for a node of a document, which its methods need whole (.. reaches its
// parent): the row holds a reference to a document kept here, not a copy. The documents of the
// latest values are kept too, so that a value's methods on each row of a query read it once.
#include "SqlFunctions.h"
#include "SqlValueAccess.h"

#include "SqlXml.h"
#include "SqliteDb.h"

#include <QHash>
#include <deque>
#include <mutex>
#include <sqlite3.h>

namespace {

using SqlValueAccess::IsNull;
using SqlValueAccess::ResultText;
using SqlValueAccess::Text;

// A node reference starts with a character that xml text can't hold.
constexpr char16_t kReferenceMark = 0x01;
// How many documents of recent values stay read.
constexpr size_t kRecentDocuments = 32;

struct Documents {
    struct Entry {
        qint64 id = 0;
        QString text;
        std::shared_ptr<const Xml::Document> doc;
    };
    std::mutex mutex;
    qint64 nextId = 1;
    std::deque<Entry> recent;
    QHash<qint64, std::shared_ptr<const Xml::Document>> prepared;
};

Documents& Store() {
    static Documents documents;
    return documents;
}

struct Located {
    std::shared_ptr<const Xml::Document> doc;
    qint64 id = 0;
    int node = 0;
};

// The document and node a value stands for: xml text (its document node) or a node reference.
Located Locate(sqlite3_value* v) {
    const QString text = Text(v);
    Documents& store = Store();
    if (text.startsWith(QChar(kReferenceMark))) {
        const qsizetype colon = text.indexOf(u':');
        const qint64 id = text.mid(1, colon - 1).toLongLong();
        const int node = colon < 0 ? 0 : text.mid(colon + 1).toInt();
        const std::lock_guard<std::mutex> lock(store.mutex);
        std::shared_ptr<const Xml::Document> doc = store.prepared.value(id);
        for (const Documents::Entry& e : store.recent)
            if (!doc && e.id == id)
                doc = e.doc;
        if (!doc || node < 0 || node >= doc->Size())
            throw Xml::Error{50001,
                             QStringLiteral("The embedded server no longer holds the xml of this nodes() "
                                            "row.")};
        return {doc, id, node};
    }
    {
        const std::lock_guard<std::mutex> lock(store.mutex);
        for (auto it = store.recent.begin(); it != store.recent.end(); ++it)
            if (it->text.size() == text.size() && it->text == text) {
                Documents::Entry e = *it;
                store.recent.erase(it);
                store.recent.push_front(e);
                return {e.doc, e.id, 0};
            }
    }
    auto doc = std::make_shared<const Xml::Document>(text);
    const std::lock_guard<std::mutex> lock(store.mutex);
    const qint64 id = store.nextId++;
    store.recent.push_front({id, text, doc});
    if (store.recent.size() > kRecentDocuments)
        store.recent.pop_back();
    return {doc, id, 0};
}

// The query of a method call, read once per statement: SQLite keeps it with the constant argument.
std::shared_ptr<const Xml::Query> QueryOf(sqlite3_context* ctx, sqlite3_value** argv, const QString& method) {
    using Kept = std::shared_ptr<const Xml::Query>;
    if (auto* cached = static_cast<Kept*>(sqlite3_get_auxdata(ctx, 1)))
        return *cached;
    QList<QPair<QString, QString>> namespaces;
    for (const QString& line : Text(argv[2]).split(u'\n', Qt::SkipEmptyParts)) {
        const qsizetype eq = line.indexOf(u'=');
        namespaces.append({line.left(eq), line.mid(eq + 1)});
    }
    auto query = std::make_shared<const Xml::Query>(Text(argv[1]), method, namespaces);
    // SQLite may drop it at once when the argument isn't constant; this call has its own.
    sqlite3_set_auxdata(ctx, 1, new Kept(query), [](void* p) { delete static_cast<Kept*>(p); });
    return query;
}

// sql:variable() and sql:column() values, passed as name, value pairs after the fixed arguments.
Xml::External ExternalsOf(int argc, sqlite3_value** argv, int first) {
    Xml::External external;
    for (int i = first; i + 1 < argc; i += 2) {
        sqlite3_value* v = argv[i + 1];
        QVariant value;
        switch (sqlite3_value_type(v)) {
        case SQLITE_INTEGER:
            value = qint64(sqlite3_value_int64(v));
            break;
        case SQLITE_FLOAT:
            value = sqlite3_value_double(v);
            break;
        case SQLITE_NULL:
            break;
        default:
            value = Text(v);
        }
        external.insert(Text(argv[i]).toLower(), value);
    }
    return external;
}

template <typename Body> void Guarded(sqlite3_context* ctx, Body body) {
    try {
        body();
    } catch (const Xml::Error& e) {
        SqlFunctions::ResultError(ctx, e.number, e.text);
    }
}

// tsql_xml_value(xml, path, namespaces, [name, value]...): the item's text, NULL when none.
void XmlValue(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guarded(ctx, [&] {
        const std::shared_ptr<const Xml::Query> query = QueryOf(ctx, argv, QStringLiteral("value()"));
        if (IsNull(argv[0])) {
            sqlite3_result_null(ctx);
            return;
        }
        const Located at = Locate(argv[0]);
        const Xml::Sequence items = query->Run(*at.doc, at.node, ExternalsOf(argc, argv, 3));
        if (items.isEmpty()) {
            sqlite3_result_null(ctx);
            return;
        }
        ResultText(ctx, Xml::Query::Text(*at.doc, items.first()));
    });
}

// tsql_xml_query(xml, path, namespaces, ...): the result as xml.
void XmlQuery(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guarded(ctx, [&] {
        const std::shared_ptr<const Xml::Query> query = QueryOf(ctx, argv, QStringLiteral("query()"));
        if (IsNull(argv[0])) {
            sqlite3_result_null(ctx);
            return;
        }
        const Located at = Locate(argv[0]);
        ResultText(ctx,
                   Xml::Query::Serialize(*at.doc, query->Run(*at.doc, at.node, ExternalsOf(argc, argv, 3))));
    });
}

// tsql_xml_exist(xml, path, namespaces, ...): 1 when the result is not empty.
void XmlExist(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guarded(ctx, [&] {
        const std::shared_ptr<const Xml::Query> query = QueryOf(ctx, argv, QStringLiteral("exist()"));
        if (IsNull(argv[0])) {
            sqlite3_result_null(ctx);
            return;
        }
        const Located at = Locate(argv[0]);
        sqlite3_result_int(ctx, query->Run(*at.doc, at.node, ExternalsOf(argc, argv, 3)).isEmpty() ? 0 : 1);
    });
}

// tsql_xml_nodes(xml, path, namespaces, ...): a JSON array of references to the nodes, for json_each.
void XmlNodes(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guarded(ctx, [&] {
        const std::shared_ptr<const Xml::Query> query = QueryOf(ctx, argv, QStringLiteral("nodes()"));
        if (IsNull(argv[0])) {
            sqlite3_result_text(ctx, "[]", 2, SQLITE_STATIC);
            return;
        }
        const Located at = Locate(argv[0]);
        QString out = QStringLiteral("[");
        for (const Xml::Item& item : query->Run(*at.doc, at.node, ExternalsOf(argc, argv, 3))) {
            if (item.kind != Xml::Item::Kind::Node)
                throw Xml::Error{2374, QStringLiteral("XQuery [nodes()]: A node or set of nodes is required "
                                                      "for nodes()")};
            if (out.size() > 1)
                out += u',';
            out += QStringLiteral("\"\\u0001%1:%2\"").arg(at.id).arg(item.node);
        }
        out += u']';
        ResultText(ctx, out);
    });
}

// tsql_xml_modify(xml, dml, namespaces, ...): the xml after the change.
void XmlModify(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guarded(ctx, [&] {
        using Kept = std::shared_ptr<const Xml::Modification>;
        Kept change;
        if (auto* cached = static_cast<Kept*>(sqlite3_get_auxdata(ctx, 1))) {
            change = *cached;
        } else {
            change = std::make_shared<const Xml::Modification>(Text(argv[1]));
            sqlite3_set_auxdata(ctx, 1, new Kept(change), [](void* p) { delete static_cast<Kept*>(p); });
        }
        if (IsNull(argv[0])) {
            sqlite3_result_null(ctx);
            return;
        }
        const Located at = Locate(argv[0]);
        if (at.node != 0)
            throw Xml::Error{
                50001, QStringLiteral("The embedded server does not support modify() of a nodes() row.")};
        ResultText(ctx, change->Apply(*at.doc, ExternalsOf(argc, argv, 3)));
    });
}

// tsql_xml_document(handle): the document node of a prepared document, for OPENXML.
void XmlDocument(sqlite3_context* ctx, int, sqlite3_value** argv) {
    const qint64 handle = sqlite3_value_int64(argv[0]);
    Documents& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    if (IsNull(argv[0]) || !store.prepared.contains(handle)) {
        SqlFunctions::ResultError(
            ctx, 6600,
            QStringLiteral("XML error: The XML document handle %1 is invalid.")
                .arg(IsNull(argv[0]) ? QStringLiteral("NULL") : QString::number(handle)));
        return;
    }
    ResultText(ctx, QString(QChar(kReferenceMark)) + QString::number(handle) + QStringLiteral(":0"));
}

} // namespace

qint64 Xml::PrepareDocument(const QString& text) {
    auto doc = std::make_shared<const Document>(text);
    Documents& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    const qint64 id = store.nextId++;
    store.prepared.insert(id, doc);
    return id;
}

bool Xml::RemoveDocument(qint64 handle) {
    Documents& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    return store.prepared.remove(handle) > 0;
}

void SqlFunctions::RegisterXml(SqliteDb& db) {
    struct Entry {
        const char* name;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
    };
    const Entry entries[] = {
        {"tsql_xml_value", XmlValue}, {"tsql_xml_query", XmlQuery},   {"tsql_xml_exist", XmlExist},
        {"tsql_xml_nodes", XmlNodes}, {"tsql_xml_modify", XmlModify},
    };
    for (const Entry& e : entries)
        sqlite3_create_function_v2(db.Handle(), e.name, -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, e.fn,
                                   nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_xml_document", 1, SQLITE_UTF8, nullptr, XmlDocument,
                               nullptr, nullptr, nullptr);
}
