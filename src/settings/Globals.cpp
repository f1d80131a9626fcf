#include "Globals.h"

#include "TARMODatabase.h"

std::unique_ptr<TARMODatabase> gDatabase;

namespace App {
int MajorVersion() {
    return TARMO_VERSION_MAJOR;
}
int MinorVersion() {
    return TARMO_VERSION_MINOR;
}
QString VersionText() {
    return QStringLiteral("%1.%2").arg(MajorVersion()).arg(MinorVersion());
}
QString ProductName() {
    return QStringLiteral("TARMO v%1 Professional").arg(VersionText());
}
} // namespace App
