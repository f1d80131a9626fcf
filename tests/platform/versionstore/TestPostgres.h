#pragma once

#include "LocalPostgres.h"

// The server of the store's tests: one LocalPostgres in a temporary folder, started at first use and
// stopped, with its folder removed, when the test program ends.
class TestPostgres {
public:
    // The running server, or null when PostgreSQL isn't installed or won't start (see Missing).
    static LocalPostgres* Instance();
    static QString Missing();
    // A fresh, empty database; gives its name.
    static QString NewDatabase();
};
