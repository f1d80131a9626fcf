#include "StoreVersion.h"

#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "StoreSession.h"

QByteArray StoreVersion::Text() const {
    Statement s(*mSession->db, "SELECT content FROM history WHERE seq = ?1");
    s.Bind(1, mSeq);
    QByteArray content = s.Step() ? s.Blob(0) : QByteArray();
    return content.isNull() ? QByteArray("") : content;
}

void StoreVersion::Get(QString& local) const {
    const QString path = CleanLocalPath(local);
    if (mSession->CheckoutState(mItem) == 2 && path == mSession->CheckoutLocal(mItem) && FileExists(path) &&
        !IsReadOnlyFile(path))
        StoreSession::Raise(
            StoreErrors::WorkingFileProtected,
            QStringLiteral("'%1' holds your checked-out changes; it was not replaced.").arg(path));
    WriteWorkingFile(path, Text(), true);
    local = path;
}
