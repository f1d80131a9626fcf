// Triggers ON ALL SERVER (logon auditing, server DDL logging in DBA tool kits). They belong to the
// server, so master keeps them, with their events and text, for sys.server_triggers and
// sys.server_sql_modules; the engine has no logons or server DDL events to fire them on.
#include "SessionState.h"

void SessionState::EnsureServerTriggerTable(SqliteDb& db, const QString& masterSchema) {
    try {
        db.Exec(QStringLiteral("CREATE TABLE IF NOT EXISTS %1.engine_server_triggers (name nvarchar(128) "
                               "COLLATE TSQL PRIMARY KEY, id int UNIQUE, events nvarchar(4000), definition "
                               "ntext, create_date datetime, modify_date datetime)")
                    .arg(masterSchema));
    } catch (const SqliteError&) {
        // A master that can't be written lists no server triggers until it can.
    }
}

void SessionState::ServerTrigger(const SqlStatement& s) {
    const QString table = SqlTranslator::Quote(MasterSchema()) + QStringLiteral(".engine_server_triggers");
    const bool drop = s.kind == SqlStatement::Kind::DropObject;
    // Only a sysadmin controls the server.
    if (!login.sysadmin && !drop)
        throw ServerError::Make(262, 14,
                                QStringLiteral("CREATE TRIGGER permission denied in database 'master'."));
    mRowCount = 0;
    if (drop) {
        for (const QStringList& name : s.names) {
            const QVariant id =
                mDb->Scalar(QStringLiteral("SELECT id FROM %1 WHERE name = ?").arg(table), {name.last()});
            if (!id.isValid() || !login.sysadmin) {
                if (s.name == QLatin1String("IF EXISTS"))
                    continue;
                throw ServerError::Make(3701, 11,
                                        QStringLiteral("Cannot drop the trigger '%1', because it does not "
                                                       "exist or you do not have permission.")
                                            .arg(name.last()));
            }
            mDb->Exec(QStringLiteral("DELETE FROM %1 WHERE id = ?").arg(table), {id});
        }
        return;
    }
    const QString name = s.target.last();
    const QVariant existing =
        mDb->Scalar(QStringLiteral("SELECT id FROM %1 WHERE name = ?").arg(table), {name});
    QString text = mBatchText;
    if (s.isAlter)
        text = text.left(s.keywordBegin) + QStringLiteral("CREATE") + text.mid(s.keywordEnd);
    const QString now = Catalogue::Now();
    const QString events = s.triggerEvents.join(QStringLiteral(", "));
    if (s.isAlter || (s.orAlter && existing.isValid())) {
        if (!existing.isValid())
            throw ServerError::InvalidObject(name);
        mDb->Exec(QStringLiteral("UPDATE %1 SET events = ?, definition = ?, modify_date = ? WHERE id = ?")
                      .arg(table),
                  {events, text, now, existing});
        return;
    }
    if (existing.isValid())
        throw ServerError::Make(
            2714, 16, QStringLiteral("There is already an object named '%1' in the database.").arg(name));
    // Ids of their own, apart from any database's objects, as the server numbers them.
    const qlonglong id = qMax(
        qlonglong(1000), mDb->Scalar(QStringLiteral("SELECT MAX(id) FROM %1").arg(table)).toLongLong() + 1);
    mDb->Exec(QStringLiteral("INSERT INTO %1 (name, id, events, definition, create_date, modify_date) VALUES "
                             "(?,?,?,?,?,?)")
                  .arg(table),
              {name, id, events, text, now, now});
}
