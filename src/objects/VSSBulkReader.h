#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

class TARMOVSS;

// Reads the latest texts of many files of a connection's store project in one visit, where the
// name-based calls of TARMOVSS would cost one or two store calls per file: the descriptions of a
// whole list, the texts of the files that a refresh can't place. It opens a session of its own with
// the connection's login (kept for the next read of the same login) and only reads.
class VSSBulkReader {
public:
    // The texts of the living files whose names end with `ending` (case-sensitively, as the filter
    // of TARMOVSS::Items), keyed by the file name in lower case. A file that the connected user has
    // checked out reads from its working file where one exists, as ItemContent with
    // IfCheckedOutUseIt does. Raises TARMOError when the store can't be read.
    static QHash<QString, QString> LatestTexts(const TARMOVSS& vss, const QString& ending);
    // The same for the files named (any case); names that the project doesn't hold are left out.
    static QHash<QString, QString> LatestTexts(const TARMOVSS& vss, const QStringList& names);

    // Closes the kept session (a test that deletes its store calls this first).
    static void Release();
};
