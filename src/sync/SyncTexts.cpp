#include "SyncTexts.h"

#include "DbRecordset.h"
#include "StoreTraffic.h"
#include "TARMOError.h"
#include "TARMOObjectList.h"
#include "TARMOObjectVSS.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VSSBulkReader.h"
#include "VersionStore.h"
#include "modParser.h"

namespace {

// The condition of a catalogue query "SELECT ... FROM sysobjects WHERE <condition> ORDER BY ...",
// which tells the objects of a kind; "" where the query has another form.
QString kindCondition(const QString& listQuery) {
    static const QString from = QStringLiteral(" FROM sysobjects WHERE ");
    static const QString order = QStringLiteral(" ORDER BY ");
    const qsizetype start = listQuery.indexOf(from, 0, Qt::CaseInsensitive);
    if (start < 0)
        return QString();
    const qsizetype conditionStart = start + from.size();
    const qsizetype end = listQuery.lastIndexOf(order, -1, Qt::CaseInsensitive);
    return end > conditionStart ? listQuery.mid(conditionStart, end - conditionStart)
                                : listQuery.mid(conditionStart);
}

// The latest checked-in texts, read in a session of our own: the connection's user may hold some of
// the files, and then the bulk reader gives the working copy, which is not what was checked in. The
// user holds few files, so each is looked up by its path rather than among all of the project's.
QHash<QString, QString> checkedInTexts(const TARMOVSS& vss, const QStringList& names) {
    QHash<QString, QString> texts;
    if (names.isEmpty())
        return texts;
    StoreTraffic::StoreCall();
    VersionStore store;
    store.Open(vss.IniFile(), vss.UserName(), vss.Password());
    store.SetCurrentProject(vss.Project());
    const QString project = store.CurrentProject();
    for (const QString& name : names) {
        try {
            const StoreItem item = store.Item(project + QLatin1Char('/') + name);
            for (const StoreVersion& version : item.Versions())
                if (!version.IsLabel()) {
                    texts.insert(name.toLower(), QString::fromUtf8(version.Text()));
                    break;
                }
        } catch (const TARMOError&) {
            // Gone since the list was read: the object's own compare says what it is now.
        }
    }
    return texts;
}

} // namespace

namespace SyncTexts {

std::optional<QHash<QString, QString>> ServerTexts(TARMOSQL& sql, const TARMOObjectList& list) {
    const QString condition = kindCondition(list.ListQuery());
    if (condition.isEmpty())
        return std::nullopt;
    // The server keeps a long text in pieces; in the order of their numbers they make the text that
    // the object's own read (one statement per object) puts together.
    StoreTraffic::Statements();
    std::unique_ptr<DbRecordset> rs =
        sql.OpenRecordset(QStringLiteral("SELECT id, text FROM syscomments WHERE id IN (SELECT id FROM "
                                         "sysobjects WHERE ") +
                          condition + QStringLiteral(") ORDER BY id, number, colid"));
    if (!rs)
        return std::nullopt;
    QHash<QString, QString> texts;
    for (; !rs->Eof(); rs->MoveNext())
        texts[rs->Text(QStringLiteral("id"))] += rs->Text(QStringLiteral("text"));
    return texts;
}

QHash<QString, QString> StoredTexts(const TARMOVSS& vss, const QStringList& names,
                                    const QStringList& heldByMe) {
    QHash<QString, QString> texts = VSSBulkReader::LatestTexts(vss, names);
    const QHash<QString, QString> checkedIn = checkedInTexts(vss, heldByMe);
    for (auto it = checkedIn.begin(); it != checkedIn.end(); ++it)
        texts.insert(it.key(), it.value());
    return texts;
}

QSet<QString> Differing(const TARMOObjectList& list, const QList<std::shared_ptr<TARMOObjectVSS>>& objects) {
    QSet<QString> differing;
    if (objects.isEmpty())
        return differing;
    QStringList names;
    QStringList heldByMe;
    for (const auto& object : objects) {
        names << object->ItemName();
        if (object->IsCheckedOutByMe())
            heldByMe << object->ItemName();
    }
    const std::optional<QHash<QString, QString>> server = ServerTexts(*list.ActiveDBConnection(), list);
    const QHash<QString, QString> stored = StoredTexts(*list.ActiveVSSConnection(), names, heldByMe);
    for (const auto& object : objects) {
        const auto storedText = stored.constFind(object->ItemName().toLower());
        const bool known = server && server->contains(object->DBID()) && storedText != stored.constEnd();
        const bool differ =
            known ? !modParser::SQLTextsEqual(*storedText, server->value(object->DBID()), true, true)
                  : object->SQLAndVSSDiffer();
        if (differ)
            differing.insert(object->DBID());
    }
    return differing;
}

} // namespace SyncTexts
