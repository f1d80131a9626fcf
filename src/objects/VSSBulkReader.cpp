#include "VSSBulkReader.h"

#include "GeneralHelpers.h"
#include "StoreTraffic.h"
#include "TARMOError.h"
#include "TARMOVSS.h"
#include "VersionStore.h"

#include <functional>

namespace {

// The latest text as ItemContent with IfCheckedOutUseIt reads it: the user's own working file where
// he holds the file and the working file exists. False where the store's text was damaged (the
// entry then came without it) and no working file stands in for it.
bool latestText(const TARMOVSS& vss, const StoreEntry& entry, QString& text) {
    if (entry.CheckoutState == StoreItem::CheckedOutMe) {
        const QString working = vss.GetItemFileName(entry.Name);
        if (FileExists(working)) {
            text = ReadTextFile(working);
            return true;
        }
    }
    if (!entry.HasText)
        return false;
    text = QString::fromUtf8(entry.Text);
    return true;
}

// Who holds a file, in the words of TARMOVSS: the connection's own user name for its own check-out.
QString holderOf(const TARMOVSS& vss, const StoreEntry& entry) {
    switch (entry.CheckoutState) {
    case StoreItem::CheckedOutMe:
        return vss.UserName();
    case StoreItem::CheckedOut:
        return entry.Holders.join(QStringLiteral(", "));
    default:
        return QString();
    }
}

// The files that isListed picks (all without it) go to the listing with their holders; those whose names end
// with textsEnding give their texts. A text that can't be read is left out, as a silent read gives none.
VSSBulkReader::Listing toListing(TARMOVSS& vss, const QList<StoreEntry>& entries,
                                 const std::function<bool(const QString&)>& isListed,
                                 const QString& textsEnding) {
    VSSBulkReader::Listing listing{TARMOVSSItems(&vss), {}};
    listing.Files.Reserve(entries.size());
    for (const StoreEntry& entry : entries) {
        if (!isListed || isListed(entry.Name)) {
            listing.Files.Add(entry.Name, holderOf(vss, entry));
        } else if (!textsEnding.isEmpty() && entry.Name.endsWith(textsEnding, Qt::CaseSensitive) &&
                   entry.Type == StoreItem::File) {
            QString text;
            if (latestText(vss, entry, text))
                listing.Texts.insert(entry.Name.toLower(), text);
        }
    }
    return listing;
}

std::function<bool(const QString&)> endingWith(const QString& ending) {
    if (ending.isEmpty())
        return {};
    return [ending](const QString& name) { return name.endsWith(ending, Qt::CaseSensitive); };
}

} // namespace

StoreItem VSSBulkReader::projectOf(const TARMOVSS& vss) {
    if (!vss.ConnectionOpen())
        throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("VSSBulkReader"),
                         QStringLiteral("There is no open connection to the version store."));
    // Told like a fresh login would tell it: the open session still reads a store removed under it.
    vss.database().RequirePresent();
    return vss.GetProjectItem();
}

QHash<QString, QString> VSSBulkReader::LatestTexts(const TARMOVSS& vss, const QStringList& names) {
    if (names.isEmpty())
        return {};
    StoreTraffic::StoreCall();
    const StoreItem project = projectOf(vss);
    QHash<QString, QString> texts;
    for (const StoreEntry& entry : project.EntriesNamed(
             names, [](const QString&) { return true; }, true)) {
        if (entry.Type != StoreItem::File)
            continue;
        QString text;
        if (!latestText(vss, entry, text)) {
            // Read again alone, so that the damage is reported as a read of that text reports it.
            for (const StoreVersion& version : vss.GetVSSItem(entry.Name, false).Versions())
                if (!version.IsLabel()) {
                    text = QString::fromUtf8(version.Text());
                    break;
                }
        }
        texts.insert(entry.Name.toLower(), text);
    }
    return texts;
}

VSSBulkReader::Listing VSSBulkReader::ListFolder(TARMOVSS& vss, const QString& ending,
                                                 const QString& textsEnding) {
    StoreTraffic::StoreCall();
    const QList<StoreEntry> entries =
        projectOf(vss).Entries(textsEnding.isEmpty() ? QStringList{ending} : QStringList{ending, textsEnding},
                               endingWith(textsEnding), true);
    return toListing(vss, entries, endingWith(ending), textsEnding);
}

VSSBulkReader::Listing VSSBulkReader::Find(TARMOVSS& vss, const QStringList& names,
                                           const QString& textsEnding) {
    if (names.isEmpty())
        return Listing{TARMOVSSItems(&vss), {}};
    StoreTraffic::StoreCall();
    const auto isText = endingWith(textsEnding);
    const QList<StoreEntry> entries = projectOf(vss).EntriesNamed(names, isText, true);
    return toListing(
        vss, entries, [&](const QString& name) { return !isText || !isText(name); }, textsEnding);
}

void VSSBulkReader::Release() {}
