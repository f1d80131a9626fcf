#pragma once

#include "SqlXml.h"

#include <QString>
#include <vector>

// The tree of a query read by SqlXmlReader.cpp and run by SqlXmlQuery.cpp.
namespace Xml {

struct Expr {
    enum class Kind { Root, Context, Step, Path, Filter, String, Number, Function, Binary, Negate, List };
    enum class Axis { Child, Attribute, Parent, Self, Descendant, DescendantOrSelf };
    enum class Test { Name, Text, Node, Comment, Instruction };
    Kind kind = Kind::Context;
    Axis axis = Axis::Child;
    Test test = Test::Name;
    bool anyUri = false, anyLocal = false;
    QString uri, local; // a name test; a function's name; an operator; a string
    double number = 0;
    std::vector<ExprP> args;       // Path: left, right; Filter: primary; Function: arguments
    std::vector<ExprP> predicates; // Step and Filter
};

// The namespaces of sql: and fn: functions.
inline const QString kSqlUri = QStringLiteral("urn:schemas-microsoft-com:xml-sql");
inline const QString kFnUri = QStringLiteral("http://www.w3.org/2004/07/xpath-functions");

// Reads a query (throws Error); the sql:variable and sql:column names it uses go to externals.
ExprP ReadQuery(const QString& text, const QString& method, const QList<QPair<QString, QString>>& namespaces,
                QStringList* externals);

} // namespace Xml
