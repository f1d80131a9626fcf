#include "ScriptDependencyOrder.h"

QList<qsizetype> ScriptDependencyOrder(const QList<ScriptDependencyNode>& nodes) {
    QList<qsizetype> order;
    for (qsizetype i = 0; i < nodes.size(); ++i)
        order.append(i);
    return order;
}

QList<qsizetype> ScriptDependenciesOf(const QList<ScriptDependencyNode>&, qsizetype) {
    return {};
}
