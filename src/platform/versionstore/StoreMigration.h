#pragma once

#include <QString>

// Copies a store with its whole history into another, empty store of either engine: the embedded
// store of a shared folder to a PostgreSQL server and back. Both are reached past their users, by
// whoever may read and write the data: the folder's files, or the database as the role that owns the
// store (the ini's URL with the user and password of PGUSER and PGPASSWORD or the password file).
// Items, versions, labels, check-outs, rights and options keep their numbers and texts; users come
// across without their passwords, which don't survive the change of engine (the administrator gives
// them new ones), except the target's own administrator, who stays as he is. Everything is written in
// one transaction, and the target is read back and compared with the source (counts, and a SHA-256
// over every row and text) before that transaction is committed.
namespace StoreMigration {
struct Report {
    int Users = 0;
    int Items = 0;
    int Versions = 0;
    int Checkouts = 0;
    int Rights = 0;
    QByteArray Digest; // of the source, equal to that of the target
};
// Raises TARMOError (StoreErrors::NameExists) when the target holds anything but its root and
// administrator, StoreErrors::Database when what was written doesn't read back the same.
Report Copy(const QString& fromIni, const QString& toIni);
} // namespace StoreMigration
