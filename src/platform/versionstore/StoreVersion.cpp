#include "StoreVersion.h"

#include "GeneralHelpers.h"
#include "StoreEngine.h"
#include "StoreErrors.h"
#include "StoreSession.h"

QByteArray StoreVersion::Text() const {
    return mSession->Engine().VersionText(mItem, mSeq);
}

void StoreVersion::Get(QString& local) const {
    const QString path = CleanLocalPath(local);
    const QString working = mSession->Engine().WorkingFileOf(mItem);
    if (!working.isEmpty() && path == working && FileExists(path) && !IsReadOnlyFile(path))
        StoreSession::Raise(
            StoreErrors::WorkingFileProtected,
            QStringLiteral("'%1' holds your checked-out changes; it was not replaced.").arg(path));
    WriteWorkingFile(path, Text(), true);
    local = path;
}
