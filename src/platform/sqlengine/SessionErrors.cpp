// What SQLite says of a statement, in the words and numbers SQL Server uses for the same fault.
#include "SessionState.h"

#include <QRegularExpression>

ServerError SessionState::MapSqliteError(const SqliteError& e, const QString& verb) {
    const QString m = e.message;
    if (m.startsWith(QLatin1String("TSQL"))) {
        const int colon = int(m.indexOf(u':'));
        // TSQL<number>[.<state>]:<text>
        const QString head = m.mid(4, colon - 4);
        ServerError s = ServerError::Make(head.section(u'.', 0, 0).toLong(), 16, m.mid(colon + 1));
        if (head.contains(u'.'))
            s.state = head.section(u'.', 1, 1).toInt();
        if (s.number == 217 || s.number == 50001)
            s.abortsBatch = true;
        return s;
    }
    if (m.startsWith(QLatin1String("no such column: "))) {
        const QString col = m.mid(16);
        if (col.contains(u'.'))
            return ServerError::Make(
                4104, 16, QStringLiteral("The multi-part identifier \"%1\" could not be bound.").arg(col),
                true);
        return ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(col), true);
    }
    if (m.startsWith(QLatin1String("ambiguous column name: ")))
        return ServerError::Make(209, 16, QStringLiteral("Ambiguous column name '%1'.").arg(m.mid(23)), true);
    auto tableOf = [&](const QString& physical, QString* column) {
        // T<id>.column -> the table's name as the server writes it
        const int dot = int(physical.indexOf(u'.'));
        *column = physical.mid(dot + 1);
        const int id = physical.mid(1, dot - 1).toInt();
        CatalogueObject o = Catalogue::ObjectById(*mDb, Schema(), id);
        return o;
    };
    if (m.startsWith(QLatin1String("NOT NULL constraint failed: "))) {
        QString column;
        const CatalogueObject o = tableOf(m.mid(28), &column);
        return ServerError::Make(
            515, 16,
            QStringLiteral("Cannot insert the value NULL into column '%1', table '%2.%3.%4'; "
                           "column does not allow nulls. %5 fails.")
                .arg(column, database, Catalogue::UserName(*mDb, Schema(), o.uid), o.name, verb));
    }
    if (m.startsWith(QLatin1String("UNIQUE constraint failed: "))) {
        QString column;
        const CatalogueObject o = tableOf(m.mid(26).section(u',', 0, 0), &column);
        const QString key =
            mDb->Scalar(QStringLiteral("SELECT name FROM sysobjects WHERE parent_obj = ? AND xtype IN "
                                       "('PK', 'UQ') ORDER BY xtype"),
                        {o.id})
                .toString();
        const bool primary =
            mDb->Scalar(QStringLiteral("SELECT 1 FROM sysobjects WHERE parent_obj = ? AND xtype = 'PK'"),
                        {o.id})
                .isValid();
        return ServerError::Make(
            2627, 14,
            QStringLiteral("Violation of %1 constraint '%2'. Cannot insert duplicate key in "
                           "object '%3.%4'.")
                .arg(primary ? QStringLiteral("PRIMARY KEY") : QStringLiteral("UNIQUE KEY"), key,
                     Catalogue::UserName(*mDb, Schema(), o.uid), o.name));
    }
    if (m.startsWith(QLatin1String("CHECK constraint failed: tsql_check_")))
        return CheckConflict(m.mid(36).toInt(), verb);
    if (m.startsWith(QLatin1String("CHECK constraint failed: ")))
        return ServerError::Make(8152, 16, QStringLiteral("String or binary data would be truncated."));
    // SQLite's parser takes fewer levels of nesting than ours.
    if (m.contains(QLatin1String("parser stack overflow")) ||
        m.startsWith(QLatin1String("Expression tree is too large")))
        return ServerError::TooDeep();
    if (m.contains(QLatin1String("database is locked")) || m.contains(QLatin1String("busy")))
        return ServerError::Make(1222, 16, QStringLiteral("Lock request time out period exceeded."));
    return ServerError::Make(
        50002, 16, QStringLiteral("The embedded server could not carry out the statement: %1").arg(m));
}
