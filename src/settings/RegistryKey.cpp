#include "RegistryKey.h"

QString RegistryKey::Name() const {
    if (mPath.trimmed().isEmpty())
        return {};
    const auto at = mPath.lastIndexOf(QLatin1Char('\\'));
    return at < 0 ? mPath : mPath.mid(at + 1);
}

void RegistryKey::SetIdentity(long root, const QString& path) {
    mRoot = root;
    mPath = path;
    mKey = path + QLatin1Char('\\') + QString::number(root);
}
