#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

// The zip container of an Office Open XML package, over libzip.
namespace word {

using ZipEntries = QList<std::pair<QString, QByteArray>>;

// The entries of a zip file in their order; raises TARMOError where it is no readable zip.
ZipEntries ReadZip(const QString& path);
// A zip (deflated entries) of the entries in their order, built in memory.
QByteArray BuildZip(const ZipEntries& entries);

} // namespace word
