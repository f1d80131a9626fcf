#include "StoreVersion.h"

#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSession.h"

QByteArray StoreVersion::Text() const {
    mSession->Require(mItem, StoreRights::Read);
    return mSession->ContentOf(mSeq);
}

void StoreVersion::Get(QString& local) const {
    const QString path = CleanLocalPath(local);
    mSession->Require(mItem, StoreRights::Read);
    if (mSession->CheckoutState(mItem) == 2 && path == mSession->CheckoutLocal(mItem) && FileExists(path) &&
        !IsReadOnlyFile(path))
        StoreSession::Raise(
            StoreErrors::WorkingFileProtected,
            QStringLiteral("'%1' holds your checked-out changes; it was not replaced.").arg(path));
    WriteWorkingFile(path, Text(), true);
    local = path;
}
