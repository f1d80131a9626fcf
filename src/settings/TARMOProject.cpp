#include "TARMOProject.h"

#include "TARMOError.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"

#include <QDateTime>

const QString TARMOProject::SyncHistoryItem = QStringLiteral("SyncHistory");

TARMOProject::TARMOProject()
    : mSQL(std::make_unique<TARMOSQL>())
    , mVSS(std::make_unique<TARMOVSS>()) {}

TARMOProject::~TARMOProject() = default;

ProjectSummary TARMOProject::Summary() const {
    ProjectSummary summary;
    summary.name = mName;
    summary.server = mSQL->Server();
    summary.database = mSQL->Database();
    summary.user = mSQL->UserName();
    QString databaseUser;
    try {
        databaseUser = mSQL->DatabaseUserName();
    } catch (const TARMOError&) {
        // A summary shows what it can; a lost connection tells the user elsewhere.
    }
    if (!databaseUser.isEmpty() && databaseUser.toLower() != summary.user.toLower())
        summary.user += QStringLiteral(" (") + databaseUser + QLatin1Char(')');
    summary.storeProject = mVSS->Project();
    summary.storeUser = mVSS->UserName();
    return summary;
}

bool TARMOProject::IsFirstUserToConnect() const {
    if (!mVSS->ConnectionOpen() || !mVSS->ItemExists(SyncHistoryItem))
        return true;
    return mVSS->ItemContent(SyncHistoryItem, true, -1, false, false).isEmpty();
}

void TARMOProject::ProjectWasSyncronized(const QString& strComment) {
    const bool exists = mVSS->ItemExists(SyncHistoryItem);
    const QString previous = exists ? mVSS->ItemContent(SyncHistoryItem, true, -1, false, false) : QString();
    const QString line = strComment + QStringLiteral(": ") +
                         QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")) +
                         QStringLiteral(" - ") + mVSS->UserName() + QStringLiteral("\r\n");
    const QString content = line + previous;
    if (exists) {
        if (mVSS->CheckOut(SyncHistoryItem, true))
            mVSS->CheckIn(SyncHistoryItem, content, QString(), true);
    } else {
        mVSS->AddItem(SyncHistoryItem, content, true, QString());
    }
}
