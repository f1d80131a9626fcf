#pragma once

#include <QByteArray>
#include <QString>

// The one place where login passwords become hashes and are checked against them, for the embedded
// server's logins and the version store's users alike. New hashes are Argon2id strings (libsodium),
// which carry their own salt and cost. Hashes written by older versions (a salt kept beside a stretched
// SHA-256) still check, and ask to be replaced at the next successful login.
namespace PasswordHash {

// The two older schemes: they differ in the number of rounds and in the order of salt and digest.
enum class Legacy { Server, Store };

struct Check {
    bool matches = false;
    // The stored hash is of an older kind or cheaper than today's: write Make(password) in its place.
    bool wantsRehash = false;
};

// An Argon2id hash of the password at today's cost; empty only if the library can't get the memory.
QByteArray Make(const QString& password);

// stored is what Make gave, or an older hash whose salt is legacySalt.
Check Verify(const QString& password, const QByteArray& stored, const QByteArray& legacySalt, Legacy legacy);

bool IsCurrentKind(const QByteArray& stored);

// What older versions wrote; kept so that stores and servers made before can be opened, and for tests.
QByteArray LegacyHash(const QByteArray& salt, const QString& password, Legacy legacy);

// Test suites make hundreds of logins, each in a fresh process of the tools as well; with this
// variable set to 1 new hashes take the cheapest cost the library allows. Only test fixtures set it.
constexpr const char* CheapHashVariable = "TARMO_TEST_CHEAP_PASSWORD_HASHES";

} // namespace PasswordHash
