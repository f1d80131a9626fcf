#pragma once

#include <QByteArray>

class StoreConnection;

// Brings a store's data up to what this program keeps in it, in one write transaction, so that
// several users opening an older store at once upgrade it once and a failure leaves it as it was:
// the options (seeded with `multipleCheckouts`, the value the ini gave until the store kept it itself),
// the project rights, and a checksum of every version's text. A store that is up to date is only read.
void UpgradeStore(StoreConnection& db, bool multipleCheckouts);

// What the store keeps beside every text to tell a damaged one: SHA-256 of its bytes.
QByteArray TextChecksum(const QByteArray& text);
