#include "VSSBulkReader.h"

#include "GeneralHelpers.h"
#include "StoreTraffic.h"
#include "TARMOError.h"
#include "TARMOVSS.h"
#include "VersionStore.h"

#include <QSet>

#include <functional>
#include <memory>

namespace {

struct KeptSession {
    QString iniFile;
    QString userName;
    QString password;
    std::unique_ptr<VersionStore> store;
};

KeptSession& kept() {
    static KeptSession session;
    return session;
}

VersionStore& sessionFor(const TARMOVSS& vss) {
    if (!vss.ConnectionOpen())
        throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("VSSBulkReader"),
                         QStringLiteral("There is no open connection to the version store."));
    KeptSession& session = kept();
    if (!session.store || session.iniFile != vss.IniFile() || session.userName != vss.UserName() ||
        session.password != vss.Password()) {
        session.store.reset();
        auto store = std::make_unique<VersionStore>();
        store->Open(vss.IniFile(), vss.UserName(), vss.Password());
        session.iniFile = vss.IniFile();
        session.userName = vss.UserName();
        session.password = vss.Password();
        session.store = std::move(store);
    }
    session.store->SetCurrentProject(vss.Project());
    return *session.store;
}

QString latestText(const TARMOVSS& vss, const StoreItem& item, const QString& name) {
    if (item.IsCheckedOut() == StoreItem::CheckedOutMe) {
        const QString working = vss.GetItemFileName(name);
        if (FileExists(working))
            return ReadTextFile(working);
    }
    for (const StoreVersion& version : item.Versions())
        if (!version.IsLabel())
            return QString::fromUtf8(version.Text());
    return QString();
}

// Who holds a file, in the words of TARMOVSS: the connection's own user name for its own check-out.
QString holderOf(const TARMOVSS& vss, const StoreItem& item) {
    switch (item.IsCheckedOut()) {
    case StoreItem::CheckedOutMe:
        return vss.UserName();
    case StoreItem::CheckedOut:
        return item.Holders().join(QStringLiteral(", "));
    default:
        return QString();
    }
}

QHash<QString, QString> readTexts(const TARMOVSS& vss, const std::function<bool(const QString&)>& wanted) {
    StoreTraffic::StoreCall();
    VersionStore& store = sessionFor(vss);
    QHash<QString, QString> texts;
    for (const StoreItem& item : store.Item(store.CurrentProject()).Items(false)) {
        const QString name = item.Name();
        if (wanted(name) && item.Type() == StoreItem::File)
            texts.insert(name.toLower(), latestText(vss, item, name));
    }
    return texts;
}

} // namespace

QHash<QString, QString> VSSBulkReader::LatestTexts(const TARMOVSS& vss, const QStringList& names) {
    if (names.isEmpty())
        return {};
    QSet<QString> folded;
    for (const QString& name : names)
        folded.insert(name.toLower());
    return readTexts(vss, [&](const QString& name) { return folded.contains(name.toLower()); });
}

VSSBulkReader::Listing VSSBulkReader::ListFolder(TARMOVSS& vss, const QString& ending,
                                                 const QString& textsEnding) {
    StoreTraffic::StoreCall();
    VersionStore& store = sessionFor(vss);
    Listing listing{TARMOVSSItems(&vss), {}};
    for (const StoreItem& item : store.Item(store.CurrentProject()).Items(false)) {
        const QString name = item.Name();
        if (name.endsWith(ending, Qt::CaseSensitive)) {
            listing.Files.Add(name, holderOf(vss, item));
        } else if (!textsEnding.isEmpty() && name.endsWith(textsEnding, Qt::CaseSensitive) &&
                   item.Type() == StoreItem::File) {
            try {
                listing.Texts.insert(name.toLower(), latestText(vss, item, name));
            } catch (const std::exception&) {
            }
        }
    }
    return listing;
}

void VSSBulkReader::Release() {
    kept().store.reset();
}
