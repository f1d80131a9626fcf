#pragma once

#include <QList>
#include <QString>

// The components the system needs, tested by asking whether an object of a given identifier and
// version can be created. On this platform our own layers stand in for them and say what they
// support by registering identifiers ("SourceSafe", "ADODB.Recordset.2.8", ...).
namespace SystemComponents {

struct Missing {
    QString component;
    QString minimumVersion;
    QString url;
};

void Register(const QString& identifier);
void Unregister(const QString& identifier);
void Clear();
bool CanCreate(const QString& identifier);
// Every identifier that was asked for since the last Clear(), in order: the attempts of the check.
QStringList Attempts();

// Registers what the layers linked into this program support.
void RegisterPlatformComponents();

// Tries <identifier>.<major>.<minor> for each minor, then <identifier>.<major>, for each major from
// first to last (either direction); major 0 is the identifier alone; firstMinor -1 means no minor
// versions. Gives the version found ("2.8", "4") or "" when nothing could be created.
QString Test(const QString& identifier, int firstMajor, int lastMajor, int firstMinor, int lastMinor);

// The table of required components, in order, with the ones that are missing.
QList<Missing> FindMissing();

} // namespace SystemComponents
