// Saves numbered project records into a store from its own process, for the test of two copies
// saving at once. Every value of a record is derived from its name, so the test can tell a whole
// record from a mixed or partial one.
#include "KeyStore.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto args = app.arguments();
    if (args.size() != 4)
        return 2;
    TARMODatabase database(std::make_shared<KeyStore>(args[1]));
    const int count = args[3].toInt();
    for (int i = 0; i < count; ++i) {
        const QString name = args[2] + QString::number(i);
        TARMOProject project;
        project.SetName(name);
        project.SQL().SetServer(name + QStringLiteral("-server"));
        project.SQL().SetDatabase(name + QStringLiteral("-db"));
        project.SQL().SetUseWinNTAuth(i % 2 == 0);
        project.SQL().SetUserName(name + QStringLiteral("-user"));
        project.SQL().SetPassword(name + QStringLiteral("-pw"));
        project.SQL().SetStorePassword(true);
        project.VSS().SetIniFile(name + QStringLiteral(".ini"));
        project.VSS().SetUserName(name + QStringLiteral("-vssuser"));
        project.VSS().SetPassword(name + QStringLiteral("-vsspw"));
        project.VSS().SetStorePassword(true);
        project.VSS().SetProject(QStringLiteral("$/") + name);
        project.VSS().SetGeneralWorkingFolder(QStringLiteral("/work/") + name + QLatin1Char('/'));
        try {
            database.SaveProject(project);
        } catch (const TARMOError& e) {
            std::fprintf(stderr, "%s\n", e.what());
            return 1;
        }
    }
    return 0;
}
