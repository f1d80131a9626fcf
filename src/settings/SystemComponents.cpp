#include "SystemComponents.h"

#include <QSet>
#include <QStringList>

#include <sqlite3.h>

namespace SystemComponents {

namespace {

struct Catalogue {
    QSet<QString> available;
    QStringList attempts;
};

Catalogue& catalogue() {
    static Catalogue c;
    return c;
}

struct Required {
    const char* identifier;
    int firstMajor, lastMajor, firstMinor, lastMinor;
    const char* name;
    const char* minimumVersion;
    const char* url;
};

// What each entry stands for on this platform: the version store layer, the database layer with its
// drivers, and the XML library. The addresses name the libraries that carry those layers here.
const Required requiredComponents[] = {
    {"SourceSafe", 0, 0, -1, -1, "Visual SourceSafe", "6.0", "https://www.sqlite.org/download.html"},
    {"ADODB.Recordset", 2, 2, 8, 4, "ADO", "2.5", "https://www.unixodbc.org/"},
    {"MSXML2.DOMDocument", 4, 2, 6, 0, "XML Parser", "3.0", "https://doc.qt.io/qt-6/qtxml-index.html"},
};

} // namespace

void Register(const QString& identifier) {
    catalogue().available.insert(identifier.toLower());
}
void Unregister(const QString& identifier) {
    catalogue().available.remove(identifier.toLower());
}

void Clear() {
    catalogue().available.clear();
    catalogue().attempts.clear();
}

bool CanCreate(const QString& identifier) {
    catalogue().attempts << identifier;
    return catalogue().available.contains(identifier.toLower());
}

QStringList Attempts() {
    return catalogue().attempts;
}

void RegisterPlatformComponents() {
    // The version store and the embedded server keep their data in SQLite with write-ahead logging,
    // which needs 3.7 or later.
    if (sqlite3_libversion_number() >= 3007000)
        Register(QStringLiteral("SourceSafe"));
    // The database layer offers detached, fully fetched recordsets through both of its drivers.
    Register(QStringLiteral("ADODB.Recordset.2.8"));
    // Settings files of the generators are read and written with Qt's DOM.
    Register(QStringLiteral("MSXML2.DOMDocument.4.0"));
}

QString Test(const QString& identifier, int firstMajor, int lastMajor, int firstMinor, int lastMinor) {
    const int majorStep = firstMajor <= lastMajor ? 1 : -1;
    const int minorStep = firstMinor <= lastMinor ? 1 : -1;
    for (int major = firstMajor;; major += majorStep) {
        if (major == 0) {
            if (CanCreate(identifier))
                return QStringLiteral("0");
        } else {
            if (firstMinor != -1) {
                for (int minor = firstMinor;; minor += minorStep) {
                    if (CanCreate(QStringLiteral("%1.%2.%3").arg(identifier).arg(major).arg(minor)))
                        return QStringLiteral("%1.%2").arg(major).arg(minor);
                    if (minor == lastMinor)
                        break;
                }
            }
            if (CanCreate(QStringLiteral("%1.%2").arg(identifier).arg(major)))
                return QString::number(major);
        }
        if (major == lastMajor)
            break;
    }
    return {};
}

QList<Missing> FindMissing() {
    QList<Missing> missing;
    for (const auto& c : requiredComponents) {
        if (Test(QString::fromLatin1(c.identifier), c.firstMajor, c.lastMajor, c.firstMinor, c.lastMinor)
                .isEmpty())
            missing.append({QString::fromLatin1(c.name), QString::fromLatin1(c.minimumVersion),
                            QString::fromLatin1(c.url)});
    }
    return missing;
}

} // namespace SystemComponents
