#pragma once

#include "TARMOVSSItems.h"

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
    struct Listing {
        TARMOVSSItems Files;
        QHash<QString, QString> Texts; // by file name in lower case
    };

    // The living files whose names end with `ending` with their holders, as TARMOVSS::Items gives
    // them, and where textsEnding is given the latest texts of the files whose names end with that
    // (a text that can't be read is left out, as a silent read gives none). One visit of the folder.
    static Listing ListFolder(TARMOVSS& vss, const QString& ending, const QString& textsEnding = QString());

    // The latest texts of the living files named (any case), keyed by the file name in lower case;
    // names that the project doesn't hold are left out. A file that the connected user has checked
    // out reads from its working file where one exists, as ItemContent with IfCheckedOutUseIt does.
    // Raises TARMOError when the store can't be read.
    static QHash<QString, QString> LatestTexts(const TARMOVSS& vss, const QStringList& names);

    // Closes the kept session (a test that deletes its store calls this first).
    static void Release();
};
