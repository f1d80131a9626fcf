#include "ImageList.h"

#include "IconPainter.h"

namespace {
const char* const keysInOrder[] = {"NEW",
                                   "STOREDPROCEDURES",
                                   "STOREDPROCEDURE:NEW",
                                   "STOREDPROCEDURE",
                                   "STOREDPROCEDURE:VSSBROKEN",
                                   "STOREDPROCEDURE:SQLBROKEN",
                                   "STOREDPROCEDURE:CHECKEDIN",
                                   "STOREDPROCEDURE:CHECKEDINOUT",
                                   "STOREDPROCEDURE:CHECKEDOUT",
                                   "TABLES",
                                   "TABLE",
                                   "USERDEFINEDFUNCTIONS",
                                   "USERDEFINEDFUNCTION:NEW",
                                   "USERDEFINEDFUNCTION",
                                   "USERDEFINEDFUNCTION:VSSBROKEN",
                                   "USERDEFINEDFUNCTION:SQLBROKEN",
                                   "USERDEFINEDFUNCTION:CHECKEDIN",
                                   "USERDEFINEDFUNCTION:CHECKEDINOUT",
                                   "USERDEFINEDFUNCTION:CHECKEDOUT",
                                   "VIEWS",
                                   "VIEW:NEW",
                                   "VIEW",
                                   "VIEW:VSSBROKEN",
                                   "VIEW:SQLBROKEN",
                                   "VIEW:CHECKEDIN",
                                   "VIEW:CHECKEDINOUT",
                                   "VIEW:CHECKEDOUT",
                                   "TRIGGERS",
                                   "TRIGGER:NEW",
                                   "TRIGGER",
                                   "TRIGGER:VSSBROKEN",
                                   "TRIGGER:SQLBROKEN",
                                   "TRIGGER:CHECKEDIN",
                                   "TRIGGER:CHECKEDINOUT",
                                   "TRIGGER:CHECKEDOUT",
                                   "TRIGGER:INSERT",
                                   "TRIGGER:UPDATE",
                                   "TRIGGER:DELETE",
                                   "FIELD",
                                   "FIELDDATA",
                                   "SYNC:ADDVSS",
                                   "SYNC:REMOVEVSS",
                                   "SYNC:ADDSQL",
                                   "SYNC:REMOVESQL",
                                   "SYNC",
                                   "SYNC:NONE",
                                   "SYNC:SQL",
                                   "SYNC:VSS",
                                   "DIFFERENCE",
                                   "OWNER",
                                   "CHECKEDOUTBY",
                                   "PERMISSIONS",
                                   "PERMISSION:USER",
                                   "PERMISSION:ROLE",
                                   "PERMISSION:NONE",
                                   "PERMISSION:GRANT",
                                   "PERMISSION:OWNER",
                                   "PERMISSION:DENY",
                                   "REFRESH",
                                   "VSS:GETLATESTVERSION",
                                   "VSS:CHECKOUT",
                                   "VSS:CHECKIN",
                                   "VSS:UNDOCHECKOUT",
                                   "VSS:HISTORY",
                                   "EDIT:OPENFILE",
                                   "EDIT:SAVEFILE",
                                   "EDIT:TEST",
                                   "DESCRIPTION",
                                   "SEARCH:FIND",
                                   "EDIT:UNDO",
                                   "EDIT:REDO",
                                   "EDIT:CUT",
                                   "EDIT:COPY",
                                   "EDIT:PASTE",
                                   "OPTIONS",
                                   "SQLQUERY",
                                   "SQLQUERY:PARSE",
                                   "SQLQUERY:EXECUTE",
                                   "SQLQUERY:PANEL",
                                   "HELP",
                                   "SPACER",
                                   "RENAME",
                                   "EDIT",
                                   "DELETE"};
} // namespace

ImageList::ImageList() {
    for (const char* key : keysInOrder) {
        mIndex.insert(QString::fromLatin1(key), static_cast<int>(mKeys.size()) + 1);
        mKeys << QString::fromLatin1(key);
    }
}

int ImageList::GetIconIndex(const QString& strName, bool bZeroBased) const {
    const int index = mIndex.value(strName.toUpper(), -1);
    if (index < 0)
        return -1;
    return bZeroBased ? index - 1 : index;
}

QIcon ImageList::Icon(const QString& strName) const {
    const QString key = strName.toUpper();
    if (!mIndex.contains(key))
        return {};
    auto cached = mCache.constFind(key);
    if (cached != mCache.constEnd())
        return *cached;
    QIcon icon = IconPainter::Icon(key);
    mCache.insert(key, icon);
    return icon;
}

QIcon ImageList::IconAt(int lngIndex) const {
    if (lngIndex < 1 || lngIndex > Count())
        return {};
    return Icon(mKeys[lngIndex - 1]);
}
