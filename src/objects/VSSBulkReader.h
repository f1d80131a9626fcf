#pragma once

#include "TARMOVSSItems.h"

#include <QHash>
#include <QString>
#include <QStringList>

class StoreItem;
class TARMOVSS;

// Reads many files of a connection's store project in one visit, where the name-based calls of
// TARMOVSS would cost one or two store calls per file: the files of a list with their holders, the
// descriptions of a whole list, the texts of the files that a refresh can't place. Each visit is a
// few set-based statements in one snapshot of the store, however many files it reads, with the
// store's own checks (the read right, the checksum of every text). It reads through the
// connection's own session and only reads.
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

    // The living files named (any case) with their holders, and where textsEnding is given the latest
    // texts of those whose names end with it, as ListFolder gives them; a name the project doesn't
    // hold is left out. One look-up, whatever the size of the folder.
    static Listing Find(TARMOVSS& vss, const QStringList& names, const QString& textsEnding = QString());

    // The latest texts of the living files named (any case), keyed by the file name in lower case;
    // names that the project doesn't hold are left out. A file that the connected user has checked
    // out reads from its working file where one exists, as ItemContent with IfCheckedOutUseIt does.
    // Raises TARMOError when the store can't be read.
    static QHash<QString, QString> LatestTexts(const TARMOVSS& vss, const QStringList& names);

    // Nothing is kept between reads any more; callers that closed a kept session before deleting
    // their store still may.
    static void Release();

private:
    // Through the connection's own session: a session of the reader's own would cost a second
    // login, whose password hash is slow on purpose.
    static StoreItem projectOf(const TARMOVSS& vss);
};
