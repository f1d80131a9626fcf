#pragma once

#include <QString>

#include <gtest/gtest.h>

#include <string>

// The two engines a store's suites run against: the embedded one in a shared folder, and a
// PostgreSQL server started by the tests in a temporary folder of their own.
enum class StoreKind { Embedded, Server };

// For INSTANTIATE_TEST_SUITE_P: "Embedded" or "Server".
std::string StoreKindName(const ::testing::TestParamInfo<StoreKind>& info);

// Why a store of the kind can't be made here ("" when it can): PostgreSQL isn't installed or its
// server doesn't start.
QString StoreKindMissing(StoreKind kind);

// Makes a store of the kind in `folder`, as VersionStore::Create does; a server's store gets a fresh
// database. Gives the ini file.
QString CreateStore(StoreKind kind, const QString& folder, const QString& adminPassword,
                    bool multipleCheckouts = false);

// Runs a statement on a store's data past its rules, as someone with the files or the database owner's
// password could: sqliteSql on the embedded store's file, serverSql in the server's database.
void TamperWithStore(StoreKind kind, const QString& folder, const char* sqliteSql, const char* serverSql);

// A skip, in SetUp, of the kinds that can't be made here.
#define SKIP_UNLESS_AVAILABLE(kind)                                                                          \
    do {                                                                                                     \
        const QString missing = StoreKindMissing(kind);                                                      \
        if (!missing.isEmpty())                                                                              \
            GTEST_SKIP() << missing.toStdString();                                                           \
    } while (false)
