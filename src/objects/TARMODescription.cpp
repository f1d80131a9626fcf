#include "TARMODescription.h"

#include "StoreTraffic.h"
#include "TARMOVSS.h"

const QString TARMODescription::Extension = QStringLiteral(".desc");

QString TARMODescription::ReadAs(const QString& storedText) {
    return storedText.trimmed().isEmpty() ? QString() : storedText;
}

QString TARMODescription::Description() {
    if (mVSSItemName.isEmpty() || !mVSS)
        return QString();
    const QString item = DescriptionItemName();
    StoreTraffic::StoreCall();
    if (!mVSS->ItemExists(item))
        return QString();
    StoreTraffic::StoreCall();
    return ReadAs(mVSS->ItemContent(item, true, -1, true));
}

void TARMODescription::SetDescription(const QString& value) {
    const QString text = value.isEmpty() ? QStringLiteral(" ") : value;
    if (mVSSItemName.isEmpty() || !mVSS)
        return;
    const QString item = DescriptionItemName();
    StoreTraffic::StoreCall();
    if (mVSS->ItemExists(item)) {
        StoreTraffic::StoreCall();
        if (mVSS->CheckOut(item, true)) {
            StoreTraffic::StoreCall();
            mVSS->CheckIn(item, text, QString(), true);
        }
        return;
    }
    if (text.trimmed().isEmpty())
        return;
    StoreTraffic::StoreCall();
    mVSS->AddItem(item, text, true, QString());
}

bool TARMODescription::Rename(const QString& NewItemName) {
    if (!mVSS)
        return false;
    StoreTraffic::StoreCall();
    if (!mVSS->RenameItem(DescriptionItemName(), NewItemName + Extension, false, true))
        return false;
    mVSSItemName = NewItemName;
    return true;
}
