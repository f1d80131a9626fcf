#pragma once

#include <QList>
#include <QString>

// One object of a script as the dependency order sees it.
struct ScriptDependencyNode {
    QString Owner;
    QString Name;
    QString Text; // the text that will be run
};

// The order in which objects can be created: an object after the objects its text uses (a view on
// another view, a procedure calling another, a function used by a view), found by scanning the
// texts for names of the other objects, outside comments and string literals. The order is stable:
// objects that don't depend on each other keep their order, and objects in a cycle keep theirs
// relative to each other. Gives the positions of `nodes` in the new order.
QList<qsizetype> ScriptDependencyOrder(const QList<ScriptDependencyNode>& nodes);

// The positions of the other nodes whose names the text of node `at` uses.
QList<qsizetype> ScriptDependenciesOf(const QList<ScriptDependencyNode>& nodes, qsizetype at);
