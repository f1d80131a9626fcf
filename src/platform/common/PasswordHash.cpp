#include "PasswordHash.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <sodium.h>

namespace {

struct Cost {
    unsigned long long ops;
    size_t memory;
};

// A little under libsodium's interactive limits (64 MiB): a login of the program opens several
// connections, and a server shares two cores between many sessions. Still far beyond what a guesser
// with a graphics card gets through per second.
constexpr Cost productCost{crypto_pwhash_OPSLIMIT_INTERACTIVE, size_t{32} * 1024 * 1024};
constexpr Cost cheapCost{crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN};

Cost currentCost() {
    static const bool cheap = qEnvironmentVariable(PasswordHash::CheapHashVariable) == QLatin1String("1");
    return cheap ? cheapCost : productCost;
}

bool libraryReady() {
    static const bool ready = sodium_init() >= 0;
    return ready;
}

// The cost an Argon2id string was made with ("$argon2id$v=19$m=32768,t=2,p=1$..."; m in KiB).
bool costOf(const QByteArray& stored, Cost& cost) {
    static const QRegularExpression parameters(QStringLiteral("^\\$argon2id\\$v=\\d+\\$m=(\\d+),t=(\\d+),"));
    const QRegularExpressionMatch m = parameters.match(QString::fromLatin1(stored));
    if (!m.hasMatch())
        return false;
    cost.memory = size_t(m.captured(1).toULongLong()) * 1024;
    cost.ops = m.captured(2).toULongLong();
    return true;
}

bool sameBytes(const QByteArray& a, const QByteArray& b) {
    return a.size() == b.size() && sodium_memcmp(a.constData(), b.constData(), size_t(a.size())) == 0;
}

} // namespace

QByteArray PasswordHash::Make(const QString& password) {
    if (!libraryReady())
        return {};
    const QByteArray utf8 = password.toUtf8();
    char out[crypto_pwhash_STRBYTES];
    const Cost cost = currentCost();
    if (crypto_pwhash_str(out, utf8.constData(), static_cast<unsigned long long>(utf8.size()), cost.ops,
                          cost.memory) != 0)
        return {};
    return QByteArray(out);
}

bool PasswordHash::IsCurrentKind(const QByteArray& stored) {
    return stored.startsWith("$argon2id$");
}

PasswordHash::Check PasswordHash::Verify(const QString& password, const QByteArray& stored,
                                         const QByteArray& legacySalt, Legacy legacy) {
    Check check;
    if (!IsCurrentKind(stored)) {
        // An older hash is never empty; an empty one (a login without a password of its own) matches
        // nothing.
        check.matches = !stored.isEmpty() && sameBytes(LegacyHash(legacySalt, password, legacy), stored);
        check.wantsRehash = check.matches;
        return check;
    }
    if (!libraryReady())
        return check;
    const QByteArray utf8 = password.toUtf8();
    // The library wants the terminating zero within the buffer it is given.
    const QByteArray text = stored.left(crypto_pwhash_STRBYTES - 1);
    check.matches = crypto_pwhash_str_verify(text.constData(), utf8.constData(),
                                             static_cast<unsigned long long>(utf8.size())) == 0;
    Cost made{};
    const Cost now = currentCost();
    // Only ever upward: a hash made at a higher cost than today's stays as it is.
    check.wantsRehash =
        check.matches && costOf(stored, made) && (made.ops < now.ops || made.memory < now.memory);
    return check;
}

QByteArray PasswordHash::LegacyHash(const QByteArray& salt, const QString& password, Legacy legacy) {
    if (legacy == Legacy::Server) {
        QByteArray h = salt + password.toUtf8();
        for (int i = 0; i < 20000; ++i)
            h = QCryptographicHash::hash(h + salt, QCryptographicHash::Sha256);
        return h;
    }
    QByteArray digest = salt + password.toUtf8();
    for (int i = 0; i < 4096; ++i)
        digest = QCryptographicHash::hash(salt + digest, QCryptographicHash::Sha256);
    return digest;
}
