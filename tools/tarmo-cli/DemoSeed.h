#pragma once

#include <QString>
#include <QStringList>

// The embedded default: a demo server folder with the database "Demo" (tables with data, a role and a
// user with permissions), a demo version store with the project $/Demo into which the programmable
// objects are checked in through the object model, two of them checked out by another store user, one
// object on the server alone and one in the store alone, and a project record "Demo" that the start-up
// opens.
namespace DemoSeed {

struct Result {
    bool ok = false;
    QStringList log; // one line per step, for the user
    QString error;   // why it failed
};

// Seeds the demo under `folder`. What already exists is kept (a second run only makes sure the project
// record is there and opens at start); with `reset` the folder is made anew.
Result Seed(const QString& folder, bool reset);

QString DefaultFolder();

} // namespace DemoSeed
