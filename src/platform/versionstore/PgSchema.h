#pragma once

#include <QByteArray>
#include <QList>

// The schema "tarmo" of a store on a PostgreSQL server: its tables, the functions through which alone
// the store's users reach them, and the grants, as statements to run in order in one transaction by
// the role that is to own the store.
namespace PgSchema {
QList<QByteArray> Statements();
} // namespace PgSchema
