// Transactions: the server's count of nested BEGIN TRANs over one SQLite transaction, save points
// as SQLite savepoints, and the transaction an error under XACT_ABORT leaves uncommittable.
#include "SessionState.h"

#include <sqlite3.h>

namespace {

QString SavepointName(qsizetype index) {
    return QStringLiteral("tsql_save_%1").arg(index);
}

} // namespace

QString SessionState::TranName(const SqlStatement& s) {
    if (!s.procedureVariable.isEmpty())
        return Variable(s.procedureVariable, s.line).toString();
    return s.name;
}

int SessionState::XactState() const {
    if (mTranCount == 0)
        return 0;
    return mDoomed ? -1 : 1;
}

void SessionState::BeginTran(const SqlStatement& s) {
    const QString name = TranName(s);
    if (name.size() > 32)
        throw ServerError::Make(
            103, 15,
            QStringLiteral("The identifier that starts with '%1' is too long. Maximum length "
                           "is 32.")
                .arg(name.left(32)),
            true);
    if (mTranCount == 0) {
        mDb->Exec(QStringLiteral("BEGIN"));
        mTranName = name;
        mSavepoints.clear();
        mDoomed = false;
    }
    ++mTranCount;
}

void SessionState::CommitTran(const SqlStatement&) {
    if (mTranCount == 0)
        throw ServerError::Make(
            3902, 16,
            QStringLiteral("The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION."));
    if (mDoomed)
        throw ServerError::Make(
            3930, 16,
            QStringLiteral("The current transaction cannot be committed and cannot support "
                           "operations that write to the log file. Roll back the transaction."));
    if (mTranCount == 1)
        mDb->Exec(QStringLiteral("COMMIT"));
    if (--mTranCount == 0) {
        mSavepoints.clear();
        mTranName.clear();
    }
}

void SessionState::RollbackAll() {
    if (mTranCount > 0 && !sqlite3_get_autocommit(mDb->Handle())) {
        const QList<TableVariableRows> kept = KeepTableVariables();
        mDb->Exec(QStringLiteral("ROLLBACK"));
        mTranCount = 0;
        RestoreTableVariables(kept);
    }
    mTranCount = 0;
    mSavepoints.clear();
    mTranName.clear();
    mDoomed = false;
}

void SessionState::RollbackTran(const SqlStatement& s) {
    if (mTranCount == 0)
        throw ServerError::Make(
            3903, 16,
            QStringLiteral("The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION."));
    const QString name = TranName(s);
    if (name.isEmpty() || name == mTranName) {
        RollbackAll();
        return;
    }
    const qsizetype at = mSavepoints.lastIndexOf(name);
    if (at < 0)
        throw ServerError::Make(
            6401, 16,
            QStringLiteral("Cannot roll back %1. No transaction or savepoint of that name was found.")
                .arg(name));
    if (mDoomed)
        throw ServerError::Make(
            3931, 16,
            QStringLiteral("The current transaction cannot be committed and cannot be rolled "
                           "back to a savepoint. Roll back the entire transaction."));
    const QList<TableVariableRows> kept = KeepTableVariables();
    mDb->Exec(QStringLiteral("ROLLBACK TO ") + SavepointName(at));
    RestoreTableVariables(kept);
    // The save point stays; those after it are gone.
    while (mSavepoints.size() > at + 1)
        mSavepoints.removeLast();
}

void SessionState::SaveTran(const SqlStatement& s) {
    const QString name = TranName(s);
    if (mTranCount == 0)
        throw ServerError::Make(
            628, 16, QStringLiteral("Cannot issue SAVE TRANSACTION when there is no active transaction."));
    if (mDoomed)
        throw ServerError::Make(
            3931, 16,
            QStringLiteral("The current transaction cannot be committed and cannot be rolled "
                           "back to a savepoint. Roll back the entire transaction."));
    mDb->Exec(QStringLiteral("SAVEPOINT ") + SavepointName(mSavepoints.size()));
    mSavepoints.append(name);
}

void SessionState::EndBatchTransaction() {
    if (mTranCount > 0 && mDoomed) {
        Emit(ServerError::Make(
                 3998, 16,
                 QStringLiteral("Uncommittable transaction is detected at the end of the batch. The "
                                "transaction is rolled back.")),
             mLine);
        RollbackAll();
    }
}
