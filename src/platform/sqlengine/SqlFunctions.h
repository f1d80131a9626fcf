#pragma once

struct sqlite3;

// The server's built-in functions that SQLite lacks or does differently, registered on a
// connection under tsql_ names. A function that fails as the server would sets an error text of
// the form "TSQL<number>:<text>", which the executor turns into that message.
namespace SqlFunctions {
void Register(sqlite3* db);
}
