#include "TARMOPermission.h"

#include "SqlQuote.h"

#include <QList>

bool TARMOPermission::HasAnyPermissionSet() const {
    return HasSelect != None || HasInsert != None || HasUpdate != None || HasDelete != None ||
           HasReferences != None || HasExecute != None;
}

QList<TARMOPermission::Statement> TARMOPermission::Statements() const {
    QList<Statement> list;
    if (HasExecuteOnly) {
        list = {{QStringLiteral("EXECUTE"), HasExecute}};
    } else if (HasExecAndRefOnly) {
        list = {{QStringLiteral("EXECUTE"), HasExecute}, {QStringLiteral("REFERENCES"), HasReferences}};
    } else {
        list = {{QStringLiteral("SELECT"), HasSelect},
                {QStringLiteral("INSERT"), HasInsert},
                {QStringLiteral("UPDATE"), HasUpdate},
                {QStringLiteral("DELETE"), HasDelete},
                {QStringLiteral("REFERENCES"), HasReferences}};
    }
    if (IsOwner)
        for (Statement& statement : list)
            statement.State = LeaveOut;
    return list;
}

namespace {

// The field of a statement word (any case), or nullptr for a word a line doesn't carry.
long TARMOPermission::*stateField(const QString& word) {
    const QString upper = word.trimmed().toUpper();
    if (upper == QLatin1String("EXECUTE"))
        return &TARMOPermission::HasExecute;
    if (upper == QLatin1String("SELECT"))
        return &TARMOPermission::HasSelect;
    if (upper == QLatin1String("INSERT"))
        return &TARMOPermission::HasInsert;
    if (upper == QLatin1String("UPDATE"))
        return &TARMOPermission::HasUpdate;
    if (upper == QLatin1String("DELETE"))
        return &TARMOPermission::HasDelete;
    if (upper == QLatin1String("REFERENCES"))
        return &TARMOPermission::HasReferences;
    return nullptr;
}

} // namespace

long TARMOPermission::StateOf(const QString& word) const {
    long TARMOPermission::*field = stateField(word);
    return field ? this->*field : -1;
}

bool TARMOPermission::SetStateOf(const QString& word, long state) {
    long TARMOPermission::*field = stateField(word);
    if (!field)
        return false;
    this->*field = state;
    return true;
}

QString TARMOPermission::StatementText(const QString& word, long state, const QString& qualifiedName,
                                       const QString& grantee) {
    QString prefix;
    switch (state) {
    case None:
        prefix = QStringLiteral("REVOKE ");
        break;
    case Grant:
        prefix = QStringLiteral("GRANT ");
        break;
    case Deny:
        prefix = QStringLiteral("DENY ");
        break;
    default:
        return QString();
    }
    return prefix + word + QStringLiteral(" ON ") + qualifiedName + QStringLiteral(" TO ") +
           SqlQuote::Name(grantee);
}
