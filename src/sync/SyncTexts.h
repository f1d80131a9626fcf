#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class TARMOObjectList;
class TARMOObjectVSS;
class TARMOSQL;
class TARMOVSS;

// The texts of a whole kind read from both stores in a constant number of round trips, so that a
// compare costs the same few calls for ten objects as for ten thousand. The rule of a difference
// is the object's own (the latest stored text, never a working copy, against the server's, white
// space at both ends aside).
namespace SyncTexts {

// The ids among `objects` (objects of `list` that are in both stores) whose texts differ. An
// object that a bulk read doesn't explain is asked on its own.
QSet<QString> Differing(const TARMOObjectList& list, const QList<std::shared_ptr<TARMOObjectVSS>>& objects);

// The server's texts of every object of the list's kind, by id, in one statement; nothing where the
// list's catalogue query has no condition to reuse.
std::optional<QHash<QString, QString>> ServerTexts(TARMOSQL& sql, const TARMOObjectList& list);

// The latest stored texts of the files named, keyed by the name in lower case. Files that the
// connected user holds read from the store, not from the working copy: `heldByMe` names those.
QHash<QString, QString> StoredTexts(const TARMOVSS& vss, const QStringList& names,
                                    const QStringList& heldByMe);

} // namespace SyncTexts
